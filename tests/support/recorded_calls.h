// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "fixture.h"
#include "interpose.h"

#include <sstream>
#include <utility>

// Writes down, in order, the calls by which the library reaches its sources.
class recorded_calls {
public:
    recorded_calls()
    {
        interpose::access = [this](const char *path, int mode) {
            note("access", path, mode);
            return interpose::access.real(path, mode);
        };
        interpose::fopen = [this](const char *path, const char *mode) {
            note("fopen", path, mode);
            return interpose::fopen.real(path, mode);
        };
        interpose::fgets = [this](char *room, int size, std::FILE *stream) {
            note("fgets", size);
            return interpose::fgets.real(room, size, stream);
        };
        interpose::fread = [this](void *room, size_t size, size_t count, std::FILE *stream) {
            note("fread", size * count);
            return interpose::fread.real(room, size, count, stream);
        };
        interpose::fclose = [this](std::FILE *stream) {
            note("fclose");
            return interpose::fclose.real(stream);
        };
        interpose::popen = [this](const char *command, const char *mode) {
            note("popen", command, mode);
            return interpose::popen.real(command, mode);
        };
        interpose::pclose = [this](std::FILE *stream) {
            note("pclose");
            return interpose::pclose.real(stream);
        };
        interpose::strdup = [this](const char *text) {
            note("strdup", text);
            return interpose::strdup.real(text);
        };
    }

    [[nodiscard]] const texts &made() const { return made_; }

protected:
    template <class... Arguments> void note(const Arguments &...arguments)
    {
        std::ostringstream line;
        const char *gap = "";
        ((line << std::exchange(gap, " ") << arguments), ...);
        made_.push_back(line.str());
    }

private:
    texts made_;
};
