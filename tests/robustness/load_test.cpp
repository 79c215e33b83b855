// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The library as a plug-in brings it along: loaded, called and unloaded. This program does not link
// it, so that it can go.
#include "fixture.h"
#include "orvane.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <malloc.h>

namespace {

constexpr int times = 500;

// The first loads fill what is kept for good: names, handlers for the end of the process.
constexpr int times_until_settled = 150;

std::string staged_library()
{
    return build_folder() + "/stage/" LIBRARY_DIRECTORY "/liborvane.so.1";
}

class loaded_library {
public:
    loaded_library() : handle_(::dlopen(staged_library().c_str(), RTLD_NOW))
    {
        if (handle_ == nullptr)
            throw std::runtime_error(::dlerror());
    }
    loaded_library(const loaded_library &) = delete;
    loaded_library &operator=(const loaded_library &) = delete;
    ~loaded_library() { ::dlclose(handle_); }

    template <class Function> Function *function(const char *name, Function * /*type*/) const
    {
        return reinterpret_cast<Function *>(::dlsym(handle_, name));
    }

private:
    void *handle_;
};

#define FUNCTION(library, name) (library).function(#name, static_cast<decltype(&::name)>(nullptr))

std::string encoded(const loaded_library &library, std::string_view data)
{
    std::array<char, 64> text = {};
    unsigned int length = 0;
    FUNCTION(library, base64_encode)
    (data.data(), static_cast<int>(data.size()), text.data(), &length);
    return {text.data(), length};
}

// One call of each kind: a file, a tool, a tool without a shell, and the libraries behind, with the
// lists and streams that they lend. GPGME is not among them.
std::string all_answers(const loaded_library &library)
{
    const auto text_of = [](char *text) { return owned_text(text).value(); };
    std::string all = text_of(FUNCTION(library, orvane_get_vendor)());
    all += " " + text_of(FUNCTION(library, orvane_get_system_uuid)());
    all += " " + text_of(FUNCTION(library, harddisk_id)("/dev/mapper/root"));
    all += " " + text_of(FUNCTION(library, find_root_disk)(
                     R"({"blockdevices":[{"name":"sda","children":[{"mountpoint":"/"}]}]})"));
    all += " " + std::to_string(FUNCTION(library, _os_get_version)());
    all += " " + text_of(FUNCTION(library, network_interface_get_max_mac)());
    all += " " + encoded(library, "machine!");
    unsigned char digest[32] = {};
    all += FUNCTION(library, compute_sha256)("abc", digest) ? " digest" : " none";
    all += FUNCTION(library, orvane_trace)("loaded") == 1 ? " traced" : " lost";
    return all;
}

bool is_loaded()
{
    void *const handle = ::dlopen(staged_library().c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr)
        ::dlclose(handle);
    return handle != nullptr;
}

std::ptrdiff_t lines_of(const std::string &path)
{
    std::ifstream stream(path);
    return std::count(std::istreambuf_iterator<char>(stream), {}, '\n');
}

std::ptrdiff_t entries_of(const std::string &path)
{
    return std::distance(std::filesystem::directory_iterator(path), {});
}

long resident_pages(const std::string &process)
{
    long pages = 0;
    std::ifstream(process + "/statm") >> pages >> pages;
    return pages;
}

class loaded_again_and_again : public on_machine {
protected:
    void furnish() override
    {
        machine.file("/sys/class/dmi/id/sys_vendor", "ACME\n");
        machine.tool("/usr/sbin/dmidecode", "4c4c4544-0043-3010-8052-b4c04f564231\n");
        machine.tool("/usr/sbin/dmsetup", "1 dependencies\t: (nvme0n1p2)\n");
        machine.block_device("/dev/dm-0");
        machine.block_device("/dev/nvme0n1p2");
        machine.link("/dev/mapper/root", "../dm-0");
        machine.file("/sys/block/nvme0n1/device/model", "Fast Disk\n");
        machine.file("/sys/block/nvme0n1/device/serial", "S1\n");
        machine.file("/etc/os-release", "VARIANT=\"EDU\"\n");
        machine.file("/proc/net/bonding/bond0", "Slave Interface: enp1s0\n"
                                                "Permanent HW addr: a0:00:00:00:00:01\n");
    }
};

} // namespace

TEST_F(loaded_again_and_again, leaves_nothing_behind)
{
    const std::string own = machine.own_proc();
    std::ptrdiff_t mappings = 0;
    std::ptrdiff_t descriptors = 0;
    long pages = 0;
    std::size_t bytes = 0;
    for (int time = 0; time < times; ++time) {
        {
            const loaded_library library;
            ASSERT_EQ(all_answers(library), "ACME 4c4c4544-0043-3010-8052-b4c04f564231 "
                                            "Fast-Disk_S1 sda 2 a0:00:00:00:00:01 "
                                            "bWFjaGluZSE= digest traced");
        }
        ASSERT_FALSE(is_loaded());
        if (time == times_until_settled) {
            mappings = lines_of(own + "/maps");
            descriptors = entries_of(own + "/fd");
            pages = resident_pages(own);
            bytes = ::mallinfo2().uordblks;
        }
    }
    EXPECT_LE(lines_of(own + "/maps"), mappings);
    EXPECT_EQ(entries_of(own + "/fd"), descriptors);
    // A page at each load would be more than twice this.
    EXPECT_LT(resident_pages(own), pages + times / 4);
    // The smallest block, of 32 bytes, at each load would be more than twice this.
    EXPECT_LT(::mallinfo2().uordblks, bytes + times * std::size_t{8});
}
