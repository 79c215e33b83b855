// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "directory_calls.h"
#include "interface_listing.h"
#include "orvane.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <ifaddrs.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/socket.h>

// A kernel that lists what the test wants and gives every interface the same addresses. Writes
// down, among the other calls, the sockets and requests made and the lines traced; copies of text
// are left out.
class network_kernel : public directory_calls {
public:
    using address = std::array<unsigned char, 6>;
    struct request {
        unsigned long number;
        ifreq asked;
        struct {
            std::uint32_t command;
            std::uint32_t size;
            address room;
        } ethtool; // of an ethtool request alone
    };

    network_kernel()
    {
        interpose::strdup.reset();
        interpose::getifaddrs = [this](ifaddrs **entries) {
            note("getifaddrs");
            *entries = listing_.emplace(listed).first();
            return 0;
        };
        interpose::freeifaddrs = [this](ifaddrs *entries) {
            note(entries == listing_->first() ? "freeifaddrs" : "freeifaddrs of another list");
            listing_.reset();
        };
        interpose::socket = [this](int domain, int type, int protocol) {
            note("socket", domain, type, protocol);
            return is_failing() ? -1 : socket_ = interpose::socket.real(domain, type, protocol);
        };
        interpose::ioctl = [this](int fd, unsigned long number, void *argument) {
            auto &asked = *static_cast<ifreq *>(argument);
            note(fd == socket_ ? "ioctl" : "ioctl elsewhere", name_of(number), asked.ifr_name);
            return answer(number, asked);
        };
        interpose::close = [this](int fd) {
            if (fd == socket_) {
                note("close");
                socket_ = -1;
            }
            return interpose::close.real(fd);
        };
        interpose::orvane_logger_env_init = [] {
            std::filesystem::create_directories("/var/log/orvane");
            return 1;
        };
        interpose::write = [this](int fd, const void *data, size_t size) {
            const std::string_view line(static_cast<const char *>(data), size);
            note("trace", line.substr(line.find("]: ") + 3, size - line.find("]: ") - 4));
            return interpose::write.real(fd, data, size);
        };
    }

    // Lets the call of this number fail, counted from 1 over sockets and requests.
    void fail(int step, int error)
    {
        left_ = step;
        error_ = error;
    }

    std::vector<listed_entry> listed;
    address current = {0x02, 0, 0, 0, 0, 0x01};
    address permanent = {0x00, 0x1a, 0x2b, 0x3c, 0x4d, 0x5e};
    std::vector<request> requests;

private:
    bool is_failing()
    {
        if (--left_ != 0)
            return false;
        errno = error_;
        return true;
    }

    static std::string name_of(unsigned long number)
    {
        if (number == 0x8927)
            return "SIOCGIFHWADDR";
        return number == 0x8946 ? "SIOCETHTOOL" : std::to_string(number);
    }

    // A call that fails may have written something all the same.
    int answer(unsigned long number, ifreq &asked)
    {
        request &made = requests.emplace_back(request{number, asked, {}});
        if (number == SIOCETHTOOL) {
            std::memcpy(&made.ethtool, asked.ifr_data, 14);
            std::memcpy(asked.ifr_data + 8, permanent.data(), permanent.size());
        } else {
            std::memset(asked.ifr_hwaddr.sa_data, 0xee, sizeof asked.ifr_hwaddr.sa_data);
            std::memcpy(asked.ifr_hwaddr.sa_data, current.data(), current.size());
        }
        return is_failing() ? -1 : 0;
    }

    std::optional<interface_listing> listing_;
    int socket_ = -1;
    int left_ = 0;
    int error_ = 0;
};

// The query under test.
inline std::string max_mac()
{
    return owned_text(orvane_get_network_interface_max_mac()).value();
}

// The lines of one list and behind them those of another.
inline texts operator+(texts first, const texts &second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}
