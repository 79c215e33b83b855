// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What the kernel tells of an interface's Ethernet address.
#include "machine/mac_address.h"

#include "orvane.h"
#include "support/bounded_text.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>

#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace orvane {

namespace {

struct ethernet_address {
    unsigned char bytes[6] = {};
};

// The kernel's ethtool_perm_addr, with room for the address that it is to write.
struct permanent_address_request {
    std::uint32_t command = ETHTOOL_GPERMADDR;
    std::uint32_t size = sizeof(ethernet_address);
    ethernet_address address;
};
static_assert(offsetof(permanent_address_request, size) == offsetof(ethtool_perm_addr, size) &&
              offsetof(permanent_address_request, address) == sizeof(ethtool_perm_addr));

unique_fd open_socket() noexcept
{
    return unique_fd(::socket(AF_INET, SOCK_DGRAM, 0));
}

ifreq request_about(const char *name) noexcept
{
    ifreq request = {};
    ::strncpy(request.ifr_name, name, sizeof request.ifr_name - 1);
    request.ifr_addr.sa_family = AF_INET;
    return request;
}

bool ask_current_address(const unique_fd &socket, ifreq &request) noexcept
{
    return ::ioctl(socket.get(), SIOCGIFHWADDR, &request) == 0;
}

// Deliberate: zeros for what the driver does not tell. They lose against every real address.
ethernet_address ask_permanent_address(const unique_fd &socket, ifreq &request) noexcept
{
    permanent_address_request wanted;
    request.ifr_data = reinterpret_cast<char *>(&wanted);
    if (::ioctl(socket.get(), SIOCETHTOOL, &request) != 0) {
        ::orvane_trace("Could not read permanent MAC.");
        return {};
    }
    return wanted.address;
}

std::optional<ethernet_address> current_address(const char *name) noexcept
{
    const unique_fd socket = open_socket();
    ifreq request = request_about(name);
    if (!socket || !ask_current_address(socket, request))
        return std::nullopt;
    ethernet_address address;
    ::memcpy(address.bytes, request.ifr_hwaddr.sa_data, sizeof address.bytes);
    return address;
}

std::optional<ethernet_address> permanent_address(const char *name) noexcept
{
    const unique_fd socket = open_socket();
    if (!socket)
        return std::nullopt;
    ifreq request = request_about(name);
    if (!ask_current_address(socket, request)) {
        // NOLINTNEXTLINE(concurrency-mt-unsafe): glibc keeps the text of a thread for itself.
        ::orvane_trace("Set device name error: %s.", ::strerror(errno));
        return std::nullopt;
    }
    return ask_permanent_address(socket, request);
}

heap_text to_text(const std::optional<ethernet_address> &address) noexcept
{
    if (!address)
        return {};
    const unsigned char *const bytes = address->bytes;
    bounded_text<sizeof "00:00:00:00:00:00"> text;
    text.format("%.2x:%.2x:%.2x:%.2x:%.2x:%.2x", bytes[0], bytes[1], bytes[2], bytes[3], bytes[4],
                bytes[5]);
    return heap_text(text.copy());
}

} // namespace

heap_text network_interface_get_mac(const char *name) noexcept
{
    return to_text(current_address(name));
}

heap_text network_interface_get_permanent_mac(const char *name) noexcept
{
    return to_text(permanent_address(name));
}

} // namespace orvane
