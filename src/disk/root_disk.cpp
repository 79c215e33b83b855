// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The disk that holds the root file system, by name, out of what lsblk lists.
#include "orvane.h"

#include "support/fatal.h"
#include "support/json_handles.h"
#include "support/line_reader.h"
#include "support/shell.h"

#include <cstdio>
#include <cstring>
#include <functional>

namespace orvane {

namespace {

constexpr std::size_t listing_bytes = 4096;

void collect(std::FILE *output, char *listing) noexcept
{
    std::size_t length = 0;
    bounded_text<listing_bytes> piece;
    while (read_line(output, piece)) {
        const std::size_t added = piece.length();
        if (length + added >= listing_bytes)
            fatal_bounds_violation("the listing of lsblk is longer than 4095 characters");
        ::memcpy(listing + length, piece.c_str(), added + 1);
        length += added;
    }
}

// The parser keeps one position for the whole process. One that another thread left there leads
// into a text that may be gone.
bool is_within(const char *position, const char *text) noexcept
{
    return text != nullptr && std::greater_equal<>()(position, text) &&
           std::less_equal<>()(position, text + ::strlen(text));
}

void tell_parse_error(const char *json) noexcept
{
    const char *const position = ::cJSON_GetErrorPtr();
    if (position != nullptr && is_within(position, json))
        static_cast<void>(::fprintf(stderr, "JSON parse error: %s\n", position));
}

bool is_mounted_at_root(const cJSON *device) noexcept
{
    const cJSON *const mountpoint = ::cJSON_GetObjectItem(device, "mountpoint");
    return ::cJSON_IsString(mountpoint) != 0 && ::strcmp(mountpoint->valuestring, "/") == 0;
}

// Deliberate: the children alone, and not theirs. A logical volume is no child of its disk.
bool has_root_child(const cJSON *device) noexcept
{
    const cJSON *const children = ::cJSON_GetObjectItem(device, "children");
    if (::cJSON_IsArray(children) == 0)
        return false;
    const cJSON *child = nullptr;
    cJSON_ArrayForEach(child, children)
    {
        if (is_mounted_at_root(child))
            return true;
    }
    return false;
}

char *copy_name_of_root_disk(const cJSON *devices) noexcept
{
    const cJSON *device = nullptr;
    cJSON_ArrayForEach(device, devices)
    {
        const cJSON *const name = ::cJSON_GetObjectItem(device, "name");
        if (has_root_child(device) && ::cJSON_IsString(name) != 0)
            return ::strdup(name->valuestring);
    }
    return nullptr;
}

} // namespace

} // namespace orvane

extern "C" char *get_lsblk_output(void)
{
    orvane::heap_text listing(static_cast<char *>(::malloc(orvane::listing_bytes)));
    if (!listing)
        return nullptr;
    *listing = '\0';
    const orvane::tool_output output = orvane::run_tool("lsblk -J");
    if (!output) {
        ::perror("Failed to run lsblk");
        return nullptr;
    }
    orvane::collect(output.get(), listing.get());
    return listing.release();
}

extern "C" char *find_root_disk(const char *json)
{
    const orvane::json_tree tree(::cJSON_Parse(json));
    if (!tree) {
        orvane::tell_parse_error(json);
        return nullptr;
    }
    const cJSON *const devices = ::cJSON_GetObjectItem(tree.get(), "blockdevices");
    if (::cJSON_IsArray(devices) == 0) {
        static_cast<void>(
            ::fputs("Invalid JSON structure: blockdevices is not an array\n", stderr));
        return nullptr;
    }
    return orvane::copy_name_of_root_disk(devices);
}
