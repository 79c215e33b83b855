// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "listed_names.h"
#include "network_machine.h"
#include "orvane.h"

#include <string>

// A machine without network cards of its own, so that the slaves of bonds are all there is.
class bonding_machine : public network_machine {
protected:
    static owned_text asked() { return owned_text(orvane_get_network_interface_max_mac()); }
    static std::string answer() { return asked().value(); }

    listed_names directory;
};
