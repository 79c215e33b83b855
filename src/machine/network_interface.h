// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/owned.h"

#include <glib.h>

namespace orvane {

// A network interface and its addresses as text, such as "00:1a:2b:3c:4d:5e". The texts are the
// record's own. The permanent address decides; the others tell whose it is.
struct network_interface {
    char *name;
    char *mac;           // in use; of a bonding slave, which shows its bond's, the maker's
    char *permanent_mac; // the maker's
};

// A record of its own copies, or nullptr where there is no memory for all of it.
network_interface *network_interface_new(const char *name, const char *mac,
                                         const char *permanent_mac) noexcept;
void network_interface_free(network_interface *interface) noexcept;

// Orders two records by permanent address, the greatest first.
int network_interface_compare_permanent_mac(const void *first, const void *second) noexcept;

void free_interfaces(GList *interfaces) noexcept;
using interface_list = owned<GList, free_interfaces>;

// Appends a record that was just made, or nothing where it could not be.
void add_interface(interface_list &interfaces, network_interface *made) noexcept;
void append_interfaces(interface_list &interfaces, interface_list more) noexcept;

} // namespace orvane
