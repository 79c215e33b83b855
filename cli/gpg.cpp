// SPDX-License-Identifier: LGPL-2.1-or-later
//
// orvane gpg: files signed with the built-in key, and texts encrypted to it.
#include "command.h"
#include "files.h"
#include "owned_text.h"
#include "say.h"
#include "words.h"

#include "orvane.h"

#include <memory>
#include <stdexcept>
#include <string>

namespace {

struct request {
    std::string file;
    std::string output; // empty for none
};

int refuse(const std::string &what, int result)
{
    complain(what + ": " + in_words(result));
    return failed;
}

int verify(const request &wanted)
{
    char *room = nullptr;
    unsigned int length = 0;
    const int result = gpg_verify(wanted.file.c_str(), &room, &length);
    const owned_text content(room);
    if (result != ORVANE_OK)
        return refuse(wanted.file, result);
    if (wanted.output.empty()) {
        say(wanted.file + ": " + in_words(result));
        return done;
    }
    if (!content) {
        complain(wanted.file + ": valid, but content of more than 4096 bytes is not handed over");
        return failed;
    }
    write_to(wanted.output, std::string(content.get(), length));
    return done;
}

int encrypt(const request &wanted)
{
    const std::string text = text_on_standard_input();
    char *room = nullptr;
    unsigned int length = 0;
    const int result = gpg_encrypt(text.c_str(), &room, &length);
    const owned_text message(room);
    if (result != ORVANE_OK)
        return refuse("standard input", result);
    if (!message)
        throw std::runtime_error("standard input: the message was not handed over");
    write_to(wanted.output.empty() ? "-" : wanted.output, std::string(message.get(), length));
    return done;
}

} // namespace

void add_gpg_commands(CLI::App &app, action &chosen)
{
    const auto wanted = std::make_shared<request>();
    CLI::App *const gpg = app.add_subcommand("gpg", "Verify or encrypt with the built-in GPG key");
    gpg->require_subcommand(1);

    const auto is_named = [](const std::string &path) {
        return path.empty() ? "a file needs a name" : "";
    };

    CLI::App *const verifying =
        gpg->add_subcommand("verify", "Verify a file that carries its content and signatures");
    verifying->add_option("FILE", wanted->file, "The signed file")->required();
    verifying
        ->add_option("--output", wanted->output,
                     "Where to write its content (- is standard output)")
        ->check(is_named, "");
    verifying->callback([wanted, &chosen] { chosen = [wanted] { return verify(*wanted); }; });

    CLI::App *const encrypting =
        gpg->add_subcommand("encrypt", "Encrypt the text on standard input");
    encrypting
        ->add_option("--output", wanted->output, "Where to write the message (standard output)")
        ->check(is_named, "");
    encrypting->callback([wanted, &chosen] { chosen = [wanted] { return encrypt(*wanted); }; });
}
