// SPDX-License-Identifier: LGPL-2.1-or-later
#include "stderr_capture.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

stream_capture::stream_capture(std::FILE *stream)
    : stream_(stream), original_(::fcntl(::fileno(stream), F_DUPFD_CLOEXEC, STDERR_FILENO + 1))
{
    std::fflush(stream);
    const int memory = ::memfd_create("capture", MFD_CLOEXEC);
    if (original_ < 0 || memory < 0 || ::dup2(memory, ::fileno(stream)) < 0)
        throw std::runtime_error(std::string("a file in memory: ") + std::strerror(errno));
    ::close(memory);
}

stream_capture::~stream_capture()
{
    std::fflush(stream_);
    ::dup2(original_, ::fileno(stream_));
    ::close(original_);
}

std::string stream_capture::text() const
{
    std::fflush(stream_);
    const off_t size = ::lseek(::fileno(stream_), 0, SEEK_END);
    std::string written(size > 0 ? static_cast<std::size_t>(size) : 0, '\0');
    const ssize_t count = ::pread(::fileno(stream_), written.data(), written.size(), 0);
    written.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return written;
}
