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

// A key store, which takes its agent along when it goes. Its path is short, because the agent's
// sockets stand in it.
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

    // What gpg prints when it works with this store.
    std::string gpg(const texts &arguments) const // NOLINT(modernize-use-nodiscard)
    {
        const auto ended = run(texts{"gpg", "--homedir", path_, "--batch", "--yes"} + arguments);
        if (ended.status != 0)
            throw std::runtime_error("gpg says: " + ended.error);
        return ended.output;
    }

    // From now on gpg works with this store at another time.
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

    // The agent is nobody's child. The end of a connection with it is its end.
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
            constexpr std::string_view question = "GETINFO pid\n";
            bool is_alive = ::write(connection, question.data(), question.size()) > 0;
            std::string said;
            for (char heard = 0; ::read(connection, &heard, 1) == 1;) {
                said += heard;
                // It greets first, and its answer is a line of its own.
                const std::size_t answer = said.find("\nD ");
                if (is_alive && heard == '\n' && answer != std::string::npos) {
                    ::kill(std::stoi(said.substr(answer + 3)), SIGKILL);
                    is_alive = false;
                }
            }
        }
        ::close(connection);
    }

    std::string path_;
};
