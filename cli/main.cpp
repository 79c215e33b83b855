// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The orvane command: what the library knows and checks, for people and scripts.
#include "command.h"
#include "say.h"

#include "orvane.h"

#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace {

// What was printed counts only when it has arrived.
int flushed(int status)
{
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
        return status;
    complain(std::string("standard output: ") + std::strerror(errno));
    return failed;
}

int run(int argc, char **argv)
{
    CLI::App app("Tells the identity of the machine it runs on, and checks and encodes data files.",
                 "orvane");
    app.set_version_flag("--version", "orvane " ORVANE_VERSION);
    app.require_subcommand(0, 1);
    action chosen;
    add_identity_commands(app, chosen);
    add_digest_command(app, chosen);
    add_signature_command(app, chosen);
    add_gpg_commands(app, chosen);
    add_base64_commands(app, chosen);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success &success) { // --help and --version
        return flushed(app.exit(success));
    } catch (const CLI::ParseError &error) {
        complain(std::string(error.what()) + " (see orvane --help)");
        return wrong_use;
    }
    return flushed(chosen());
}

} // namespace

int main(int argc, char **argv)
{
    const bool has_output = ::fcntl(STDOUT_FILENO, F_GETFD) >= 0;
    redirect_stdio();
    try {
        if (!has_output)
            throw std::runtime_error("standard output is closed");
        std::setlocale(LC_ALL, "");
        return run(argc, argv);
    } catch (const std::exception &error) {
        complain(error.what());
        return failed;
    }
}
