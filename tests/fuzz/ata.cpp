// SPDX-License-Identifier: LGPL-2.1-or-later
#include "disk/ata.h"
#include "fuzz.h"

#include <cstring>

#include <linux/hdreg.h>

namespace {

template <std::size_t Size> std::string graphic(const unsigned char (&field)[Size])
{
    std::string text;
    for (const unsigned char byte : field) {
        if (byte > ' ' && byte < 0x7f)
            text += static_cast<char>(byte);
    }
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    hd_driveid answer = {};
    std::memcpy(&answer, data, std::min(size, sizeof answer));
    const orvane::heap_text identity(orvane::join_identity(answer));
    require(identity.get() == graphic(answer.model) + "_" + graphic(answer.serial_no));
    return 0;
}
