// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <array>
#include <string>

#include <fcntl.h>
#include <unistd.h>

// Makes a call with these standard descriptors closed, tells its answer and which of them it left
// open, and puts those back that were open before. Asks for no more than a process with few
// descriptors has.
template <auto call, int... closed> std::string without_descriptors()
{
    class closed_descriptor {
    public:
        explicit closed_descriptor(int number)
            : number_(number), kept_(::fcntl(number, F_DUPFD_CLOEXEC, STDERR_FILENO + 1))
        {
            ::close(number_);
        }
        closed_descriptor(const closed_descriptor &) = delete;
        closed_descriptor &operator=(const closed_descriptor &) = delete;
        ~closed_descriptor()
        {
            ::close(number_);
            if (kept_ < 0)
                return;
            ::dup2(kept_, number_);
            ::close(kept_);
        }

        [[nodiscard]] std::string left_open() const
        {
            return ::fcntl(number_, F_GETFD) < 0
                       ? ""
                       : ", descriptor " + std::to_string(number_) + " is left open";
        }

    private:
        int number_;
        int kept_;
    };

    const std::array<closed_descriptor, sizeof...(closed)> here = {closed_descriptor(closed)...};
    std::string answer = call();
    for (const closed_descriptor &one : here)
        answer += one.left_open();
    return answer;
}
