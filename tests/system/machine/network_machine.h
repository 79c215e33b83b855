// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "fixture.h"
#include "interface_listing.h"
#include "interpose.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include <ifaddrs.h>
#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

// An interface as the kernel lists it: once for each of its addresses.
struct network_card {
    std::string name;
    std::string current;                       // no answer where empty
    std::optional<std::string> permanent = {}; // none: the driver does not tell it
    std::vector<int> families = {AF_PACKET};
};

// A machine with the network cards that the test plugs in. The kernel's answers about them are the
// test's; where they sit is for sysfs to show.
class network_machine : public on_machine {
protected:
    void furnish() override
    {
        machine.link("/sys/bus/usb/devices/usb1", "../../../devices/pci0000:00/0000:00:14.0/usb1");
        machine.link("/sys/bus/usb/devices/1-1",
                     "../../../devices/pci0000:00/0000:00:14.0/usb1/1-1");
        machine.link("/sys/bus/usb/devices/1-1:1.0",
                     "../../../devices/pci0000:00/0000:00:14.0/usb1/1-1/1-1:1.0");
        machine.directory("/sys/class/net");
        interpose::getifaddrs = [this](ifaddrs **entries) {
            *entries = list_cards();
            return 0;
        };
        interpose::freeifaddrs = [this](ifaddrs *) { listing_.reset(); };
        interpose::ioctl = [this](int, unsigned long request, void *argument) {
            return answer(request, *static_cast<ifreq *>(argument));
        };
    }

    void TearDown() override
    {
        EXPECT_FALSE(listing_) << "the interface list was not freed";
        on_machine::TearDown();
    }

    // A card that the kernel lists after those before it, and its device.
    void plug(const network_card &card, const std::string &device)
    {
        machine.directory(device);
        machine.link("/sys/class/net/" + card.name + "/device", device);
        cards.push_back(card);
    }
    void plug(const network_card &card) { plug(card, "/sys/devices/pci0000:00/0000:00:1f.6"); }
    void plug_into_usb(const network_card &card)
    {
        plug(card, "/sys/devices/pci0000:00/0000:00:14.0/usb1/1-1/1-1:1.0");
    }

    // The kernel's report of a bond.
    void bond(const std::string &name, const std::string &report)
    {
        machine.file("/proc/net/bonding/" + name, report);
    }

    std::vector<network_card> cards;

private:
    ifaddrs *list_cards()
    {
        EXPECT_FALSE(listing_) << "listed again before the first list was freed";
        std::vector<listed_entry> entries;
        for (const network_card &card : cards) {
            for (const int family : card.families)
                entries.push_back({card.name.c_str(), family});
        }
        return entries.empty() ? nullptr : listing_.emplace(entries).first();
    }

    static int refuse(int error)
    {
        errno = error;
        return -1;
    }

    static void store(const std::string &text, void *bytes)
    {
        unsigned parts[6] = {};
        std::sscanf(text.c_str(), "%x:%x:%x:%x:%x:%x", &parts[0], &parts[1], &parts[2], &parts[3],
                    &parts[4], &parts[5]);
        std::copy(std::begin(parts), std::end(parts), static_cast<unsigned char *>(bytes));
    }

    int answer(unsigned long request, ifreq &asked)
    {
        const auto card =
            std::find_if(cards.begin(), cards.end(),
                         [&asked](const network_card &one) { return one.name == asked.ifr_name; });
        if (card == cards.end() || card->current.empty())
            return refuse(ENODEV);
        if (request == SIOCGIFHWADDR) {
            store(card->current, asked.ifr_hwaddr.sa_data);
            return 0;
        }
        auto *const wanted = reinterpret_cast<ethtool_perm_addr *>(asked.ifr_data);
        if (request != SIOCETHTOOL || wanted->cmd != ETHTOOL_GPERMADDR || wanted->size != 6)
            return refuse(EINVAL);
        if (!card->permanent)
            return refuse(EOPNOTSUPP);
        store(*card->permanent, wanted->data);
        return 0;
    }

    std::optional<interface_listing> listing_;
};
