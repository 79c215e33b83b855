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

inline outcome printed(const std::string &output)
{
    return {0, output, ""};
}

// Status 1, and this message alone.
inline outcome failed(const std::string &message)
{
    return {1, "", "orvane: " + message + "\n"};
}

// Status 3, and this message alone.
inline outcome undetermined(const std::string &message)
{
    return {3, "", "orvane: " + message + "\n"};
}

// This status, and any message of one line.
inline bool is_failure(const outcome &result, int status = 1)
{
    return result.status == status && result.output.empty() &&
           result.error.starts_with("orvane: ") &&
           result.error.find('\n') == result.error.size() - 1;
}

// So many bytes, of every value from the first on.
inline std::string every_byte(std::size_t size, std::size_t first = 0)
{
    std::string bytes(size, '\0');
    for (std::size_t at = 0; at < size; ++at)
        bytes[at] = static_cast<char>(at % (256 - first) + first);
    return bytes;
}

// A machine with the installed command, at a prefix that every user can reach.
template <class Machine> class with_command : public Machine {
protected:
    void furnish() override
    {
        Machine::furnish();
        this->machine.show(build_folder() + "/stage", "/opt/orvane");
        this->machine.show(build_folder() + "/tests/system/preloads", "/opt/preloads");
        this->machine.link("/dev/stdin", "/proc/self/fd/0");
        this->machine.remove("/srv/output"); // makes /srv this machine's own
    }

    [[nodiscard]] outcome orvane(texts arguments, uid_t as_user = 0) const
    {
        arguments.insert(arguments.begin(), "/opt/orvane/bin/orvane");
        return this->machine.run(arguments, as_user);
    }

    // Shell commands in /srv that find the command. Their processes have no entries in the
    // machine's /proc, which the leak sanitizer needs.
    [[nodiscard]] outcome shell(const std::string &commands) const
    {
        return this->machine.run({"/bin/sh", "-c",
                                  "cd /srv; PATH=/opt/orvane/bin:$PATH; "
                                  "export ASAN_OPTIONS=detect_leaks=0; " +
                                      commands});
    }

    // The command with functions of the library replaced. Address sanitizer usually insists on
    // being the first library of a process.
    [[nodiscard]] outcome preloaded(const std::string &library, const std::string &environment,
                                    const std::string &arguments) const
    {
        return shell("LD_PRELOAD=/opt/preloads/" + library +
                     ".so ASAN_OPTIONS=verify_asan_link_order=0 " + environment + " exec orvane " +
                     arguments);
    }
};

using command_machine = with_command<on_machine>;
