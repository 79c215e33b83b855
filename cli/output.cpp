// SPDX-License-Identifier: LGPL-2.1-or-later
#include "output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <filesystem>
#include <memory>
#include <stdexcept>

#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Names and firmware texts may hold escape sequences of terminals. A character is one of the
// user's encoding.
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

// Set-user-ID and set-group-ID are not passed on to new content.
constexpr mode_t permission_bits = 0777;
constexpr int default_mode = 0666; // before the umask

struct close_stream {
    void operator()(std::FILE *stream) const noexcept { std::fclose(stream); }
};

void overwrite(const std::string &path, const std::string &bytes)
{
    std::unique_ptr<std::FILE, close_stream> file(std::fopen(path.c_str(), "w"));
    if (!file || std::fwrite(bytes.data(), 1, bytes.size(), file.get()) != bytes.size() ||
        std::fclose(file.release()) != 0)
        throw std::runtime_error(path + ": " + std::strerror(errno));
}

// Writes a temporary file and renames it to the target of the path.
void replace(const std::string &path, const std::string &bytes, int mode)
{
    GError *error = nullptr;
    const std::string target = std::filesystem::weakly_canonical(path).string();
    if (g_file_set_contents_full(target.c_str(), bytes.data(), static_cast<gssize>(bytes.size()),
                                 G_FILE_SET_CONTENTS_CONSISTENT, mode, &error) != 0)
        return;
    // GLib's message names the temporary file; the reason stands at its end.
    const std::string message = error->message;
    g_error_free(error);
    const std::size_t reason = message.rfind(": ");
    throw std::runtime_error(path + (reason != std::string::npos ? message.substr(reason) : ""));
}

// The umask may have cut the mode, and the new file is this user's.
void restore_owner_and_mode(const std::string &path, const struct stat &old)
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

} // namespace

void print_error(const std::string &message)
{
    std::fprintf(stderr, "orvane: %s\n", without_controls(message).c_str());
}

void print_line(const std::string &line)
{
    std::puts((::isatty(STDOUT_FILENO) != 0 ? without_controls(line) : line).c_str());
}

void write_output(const std::string &path, const std::string &bytes)
{
    struct stat old = {};
    const bool exists = ::stat(path.c_str(), &old) == 0;
    if (path == "-" || (exists && is_standard_output(old))) {
        std::fwrite(bytes.data(), 1, bytes.size(), stdout); // checked when it is flushed
    } else if (exists && S_ISREG(old.st_mode)) {
        replace(path, bytes, static_cast<int>(old.st_mode & permission_bits));
        restore_owner_and_mode(path, old);
    } else if (!exists && !std::filesystem::is_symlink(path)) {
        replace(path, bytes, default_mode);
    } else {
        overwrite(path, bytes); // a device, a pipe or a dangling link
    }
}
