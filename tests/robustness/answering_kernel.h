// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "machine.h"

#include <string>

// A kernel that knows the disks and network cards of a constructed machine. Their answers stand in
// files of that machine and nowhere else, so that every thread and every child process gets them.
// It answers every caller in a program that has it among its objects: not beside interpose.cpp,
// which defines the same functions.
namespace answering_kernel {

enum class disk_kind { whole, partition };

// A block device with an ATA identity, which libblkid takes for a whole disk or a partition.
void add_disk(constructed_machine &machine, const std::string &path, const std::string &model,
              const std::string &serial, disk_kind kind = disk_kind::whole);

// A network card, which the kernel lists in the order of the names, and where it sits.
void add_card(constructed_machine &machine, const std::string &name, const std::string &current,
              const std::string &permanent, const std::string &device);

} // namespace answering_kernel
