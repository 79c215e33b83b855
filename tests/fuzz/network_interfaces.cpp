// SPDX-License-Identifier: LGPL-2.1-or-later
//
// A line for each address of an interface, as "NAME FAMILY CURRENT PERMANENT". The kernel does not
// report an address that is no six bytes.
#include "faked_system.h"
#include "machine/mac_address.h"
#include "orvane.h"

#include <array>
#include <map>
#include <sstream>

#include <ifaddrs.h>
#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace {

using address = std::array<unsigned char, 6>;

struct card {
    std::optional<address> current;
    std::optional<address> permanent;
};

struct listed {
    std::string name;
    std::string family;
    sockaddr socket = {};
    ifaddrs entry = {};
};

std::vector<listed> list;
std::map<std::string, card> cards; // by the names that fit into a request

std::string requested(const std::string &name)
{
    return name.substr(0, IFNAMSIZ - 1);
}

std::optional<address> address_of(const std::string &text)
{
    address bytes = {};
    int end = -1;
    std::sscanf(text.c_str(), "%2hhx:%2hhx:%2hhx:%2hhx:%2hhx:%2hhx%n", &bytes[0], &bytes[1],
                &bytes[2], &bytes[3], &bytes[4], &bytes[5], &end);
    return end == static_cast<int>(text.size()) ? std::optional(bytes) : std::nullopt;
}

std::string text_of(const address &bytes)
{
    std::string text;
    for (const unsigned char byte : bytes) {
        text += text.empty() ? "" : ":";
        text += "0123456789abcdef"[byte / 16];
        text += "0123456789abcdef"[byte % 16];
    }
    return text;
}

sa_family_t number_of(const std::string &family)
{
    static const std::map<std::string, sa_family_t> families = {
        {"packet", AF_PACKET}, {"inet", AF_INET}, {"inet6", AF_INET6}};
    const auto found = families.find(family);
    return found == families.end() ? sa_family_t{AF_UNIX} : found->second;
}

void furnish(std::istringstream text)
{
    list.clear();
    cards.clear();
    for (std::string line; std::getline(text, line);) {
        std::istringstream words(line);
        listed entry;
        std::string current;
        std::string permanent;
        words >> entry.name >> entry.family >> current >> permanent;
        cards.try_emplace(requested(entry.name), card{address_of(current), address_of(permanent)});
        list.push_back(entry);
    }
}

// The greatest permanent address of the wired interfaces before the first that has no address.
std::optional<std::string> greatest_address()
{
    std::optional<std::string> greatest;
    for (const listed &entry : list) {
        if (entry.name == "-" || entry.family == "-" || number_of(entry.family) == AF_UNIX ||
            !faked::is_below(entry.name, {"eth", "en", "em"}))
            continue;
        const card &queried = cards.at(requested(entry.name));
        if (!queried.current)
            break;
        greatest =
            std::max(greatest, std::optional(text_of(queried.permanent.value_or(address()))));
    }
    return greatest;
}

using query = bool (*)(const char *name, orvane::mac_text &mac) noexcept;

std::optional<std::string> reported(query address, const std::string &name)
{
    orvane::mac_text mac;
    return address(name.c_str(), mac) ? std::optional<std::string>(mac.c_str()) : std::nullopt;
}

void require_each_reported()
{
    for (const auto &[name, queried] : cards) {
        const auto current =
            queried.current ? std::optional(text_of(*queried.current)) : std::nullopt;
        const auto permanent = queried.current
                                   ? std::optional(text_of(queried.permanent.value_or(address())))
                                   : std::nullopt;
        require(reported(orvane::network_interface_get_mac, name) == current);
        require(reported(orvane::network_interface_get_permanent_mac, name) == permanent);
    }
}

int answer_current(const card &queried, ifreq &request)
{
    if (!queried.current)
        return -1;
    std::copy(queried.current->begin(), queried.current->end(), request.ifr_hwaddr.sa_data);
    return 0;
}

int answer_permanent(const card &queried, const ifreq &request)
{
    ethtool_perm_addr wanted = {};
    std::memcpy(&wanted, request.ifr_data, sizeof wanted);
    require(wanted.cmd == ETHTOOL_GPERMADDR && wanted.size == sizeof(address));
    if (!queried.permanent)
        return -1;
    std::memcpy(request.ifr_data + sizeof wanted, queried.permanent->data(), sizeof(address));
    return 0;
}

} // namespace

extern "C" int getifaddrs(ifaddrs **entries) noexcept
{
    ifaddrs *next = nullptr;
    for (auto entry = list.rbegin(); entry != list.rend(); ++entry) {
        entry->socket.sa_family = number_of(entry->family);
        entry->entry.ifa_name = entry->name == "-" ? nullptr : entry->name.data();
        entry->entry.ifa_addr = entry->family == "-" ? nullptr : &entry->socket;
        entry->entry.ifa_next = next;
        next = &entry->entry;
    }
    *entries = next;
    return 0;
}

extern "C" void freeifaddrs(ifaddrs * /*entries*/) noexcept {}

extern "C" int ioctl(int /*socket*/, unsigned long what, ...) noexcept
{
    va_list arguments;
    va_start(arguments, what);
    ifreq &request = *va_arg(arguments, ifreq *);
    va_end(arguments);
    const card &queried = cards.at(request.ifr_name);
    require(what == SIOCGIFHWADDR || what == SIOCETHTOOL);
    return what == SIOCGIFHWADDR ? answer_current(queried, request)
                                 : answer_permanent(queried, request);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    furnish(std::istringstream(text_of(data, size)));
    const orvane::heap_text greatest(orvane_get_network_interface_max_mac());
    require((greatest ? std::optional<std::string>(greatest.get()) : std::nullopt) ==
            greatest_address());
    require_each_reported();
    return 0;
}
