// SPDX-License-Identifier: LGPL-2.1-or-later
#include "result_message.h"

#include "commands.h"

#include "orvane.h"

#include <stdexcept>

namespace {

const char *message_for(int result)
{
    switch (result) {
    case ORVANE_GPG_VERIFY_FAILED:
        return "it is not OpenPGP or is damaged, or gpg fails";
    case ORVANE_GPG_KEY_MISSING:
        return "the key store does not have the key, or cannot be used";
    case ORVANE_GPG_CLOCK_TOO_EARLY:
        return "the clock is earlier than the key";
    case ORVANE_GPG_NO_CONTEXT:
        return "GPGME cannot be set up";
    case ORVANE_GPG_TEXT_NOT_TAKEN:
        return "GPGME does not take the text";
    case ORVANE_GPG_ENCRYPT_FAILED:
        return "gpg cannot encrypt it, or the key expired or was revoked";
    case ORVANE_GPG_OTHER_SIGNER:
        return "a signature is by another key";
    case ORVANE_GPG_FILE_UNREADABLE:
        return "the file cannot be read";
    case ORVANE_GPG_SIGNATURE_RED:
        return "the file was altered";
    case ORVANE_GPG_SIGNATURE_BAD:
        return "the signature is bad";
    case ORVANE_GPG_SIGNATURE_INVALID:
        return "the signature is not valid or expired, or its key expired or was revoked";
    case ORVANE_GPG_NO_SIGNATURE:
        return "gpg finds no signature";
    case ORVANE_BASE64_LENGTH:
        return "the length is not a multiple of 4";
    case ORVANE_BASE64_CHARACTER:
        return "a character is not of base64";
    case ORVANE_BASE64_PADDING:
        return "a \"=\" is out of place";
    case ORVANE_BASE64_NOTHING_TO_ENCODE:
        return "there is nothing to encode";
    case ORVANE_BASE64_NOTHING_TO_DECODE:
        return "there is nothing to decode";
    case ORVANE_FROM_URL_NOTHING:
    case ORVANE_TO_URL_NOTHING:
        return "there is nothing to convert";
    case ORVANE_URL_CHARACTER:
        return "a character is neither of base64 nor \"%\"";
    case ORVANE_URL_ESCAPE:
        return "a \"%\" is not followed by 2B, 2F or 3D";
    case ORVANE_GPG_NO_OUTPUT:
        return "GPGME has no memory for the result";
    default:
        return "the library gives a result that is not known";
    }
}

// Whether the code tells of the data, and not of what is missing to judge it.
bool is_of_data(int result)
{
    switch (result) {
    case ORVANE_GPG_VERIFY_FAILED:
    case ORVANE_GPG_OTHER_SIGNER:
    case ORVANE_GPG_SIGNATURE_RED:
    case ORVANE_GPG_SIGNATURE_BAD:
    case ORVANE_GPG_SIGNATURE_INVALID:
    case ORVANE_GPG_NO_SIGNATURE:
    case ORVANE_BASE64_LENGTH:
    case ORVANE_BASE64_CHARACTER:
    case ORVANE_BASE64_PADDING:
    case ORVANE_BASE64_NOTHING_TO_ENCODE:
    case ORVANE_BASE64_NOTHING_TO_DECODE:
    case ORVANE_FROM_URL_NOTHING:
    case ORVANE_TO_URL_NOTHING:
    case ORVANE_URL_CHARACTER:
    case ORVANE_URL_ESCAPE:
        return true;
    default:
        return false;
    }
}

} // namespace

void throw_result(const std::string &name, int result)
{
    const std::string message = name + ": " + message_for(result);
    if (is_of_data(result))
        throw negative_result(message);
    throw std::runtime_error(message);
}
