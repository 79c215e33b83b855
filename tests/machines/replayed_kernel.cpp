// SPDX-License-Identifier: LGPL-2.1-or-later
#include "replayed_kernel.h"

#include "interface_listing.h"
#include "words.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string_view>

#include <blkid.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <linux/ethtool.h>
#include <linux/hdreg.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>

namespace recorded {

namespace {

// The kernel's error numbers by their names.
int error_number(const std::string &name)
{
    for (int number = 1; number < 200; ++number) {
        const char *const known = ::strerrorname_np(number);
        if (known != nullptr && name == known)
            return number;
    }
    throw std::runtime_error("no error is named " + name);
}

int family_number(const std::string &name)
{
    const std::map<std::string, int> families = {
        {"packet", AF_PACKET}, {"inet", AF_INET}, {"inet6", AF_INET6}};
    return families.at(name);
}

unsigned flag_numbers(const std::string &names)
{
    static const std::map<std::string, unsigned> flags = {{"UP", IFF_UP},
                                                          {"BROADCAST", IFF_BROADCAST},
                                                          {"LOOPBACK", IFF_LOOPBACK},
                                                          {"NOARP", IFF_NOARP},
                                                          {"RUNNING", IFF_RUNNING},
                                                          {"POINTOPOINT", IFF_POINTOPOINT},
                                                          {"MASTER", IFF_MASTER},
                                                          {"SLAVE", IFF_SLAVE},
                                                          {"PROMISC", IFF_PROMISC},
                                                          {"ALLMULTI", IFF_ALLMULTI},
                                                          {"MULTICAST", IFF_MULTICAST}};
    unsigned sum = 0;
    for (std::size_t start = 0; start < names.size();) {
        const std::size_t end = std::min(names.find(',', start), names.size());
        const std::string name = names.substr(start, end - start);
        sum |= name == "-" ? 0U : flags.at(name);
        start = end + 1;
    }
    return sum;
}

// A hardware address, or the error with which the kernel refuses it.
class address_answer {
public:
    explicit address_answer(const std::string &text)
    {
        if (text.front() == 'E') {
            error_ = error_number(text);
            return;
        }
        unsigned parts[6] = {};
        if (std::sscanf(text.c_str(), "%2x:%2x:%2x:%2x:%2x:%2x", &parts[0], &parts[1], &parts[2],
                        &parts[3], &parts[4], &parts[5]) != 6)
            throw std::runtime_error("no hardware address: " + text);
        std::copy(std::begin(parts), std::end(parts), bytes_);
    }

    int store(void *buffer) const
    {
        if (error_ != 0) {
            errno = error_;
            return -1;
        }
        std::memcpy(buffer, bytes_, sizeof bytes_);
        return 0;
    }

private:
    unsigned char bytes_[6] = {};
    int error_ = 0;
};

struct network_interface {
    address_answer current;
    address_answer permanent;
};

// The texts of an ATA identify request, or the errors of opening the device and of the request.
struct block_device {
    bool is_whole = false;
    int open_error = 0;
    int request_error = 0;
    std::string model;
    std::string serial;
};

struct listed_interface {
    std::string name;
    int family;
    unsigned flags;
};

class kernel {
public:
    explicit kernel(const std::string &folder)
    {
        for (const line &words : word_lines_of(folder + "/network"))
            add_interface(words);
        for (const line &words : word_lines_of(folder + "/disks"))
            add_device(words);
    }

    [[nodiscard]] const block_device *device(std::string_view path) const
    {
        constexpr std::string_view directory = "/dev/";
        if (!path.starts_with(directory))
            return nullptr;
        const auto found = devices_.find(std::string(path.substr(directory.size())));
        return found != devices_.end() ? &found->second : nullptr;
    }

    void opened(int fd, const block_device &device) { open_[fd] = &device; }

