// SPDX-License-Identifier: LGPL-2.1-or-later
//
// lsblk, which lists block devices. It is run for the identity of a disk whose node is not known,
// for the type of a device, and for the name of the disk that holds the root file system.
#include "disk/lsblk.h"

#include "disk/block_device.h"
#include "disk/identity_text.h"
#include "orvane.h"
#include "support/fatal.h"
#include "support/line_reader.h"
#include "support/outside_text.h"
#include "support/shell.h"
#include "support/text.h"
#include "support/write_or_lose.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>

#include <cJSON.h>

namespace orvane {

namespace {

using json_tree = owned<cJSON, ::cJSON_Delete>;
using json_text = owned<char, ::cJSON_free>;

const char *name_of(const cJSON *device) noexcept
{
    const cJSON *const name = ::cJSON_GetObjectItem(device, "name");
    return ::cJSON_IsString(name) != 0 ? name->valuestring : nullptr;
}

// Only the top level is searched, which holds the disks and not their partitions.
const cJSON *find_device(const cJSON *devices, const char *wanted) noexcept
{
    const int count = ::cJSON_GetArraySize(devices);
    for (int i = 0; i < count; ++i) {
        const cJSON *const device = ::cJSON_GetArrayItem(devices, i);
        const char *const name = name_of(device);
        trace_outside_text("current name '%s', dev_name '%s'", or_null(name), or_null(wanted));
        if (name == nullptr)
            continue;
        const char *const component = last_component(name);
        if (*component == '\0') {
            ::orvane_trace("get basename error");
            return nullptr;
        }
        if (wanted != nullptr && ::strcmp(component, wanted) == 0)
            return device;
    }
    return nullptr;
}

// The trace lines are the same for the model and for the serial number.
const char *text_of(const cJSON *device, const char *key) noexcept
{
    const cJSON *const member = ::cJSON_GetObjectItem(device, key);
    if (::cJSON_IsString(member) == 0) {
        trace_outside_text("Serial for device '%s' is not a string or is NULL.\n", name_of(device));
        return nullptr;
    }
    // The parser makes no such member, but a program may replace the parser.
    if (member->valuestring == nullptr) {
        ::orvane_trace("%s is NULL", key);
        return nullptr;
    }
    trace_outside_text("Serial for device '%s': %s\n", name_of(device), member->valuestring);
    return member->valuestring;
}

void append_dashed(text_buffer &identity, const char *text) noexcept
{
    const std::size_t start = identity.length();
    identity.append(text);
    std::replace_if(
        identity.data() + start, identity.data() + identity.length(),
        [](char c) { return !is_graphic(c); }, '-');
}

heap_text identity_of(const cJSON *device) noexcept
{
    const char *const serial = text_of(device, "serial");
    const char *const model = serial != nullptr ? text_of(device, "model") : nullptr;
    if (model == nullptr)
        return {};

    heap_buffer<1024> identity;
    if (!identity)
        return {};
    append_dashed(identity, model);
    identity.append("_"); // as it is, in a locale where it is not graphic, too
    append_dashed(identity, serial);
    return heap_text(identity.copy());
}

} // namespace

heap_text identity_in_listing(const char *listing, const char *device) noexcept
{
    const json_tree tree(::cJSON_Parse(listing));
    if (!tree) {
        ::orvane_trace("Failed to parse JSON");
        return {};
    }
    // The text is not used, but without memory for it the listing counts as unreadable.
    const json_text rendered(::cJSON_Print(tree.get()));
    if (!rendered) {
        ::orvane_trace("Failed to print JSON");
        return {};
    }
    const cJSON *const devices = ::cJSON_GetObjectItem(tree.get(), "blockdevices");
    if (devices == nullptr) {
        ::orvane_trace("Key 'blockdevices' does not exist.\n");
        return {};
    }
    const cJSON *const found = find_device(devices, device);
    return found != nullptr ? identity_of(found) : heap_text();
}

heap_text listed_identity(const char *device) noexcept
{
    if (!is_runnable("/usr/bin/lsblk"))
        return {};
    heap_buffer<16384> listing;
    if (!listing)
        return {};
    {
        const tool_output output = run_tool("/usr/bin/lsblk -Jp -o name,serial,model");
        if (!output)
            return {};
        read_text(output.get(), listing);
    }
    return identity_in_listing(listing.c_str(), device);
}

namespace {

constexpr std::size_t listing_bytes = 4096;

using listing_buffer = heap_buffer<listing_bytes>;

void collect(std::FILE *output, listing_buffer &piece, char *listing) noexcept
{
    std::size_t length = 0;
    while (read_line(output, piece)) {
        const std::size_t added = piece.length();
        if (length + added >= listing_bytes)
            fatal_bounds_violation("the listing of lsblk is longer than 4095 characters");
        ::memcpy(listing + length, piece.c_str(), added + 1);
        length += added;
    }
}

// The parser keeps one position for the whole process. After a parse by another thread it points
// into that thread's text, which may have been freed.
bool is_within(const char *position, const char *text) noexcept
{
    return text != nullptr && std::greater_equal<>()(position, text) &&
           std::less_equal<>()(position, text + ::strlen(text));
}

void print_parse_error(const char *json) noexcept
{
    const char *const position = ::cJSON_GetErrorPtr();
    if (position != nullptr && is_within(position, json))
        print_or_lose("JSON parse error: %s\n", position);
}

bool is_mounted_at_root(const cJSON *device) noexcept
{
    const cJSON *const mountpoint = ::cJSON_GetObjectItem(device, "mountpoint");
    return ::cJSON_IsString(mountpoint) != 0 && ::strcmp(mountpoint->valuestring, "/") == 0;
}

// Only direct children count: a logical volume is a child of its partition.
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
        const char *const name = name_of(device);
        if (has_root_child(device) && name != nullptr)
            return ::strdup(name);
    }
    return nullptr;
}

} // namespace

} // namespace orvane

extern "C" int is_logical_volume(const char *dev_name)
{
    if (dev_name == nullptr || !orvane::is_runnable("/bin/lsblk"))
        return 0;
    const orvane::tool_output type =
        orvane::run_tool_on_device("/bin/lsblk -n -o \"TYPE\"", dev_name);
    if (!type)
        return 0;
    orvane::line_buffer line;
    if (!orvane::read_line(type.get(), line))
        return 1;
    // Deliberate: every type that sorts before "lvm" is treated as a logical volume too, because
    // mapped devices may be listed under other types, such as "crypt" and "dm".
    return ::strncmp(line.c_str(), "lvm", 3) <= 0 ? 1 : 0;
}

extern "C" char *get_lsblk_output(void)
{
    orvane::heap_text listing(static_cast<char *>(::malloc(orvane::listing_bytes)));
    orvane::listing_buffer piece;
    if (!listing || !piece)
        return nullptr;
    *listing = '\0';
    const orvane::tool_output output = orvane::run_tool("lsblk -J");
    if (!output) {
        orvane::print_error_or_lose("Failed to run lsblk");
        return nullptr;
    }
    orvane::collect(output.get(), piece, listing.get());
    return listing.release();
}

extern "C" char *find_root_disk(const char *json)
{
    const orvane::json_tree tree(::cJSON_Parse(json));
    if (!tree) {
        orvane::print_parse_error(json);
        return nullptr;
    }
    const cJSON *const devices = ::cJSON_GetObjectItem(tree.get(), "blockdevices");
    if (::cJSON_IsArray(devices) == 0) {
        orvane::print_or_lose("Invalid JSON structure: blockdevices is not an array\n");
        return nullptr;
    }
    return orvane::copy_name_of_root_disk(devices);
}
