// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "fixture.h"
#include "interpose.h"
#include "log_machine.h"
#include "orvane.h"

#include <cerrno>
#include <ctime>
#include <ostream>
#include <string>

#include <unistd.h>

// A machine for the trace log.
class trace_machine : public log_machine {
protected:
    static constexpr char log_file[] = "/var/log/orvane/liborvane.log";
    static constexpr time_t november_14 = 1700000000; // 2023-11-14 22:13:20 UTC

    struct outcome {
        int result;
        std::string error;
        bool operator==(const outcome &) const = default;
    };
    friend std::ostream &operator<<(std::ostream &stream, const outcome &outcome)
    {
        return stream << outcome.result << " and on standard error " << outcome.error;
    }

    static std::string log() { return constructed_machine::content(log_file); }

    // What the two readings of the clock tell, in this order.
    static void set_clock(time_t first, timespec second)
    {
        interpose::time = [first](time_t *) { return first; };
        interpose::clock_gettime = [second](clockid_t, timespec *now) {
            *now = second;
            return 0;
        };
    }

    // Lets every line begin with "2026-11-16 03:55:07.042 [4711]: ", which are 32 bytes.
    static void settle_prefix(const std::string &stamp = "2026-11-16 03:55:07.042")
    {
        interpose::time_string = [stamp] { return stamp.c_str(); };
        interpose::getpid = [] { return 4711; };
    }

    // A line that tells the reason in errno.
    static int trace_reason()
    {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat" // %m is the C library's own
        return orvane_trace("%m");
#pragma GCC diagnostic pop
    }

    static outcome traced()
    {
        outcome seen = {};
        seen.error = standard_error_of([&seen] { seen.result = orvane_trace("message"); });
        return seen;
    }

    // The errno that a caller who had EDOM finds after a trace line.
    static int errno_after_trace()
    {
        int after = 0;
        standard_error_of([&after] {
            errno = EDOM;
            orvane_trace("message");
            after = errno;
        });
        return after;
    }

    void record_calls()
    {
        record_file_calls();
        interpose::orvane_logger_env_init = [this] {
            calls.emplace_back("orvane_logger_env_init");
            return interpose::orvane_logger_env_init.real();
        };
        interpose::access = [this](const char *path, int mode) {
            calls.push_back("access " + std::string(path) + " " + std::to_string(mode));
            return interpose::access.real(path, mode);
        };
        interpose::mkdir = [this](const char *path, mode_t mode) {
            calls.push_back("mkdir " + std::string(path) + " " + std::to_string(mode));
            return interpose::mkdir.real(path, mode);
        };
        interpose::orvane_is_tracing = [this] {
            calls.emplace_back("orvane_is_tracing");
            return interpose::orvane_is_tracing.real();
        };
        interpose::time_string = [this] {
            calls.emplace_back("time_string");
            return "2026-11-16 03:55:07.042";
        };
        interpose::getpid = [] { return 4711; };
    }

    static std::string log_opened()
    {
        return opened_for_appending(log_file, 0644);
    }
    static std::string directory_examined()
    {
        return "access /var/log/orvane/ " + std::to_string(R_OK | X_OK);
    }
    static std::string directory_made()
    {
        return "mkdir /var/log/orvane/ " + std::to_string(0777);
    }
};