    ifaddrs *list_interfaces()
    {
        std::vector<listed_entry> entries;
        for (const listed_interface &one : listed_)
            entries.push_back({one.name.c_str(), one.family});
        ifaddrs *const first = listing_.emplace(entries).first();
        auto one = listed_.begin();
        for (ifaddrs *entry = first; entry != nullptr; entry = entry->ifa_next)
            entry->ifa_flags = one++->flags;
        return first;
    }
    void free_interfaces() { listing_.reset(); }

    // Nothing where the request is not one that was recorded.
    std::optional<int> answer(int fd, unsigned long request, void *buffer)
    {
        switch (request) {
        case HDIO_GET_IDENTITY:
            return identify(fd, static_cast<char *>(buffer));
        case SIOCGIFHWADDR:
            return current_address(*static_cast<ifreq *>(buffer));
        case SIOCETHTOOL:
            return permanent_address(*static_cast<ifreq *>(buffer));
        default:
            return std::nullopt;
        }
    }

private:
    void add_interface(const line &words)
    {
        const std::string &name = words.at(1).text;
        listed_.push_back({name, family_number(words.at(0).text), flag_numbers(words.at(2).text)});
        if (listed_.back().family == AF_PACKET)
            interfaces_.emplace(name, network_interface{address_answer(words.at(3).text),
                                                        address_answer(words.at(4).text)});
    }

    void add_device(const line &words)
    {
        block_device device;
        const std::string &kind = words.at(1).text;
        if (kind != "whole" && kind != "part")
            throw std::runtime_error("neither whole nor part: " + kind);
        device.is_whole = kind == "whole";
        if (words.at(2).is_quoted) {
            device.model = words.at(2).text;
            device.serial = words.at(3).text;
        } else if (words.at(2).text == "open") {
            device.open_error = error_number(words.at(3).text);
        } else {
            device.request_error = error_number(words.at(2).text);
        }
        devices_.emplace(words.at(0).text, device);
    }

    static int refuse(int error)
    {
        errno = error;
        return -1;
    }

    int identify(int fd, char *buffer) const
    {
        const auto found = open_.find(fd);
        if (found == open_.end())
            return refuse(ENOTTY);
        const block_device &device = *found->second;
        if (device.request_error != 0)
            return refuse(device.request_error);
        std::memset(buffer, 0, sizeof(hd_driveid));
        device.serial.copy(buffer + offsetof(hd_driveid, serial_no), sizeof(hd_driveid::serial_no));
        device.model.copy(buffer + offsetof(hd_driveid, model), sizeof(hd_driveid::model));
        return 0;
    }

    // The kernel takes the label of an address for its interface.
    [[nodiscard]] const network_interface *interface_of(const ifreq &request) const
    {
        const std::string name = request.ifr_name;
        const auto found = interfaces_.find(name.substr(0, name.find(':')));
        return found != interfaces_.end() ? &found->second : nullptr;
    }

    int current_address(ifreq &request) const
    {
        const network_interface *const interface = interface_of(request);
        return interface == nullptr ? refuse(ENODEV)
                                    : interface->current.store(request.ifr_hwaddr.sa_data);
    }

    int permanent_address(ifreq &request) const
    {
        const network_interface *const interface = interface_of(request);
        auto *const wanted = reinterpret_cast<ethtool_perm_addr *>(request.ifr_data);
        if (interface == nullptr)
            return refuse(ENODEV);
        if (wanted->cmd != ETHTOOL_GPERMADDR || wanted->size != 6)
            return refuse(EINVAL);
        return interface->permanent.store(wanted->data);
    }

