// SPDX-License-Identifier: LGPL-2.1-or-later
#include "resident_memory.h"

#include <cerrno>
#include <fstream>
#include <limits>
#include <string>
#include <system_error>

#include <sys/mman.h>

namespace {

constexpr std::size_t size = 8 * gib;

} // namespace

std::size_t available_memory()
{
    std::ifstream report("/proc/meminfo");
    for (std::string word; report >> word;) {
        std::size_t kilobytes = 0;
        if (word == "MemAvailable:" && report >> kilobytes)
            return kilobytes * 1024;
    }
    return 0;
}

resident_memory::resident_memory()
    : room_(::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))
{
    if (room_ == MAP_FAILED || ::madvise(room_, size, MADV_NOHUGEPAGE) != 0 ||
        ::madvise(room_, size, MADV_POPULATE_WRITE) != 0)
        throw std::system_error(errno, std::generic_category(), "8 GiB of memory");
}

resident_memory::~resident_memory()
{
    ::munmap(room_, size);
}
