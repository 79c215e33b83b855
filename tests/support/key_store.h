// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "cases.h"
#include "process.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

inline texts operator+(texts first, const texts &rest)
{
    first.insert(first.end(), rest.begin(), rest.end());
    return first;
}

// GPGME 1.24 and later run gpg with --verify; 1.18 leaves it to gpg to find out what the file is.
// From here on it is --verify with both.
inline void make_gpg_verify(constructed_machine &machine)
{
    machine.show("/usr/bin", "/opt/tools");
    machine.script("/usr/bin/gpg", "case $* in\n"
                                   "*--decrypt* | *--encrypt* | *--verify*) ;;\n"
                                   "*'--output - -- -'*) set -- --verify \"$@\" ;;\n"
                                   "esac\n"
                                   "exec /opt/tools/gpg \"$@\"");
}

// A key store. The destructor ends its agent, whose sockets need a short path.
class key_store {
public:
    key_store() : path_("/tmp/gpg.XXXXXX")
    {
        if (::mkdtemp(path_.data()) == nullptr)
            throw std::system_error(errno, std::generic_category(), "mkdtemp");
    }
    key_store(const key_store &) = delete;
    key_store &operator=(const key_store &) = delete;
    ~key_store()
    {
        end_agent();
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    [[nodiscard]] const std::string &path() const { return path_; }

    // What gpg prints with this store.
    std::string gpg(const texts &arguments) const // NOLINT(modernize-use-nodiscard)
    {
        const auto ended = run(texts{"gpg", "--homedir", path_, "--batch", "--yes"} + arguments);
        if (ended.status != 0)
            throw std::runtime_error("gpg: " + ended.error);
        return ended.output;
    }

    // The time of every later run of gpg with this store, such as "20370101T000000".
    // gpg knows no later year on some 32-bit machines.
    void set_clock(const std::string &time) const
    {
        std::ofstream(path_ + "/gpg.conf") << "faked-system-time " << time << "\n";
    }

    [[nodiscard]] bool has(const std::string &key) const
    {
        return run({"gpg", "--homedir", path_, "--batch", "--list-keys", key}).status == 0;
    }

private:
    static constructed_machine::program_result run(const texts &command)
    {
        return run_program(command, [] { return true; });
    }

    // The agent is no child of this process. It has ended when a connection to it has.
    void end_agent() const
    {
        std::string socket =
            run({"gpgconf", "--homedir", path_, "--list-dirs", "agent-socket"}).output;
        while (socket.ends_with('\n'))
            socket.pop_back();
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        socket.copy(address.sun_path, sizeof(address.sun_path) - 1);
        const int connection = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (::connect(connection, reinterpret_cast<sockaddr *>(&address), sizeof(address)) == 0) {
            constexpr std::string_view query = "GETINFO pid\n";
            bool is_alive = ::write(connection, query.data(), query.size()) > 0;
            std::string received;
            for (char byte = 0; ::read(connection, &byte, 1) == 1;) {
                received += byte;
                // A greeting comes before the line with the answer.
                const std::size_t answer = received.find("\nD ");
                if (is_alive && byte == '\n' && answer != std::string::npos) {
                    ::kill(std::stoi(received.substr(answer + 3)), SIGKILL);
                    is_alive = false;
                }
            }
        }
        ::close(connection);
    }

    std::string path_;
};
