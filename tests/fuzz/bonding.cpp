// SPDX-License-Identifier: LGPL-2.1-or-later
#include "machine/bonding.h"
#include "fuzz.h"

namespace {

void require_word(std::string_view field)
{
    require(!field.empty() && field.size() < 128 && has_none_of(field, " \t\n\r\v\f"));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const orvane::unique_file report = stream_of(data, size);
    const orvane::interface_list slaves = orvane::read_bonding_report(report.get());
    for (const GList *link = slaves.get(); link != nullptr; link = link->next) {
        const auto *const slave = static_cast<const orvane::network_interface *>(link->data);
        require_word(slave->name);
        require_word(slave->permanent_mac);
        require(has_none_of(slave->permanent_mac, "ABCDEFGHIJKLMNOPQRSTUVWXYZ"));
        require(std::string_view(slave->mac) == slave->permanent_mac);
    }
    return 0;
}
