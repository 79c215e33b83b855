// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The greatest permanent Ethernet address of the machine's own wired interfaces.
#include "machine/bonding.h"
#include "machine/mac_address.h"
#include "machine/usb_bus.h"
#include "orvane.h"
#include "support/outside_text.h"
#include "support/owned.h"
#include "support/text.h"

#include <algorithm>
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

// The address in use, which may be a configured one, stands in for a permanent one that cannot be
// queried.
void take_addresses(const char *name, const mac_text &mac, mac_text &greatest) noexcept
{
    mac_text permanent_mac;
    if (!network_interface_get_permanent_mac(name, permanent_mac)) {
        ::orvane_trace("no permanent mac!");
        permanent_mac.assign(mac.view());
    }
    ::orvane_trace("mac: <%s>,  permanent_mac: <%s>.", mac.c_str(), permanent_mac.c_str());
    keep_greatest(greatest, permanent_mac);
}

// False ends the walk. Deliberate: what follows a removable adapter, or an interface without an
// address, is left out with it. Callers compare what they recorded earlier, so a machine must keep
// its answer from one version to the next.
bool take_interface(const char *name, mac_text &greatest) noexcept
{
    trace_outside_text("found network interface device: %s, ignoreMountUSB: true", name);
    if (network_interface_on_usb_bus(name)) {
        trace_outside_text("<%s> mounted on the usb bus, ignore.", name);
        return false;
    }
    mac_text mac;
    if (!network_interface_get_mac(name, mac))
        return false;
    take_addresses(name, mac, greatest);
    return true;
}

// The kernel lists an interface once for each of its addresses.
void network_interface_list(mac_text &greatest) noexcept
{
    ifaddrs *first = nullptr;
    if (::getifaddrs(&first) == -1)
        return;
    interface_addresses addresses(first);
    for (const ifaddrs *entry = first; entry != nullptr; entry = entry->ifa_next) {
        if (is_considered(*entry) && !take_interface(entry->ifa_name, greatest))
            break;
    }
    addresses.reset();
    network_interface_list_bonding_slaves(greatest);
}

} // namespace

} // namespace orvane

extern "C" char *network_interface_get_max_mac(void)
{
    orvane::mac_text greatest;
    orvane::network_interface_list(greatest);
    return greatest.empty() ? nullptr : greatest.copy();
}

extern "C" char *orvane_get_network_interface_max_mac(void)
{
    return ::network_interface_get_max_mac();
}
