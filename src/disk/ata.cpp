// SPDX-License-Identifier: LGPL-2.1-or-later
#include "disk/ata.h"

#include "disk/identity_text.h"
#include "orvane.h"
#include "support/bounded_text.h"
#include "support/outside_text.h"
#include "support/owned.h"

#include <cstddef>
#include <span>

#include <fcntl.h>
#include <linux/hdreg.h>
#include <sys/ioctl.h>

namespace orvane {

namespace {

// The offsets of the ATA standard, which the kernel's record follows.
static_assert(offsetof(hd_driveid, serial_no) == 20 && sizeof(hd_driveid::serial_no) == 20);
static_assert(offsetof(hd_driveid, model) == 54 && sizeof(hd_driveid::model) == 40);

using identity_buffer = bounded_text<128>;

void append_graphic(std::span<const unsigned char> bytes, identity_buffer &text) noexcept
{
    for (const unsigned char byte : bytes) {
        const char c = static_cast<char>(byte);
        if (is_graphic(c))
            text.append({&c, 1});
    }
}

bool identify(const char *node, hd_driveid &identity) noexcept
{
    const unique_fd fd(::open(node, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!fd) {
        ::orvane_trace("fd < 0, return");
        return false;
    }
    if (::ioctl(fd.get(), HDIO_GET_IDENTITY, &identity) < 0) {
        ::orvane_trace("ioctl(fd, HDIO_GET_IDENTITY, &id), return");
        return false;
    }
    return true;
}

} // namespace

char *join_identity(const hd_driveid &identity) noexcept
{
    identity_buffer text;
    append_graphic(identity.model, text);
    text.append("_");
    append_graphic(identity.serial_no, text);
    return text.copy();
}

char *ata_identity(const char *device) noexcept
{
    heap_buffer<1024> node;
    if (!node)
        return nullptr;
    node.format("/dev/%s", device);
    trace_outside_text("device :%s", node.c_str());
    hd_driveid identity = {};
    return identify(node.c_str(), identity) ? join_identity(identity) : nullptr;
}

} // namespace orvane
