// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "recorded_calls.h"

#include <cstddef>
#include <cstdio>
#include <functional>
#include <string>
#include <utility>

// Writes down also how the library examines devices, and each trace line as "trace".
class device_calls : public recorded_calls {
public:
    device_calls()
    {
        interpose::realpath = [this](const char *path, char *room) {
            note("realpath", path);
            return interpose::realpath.real(path, room);
        };
        interpose::stat = [this](const char *path, struct stat *status) {
            note("stat", path);
            return interpose::stat.real(path, status);
        };
        interpose::orvane_logger_env_init = [this] {
            note("trace");
            return 0; // not written
        };
    }
};

// The first command line that the action would have the shell run; nothing is run.
inline std::string command_of(const std::function<void()> &action)
{
    std::string first = "(no command)";
    interpose::popen = [&first, is_first = true](const char *command, const char *) mutable {
        if (std::exchange(is_first, false))
            first = command;
        return static_cast<std::FILE *>(nullptr);
    };
    action();
    interpose::popen.reset();
    return first;
}

// A path in /dev of so many bytes, made of plain characters.
inline std::string device_path_of(std::size_t length)
{
    const std::string directory = "/dev/" + std::string(200, 'd') + "/";
    return directory + std::string(length - directory.size(), 'n');
}
