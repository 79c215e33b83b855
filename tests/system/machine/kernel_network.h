// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "fixture.h"

#include <filesystem>
#include <sstream>
#include <string>

// A machine whose network cards are the kernel's own, made with iproute2 in the test's network
// namespace; nothing stands between. Where they sit is for the constructed sysfs to show.
class kernel_network : public on_machine {
protected:
    void furnish() override
    {
        machine.character_device("/dev/net/tun", 10, 200);
        machine.directory("/sys/bus/usb/devices/1-1");
        machine.directory("/sys/class/net");
        if (!std::filesystem::exists(machine.own_proc() + "/net/if_inet6"))
            GTEST_SKIP() << "the kernel has no IPv6";
    }

    // Makes a device, or skips the test where this kernel has none of the kind.
    void make(const std::string &command)
    {
        const constructed_machine::program_result result = ip(command);
        if (result.status == 127)
            GTEST_SKIP() << "no /bin/ip here";
        if (result.status != 0)
            GTEST_SKIP() << "the kernel makes no such device: ip " << command << ": "
                         << result.error;
    }
    void set(const std::string &command) { EXPECT_EQ(ip(command).status, 0) << "ip " << command; }

    // Puts a device where its card sits.
    void place(const std::string &name, const std::string &device)
    {
        machine.directory("/sys/devices/" + device);
        machine.link("/sys/class/net/" + name + "/device", "/sys/devices/" + device);
    }

private:
    [[nodiscard]] constructed_machine::program_result ip(const std::string &command) const
    {
        texts words = {"/bin/ip"};
        std::istringstream stream(command);
        for (std::string word; stream >> word;)
            words.push_back(word);
        return machine.run(words);
    }
};

// A machine whose network cards are tap devices.
class tap_network : public kernel_network {
protected:
    void furnish() override
    {
        kernel_network::furnish();
        make("tuntap add dev spare mode tap"); // whether there are any
    }

    void add(const std::string &name, const std::string &address)
    {
        set("tuntap add dev " + name + " mode tap");
        set("link set " + name + " address " + address + " addrgenmode none");
    }
};
