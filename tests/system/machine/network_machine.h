// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "fixture.h"
#include "interface_listing.h"
#include "interpose.h"
#include "orvane.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <list>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>

// An interface as the kernel describes it.
struct network_card {
    std::string name;
    std::string current;                       // none where empty
    std::optional<std::string> permanent = {}; // none: the driver does not report it
    // How often the kernel still knows the interface, and its reason when it no longer does.
    int answers = 1000;
    int reason = ENODEV;
};

// The kernel's answers about interfaces: what it lists, and what it reports of each by name.
class network_kernel {
public:
    network_kernel()
    {
        interpose::getifaddrs = [this](ifaddrs **list) {
            EXPECT_FALSE(listing_) << "listed again before the first list was freed";
            if (cannot_list)
                return refuse(ENOMEM);
            *list = entries.empty() ? nullptr : listing_.emplace(entries).first();
            return 0;
        };
        interpose::freeifaddrs = [this](ifaddrs *) { listing_.reset(); };
        interpose::ioctl = [this](int, unsigned long number, void *argument) {
            ifreq &request = *static_cast<ifreq *>(argument);
            switch (number) {
            case SIOCGIFHWADDR:
                return report_current(request);
            case SIOCETHTOOL:
                return report_permanent(request);
            default:
                return refuse(EINVAL);
            }
        };
    }
    network_kernel(const network_kernel &) = delete;
    network_kernel &operator=(const network_kernel &) = delete;
    ~network_kernel() { EXPECT_FALSE(listing_) << "the interface list was not freed"; }

    // Lists an interface after those before it. The kernel knows it by 15 characters of its name.
    void add(const network_card &card, const std::vector<std::optional<int>> &families)
    {
        cards_.insert_or_assign(card.name.substr(0, IFNAMSIZ - 1), card);
        names_.push_back(card.name);
        for (const std::optional<int> family : families)
            entries.push_back({names_.back().c_str(), family});
    }

    std::vector<listed_entry> entries;
    bool cannot_list = false;

private:
    static int refuse(int error)
    {
        errno = error;
        return -1;
    }

    network_card *card_of(const ifreq &request)
    {
        const auto card = cards_.find({request.ifr_name, ::strnlen(request.ifr_name, IFNAMSIZ)});
        return card == cards_.end() || card->second.current.empty() ? nullptr : &card->second;
    }

    static void store(const std::string &text, void *bytes)
    {
        unsigned parts[6] = {};
        std::sscanf(text.c_str(), "%x:%x:%x:%x:%x:%x", &parts[0], &parts[1], &parts[2], &parts[3],
                    &parts[4], &parts[5]);
        std::copy(std::begin(parts), std::end(parts), static_cast<unsigned char *>(bytes));
    }

    int report_current(ifreq &request)
    {
        network_card *const card = card_of(request);
        if (card == nullptr)
            return refuse(ENODEV);
        store(card->current, request.ifr_hwaddr.sa_data);
        return card->answers-- > 0 ? 0 : refuse(card->reason);
    }

    int report_permanent(ifreq &request)
    {
        const network_card *const card = card_of(request);
        auto *const wanted = reinterpret_cast<ethtool_perm_addr *>(request.ifr_data);
        if (card == nullptr || wanted->cmd != ETHTOOL_GPERMADDR || wanted->size != 6)
            return refuse(EINVAL);
        store(card->permanent.value_or("ee:ee:ee:ee:ee:ee"), wanted->data);
        return card->permanent ? 0 : refuse(EOPNOTSUPP);
    }

    std::list<std::string> names_;
    std::map<std::string, network_card> cards_;
    std::optional<interface_listing> listing_;
};

// A machine with the network cards that the test plugs in. Where they sit is for sysfs to show.
class network_machine : public on_machine {
protected:
    static constexpr char onboard[] = "/sys/devices/pci0000:00/0000:00:1f.6";
    static constexpr char usb_adapter[] = "/sys/devices/pci0000:00/0000:00:14.0/usb1/1-1/1-1:1.0";

    void furnish() override
    {
        for (const std::string device : {"usb1", "1-1", "1-1:1.0"})
            machine.directory("/sys/bus/usb/devices/" + device);
        machine.directory("/sys/class/net");
    }

    void plug(const network_card &card, const std::string &device = onboard,
              const std::vector<std::optional<int>> &families = {AF_PACKET})
    {
        machine.directory(device);
        machine.link("/sys/class/net/" + card.name + "/device", device);
        kernel.add(card, families);
    }

    // The kernel's report of a bond.
    void bond(const std::string &name, const std::string &report)
    {
        machine.file("/proc/net/bonding/" + name, report);
    }

    static std::string max_mac()
    {
        return owned_text(orvane_get_network_interface_max_mac()).value();
    }

    network_kernel kernel;
};

// The lines of one list and behind them those of another.
inline texts operator+(texts first, const texts &second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}
