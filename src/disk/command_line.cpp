// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The root device as the boot loader passed it on the kernel command line.
#include "disk/command_line.h"

#include "orvane.h"
#include "support/bounded_text.h"
#include "support/fatal.h"
#include "support/text.h"
#include "support/owned.h"

#include <cstdio>
#include <cstring>
#include <string_view>

namespace orvane {

namespace {

using command_line_buffer = bounded_text<4096>;

// Read to its end or its first NUL, without GLib, which ends the process where it has no memory.
heap_text read_first_line(const char *filename) noexcept
{
    const unique_file file(filename == nullptr ? nullptr : ::fopen(filename, "r"));
    if (!file)
        return {};
    char *contents = nullptr;
    std::size_t room = 0;
    const bool is_read =
        ::getdelim(&contents, &room, '\0', file.get()) >= 0 && ::ferror(file.get()) == 0;
    heap_text line(contents);
    if (!is_read)
        return {};
    line.get()[::strcspn(line.get(), "\n")] = '\0';
    return line;
}

char *by_uuid(const char *uuid) noexcept
{
    command_line_buffer path;
    path.format("/dev/disk/by-uuid/%s", uuid);
    return path.copy();
}

// Deliberate: the slash alone is escaped, as udev spells it in the names of its links. A label with
// anything else that udev escapes is not found.
char *by_label(std::string_view label) noexcept
{
    command_line_buffer escaped;
    for (const char &character : label)
        escaped.append(character == '/' ? "\\x2f" : std::string_view(&character, 1));
    command_line_buffer path;
    path.format("/dev/disk/by-label/%s", escaped.c_str());
    return path.copy();
}

} // namespace

char *cmdline_find_root_token(const char *line) noexcept
{
    if (line == nullptr)
        return nullptr;
    command_line_buffer work;
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
    work.append(token);

    // Deliberate: a value ends at its own first "=" too, and a form that is not known here stands
    // for itself: callers test what they get for being a block device.
    tokenizer parts(work.data(), "=");
    const char *const key = parts.next();
    const char *const form = key != nullptr ? parts.next() : nullptr;
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
