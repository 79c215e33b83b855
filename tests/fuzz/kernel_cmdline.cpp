// SPDX-License-Identifier: LGPL-2.1-or-later
#include "disk/kernel_cmdline.h"
#include "fuzz.h"
#include "orvane.h"

namespace {

// The word that a file with this first line is taken to hold means the same by its name.
void require_same_of_file(const std::string &line, const char *device)
{
    static const memory_file file;
    file.fill(line + "\nroot=/dev/of_another_line\n");
    const orvane::heap_text named(command_line_get_root_device_name(file.path()));
    require((named == nullptr) == (device == nullptr));
    require(!named || std::string_view(named.get()) == device);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string line = up_to(text_of(data, size), "\n");
    if (line.size() >= 4096)
        return 0; // ends the process, as promised

    const orvane::heap_text token(orvane::cmdline_find_root_token(line.c_str()));
    if (!token) {
        require_same_of_file(line, nullptr);
        return 0;
    }
    const std::string_view word = token.get();
    require(word.starts_with("root=") && has_none_of(word, " \t"));

    const orvane::heap_text device(orvane::resolve_root_spec(token.get()));
    if (device) {
        const std::string_view path = device.get();
        require(!path.empty() && path.size() < 4096 && has_none_of(path, "="));
    }
    require_same_of_file(line, device.get());
    return 0;
}