    std::vector<listed_interface> listed_;
    std::map<std::string, network_interface> interfaces_;
    std::map<std::string, block_device> devices_;
    std::map<int, const block_device *> open_;
    std::optional<interface_listing> listing_;
};

// None where the real kernel answers. Used before main() and before constructors, too.
constinit kernel *current = nullptr;

const bool from_the_start = [] {
    if (const char *const folder = std::getenv(kernel_variable))
        replay_kernel(folder);
    return true;
}();

template <class Function> Function *real(const char *name)
{
    auto *const found = reinterpret_cast<Function *>(::dlsym(RTLD_NEXT, name));
    if (found == nullptr)
        throw std::runtime_error(std::string("no other definition of ") + name);
    return found;
}

// An open file stands for the device, whose own node is of no use here.
int open_as(const char *name, const char *path, int flags, mode_t mode)
{
    auto *const open = real<int(const char *, int, mode_t)>(name);
    const block_device *const device = current != nullptr ? current->device(path) : nullptr;
    if (device == nullptr)
        return open(path, flags, mode);
    if (device->open_error != 0) {
        errno = device->open_error;
        return -1;
    }
    const int fd = open("/dev/null", flags, 0);
    current->opened(fd, *device);
    return fd;
}

int ioctl_as(const char *name, int fd, unsigned long request, void *buffer)
{
    if (current != nullptr) {
        if (const std::optional<int> answer = current->answer(fd, request, buffer))
            return *answer;
    }
    return real<int(int, unsigned long, void *)>(name)(fd, request, buffer);
}

} // namespace

void replay_kernel(const std::string &folder)
{
    delete current;
    current = nullptr;
    if (!folder.empty())
        current = new kernel(folder);
}

// The definitions that the library's calls find first. Their C++ names differ from the system's,
// whose declarations say more (noexcept, attributes) than needs repeating here.
#define IN_PLACE_OF(result, name, parameters)                                                      \
    extern "C" result replayed_##name parameters __asm__(#name);                                   \
    extern "C" __attribute__((visibility("default"))) result replayed_##name parameters

IN_PLACE_OF(int, open, (const char *path, int flags, mode_t mode))
{
    return open_as("open", path, flags, mode);
}

IN_PLACE_OF(int, open64, (const char *path, int flags, mode_t mode))
{
    return open_as("open64", path, flags, mode);
}

// Those that a fortified program calls.
IN_PLACE_OF(int, __open_2, (const char *path, int flags))
{
    return open_as("open", path, flags, 0);
}

IN_PLACE_OF(int, __open64_2, (const char *path, int flags))
{
    return open_as("open64", path, flags, 0);
}

IN_PLACE_OF(int, ioctl, (int fd, unsigned long request, void *buffer))
{
    return ioctl_as("ioctl", fd, request, buffer);
}

// What a 32-bit program that knows times after 2038 calls.
IN_PLACE_OF(int, __ioctl_time64, (int fd, unsigned long request, void *buffer))
{
    return ioctl_as("__ioctl_time64", fd, request, buffer);
}

IN_PLACE_OF(int, getifaddrs, (ifaddrs * *entries))
{
    if (current == nullptr)
        return real<int(ifaddrs **)>("getifaddrs")(entries);
    *entries = current->list_interfaces();
    return 0;
}

IN_PLACE_OF(void, freeifaddrs, (ifaddrs * entries))
{
    if (current == nullptr)
        real<void(ifaddrs *)>("freeifaddrs")(entries);
    else
        current->free_interfaces();
}

// libblkid opens the device itself, which it must be able to. No other device can be opened here.
IN_PLACE_OF(blkid_probe, blkid_new_probe_from_filename, (const char *path))
{
    if (current == nullptr)
        return real<blkid_struct_probe *(const char *)>("blkid_new_probe_from_filename")(path);
    const block_device *const device = current->device(path);
    const bool is_opened = device != nullptr && device->open_error == 0;
    return is_opened ? reinterpret_cast<blkid_probe>(const_cast<block_device *>(device)) : nullptr;
}

IN_PLACE_OF(int, blkid_probe_is_wholedisk, (blkid_probe probe))
{
    if (current == nullptr)
        return real<int(blkid_probe)>("blkid_probe_is_wholedisk")(probe);
    return reinterpret_cast<const block_device *>(probe)->is_whole ? 1 : 0;
}

IN_PLACE_OF(void, blkid_free_probe, (blkid_probe probe))
{
    if (current == nullptr)
        real<void(blkid_probe)>("blkid_free_probe")(probe);
}

} // namespace recorded
