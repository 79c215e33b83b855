// SPDX-License-Identifier: LGPL-2.1-or-later
#include "machine/network_interface.h"

#include <cstdlib>
#include <cstring>

namespace orvane {

network_interface *network_interface_new(const char *name, const char *mac,
                                         const char *permanent_mac) noexcept
{
    owned<network_interface, network_interface_free> made(
        static_cast<network_interface *>(::calloc(1, sizeof(network_interface))));
    if (!made)
        return nullptr;
    made->name = ::strdup(name);
    made->mac = ::strdup(mac);
    made->permanent_mac = ::strdup(permanent_mac);
    const bool is_whole =
        made->name != nullptr && made->mac != nullptr && made->permanent_mac != nullptr;
    return is_whole ? made.release() : nullptr;
}

void network_interface_free(network_interface *interface) noexcept
{
    if (interface == nullptr)
        return;
    ::free(interface->name);
    ::free(interface->mac);
    ::free(interface->permanent_mac);
    ::free(interface);
}

int network_interface_compare_permanent_mac(const void *first, const void *second) noexcept
{
    const auto *const a = static_cast<const network_interface *>(first);
    const auto *const b = static_cast<const network_interface *>(second);
    if (a == nullptr || b == nullptr || a->permanent_mac == nullptr || b->permanent_mac == nullptr)
        return 0;
    return -::strcmp(a->permanent_mac, b->permanent_mac);
}

void free_interfaces(GList *interfaces) noexcept
{
    ::g_list_foreach(
        interfaces,
        [](void *interface, void *) {
            network_interface_free(static_cast<network_interface *>(interface));
        },
        nullptr);
    ::g_list_free(interfaces);
}

void add_interface(interface_list &interfaces, network_interface *made) noexcept
{
    if (made != nullptr)
        interfaces.reset(::g_list_append(interfaces.release(), made));
}

void append_interfaces(interface_list &interfaces, interface_list more) noexcept
{
    interfaces.reset(::g_list_concat(interfaces.release(), more.release()));
}

} // namespace orvane
