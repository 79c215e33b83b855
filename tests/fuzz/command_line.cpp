// SPDX-License-Identifier: LGPL-2.1-or-later
#include "disk/command_line.h"
#include "fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string line = text_of(data, size);
    if (line.size() >= 4096)
        return 0; // ends the process, as promised

    const orvane::heap_text token(orvane::cmdline_find_root_token(line.c_str()));
    if (!token)
        return 0;
    const std::string_view word = token.get();
    require(word.starts_with("root=") && has_none_of(word, " \t"));

    const orvane::heap_text device(orvane::resolve_root_spec(token.get()));
    if (device) {
        const std::string_view path = device.get();
        require(!path.empty() && path.size() < 4096 && has_none_of(path, "="));
    }
    return 0;
}
