// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "network_machine.h"
#include "orvane.h"
#include "stream_of.h"

#include <string>

inline constexpr char usb_devices[] = "/sys/bus/usb/devices";
inline constexpr char device_of_eth0[] = "/sys/class/net/eth0/device";
inline constexpr char address[] = "00:1a:2b:3c:4d:5e";
inline const network_card eth0 = {"eth0", address, address};

inline const std::string found = "found network interface device: eth0, ignoreMountUSB: true";
inline const std::string ignored = "<eth0> mounted on the usb bus, ignore.";

inline const texts taken_trace = {found,
                                  "mac: <00:1a:2b:3c:4d:5e>,  permanent_mac: <00:1a:2b:3c:4d:5e>."};
inline const texts ignored_trace = {found, ignored};
inline texts ignored_after(const std::string &reason)
{
    return {found, reason, ignored};
}

// A machine of which it matters where its one card sits, and what is on its USB bus.
class usb_machine : public network_machine {
protected:
    static owned_text asked() { return owned_text(orvane_get_network_interface_max_mac()); }

    texts traced()
    {
        const owned_text answer = asked();
        EXPECT_EQ(answer.is_null(), machine.trace() != taken_trace);
        return machine.trace();
    }

    void list_usb_devices(const texts &names)
    {
        machine.directory(usb_devices);
        for (const std::string &name : names)
            machine.directory(std::string(usb_devices) + "/" + name);
    }

    // Lets readlink's output be read so.
    static void let_readlink_print(const texts &pieces, int last_error = 0)
    {
        interpose::popen = [=](const char *, const char *) {
            return stream_of(pieces, last_error);
        };
        interpose::pclose = [](std::FILE *stream) { return std::fclose(stream); };
    }
};
