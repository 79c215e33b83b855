// SPDX-License-Identifier: LGPL-2.1-or-later
#include "answering_kernel.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <blkid.h>
#include <dirent.h>
#include <fcntl.h>
#include <ifaddrs.h>
#include <linux/ethtool.h>
#include <linux/hdreg.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

// Nothing here takes memory but the list of the cards: where memory is short, the failures are to
// be the library's.
namespace {

using namespace answering_kernel;

using path_text = std::array<char, 512>;
using mac_address = std::array<unsigned char, 6>;

int refuse(int error)
{
    errno = error;
    return -1;
}

// Not through the C library: ThreadSanitizer, which leaves out what GLib calls, would see GLib's
// files opened here and not closed there, and take the next descriptor of that number for a race.
int really_open(const char *path, int flags, mode_t mode = 0)
{
    return static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

bool is_block_device(const char *path)
{
    const int before = errno;
    struct stat status = {};
    const bool is_block = ::stat(path, &status) == 0 && S_ISBLK(status.st_mode);
    errno = before;
    return is_block;
}

// The file with the answers of a device stands for it, for whoever may open the device. One without
// answers has no driver.
int open_disk(const char *path, int flags)
{
    const int wanted = (flags & O_ACCMODE) == O_RDONLY ? R_OK : R_OK | W_OK;
    if (::faccessat(AT_FDCWD, path, wanted, AT_EACCESS) != 0)
        return -1;
    path_text answers = {};
    std::snprintf(answers.data(), answers.size(), "%s%s", disk_answers, std::strrchr(path, '/'));
    const int fd = really_open(answers.data(), O_RDONLY | (flags & O_CLOEXEC));
    return fd < 0 && errno == ENOENT ? refuse(ENXIO) : fd;
}

int really_ioctl(int fd, unsigned long request, void *argument)
{
    return static_cast<int>(::syscall(SYS_ioctl, fd, request, argument));
}

// The real kernel knows none of the disks and cards here, but it may refuse the process every
// request.
bool is_allowed_by_kernel(int fd, unsigned long request, void *argument)
{
    const int before = errno;
    if (really_ioctl(fd, request, argument) != 0 && errno == EPERM)
        return false;
    errno = before;
    return true;
}

int report_identity(int fd, void *identity)
{
    constexpr std::size_t size = sizeof(hd_driveid);
    return ::pread(fd, identity, size, 0) == ssize_t{size} ? 0 : refuse(ENOTTY);
}

bool is_card(const char *name)
{
    path_text path = {};
    std::snprintf(path.data(), path.size(), "%s/%s/address", card_answers, name);
    return ::access(path.data(), F_OK) == 0;
}

bool read_address(const char *name, const char *kind, mac_address &address)
{
    path_text path = {};
    std::snprintf(path.data(), path.size(), "%s/%s/%s", card_answers, name, kind);
    std::array<char, 18> text = {};
    const int fd = really_open(path.data(), O_RDONLY | O_CLOEXEC);
    const bool is_read = fd >= 0 && ::read(fd, text.data(), text.size() - 1) == 17;
    if (fd >= 0)
        ::close(fd);
    for (std::size_t i = 0; is_read && i < address.size(); ++i)
        address[i] = static_cast<unsigned char>(std::strtoul(text.data() + 3 * i, nullptr, 16));
    return is_read;
}

int report_current_address(ifreq &request)
{
    mac_address address = {};
    if (!read_address(request.ifr_name, "address", address))
        return refuse(ENODEV);
    std::memcpy(request.ifr_hwaddr.sa_data, address.data(), address.size());
    return 0;
}

int report_permanent_address(const ifreq &request)
{
    mac_address address = {};
    if (!read_address(request.ifr_name, "permanent_address", address))
        return refuse(EOPNOTSUPP);
    std::memcpy(request.ifr_data + sizeof(ethtool_perm_addr), address.data(), address.size());
    return 0;
}

// The kernel lists a card once for each of its addresses.
struct listed_card {
    std::array<char, IFNAMSIZ> name;
    std::array<ifaddrs, 2> entries;
    std::array<sockaddr, 2> addresses;
};

ifaddrs *append(listed_card &card, ifaddrs *last)
{
    constexpr std::array<sa_family_t, 2> families = {AF_PACKET, AF_INET};
    for (std::size_t i = 0; i < families.size(); ++i) {
        card.addresses[i].sa_family = families[i];
        card.entries[i].ifa_name = card.name.data();
        card.entries[i].ifa_addr = &card.addresses[i];
        if (last != nullptr)
            last->ifa_next = &card.entries[i];
        last = &card.entries[i];
    }
    return last;
}

ifaddrs *list_of(const dirent *const *names, std::size_t count)
{
    auto *const list = static_cast<listed_card *>(std::calloc(count, sizeof(listed_card)));
    ifaddrs *last = nullptr;
    for (std::size_t i = 0; list != nullptr && i < count; ++i) {
        std::snprintf(list[i].name.data(), list[i].name.size(), "%.15s", names[i]->d_name);
        last = append(list[i], last);
    }
    // NOLINTNEXTLINE(clang-analyzer-unix.Malloc): whoever has the first entry frees the list by it.
    return list == nullptr ? nullptr : list->entries.data();
}

} // namespace

// The definitions that the library's calls find first. Their C++ names differ from the system's,
// whose declarations say more than needs repeating here.
#define ANSWERED __attribute__((visibility("default")))
extern "C" ANSWERED int answered_open(const char *path, int flags, mode_t mode) __asm__("open");
extern "C" ANSWERED int answered_open64(const char *path, int flags, mode_t mode) __asm__("open64");
extern "C" ANSWERED int answered_checked_open(const char *path, int flags) __asm__("__open_2");
extern "C" ANSWERED int answered_openat(int directory, const char *path, int flags,
                                        mode_t mode) __asm__("openat");
extern "C" ANSWERED int answered_ioctl(int fd, unsigned long request,
                                       void *argument) __asm__("ioctl");
extern "C" ANSWERED int answered_getifaddrs(ifaddrs **entries) __asm__("getifaddrs");
extern "C" ANSWERED void answered_freeifaddrs(ifaddrs *entries) __asm__("freeifaddrs");
extern "C" ANSWERED int
answered_is_wholedisk(blkid_probe probe) __asm__("blkid_probe_is_wholedisk");

extern "C" int answered_open(const char *path, int flags, mode_t mode)
{
    const bool is_disk = (flags & O_DIRECTORY) == 0 &&
                         std::string_view(path).starts_with("/dev/") && is_block_device(path);
    return is_disk ? open_disk(path, flags) : really_open(path, flags, mode);
}

extern "C" int answered_open64(const char *path, int flags, mode_t mode)
{
    return answered_open(path, flags | O_LARGEFILE, mode);
}

// What a library that clang++ 19 or later has fortified calls.
extern "C" int answered_checked_open(const char *path, int flags)
{
    return answered_open(path, flags, 0);
}

extern "C" int answered_openat(int directory, const char *path, int flags, mode_t mode)
{
    return directory == AT_FDCWD || path[0] == '/'
               ? answered_open(path, flags, mode)
               : static_cast<int>(::syscall(SYS_openat, directory, path, flags, mode));
}

extern "C" int answered_ioctl(int fd, unsigned long request, void *argument)
{
    const bool is_of_card = request == SIOCGIFHWADDR || request == SIOCETHTOOL;
    const bool is_answered = request == HDIO_GET_IDENTITY ||
                             (is_of_card && is_card(static_cast<ifreq *>(argument)->ifr_name));
    if (!is_answered)
        return really_ioctl(fd, request, argument);
    if (!is_allowed_by_kernel(fd, request, argument))
        return -1;
    if (request == HDIO_GET_IDENTITY)
        return report_identity(fd, argument);
    if (request == SIOCGIFHWADDR)
        return report_current_address(*static_cast<ifreq *>(argument));
    return report_permanent_address(*static_cast<ifreq *>(argument));
}

extern "C" int answered_getifaddrs(ifaddrs **entries)
{
    *entries = nullptr;
    dirent **names = nullptr;
    const auto is_no_dot = [](const dirent *entry) { return entry->d_name[0] != '.' ? 1 : 0; };
    const int count = ::scandir(card_answers, &names, is_no_dot, ::alphasort);
    if (count < 0)
        return errno == ENOENT ? 0 : -1;
    if (count > 0)
        *entries = list_of(names, static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        std::free(names[i]);
    std::free(names);
    return count > 0 && *entries == nullptr ? refuse(ENOMEM) : 0;
}

extern "C" void answered_freeifaddrs(ifaddrs *entries)
{
    if (entries != nullptr)
        std::free(reinterpret_cast<char *>(entries) - offsetof(listed_card, entries));
}

extern "C" int answered_is_wholedisk(blkid_probe probe)
{
    char kind = disk_partition;
    return ::pread(::blkid_probe_get_fd(probe), &kind, 1, sizeof(hd_driveid)) == 1 &&
                   kind == whole_disk
               ? 1
               : 0;
}
