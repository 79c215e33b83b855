// SPDX-License-Identifier: LGPL-2.1-or-later
//
// An interface's Ethernet address, as the kernel reports it.
#include "machine/mac_address.h"

#include "orvane.h"
#include "support/owned.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>

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

// The kernel's ethtool_perm_addr, followed by the buffer for the address.
struct permanent_address_request {
    std::uint32_t command = ETHTOOL_GPERMADDR;
    std::uint32_t size = sizeof(ethernet_address);
    ethernet_address address;
};
static_assert(offsetof(permanent_address_request, size) == offsetof(ethtool_perm_addr, size) &&
              offsetof(permanent_address_request, address) == sizeof(ethtool_perm_addr));

unique_fd open_socket() noexcept
{
    return unique_fd(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
}

ifreq request_for(const char *name) noexcept
{
    ifreq request = {};
    ::strncpy(request.ifr_name, name, sizeof request.ifr_name - 1);
    request.ifr_addr.sa_family = AF_INET;
    return request;
}

bool query_current_address(const unique_fd &socket, ifreq &request) noexcept
{
    return ::ioctl(socket.get(), SIOCGIFHWADDR, &request) == 0;
}

// Zeros where the driver does not report it: less than every real address.
ethernet_address query_permanent_address(const unique_fd &socket, ifreq &request) noexcept
{
    permanent_address_request wanted;
    request.ifr_data = reinterpret_cast<char *>(&wanted);
    if (::ioctl(socket.get(), SIOCETHTOOL, &request) != 0) {
        ::orvane_trace("Could not read permanent MAC.");
        return {};
    }
    return wanted.address;
}

void format(mac_text &mac, const ethernet_address &address) noexcept
{
    const unsigned char *const bytes = address.bytes;
    mac.format("%.2x:%.2x:%.2x:%.2x:%.2x:%.2x", bytes[0], bytes[1], bytes[2], bytes[3], bytes[4],
               bytes[5]);
}

} // namespace

bool network_interface_get_mac(const char *name, mac_text &mac) noexcept
{
    const unique_fd socket = open_socket();
    ifreq request = request_for(name);
    if (!socket || !query_current_address(socket, request))
        return false;
    ethernet_address address;
    ::memcpy(address.bytes, request.ifr_hwaddr.sa_data, sizeof address.bytes);
    format(mac, address);
    return true;
}

bool network_interface_get_permanent_mac(const char *name, mac_text &mac) noexcept
{
    const unique_fd socket = open_socket();
    if (!socket)
        return false;
    ifreq request = request_for(name);
    if (!query_current_address(socket, request)) {
        // NOLINTNEXTLINE(concurrency-mt-unsafe): glibc keeps a text for each thread.
        ::orvane_trace("Set device name error: %s.", ::strerror(errno));
        return false;
    }
    format(mac, query_permanent_address(socket, request));
    return true;
}

void keep_greatest(mac_text &greatest, const mac_text &mac) noexcept
{
    if (::strcmp(mac.c_str(), greatest.c_str()) > 0)
        greatest.assign(mac.view());
}

} // namespace orvane
