// SPDX-License-Identifier: LGPL-2.1-or-later
//
// orvane signature: whether a text carries a valid RSA signature.
#include "command.h"
#include "files.h"
#include "quiet.h"
#include "say.h"

#include "orvane.h"

#include <memory>
#include <string>

namespace {

struct request {
    std::string text_file;
    std::string signature_file;
};

// The first of the lines in which the library says what was wrong.
std::string reason_in(const std::string &lines)
{
    if (lines.empty())
        return "it does not match the text";
    const std::string reason = lines.substr(0, lines.find('\n'));
    // The library's own spelling is for logs.
    return reason == "Failed to decode base64 si11gnature" ? "it is not base64" : reason;
}

int verify(const request &wanted)
{
    const std::string text = text_in(wanted.text_file);
    const std::string signature = text_in(wanted.signature_file);
    bool is_valid = false;
    std::string complaints;
    {
        const set_aside output(stdout);
        const set_aside error(stderr);
        is_valid = verify_signature(text.c_str(), signature.c_str());
        complaints = error.text();
    }
    if (is_valid) {
        say(wanted.text_file + ": valid");
        return done;
    }
    complain(wanted.signature_file + ": no valid signature: " + reason_in(complaints));
    return failed;
}

} // namespace

void add_signature_command(CLI::App &app, action &chosen)
{
    const auto wanted = std::make_shared<request>();
    CLI::App *const command = app.add_subcommand(
        "signature", "Check an RSA signature under the key in /etc/orvane/public.pem");
    command->add_option("TEXTFILE", wanted->text_file, "The text that was signed")->required();
    command->add_option("SIGNATUREFILE", wanted->signature_file, "Its signature, in base64")
        ->required();
    command->callback([wanted, &chosen] { chosen = [wanted] { return verify(*wanted); }; });
}
