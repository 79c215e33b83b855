// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <iterator>
#include <list>
#include <optional>
#include <string>
#include <vector>

#include <ifaddrs.h>
#include <sys/socket.h>

// An entry of the kernel's list of interfaces. It may lack a name, and an address where it has no
// family.
struct listed_entry {
    const char *name;
    std::optional<int> family = AF_PACKET;
};

// The list as getifaddrs() gives it.
class interface_listing {
public:
    explicit interface_listing(const std::vector<listed_entry> &entries)
    {
        for (const listed_entry &entry : entries) {
            ifaddrs &listed = entries_.emplace_back();
            listed.ifa_name = entry.name ? names_.emplace_back(entry.name).data() : nullptr;
            if (entry.family) {
                listed.ifa_addr = &addresses_.emplace_back();
                listed.ifa_addr->sa_family = static_cast<sa_family_t>(*entry.family);
            }
            if (entries_.size() > 1)
                std::prev(entries_.end(), 2)->ifa_next = &listed;
        }
    }

    ifaddrs *first() { return entries_.empty() ? nullptr : &entries_.front(); }

private:
    std::list<std::string> names_;
    std::list<sockaddr> addresses_;
    std::list<ifaddrs> entries_;
};
