// SPDX-License-Identifier: LGPL-2.1-or-later
//
// orvane signature and orvane gpg: RSA signatures of texts, files signed with the built-in GPG key,
// and texts encrypted to it.
#include "commands.h"
#include "input.h"
#include "output.h"
#include "owned_text.h"
#include "result_message.h"
#include "stderr_capture.h"

#include "orvane.h"

#include <climits>
#include <cstdio>
#include <stdexcept>
#include <string>

namespace {

// The library's first line on standard error is the reason. It has none for a signature that does
// not match.
std::string reason_in(const std::string &messages)
{
    if (messages.empty())
        return "it does not match the text";
    const std::string reason = messages.substr(0, messages.find('\n'));
    return reason == "Failed to decode base64 si11gnature" ? "it is not base64" : reason;
}

// No length that the library stores.
constexpr unsigned int not_stored = UINT_MAX;

std::string size_of_content(unsigned int length)
{
    if (length == not_stored)
        return "more than 4096 bytes";
    return std::to_string(length) + (length == 1 ? " byte" : " bytes");
}

} // namespace

int check_signature(const signature_options &options)
{
    const std::string text = read_text(options.text_file);
    const std::string signature = read_text(options.signature_file);
    bool is_valid = false;
    std::string messages;
    {
        const stream_capture output(stdout);
        const stream_capture error(stderr);
        is_valid = verify_signature(text.c_str(), signature.c_str());
        messages = error.text();
    }
    if (is_valid) {
        print_line(options.text_file + ": valid");
        return success;
    }
    print_error(options.signature_file + ": no valid signature: " + reason_in(messages));
    return negative;
}

int verify_gpg_file(const gpg_options &options)
{
    char *buffer = nullptr;
    unsigned int length = not_stored;
    const int result = gpg_verify(options.file.c_str(), &buffer, &length);
    const owned_text content(buffer);
    if (result != ORVANE_OK)
        throw std::runtime_error(options.file + ": " + result_message(result));
    // What surrounds the signed content in the file is not verified.
    const std::string size = size_of_content(length);
    if (options.output.empty()) {
        print_line(options.file + ": valid; only the signed content of " + size +
                   " is vouched for" + (content ? "" : ", and it is not handed over"));
        return success;
    }
    if (!content)
        throw std::runtime_error(options.file + ": valid, but content of " + size +
                                 " is not handed over");
    write_output(options.output, std::string(content.get(), length));
    return success;
}

int encrypt_with_gpg(const gpg_options &options)
{
    const std::string text = read_input_text();
    char *buffer = nullptr;
    unsigned int length = 0;
    const int result = gpg_encrypt(text.c_str(), &buffer, &length);
    const owned_text message(buffer);
    if (result != ORVANE_OK)
        throw std::runtime_error(std::string("standard input: ") + result_message(result));
    if (!message)
        throw std::runtime_error("standard input: the message was not handed over");
    write_output(options.output.empty() ? "-" : options.output, std::string(message.get(), length));
    return success;
}
