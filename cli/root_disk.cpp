// SPDX-License-Identifier: LGPL-2.1-or-later
#include "root_disk.h"

#include "facts.h"
#include "quiet.h"

#include "orvane.h"

#include <stdexcept>

std::string root_disk()
{
    const quiet_standard_error quiet;
    const answer listing = taken(get_lsblk_output());
    if (!is_answered(listing))
        throw std::runtime_error("lsblk cannot be run");
    const std::string text = to_text(listing);
    if (text.empty())
        throw std::runtime_error("lsblk is missing or lists nothing");
    const answer disk = taken(find_root_disk(text.c_str()));
    if (!is_answered(disk))
        throw std::runtime_error("lsblk -J lists no partition mounted at / by \"mountpoint\"");
    return to_text(disk);
}
