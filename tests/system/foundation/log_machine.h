// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "fixture.h"
#include "interpose.h"

#include <string>

#include <fcntl.h>

// A machine on which the calls that write a log can be recorded, in their order.
class log_machine : public on_machine {
protected:
    // "open PATH FLAGS MODE", "write log SIZE" and "close log".
    void record_file_calls()
    {
        interpose::open = [this](const char *path, int flags, mode_t mode) {
            calls.push_back("open " + std::string(path) + " " + std::to_string(flags) + " " +
                            std::to_string(mode));
            return log_ = interpose::open.real(path, flags, mode);
        };
        interpose::write = [this](int fd, const void *data, size_t size) {
            calls.push_back("write " + name_of(fd) + " " + std::to_string(size));
            return interpose::write.real(fd, data, size);
        };
        interpose::close = [this](int fd) {
            calls.push_back("close " + name_of(fd));
            return interpose::close.real(fd);
        };
    }

    static std::string opened_for_appending(const std::string &path, mode_t mode)
    {
        return "open " + path + " " + std::to_string(O_WRONLY | O_CREAT | O_APPEND) + " " +
               std::to_string(mode);
    }

    texts calls;

private:
    [[nodiscard]] std::string name_of(int fd) const { return fd == log_ ? "log" : "another file"; }

    int log_ = -1;
};
