// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

inline void check(int returned, const char *what)
{
    if (returned < 0)
        throw std::system_error(errno, std::generic_category(), what);
}

// A pseudoterminal in raw mode.
class terminal {
public:
    terminal() : reader_(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
    {
        check(reader_, "posix_openpt");
        check(::unlockpt(reader_), "unlockpt");
        // It has no name on a constructed machine, which lacks /dev/pts.
        writer_ = ::ioctl(reader_, TIOCGPTPEER, O_RDWR | O_NOCTTY);
        check(writer_, "TIOCGPTPEER");
        termios settings = {};
        check(::tcgetattr(writer_, &settings), "tcgetattr");
        ::cfmakeraw(&settings);
        check(::tcsetattr(writer_, TCSANOW, &settings), "tcsetattr");
    }
    terminal(const terminal &) = delete;
    terminal &operator=(const terminal &) = delete;
    ~terminal()
    {
        ::close(writer_);
        ::close(reader_);
    }

    void set_width(unsigned short columns) const
    {
        winsize size = {};
        size.ws_col = columns;
        check(::ioctl(writer_, TIOCSWINSZ, &size), "TIOCSWINSZ");
    }

    // For a redirection.
    [[nodiscard]] std::string path() const { return "/proc/self/fd/" + std::to_string(writer_); }

    // What was written to it since the last call.
    [[nodiscard]] std::string text() const
    {
        check(static_cast<int>(::write(writer_, "\x04", 1)), "write to the terminal");
        std::string text = up_to('\x04');
        text.pop_back();
        return text;
    }

    // Waits for the next text that ends in this character.
    [[nodiscard]] std::string up_to(char last) const
    {
        std::string text;
        while (!text.ends_with(last)) {
            char next = 0;
            check(static_cast<int>(::read(reader_, &next, 1)), "read from the terminal");
            text.push_back(next);
        }
        return text;
    }

private:
    int reader_;
    int writer_;
};
