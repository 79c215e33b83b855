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

namespace {

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
void replace(const std::string &path, const std::string &bytes)
{
    GError *error = nullptr;
    constexpr int as_the_umask_says = 0666;
    const std::string target = std::filesystem::weakly_canonical(path).string();
    if (g_file_set_contents_full(target.c_str(), bytes.data(), static_cast<gssize>(bytes.size()),
                                 G_FILE_SET_CONTENTS_CONSISTENT, as_the_umask_says, &error) != 0)
        return;
    const std::string reason = error->message;
    g_error_free(error);
    throw std::runtime_error(reason);
}

} // namespace

std::string content_of(const std::string &path)
{
    const owned_stream file(std::fopen(path.c_str(), "r"));
    if (!file)
        fail(path);
    return rest_of(file.get(), path);
}

std::string standard_input()
{
    return rest_of(stdin, "standard input");
}

void write_to(const std::string &path, const std::string &bytes)
{
    namespace fs = std::filesystem;
    if (path == "-")
        std::fwrite(bytes.data(), 1, bytes.size(), stdout); // looked after at the end
    else if (!fs::exists(path) || fs::is_regular_file(path))
        replace(path, bytes);
    else
        fill(path, bytes); // a device, a pipe: nothing to keep, and not to be replaced by a file
}
