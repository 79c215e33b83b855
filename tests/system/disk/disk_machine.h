// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "fixture.h"
#include "interpose.h"
#include "orvane.h"

#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>

#include <fcntl.h>

// A locale in which the upper half of the bytes has letters, for as long as it lives.
class latin_1_locale {
public:
    explicit latin_1_locale(const constructed_machine &machine)
    {
        const auto built = machine.run(
            {"localedef", "-i", "de_DE", "-f", "ISO-8859-1", machine.scratch("de_DE.latin1")});
        EXPECT_EQ(built.status, 0) << built.error;
        ::setenv("LOCPATH", machine.scratch("").c_str(), 1);
        EXPECT_NE(std::setlocale(LC_ALL, "de_DE.latin1"), nullptr);
    }
    latin_1_locale(const latin_1_locale &) = delete;
    latin_1_locale &operator=(const latin_1_locale &) = delete;
    ~latin_1_locale()
    {
        std::setlocale(LC_ALL, "C");
        ::unsetenv("LOCPATH");
    }
};

// A machine with disks whose nodes answer as the test says.
class disk_machine : public on_machine {
protected:
    [[nodiscard]] static owned_text asked(const char *device)
    {
        return owned_text(harddisk_id(device));
    }
    [[nodiscard]] static std::string identity(const std::string &device)
    {
        return asked(device.c_str()).value();
    }

    // Lets every device tell this when it is asked to identify itself, among other words.
    void tell(std::string_view model, std::string_view serial)
    {
        open_devices();
        interpose::ioctl = [this, model = std::string(model), serial = std::string(serial)](
                               int fd, unsigned long request, void *answer) {
            note_request(fd, request);
            char *const bytes = static_cast<char *>(answer);
            std::memset(bytes, '#', 512);
            std::memset(bytes + 20, ' ', 20);
            serial.copy(bytes + 20, 20);
            std::memset(bytes + 54, ' ', 40);
            model.copy(bytes + 54, 40);
            return 0;
        };
    }

    // Lets every device refuse the question, as those do that are no ATA disks.
    void tell_nothing()
    {
        open_devices();
        interpose::ioctl = [this](int fd, unsigned long request, void *) {
            note_request(fd, request);
            errno = ENOTTY;
            return -1;
        };
    }

    // Opening a node asks for more than the host grants; an open file stands for the device.
    void open_devices()
    {
        open_devices_by([this] {
            device_ = interpose::open.real("/dev/null", O_RDONLY, 0);
            return *device_;
        });
        interpose::close = [this](int fd) {
            if (fd == device_) {
                device_.reset();
                calls.emplace_back("close");
            }
            return interpose::close.real(fd);
        };
    }

    void open_no_device()
    {
        open_devices_by([] {
            errno = EACCES;
            return -1;
        });
    }

    // Writes down each call that reaches for the system, and "trace" for each line of the log.
    void record_calls()
    {
        interpose::realpath = [this](const char *path, char *room) {
            calls.push_back("realpath " + std::string(path));
            return interpose::realpath.real(path, room);
        };
        interpose::stat = [this](const char *path, struct stat *status) {
            calls.push_back("stat " + std::string(path));
            return interpose::stat.real(path, status);
        };
        interpose::opendir = [this](const char *path) {
            calls.push_back("opendir " + std::string(path));
            return interpose::opendir.real(path);
        };
        interpose::closedir = [this](DIR *directory) {
            calls.emplace_back("closedir");
            return interpose::closedir.real(directory);
        };
        interpose::fopen = [this](const char *path, const char *mode) {
            calls.push_back("fopen " + std::string(path) + " " + mode);
            return interpose::fopen.real(path, mode);
        };
        interpose::fclose = [this](std::FILE *stream) {
            calls.emplace_back("fclose");
            return interpose::fclose.real(stream);
        };
        interpose::orvane_is_tracing = [this] {
            calls.emplace_back("trace");
            return interpose::orvane_is_tracing.real();
        };
    }

    static std::string opened(const std::string &path, int flags = O_RDONLY | O_NONBLOCK)
    {
        return "open " + path + " " + std::to_string(flags);
    }

    texts calls;

private:
    static bool is_log(const char *path)
    {
        return std::string_view(path) == "/var/log/orvane/liborvane.log";
    }

    void open_devices_by(const std::function<int()> &open)
    {
        interpose::open = [this, open](const char *path, int flags, mode_t mode) {
            if (is_log(path))
                return interpose::open.real(path, flags, mode);
            calls.push_back(opened(path, flags));
            return open();
        };
    }

    void note_request(int fd, unsigned long request)
    {
        EXPECT_EQ(fd, device_);
        std::ostringstream number;
        number << "0x" << std::hex << request;
        calls.push_back("ioctl " + number.str());
    }

    std::optional<int> device_; // the descriptor that stands for it while it is open
};
