// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The root device that the boot loader passed on the kernel command line.
#include "disk/kernel_cmdline.h"

#include "orvane.h"
#include "support/fatal.h"
#include "support/line_reader.h"
#include "support/text.h"

#include <cstdio>
#include <cstring>
#include <string_view>

namespace orvane {

namespace {

using command_line_buffer = heap_buffer<4096>;

// Not with g_file_get_contents(), which ends the process when memory is exhausted.
heap_text read_first_line(const char *filename) noexcept
{
    const unique_file file(filename == nullptr ? nullptr : ::fopen(filename, "re"));
    heap_text line = file ? whole_text(file.get()) : heap_text();
    if (line)
        line.get()[::strcspn(line.get(), "\n")] = '\0';
    return line;
}

char *by_uuid(const char *uuid) noexcept
{
    command_line_buffer path;
    if (!path)
        return nullptr;
    path.format("/dev/disk/by-uuid/%s", uuid);
    return path.copy();
}

// Of the characters that udev escapes in the names of its links, only the slash is escaped here. A
// label with another one is not found.
char *by_label(std::string_view label) noexcept
{
    command_line_buffer path;
    if (!path)
        return nullptr;
    path.append("/dev/disk/by-label/");
    for (const char &character : label)
        path.append(character == '/' ? "\\x2f" : std::string_view(&character, 1));
    return path.copy();
}

} // namespace

char *cmdline_find_root_token(const char *line) noexcept
{
    if (line == nullptr)
        return nullptr;
    command_line_buffer work;
    if (!work)
        return nullptr;
    if (::strlen(line) >= work.capacity())
        fatal_bounds_violation("the kernel command line is longer than 4095 characters");
    work.append(line);

    tokenizer words(work.data(), " \t");
    while (const char *const word = words.next()) {
        if (has_prefix(word, "root="))
            return ::strdup(word);
    }
    return nullptr;
}

char *resolve_root_spec(const char *token) noexcept
{
    command_line_buffer work;
    if (!work)
        return nullptr;
    work.append(token);

    // A UUID or label ends at its own first "=". An unknown form such as PARTUUID=... yields its
    // bare word, which root_device() rejects because it is no block device.
    tokenizer parts(work.data(), "=");
    parts.next(); // the key, whatever it is
    const char *const form = parts.next();
    if (form == nullptr)
        return nullptr;
    if (::strcmp(form, "UUID") == 0) {
        const char *const uuid = parts.next();
        return uuid != nullptr ? by_uuid(uuid) : nullptr;
    }
    if (::strcmp(form, "LABEL") == 0) {
        const char *const label = parts.next();
        return label != nullptr ? by_label(label) : nullptr;
    }
    return ::strdup(form);
}

} // namespace orvane

extern "C" char *command_line_get_root_device_name(const char *filename)
{
    const orvane::heap_text line = orvane::read_first_line(filename);
    if (!line)
        return nullptr;
    const orvane::heap_text token(orvane::cmdline_find_root_token(line.get()));
    return token ? orvane::resolve_root_spec(token.get()) : nullptr;
}
