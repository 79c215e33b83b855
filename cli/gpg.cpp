// SPDX-License-Identifier: LGPL-2.1-or-later
//
// orvane gpg: files signed with the built-in GPG key, and texts encrypted to it.
#include "commands.h"
#include "input.h"
#include "output.h"
#include "owned_text.h"
#include "result_message.h"
#include "signed_file.h"

#include "orvane.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <glib.h>
#include <unistd.h>

namespace {

constexpr std::string_view builtin_fingerprint = ORVANE_SIGNING_KEY_FINGERPRINT;

// No length that the library stores.
constexpr unsigned int not_stored = UINT_MAX;

std::string size_of_content(unsigned int length)
{
    if (length == not_stored)
        return "more than 4096 bytes";
    return std::to_string(length) + (length == 1 ? " byte" : " bytes");
}

void require_gpg(const std::string &name)
{
    if (!is_gpg_installed())
        throw std::runtime_error(name + ": gpg is not installed");
}

// With these rights.
void require_key_store(const std::string &name, int rights)
{
    const char *const given = ::g_getenv("GNUPGHOME");
    const std::string path =
        given != nullptr && *given != '\0' ? given : std::string(::g_get_home_dir()) + "/.gnupg";
    if (::access(path.c_str(), rights) != 0)
        throw std::runtime_error(name + ": the key store " + path + ": " + std::strerror(errno));
}

void refuse_other_signer(const std::string &file, int result)
{
    const std::vector<std::string> signers = named_signers(file);
    const auto other = std::find_if(signers.begin(), signers.end(), [](const std::string &signer) {
        return !builtin_fingerprint.ends_with(signer);
    });
    const std::string builtin(builtin_fingerprint);
    if (other != signers.end())
        throw negative_result(file + ": signed by " + *other + ", not by the built-in key " +
                              builtin);
    if (result == ORVANE_GPG_OTHER_SIGNER)
        throw negative_result(file + ": signed by another key than the built-in key " + builtin);
}

void refuse_detached_signature(const std::string &file)
{
    if (is_detached_signature(file))
        throw std::runtime_error(file +
                                 ": a detached signature: give a file that carries its content");
}

// Throws where more can be reported than the result of the library does.
void explain_failure(const std::string &file, int result)
{
    if (result == ORVANE_GPG_FILE_UNREADABLE)
        check_readable(file);
    if (result == ORVANE_GPG_FILE_UNREADABLE || result == ORVANE_GPG_NO_CONTEXT ||
        result == ORVANE_GPG_NO_OUTPUT)
        return;
    require_gpg(file);
    refuse_detached_signature(file);
    if (result == ORVANE_GPG_KEY_MISSING || result == ORVANE_GPG_OTHER_SIGNER)
        refuse_other_signer(file, result);
    if (result == ORVANE_GPG_KEY_MISSING)
        require_key_store(file, R_OK | W_OK | X_OK);
    if (result == ORVANE_GPG_NO_SIGNATURE)
        require_key_store(file, R_OK | X_OK);
}

} // namespace

int verify_gpg_file(const gpg_options &options)
{
    char *buffer = nullptr;
    unsigned int length = not_stored;
    const int result = gpg_verify(options.file.c_str(), &buffer, &length);
    const owned_text content(buffer);
    if (result != ORVANE_OK) {
        explain_failure(options.file, result);
        throw_result(options.file, result);
    }
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
    if (result == ORVANE_GPG_KEY_MISSING) {
        require_gpg(input_name);
        require_key_store(input_name, R_OK | W_OK | X_OK);
    }
    if (result != ORVANE_OK)
        throw_result(input_name, result);
    if (!message)
        throw std::runtime_error(std::string(input_name) + ": the message was not handed over");
    write_output(options.output.empty() ? "-" : options.output, std::string(message.get(), length));
    return success;
}
