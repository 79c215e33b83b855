// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Stands in for the machine: what the library finds in the kernel's files, among the devices and in
// the output of tools is the fuzzer's, and nothing is run. All else is as it is, the fuzzer's own
// files among it. For one source file of a target, because functions are defined here.
#pragma once

#include "fuzz.h"

#include <cstring>
#include <optional>
#include <vector>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <spawn.h>

namespace faked {

inline std::string tool_output;           // of every tool
inline std::vector<std::string> commands; // that tools were to be run with
inline std::optional<std::string> file;   // every file's content, or none is there
inline std::optional<std::string> names;  // in every directory, between blanks
inline mode_t device = S_IFBLK;           // what every path below /dev leads to
inline constexpr char tool_without_shell[] = "/usr/sbin/dmsetup"; // is not there

inline bool is_below(std::string_view path, std::initializer_list<std::string_view> directories)
{
    return std::any_of(directories.begin(), directories.end(),
                       [path](std::string_view directory) { return path.starts_with(directory); });
}

template <class Function> Function *real(const char *name, Function * /*of_type*/)
{
    return reinterpret_cast<Function *>(::dlsym(RTLD_NEXT, name));
}

// What a faked directory has, without the two names that every directory has.
inline std::vector<std::string> listed()
{
    std::vector<std::string> all;
    for (std::string rest = names.value_or(""); !rest.empty();) {
        const std::string name = up_to(rest, " ");
        rest.erase(0, name.size() + 1);
        if (!name.empty() && name != "." && name != "..")
            all.push_back(name.substr(0, sizeof dirent::d_name - 1));
    }
    return all;
}

// A directory that is being read: as much of its names as is left.
struct open_directory {
    std::string rest;
    dirent entry = {};
};
inline open_directory *directory = nullptr;

inline bool is_faked(DIR *stream)
{
    return directory != nullptr && static_cast<void *>(stream) == directory;
}

inline void reset()
{
    commands.clear();
    tool_output.clear();
    file.reset();
    names.reset();
    device = S_IFBLK;
}

} // namespace faked

extern "C" FILE *popen(const char *command, const char * /*mode*/)
{
    faked::commands.emplace_back(command);
    return stream_of(faked::tool_output.data(), faked::tool_output.size()).release();
}

extern "C" int pclose(FILE *stream)
{
    return std::fclose(stream);
}

// However a tool is started, it prints the same: the shell's place is taken by cat.
extern "C" int posix_spawn(pid_t *child, const char * /*path*/,
                           const posix_spawn_file_actions_t *actions,
                           const posix_spawnattr_t *attributes, char *const *arguments,
                           char *const *environment)
{
    faked::commands.emplace_back(arguments[2]);
    static const int output = ::memfd_create("tool", 0);
    require(::ftruncate(output, 0) == 0 &&
            ::pwrite(output, faked::tool_output.data(), faked::tool_output.size(), 0) >= 0);
    std::string path = "/proc/" + std::to_string(::getpid()) + "/fd/" + std::to_string(output);
    std::string cat = "cat";
    char *const words[] = {cat.data(), path.data(), nullptr};
    return faked::real("posix_spawn", &::posix_spawn)(child, "/bin/cat", actions, attributes, words,
                                                      environment);
}

extern "C" int access(const char *path, int /*mode*/) noexcept
{
    return std::strcmp(path, faked::tool_without_shell) == 0 ? -1 : 0;
}

extern "C" FILE *fopen(const char *path, const char *mode)
{
    if (!faked::is_below(path, {"/sys/", "/proc/bootdevice/", "/proc/cpuinfo", "/etc/orvane/"}))
        return faked::real("fopen", &::fopen)(path, mode);
    return faked::file ? stream_of(faked::file->data(), faked::file->size()).release() : nullptr;
}

extern "C" int stat(const char *path, struct stat *status) noexcept
{
    constexpr std::string_view trace_directory = "/var/log/orvane/";
    if (!faked::is_below(path, {"/dev/", trace_directory}))
        return ::fstatat(AT_FDCWD, path, status, 0);
    *status = {};
    status->st_mode = path == trace_directory ? S_IFDIR | 0755U : faked::device;
    return 0;
}

extern "C" int lstat(const char *path, struct stat *status) noexcept
{
    if (!faked::is_below(path, {"/sys/"}))
        return ::fstatat(AT_FDCWD, path, status, AT_SYMLINK_NOFOLLOW);
    *status = {};
    status->st_mode = S_IFLNK;
    return 0;
}

extern "C" DIR *opendir(const char *path)
{
    if (!faked::is_below(path, {"/sys/", "/proc/net/"}))
        return faked::real("opendir", &::opendir)(path);
    if (!faked::names)
        return nullptr;
    require(faked::directory == nullptr);
    faked::directory = new faked::open_directory{*faked::names};
    return reinterpret_cast<DIR *>(faked::directory);
}

extern "C" dirent *readdir(DIR *stream)
{
    if (!faked::is_faked(stream))
        return faked::real("readdir", &::readdir)(stream);
    std::string &rest = faked::directory->rest;
    rest.erase(0, rest.find_first_not_of(' '));
    if (rest.empty())
        return nullptr;
    dirent &entry = faked::directory->entry;
    const std::string name = up_to(rest, " ").substr(0, sizeof entry.d_name - 1);
    rest.erase(0, up_to(rest, " ").size());
    std::copy_n(name.c_str(), name.size() + 1, entry.d_name);
    return &entry;
}

extern "C" int closedir(DIR *stream)
{
    if (!faked::is_faked(stream))
        return faked::real("closedir", &::closedir)(stream);
    delete std::exchange(faked::directory, nullptr);
    return 0;
}

extern "C" int scandir(const char *path, dirent ***entries, int (*is_wanted)(const dirent *),
                       int (*compare)(const dirent **, const dirent **))
{
    if (!faked::is_below(path, {"/sys/", "/proc/net/"}))
        return faked::real("scandir", &::scandir)(path, entries, is_wanted, compare);
    DIR *const directory = ::opendir(path);
    if (directory == nullptr)
        return -1;
    std::vector<dirent *> found;
    while (const dirent *const entry = ::readdir(directory)) {
        if (is_wanted != nullptr && is_wanted(entry) == 0)
            continue;
        found.push_back(static_cast<dirent *>(std::malloc(sizeof *entry)));
        *found.back() = *entry;
    }
    ::closedir(directory);
    *entries = static_cast<dirent **>(std::malloc((found.size() + 1) * sizeof(dirent *)));
    std::copy(found.begin(), found.end(), *entries);
    return static_cast<int>(found.size());
}
