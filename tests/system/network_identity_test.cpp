// SPDX-License-Identifier: LGPL-2.1-or-later
#include "network_machine.h"
#include "orvane.h"

namespace {

class network_identity : public network_machine {
protected:
    static std::string answer()
    {
        return owned_text(orvane_get_network_interface_max_mac()).value();
    }
};

TEST_F(network_identity, the_greatest_permanent_address_wins)
{
    plug({"eth0", "00:1a:2b:3c:4d:5e", "00:1a:2b:3c:4d:5e"});
    plug({"enp3s0", "f4:8e:38:00:00:01", "f4:8e:38:00:00:01"});

    EXPECT_EQ(answer(), "f4:8e:38:00:00:01");
}

TEST_F(network_identity, a_usb_adapter_ends_the_walk)
{
    plug({"eth0", "00:1a:2b:3c:4d:5e", "00:1a:2b:3c:4d:5e"});
    plug_into_usb({"eth1", "f4:8e:38:00:00:01", "f4:8e:38:00:00:01"});
    plug({"eth2", "f4:8e:38:00:00:02", "f4:8e:38:00:00:02"});

    EXPECT_EQ(answer(), "00:1a:2b:3c:4d:5e");
    EXPECT_EQ(machine.trace(),
              (texts{"found network interface device: eth0, ignoreMountUSB: true",
                     "mac: <00:1a:2b:3c:4d:5e>,  permanent_mac: <00:1a:2b:3c:4d:5e>.",
                     "found network interface device: eth1, ignoreMountUSB: true",
                     "<eth1> mounted on the usb bus, ignore."}));
}

} // namespace
