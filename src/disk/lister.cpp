// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The block-device lister, asked for a disk whose name is known and whose node is not.
#include "disk/lister.h"

#include "disk/device_path.h"
#include "disk/graphic.h"
#include "orvane.h"
#include "support/json_handles.h"
#include "support/line_reader.h"
#include "support/text.h"
#include "support/shell.h"

#include <algorithm>
#include <cstring>

namespace orvane {

namespace {

using listing_buffer = bounded_text<16384>;
using listed_text = bounded_text<1024>;

const char *name_of(const cJSON *device) noexcept
{
    const cJSON *const name = ::cJSON_GetObjectItem(device, "name");
    return ::cJSON_IsString(name) != 0 ? name->valuestring : nullptr;
}

// The disk itself, not one of its partitions: the top level alone is searched.
const cJSON *find_device(const cJSON *devices, const char *wanted) noexcept
{
    const int count = ::cJSON_GetArraySize(devices);
    for (int i = 0; i < count; ++i) {
        const cJSON *const device = ::cJSON_GetArrayItem(devices, i);
        const char *const name = name_of(device);
        ::orvane_trace("current name '%s', dev_name '%s'", or_null(name), or_null(wanted));
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

// Deliberate: the lines call the model a serial number too.
const char *text_of(const cJSON *device, const char *key) noexcept
{
    const cJSON *const member = ::cJSON_GetObjectItem(device, key);
    if (::cJSON_IsString(member) == 0) {
        ::orvane_trace("Serial for device '%s' is not a string or is NULL.\n", name_of(device));
        return nullptr;
    }
    // The parser makes no such member; a program may have put another in its place.
    if (member->valuestring == nullptr) {
        ::orvane_trace("%s is NULL", key);
        return nullptr;
    }
    ::orvane_trace("Serial for device '%s': %s\n", name_of(device), member->valuestring);
    return member->valuestring;
}

void copy_dashed(const char *text, listed_text &copy) noexcept
{
    copy.append(text);
    std::replace_if(
        copy.data(), copy.data() + copy.length(), [](char c) { return !is_graphic(c); }, '-');
}

heap_text identity_of(const cJSON *device) noexcept
{
    const char *const told_serial = text_of(device, "serial");
    const char *const told_model = told_serial != nullptr ? text_of(device, "model") : nullptr;
    if (told_model == nullptr)
        return {};

    listed_text model;
    copy_dashed(told_model, model);
    listed_text serial;
    copy_dashed(told_serial, serial);
    listed_text identity;
    identity.format("%s_%s", model.c_str(), serial.c_str());
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
    // Deliberate: a listing counts only where there is memory to write it out again.
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
    listing_buffer listing;
    {
        const tool_output output = run_tool("/usr/bin/lsblk -Jp -o name,serial,model");
        if (!output)
            return {};
        read_text(output.get(), listing);
    }
    return identity_in_listing(listing.c_str(), device);
}

} // namespace orvane
