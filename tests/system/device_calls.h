// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "cases.h"
#include "fixture.h"
#include "interpose.h"

#include <cstddef>
#include <cstdio>
#include <functional>
#include <string>
#include <utility>

// Writes down, in order, the calls by which the library examines devices and runs their tools, and
// each trace line as "trace".
class device_calls {
public:
    device_calls()
    {
        interpose::access = [this](const char *path, int mode) {
            note("access " + std::string(path) + " " + std::to_string(mode));
            return interpose::access.real(path, mode);
        };
        interpose::realpath = [this](const char *path, char *room) {
            note("realpath " + std::string(path));
            return interpose::realpath.real(path, room);
        };
        interpose::stat = [this](const char *path, struct stat *status) {
            note("stat " + std::string(path));
            return interpose::stat.real(path, status);
        };
        interpose::popen = [this](const char *command, const char *mode) {
            note("popen " + std::string(command) + " | " + mode);
            return interpose::popen.real(command, mode);
        };
        interpose::fgets = [this](char *room, int size, std::FILE *stream) {
            note("fgets " + std::to_string(size));
            return interpose::fgets.real(room, size, stream);
        };
        interpose::pclose = [this](std::FILE *stream) {
            note("pclose");
            return interpose::pclose.real(stream);
        };
        interpose::strdup = [this](const char *text) {
            note("strdup " + std::string(text));
            return interpose::strdup.real(text);
        };
        interpose::orvane_logger_env_init = [this] {
            note("trace");
            return 0; // not written
        };
    }

    [[nodiscard]] const texts &made() const { return made_; }

private:
    void note(std::string call) { made_.push_back(std::move(call)); }

    texts made_;
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
