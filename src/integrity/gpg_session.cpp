// SPDX-License-Identifier: LGPL-2.1-or-later
#include "integrity/gpg_session.h"

#include "integrity/builtin_key.h"
#include "support/line_reader.h"

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/auxv.h>
#include <sys/stat.h>

namespace orvane {

namespace {

constexpr int copied = 1;

bool has_handler(const struct sigaction &action, sighandler_t handler) noexcept
{
    return (action.sa_flags & SA_SIGINFO) == 0 && action.sa_handler == handler;
}

} // namespace

bool is_secure_execution() noexcept
{
    return ::getauxval(AT_SECURE) != 0;
}

ignored_sigpipe::ignored_sigpipe() noexcept
{
    struct sigaction ignore = {};
    ignore.sa_handler = SIG_IGN;
    ::sigaction(SIGPIPE, nullptr, &before_);
    if (!has_handler(before_, SIG_DFL))
        return;
    ::sigpending(&pending_before_);
    ::sigaction(SIGPIPE, &ignore, nullptr);
}

ignored_sigpipe::~ignored_sigpipe()
{
    struct sigaction now = {};
    ::sigaction(SIGPIPE, nullptr, &now);
    if (!has_handler(before_, SIG_DFL) || !has_handler(now, SIG_IGN))
        return;
    ::sigaction(SIGPIPE, &before_, nullptr);
    if (::sigismember(&pending_before_, SIGPIPE) == 1)
        ::raise(SIGPIPE);
}

standard_descriptors::standard_descriptors() noexcept
{
    int fd = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    for (; fd >= 0 && fd <= STDERR_FILENO; fd = ::open("/dev/null", O_RDWR | O_CLOEXEC)) {
        is_held_[fd] = true;
        ::fcntl(fd, F_SETFD, 0); // gpg shall have it, too
    }
    if (fd >= 0)
        ::close(fd);
}

standard_descriptors::~standard_descriptors()
{
    for (int fd = 0; fd <= STDERR_FILENO; ++fd) {
        if (is_held_[fd])
            ::close(fd);
    }
}

gpg_context new_gpg_context() noexcept
{
    ::gpgme_check_version(nullptr);
    // The locale of the whole process becomes the environment's, as the manual documents: gpg may
    // have to prompt the user.
    // NOLINTBEGIN(concurrency-mt-unsafe)
    ::setlocale(LC_ALL, "");
    ::gpgme_set_locale(nullptr, LC_CTYPE, ::setlocale(LC_CTYPE, nullptr));
    // NOLINTEND(concurrency-mt-unsafe)

    gpgme_ctx_t context = nullptr;
    return gpg_context(::gpgme_new(&context) == 0 ? context : nullptr);
}

gpg_data data_of_file(const char *path, std::size_t &bytes) noexcept
{
    const unique_file file = open_without_waiting(path);
    struct stat status = {};
    if (!file || ::fstat(::fileno(file.get()), &status) != 0 ||
        !std::in_range<std::size_t>(status.st_size))
        return nullptr;
    bytes = static_cast<std::size_t>(status.st_size);
    gpgme_data_t data = nullptr;
    const bool is_read = ::gpgme_data_new_from_filepart(&data, nullptr, file.get(), 0, bytes) == 0;
    return gpg_data(is_read ? data : nullptr);
}

gpg_data data_of_text(const char *text, std::size_t &bytes) noexcept
{
    bytes = text != nullptr ? ::strlen(text) : 0;
    gpgme_data_t data = nullptr;
    const bool is_wrapped =
        text != nullptr && ::gpgme_data_new_from_mem(&data, text, bytes, copied) == 0;
    return gpg_data(is_wrapped ? data : nullptr);
}

void import_builtin_key(gpgme_ctx_t context) noexcept
{
    gpgme_data_t data = nullptr;
    if (::gpgme_data_new_from_mem(&data, reinterpret_cast<const char *>(builtin_key.bytes),
                                  builtin_key.length, copied) != 0)
        return;
    const gpg_data key(data);
    ::gpgme_op_import(context, key.get());
}

void store_data(gpgme_data_t data, std::size_t size, std::size_t zeros, char **content,
                unsigned int *length) noexcept
{
    *content = nullptr;
    if (length != nullptr)
        *length = static_cast<unsigned int>(size);
    heap_text block(static_cast<char *>(::malloc(size + zeros)));
    if (!block || ::gpgme_data_seek(data, 0, SEEK_SET) != 0)
        return;

    ::memset(block.get(), 0, size + zeros);
    std::size_t filled = 0;
    ssize_t got = 0;
    while ((got = ::gpgme_data_read(data, block.get() + filled, size - filled)) > 0)
        filled += static_cast<std::size_t>(got);
    if (got < 0)
        return;
    if (filled == size)
        *content = block.release();
    else if (length != nullptr)
        *length = 0;
}

} // namespace orvane
