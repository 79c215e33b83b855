// SPDX-License-Identifier: LGPL-2.1-or-later
#include "files.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <stdexcept>

#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Without set-user-ID and its like, which new content must not come by.
constexpr mode_t permission_bits = 0777;
constexpr int as_the_umask_says = 0666;

[[noreturn]] void fail(const std::string &what)
{
    throw std::runtime_error(what + ": " + std::strerror(errno));
}

struct close_stream {
    void operator()(std::FILE *stream) const noexcept { std::fclose(stream); }
};
using owned_stream = std::unique_ptr<std::FILE, close_stream>;

std::string rest_of(std::FILE *stream, const std::string &name)
{
    std::string content;
    char block[65536];
    while (const std::size_t size = std::fread(block, 1, sizeof block, stream))
        content.append(block, size);
    if (std::ferror(stream) != 0)
        fail(name);
    return content;
}

void fill(const std::string &path, const std::string &bytes)
{
    owned_stream file(std::fopen(path.c_str(), "w"));
    if (!file || std::fwrite(bytes.data(), 1, bytes.size(), file.get()) != bytes.size() ||
        std::fclose(file.release()) != 0)
        fail(path);
}

// Writes a new file beside the old one and moves it there. A link stays one.
void replace(const std::string &path, const std::string &bytes, int mode)
{
    GError *error = nullptr;
    const std::string target = std::filesystem::weakly_canonical(path).string();
    if (g_file_set_contents_full(target.c_str(), bytes.data(), static_cast<gssize>(bytes.size()),
                                 G_FILE_SET_CONTENTS_CONSISTENT, mode, &error) != 0)
        return;
    // GLib names the new file; the reason stands at the end.
    const std::string message = error->message;
    g_error_free(error);
    const std::size_t reason = message.rfind(": ");
    throw std::runtime_error(path + (reason != std::string::npos ? message.substr(reason) : ""));
}

// Gives a new file what the old one had: its mode, which the umask may have cut, and its owner,
// where this user may.
void inherit(const std::string &path, const struct stat &old)
{
    [[maybe_unused]] const int owned = ::chown(path.c_str(), old.st_uid, old.st_gid);
    ::chmod(path.c_str(), old.st_mode & permission_bits);
}

bool is_standard_output(const struct stat &file)
{
    struct stat output = {};
    return ::fstat(STDOUT_FILENO, &output) == 0 && output.st_dev == file.st_dev &&
           output.st_ino == file.st_ino;
}

std::string as_text(std::string content, const std::string &name)
{
    if (content.find('\0') != std::string::npos)
        throw std::runtime_error(name + ": a zero byte is not of a text");
    return content;
}

} // namespace

std::string standard_input()
{
    return rest_of(stdin, "standard input");
}

std::string text_in(const std::string &path)
{
    const owned_stream file(std::fopen(path.c_str(), "r"));
    if (!file)
        fail(path);
    return as_text(rest_of(file.get(), path), path);
}

std::string text_on_standard_input()
{
    return as_text(standard_input(), "standard input");
}

void write_to(const std::string &path, const std::string &bytes)
{
    struct stat old = {};
    const bool exists = ::stat(path.c_str(), &old) == 0;
    if (path == "-" || (exists && is_standard_output(old))) {
        std::fwrite(bytes.data(), 1, bytes.size(), stdout); // looked after at the end
    } else if (exists && S_ISREG(old.st_mode)) {
        replace(path, bytes, static_cast<int>(old.st_mode & permission_bits));
        inherit(path, old);
    } else if (!exists && !std::filesystem::is_symlink(path)) {
        replace(path, bytes, as_the_umask_says);
    } else {
        fill(path, bytes); // a device, a pipe, a link to nothing: no content to keep
    }
}
