// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What gpg found, a line for each signature as "SUMMARY STATUS FINGERPRINT", an empty line, and
// behind it the content. In the place of GPGME's operations stand some that report just that: a run
// of gpg would take a hundredth of a second.
#include "fuzz.h"
#include "integrity/builtin_key.h"
#include "integrity/gpg_session.h"
#include "orvane.h"

#include <list>

namespace {

struct found_signature {
    std::string signer;
    _gpgme_signature entry = {};
};

std::list<found_signature> signatures;
std::string content;

std::string fingerprint_of(const std::string &word)
{
    if (word == "builtin")
        return orvane::builtin_fingerprint;
    return word == "long" ? orvane::builtin_long_key_id : word;
}

void add_signature(const std::string &line)
{
    unsigned int summary = 0;
    unsigned int status = 0;
    char signer[64] = "";
    std::sscanf(line.c_str(), "%x %u %63s", &summary, &status, signer);
    found_signature &added = signatures.emplace_back();
    added.signer = fingerprint_of(signer);
    added.entry.summary = static_cast<gpgme_sigsum_t>(summary & 0xfffU);
    added.entry.status = status;
    added.entry.fpr = added.signer == "-" ? nullptr : added.signer.data();
    if (signatures.size() > 1)
        std::prev(signatures.end(), 2)->entry.next = &added.entry;
}

int code_of_first()
{
    const _gpgme_signature &first = signatures.front().entry;
    const auto summary = static_cast<unsigned int>(first.summary);
    if ((summary & (GPGME_SIGSUM_VALID | GPGME_SIGSUM_GREEN)) != 0 || (first.status & 0xffffU) == 0)
        return ORVANE_OK;
    if ((summary & GPGME_SIGSUM_KEY_MISSING) != 0)
        return ORVANE_GPG_KEY_MISSING;
    if ((summary & GPGME_SIGSUM_RED) != 0)
        return ORVANE_GPG_SIGNATURE_RED;
    return (first.status & 0xffffU) == GPG_ERR_BAD_SIGNATURE ? ORVANE_GPG_SIGNATURE_BAD
                                                             : ORVANE_GPG_SIGNATURE_INVALID;
}

bool is_builtin(const found_signature &made)
{
    return made.signer == orvane::builtin_fingerprint || made.signer == orvane::builtin_long_key_id;
}

int expected_code()
{
    if (signatures.empty())
        return ORVANE_GPG_NO_SIGNATURE;
    if (const int code = code_of_first(); code != ORVANE_OK)
        return code;
    return std::all_of(signatures.begin(), signatures.end(), is_builtin) ? ORVANE_OK
                                                                         : ORVANE_GPG_OTHER_SIGNER;
}

void require_verified()
{
    char unchanged = '?';
    char *verified = &unchanged;
    unsigned int length = 12345;
    const int code = gpg_verify("/dev/null", &verified, &length);
    require(code == expected_code());
    if (code != ORVANE_OK) {
        require(verified == &unchanged && length == 12345);
        return;
    }
    const orvane::heap_text owner(verified);
    require((verified == nullptr) == (content.size() > 4096));
    require(length == (verified == nullptr ? 12345 : content.size()));
    require(verified == nullptr || std::equal(content.begin(), content.end(), verified));
}

void require_encrypted()
{
    char unchanged = '?';
    char *message = &unchanged;
    unsigned int length = 12345;
    const int code = gpg_encrypt("text", &message, &length);
    const bool is_refused =
        !signatures.empty() && signatures.front().signer == orvane::builtin_fingerprint;
    require(code == (is_refused ? ORVANE_GPG_KEY_MISSING : ORVANE_OK));
    if (is_refused) {
        require(message == &unchanged && length == 12345);
        return;
    }
    const orvane::heap_text owner(message);
    require((message == nullptr) == content.empty());
    require(length == (content.empty() ? 12345 : content.size()));
    require(content.empty() ||
            std::equal(content.c_str(), content.c_str() + content.size() + 1, message));
}

void write_content(gpgme_data_t output)
{
    require(gpgme_data_write(output, content.data(), content.size()) ==
            static_cast<ssize_t>(content.size()));
}

} // namespace

extern "C" gpgme_error_t gpgme_new(gpgme_ctx_t *context)
{
    *context = reinterpret_cast<gpgme_ctx_t>(&signatures);
    return 0;
}

extern "C" void gpgme_release(gpgme_ctx_t /*context*/) {}

extern "C" void gpgme_set_armor(gpgme_ctx_t /*context*/, int /*yes*/) {}

extern "C" gpgme_error_t gpgme_set_ctx_flag(gpgme_ctx_t /*context*/, const char * /*name*/,
                                            const char * /*value*/)
{
    return 0;
}

extern "C" void gpgme_set_status_cb(gpgme_ctx_t /*context*/, gpgme_status_cb_t /*take*/,
                                    void * /*handle*/)
{
}

extern "C" gpgme_error_t gpgme_op_import(gpgme_ctx_t /*context*/, gpgme_data_t /*key*/)
{
    return 0;
}

extern "C" gpgme_error_t gpgme_op_verify(gpgme_ctx_t /*context*/, gpgme_data_t /*signed_data*/,
                                         gpgme_data_t /*text*/, gpgme_data_t output)
{
    write_content(output);
    return 0;
}

extern "C" gpgme_verify_result_t gpgme_op_verify_result(gpgme_ctx_t /*context*/)
{
    static _gpgme_op_verify_result result = {};
    result.signatures = signatures.empty() ? nullptr : &signatures.front().entry;
    return &result;
}

extern "C" gpgme_error_t gpgme_get_key(gpgme_ctx_t /*context*/, const char *fingerprint,
                                       gpgme_key_t *key, int /*secret*/)
{
    static _gpgme_key found = {};
    require(std::string_view(fingerprint) == orvane::builtin_fingerprint);
    *key = &found;
    return 0;
}

extern "C" gpgme_error_t gpgme_op_encrypt(gpgme_ctx_t /*context*/, gpgme_key_t recipients[],
                                          gpgme_encrypt_flags_t /*flags*/, gpgme_data_t /*text*/,
                                          gpgme_data_t output)
{
    require(recipients[0] != nullptr && recipients[1] == nullptr);
    write_content(output);
    return 0;
}

extern "C" gpgme_encrypt_result_t gpgme_op_encrypt_result(gpgme_ctx_t /*context*/)
{
    static _gpgme_invalid_key refused = {};
    static _gpgme_op_encrypt_result result = {};
    refused.fpr = signatures.empty() ? nullptr : signatures.front().entry.fpr;
    result.invalid_recipients = signatures.empty() ? nullptr : &refused;
    return &result;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    signatures.clear();
    content = bytes_of(data, size);
    for (std::string line; !(line = up_to_zero(take_line(content))).empty();)
        add_signature(line);
    require_verified();
    require_encrypted();
    return 0;
}
