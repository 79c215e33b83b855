// SPDX-License-Identifier: LGPL-2.1-or-later
#include "output.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <filesystem>
#include <random>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Set-user-ID and set-group-ID are not passed on to new content.
constexpr mode_t permission_bits = 0777;
constexpr mode_t default_mode = 0666; // before the umask
constexpr mode_t private_mode = 0600;

[[noreturn]] void fail(const std::string &path, int reason = errno)
{
    throw std::runtime_error(path + ": " + std::strerror(reason));
}

class descriptor {
public:
    explicit descriptor(int number) : number_(number) {}
    descriptor(const descriptor &) = delete;
    descriptor &operator=(const descriptor &) = delete;
    ~descriptor()
    {
        if (number_ >= 0)
            ::close(number_);
    }

    [[nodiscard]] int get() const { return number_; }

private:
    int number_;
};

bool write_all(int file, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = ::write(file, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    return true;
}

// For its lifetime no signal ends the process, and a write past the file size limit fails instead.
class held_signals {
public:
    held_signals() : at_file_size_limit_(std::signal(SIGXFSZ, SIG_IGN))
    {
        sigset_t others;
        ::sigfillset(&others);
        ::sigdelset(&others, SIGXFSZ); // ignored only where it is not blocked
        ::sigprocmask(SIG_BLOCK, &others, &before_);
    }
    held_signals(const held_signals &) = delete;
    held_signals &operator=(const held_signals &) = delete;
    ~held_signals()
    {
        std::signal(SIGXFSZ, at_file_size_limit_);
        ::sigprocmask(SIG_SETMASK, &before_, nullptr);
    }

private:
    void (*at_file_size_limit_)(int);
    sigset_t before_ = {};
};

// A new file in a directory, under a name of its own. It is removed unless it is renamed.
class temporary_file {
public:
    temporary_file(int directory, mode_t mode) : directory_(directory), file_(create(mode)) {}
    temporary_file(const temporary_file &) = delete;
    temporary_file &operator=(const temporary_file &) = delete;
    ~temporary_file()
    {
        if (!is_renamed_ && file_.get() >= 0)
            ::unlinkat(directory_, name_.c_str(), 0);
    }

    [[nodiscard]] int get() const { return file_.get(); } // negative where it cannot be made

    bool rename(const std::string &name)
    {
        is_renamed_ = ::renameat(directory_, name_.c_str(), directory_, name.c_str()) == 0;
        return is_renamed_;
    }

private:
    int create(mode_t mode)
    {
        constexpr int tries = 100;
        std::random_device random;
        int file = -1;
        for (int left = tries; left > 0 && file < 0; --left) {
            name_ = ".orvane." + std::to_string(random());
            file =
                ::openat(directory_, name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
            if (file < 0 && errno != EEXIST)
                break;
        }
        return file;
    }

    int directory_;
    std::string name_;
    descriptor file_;
    bool is_renamed_ = false;
};

bool is_same(const struct stat &one, const struct stat &other)
{
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

// Renames a temporary file, with the owner and the mode of the old file, to the target. Whoever may
// write to the directory may replace its files meanwhile: owner and mode are of descriptors alone.
void replace(const std::string &path, const std::filesystem::path &target, std::string_view bytes,
             const struct stat *old)
{
    const std::filesystem::path parent = target.has_parent_path() ? target.parent_path() : ".";
    const descriptor directory(::open(parent.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (directory.get() < 0)
        fail(path);
    const std::string name = target.filename();
    struct stat found = {};
    if (old != nullptr &&
        (::fstatat(directory.get(), name.c_str(), &found, AT_SYMLINK_NOFOLLOW) != 0 ||
         !is_same(found, *old)))
        throw std::runtime_error(path + ": another process replaces it");

    const held_signals held;
    temporary_file file(directory.get(), old != nullptr ? private_mode : default_mode);
    if (file.get() < 0 || !write_all(file.get(), bytes))
        fail(path);
    if (old != nullptr) {
        [[maybe_unused]] const int owned = ::fchown(file.get(), found.st_uid, found.st_gid);
        ::fchmod(file.get(), found.st_mode & permission_bits);
    }
    if (::fsync(file.get()) != 0 || !file.rename(name))
        fail(path);
}

// A device, a pipe or the target of a dangling link. Content that is there is never written over.
void overwrite(const std::string &path, std::string_view bytes)
{
    const descriptor file(
        ::open(path.c_str(), O_WRONLY | O_CREAT | O_NOCTTY | O_CLOEXEC, default_mode));
    struct stat found = {};
    if (file.get() < 0 || ::fstat(file.get(), &found) != 0)
        fail(path);
    if (S_ISREG(found.st_mode) && found.st_size > 0)
        throw std::runtime_error(path + ": another process replaces it");
    if (!write_all(file.get(), bytes))
        fail(path);
}

bool is_link(const std::string &path)
{
    struct stat file = {};
    return ::lstat(path.c_str(), &file) == 0 && S_ISLNK(file.st_mode);
}

std::filesystem::path without_links(const std::string &path)
{
    std::error_code error;
    std::filesystem::path target = std::filesystem::canonical(path, error);
    if (error)
        fail(path, error.value());
    return target;
}

bool is_standard_output(const struct stat &file)
{
    struct stat output = {};
    return ::fstat(STDOUT_FILENO, &output) == 0 && is_same(output, file);
}

} // namespace

// Names and firmware texts may hold escape sequences of terminals. A character is one of the user's
// encoding.
std::string without_controls(const std::string &text)
{
    std::string plain;
    std::mbstate_t state = {};
    for (std::size_t at = 0; at < text.size();) {
        wchar_t wide = 0;
        const std::size_t size = std::mbrtowc(&wide, &text[at], text.size() - at, &state);
        const bool is_character = size <= text.size() - at && size > 0;
        if (is_character && std::iswcntrl(static_cast<std::wint_t>(wide)) == 0)
            plain.append(text, at, size);
        else
            plain.push_back(is_character ? ' ' : '?');
        if (!is_character)
            state = {};
        at += is_character ? size : 1;
    }
    return plain;
}

void print_text(const std::string &text)
{
    if (::isatty(STDOUT_FILENO) == 0) {
        std::fputs(text.c_str(), stdout);
        return;
    }
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        std::puts(without_controls(text.substr(at, end - at)).c_str());
        at = end + 1;
    }
}

void print_error(const std::string &message)
{
    std::fflush(stdout);
    std::fprintf(stderr, "orvane: %s\n", without_controls(message).c_str());
}

void print_line(const std::string &line)
{
    std::puts((::isatty(STDOUT_FILENO) != 0 ? without_controls(line) : line).c_str());
}

void flush_output()
{
    if (std::fflush(stdout) != 0)
        fail("standard output");
}

void write_output(const std::string &path, std::string_view bytes)
{
    struct stat old = {};
    const bool exists = path != "-" && ::stat(path.c_str(), &old) == 0;
    if (path == "-" || (exists && is_standard_output(old)))
        std::fwrite(bytes.data(), 1, bytes.size(), stdout); // checked when it is flushed
    else if (!exists && errno != ENOENT)
        fail(path);
    else if (exists && S_ISREG(old.st_mode))
        replace(path, without_links(path), bytes, &old);
    else if (exists || is_link(path))
        overwrite(path, bytes);
    else
        replace(path, path, bytes, nullptr);
}
