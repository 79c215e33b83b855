// SPDX-License-Identifier: LGPL-2.1-or-later
#include "answering_kernel.h"

#include <cstring>

#include <linux/hdreg.h>

namespace answering_kernel {

void add_disk(constructed_machine &machine, const std::string &path, const std::string &model,
              const std::string &serial, disk_kind kind)
{
    hd_driveid identity = {};
    std::memset(identity.serial_no, ' ', sizeof identity.serial_no);
    serial.copy(reinterpret_cast<char *>(identity.serial_no), sizeof identity.serial_no);
    std::memset(identity.model, ' ', sizeof identity.model);
    model.copy(reinterpret_cast<char *>(identity.model), sizeof identity.model);

    std::string answers(reinterpret_cast<const char *>(&identity), sizeof identity);
    answers += kind == disk_kind::whole ? whole_disk : disk_partition;
    machine.block_device(path);
    machine.file(disk_answers + path.substr(path.rfind('/')), answers);
}

void add_card(constructed_machine &machine, const std::string &name, const std::string &current,
              const std::string &permanent, const std::string &device)
{
    const std::string answers = std::string(card_answers) + "/" + name;
    machine.file(answers + "/address", current + "\n");
    machine.file(answers + "/permanent_address", permanent + "\n");
    machine.directory(device);
    machine.link("/sys/class/net/" + name + "/device", device);
}

} // namespace answering_kernel
