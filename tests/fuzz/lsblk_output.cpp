// SPDX-License-Identifier: LGPL-2.1-or-later
#include "faked_system.h"
#include "orvane.h"

namespace {

std::string without_what_zeros_hide(std::string rest)
{
    std::string text;
    while (!rest.empty())
        text += take_read(rest, 4096);
    return text;
}

bool sorts_up_to_lvm(const std::string &output)
{
    return up_to(up_to_zero(output), "\n").substr(0, 3) <= std::string("lvm");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    faked::reset();
    faked::tool_output = bytes_of(data, size);
    require((is_logical_volume("/dev/dm-0") != 0) == sorts_up_to_lvm(faked::tool_output));
    if (size >= 4096)
        return 0; // ends the process, as promised

    const orvane::heap_text listing(get_lsblk_output());
    require(listing.get() == without_what_zeros_hide(faked::tool_output));
    require(faked::commands.back() == "lsblk -J");
    return 0;
}
