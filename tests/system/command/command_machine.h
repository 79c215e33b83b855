// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "fixture.h"

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

using outcome = constructed_machine::program_result;

inline bool operator==(const outcome &one, const outcome &other)
{
    return one.status == other.status && one.output == other.output && one.error == other.error;
}

inline std::ostream &operator<<(std::ostream &stream, const outcome &one)
{
    return stream << "status " << one.status << "\nstandard output: " << one.output
                  << "\nstandard error: " << one.error;
}

// Status 0, and this on standard output alone.
inline outcome printed(const std::string &output)
{
    return {0, output, ""};
}

// Status 1, and this line on standard error alone.
inline outcome complained(const std::string &line)
{
    return {1, "", line};
}

inline bool is_one_line(const std::string &text)
{
    return std::count(text.begin(), text.end(), '\n') == 1 && text.ends_with('\n');
}

// So many bytes, of every value from the first on.
inline std::string every_byte(std::size_t size, std::size_t first = 0)
{
    std::string bytes(size, '\0');
    for (std::size_t at = 0; at < size; ++at)
        bytes[at] = static_cast<char>(at % (256 - first) + first);
    return bytes;
}

// The installed command on a constructed machine, at a prefix that every user can reach.
template <class Machine> class with_command : public Machine {
protected:
    void furnish() override
    {
        Machine::furnish();
        this->machine.show(STAGE, "/opt/orvane");
        this->machine.show(PRELOAD_DIRECTORY, "/opt/preloads");
        this->machine.remove("/srv/output"); // what is written to /srv stays on this machine
    }

    [[nodiscard]] outcome orvane(texts arguments, uid_t as_user = 0) const
    {
        arguments.insert(arguments.begin(), "/opt/orvane/bin/orvane");
        return this->machine.run(arguments, as_user);
    }

    // The command, as a shell takes its words, with one of the tests' own libraries before all
    // others in its process. Address sanitizer wants to stand there itself, but can do without.
    [[nodiscard]] outcome preloaded(const std::string &library, const std::string &environment,
                                    const std::string &words) const
    {
        return shell("LD_PRELOAD=/opt/preloads/" + library +
                     ".so ASAN_OPTIONS=verify_asan_link_order=0 " + environment + " exec orvane " +
                     words);
    }

    // What a shell does that knows the command. The processes that it starts have no entries in the
    // machine's /proc, where the leak sanitizer would look.
    [[nodiscard]] outcome shell(const std::string &commands) const
    {
        return this->machine.run({"/bin/sh", "-c",
                                  "PATH=/opt/orvane/bin:$PATH; "
                                  "export ASAN_OPTIONS=detect_leaks=0; " +
                                      commands});
    }

    // The command with arguments and redirections as a shell takes them.
    [[nodiscard]] outcome orvane_by_shell(const std::string &words) const
    {
        return this->machine.run({"/bin/sh", "-c", "exec /opt/orvane/bin/orvane " + words});
    }
};

using command_machine = with_command<on_machine>;
