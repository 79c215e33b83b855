// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Which of the machine's permanent Ethernet addresses it is known by.
#include "machine/network_identity.h"

#include "machine/bonding.h"
#include "machine/mac_address.h"
#include "machine/usb_bus.h"
#include "orvane.h"
#include "support/text.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include <ifaddrs.h>
#include <sys/socket.h>

namespace orvane {

namespace {

using interface_addresses = owned<ifaddrs, ::freeifaddrs>;

bool is_wired(const char *name) noexcept
{
    constexpr const char *prefixes[] = {"eth", "en", "em"};
    return std::any_of(std::begin(prefixes), std::end(prefixes),
                       [name](const char *prefix) { return has_prefix(name, prefix); });
}

bool is_considered(const ifaddrs &entry) noexcept
{
    if (entry.ifa_addr == nullptr || entry.ifa_name == nullptr)
        return false;
    const sa_family_t family = entry.ifa_addr->sa_family;
    const bool is_known_family = family == AF_INET || family == AF_INET6 || family == AF_PACKET;
    return is_known_family && is_wired(entry.ifa_name);
}

// Deliberate: an interface that could be asked a moment ago and now cannot counts with the address
// that it has in use, which may be a configured one.
void add_candidate(interface_list &interfaces, const char *name, const char *mac) noexcept
{
    const heap_text told = network_interface_get_permanent_mac(name);
    if (!told)
        ::orvane_trace("no permanent mac!");
    const char *const permanent_mac = told ? told.get() : mac;
    ::orvane_trace("mac: <%s>,  permanent_mac: <%s>.", mac, permanent_mac);
    add_interface(interfaces, network_interface_new(name, mac, permanent_mac));
}

// False ends the walk. Deliberate: what comes after a removable adapter, or after an interface
// without an address, is left out with it. Callers compare what they recorded earlier, so a machine
// must keep its answer from one version to the next.
bool take_interface(interface_list &interfaces, const char *name, bool ignore_usb) noexcept
{
    ::orvane_trace("found network interface device: %s, ignoreMountUSB: %s", name,
                   ignore_usb ? "true" : "false");
    if (ignore_usb && network_interface_on_usb_bus(name)) {
        ::orvane_trace("<%s> mounted on the usb bus, ignore.", name);
        return false;
    }
    const heap_text mac = network_interface_get_mac(name);
    if (!mac)
        return false;
    add_candidate(interfaces, name, mac.get());
    return true;
}

interface_list walk(const ifaddrs *entry, bool ignore_usb) noexcept
{
    interface_list interfaces;
    for (; entry != nullptr; entry = entry->ifa_next) {
        if (is_considered(*entry) && !take_interface(interfaces, entry->ifa_name, ignore_usb))
            break;
    }
    return interfaces;
}

} // namespace

interface_list network_interface_list(bool ignore_usb) noexcept
{
    ifaddrs *entries = nullptr;
    if (::getifaddrs(&entries) == -1)
        return {};
    interface_addresses addresses(entries);
    interface_list interfaces = walk(addresses.get(), ignore_usb);
    addresses.reset();
    append_interfaces(interfaces, network_interface_list_bonding_slaves());
    return interfaces;
}

} // namespace orvane

extern "C" char *network_interface_get_max_mac(void)
{
    orvane::interface_list interfaces = orvane::network_interface_list(true);
    interfaces.reset(
        ::g_list_sort(interfaces.release(), orvane::network_interface_compare_permanent_mac));
    if (!interfaces)
        return nullptr;
    const auto *const greatest = static_cast<const orvane::network_interface *>(interfaces->data);
    return ::strdup(greatest->permanent_mac);
}

extern "C" char *orvane_get_network_interface_max_mac(void)
{
    return ::network_interface_get_max_mac();
}
