// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Encrypting a text to the built-in key.
#include "integrity/builtin_key.h"
#include "integrity/gpg_session.h"
#include "orvane.h"

#include <cstring>
#include <ctime>

namespace orvane {

namespace {

constexpr int public_half = 0;

// The key is imported each time, but gpg ignores a key that was created after the clock's time.
int code_of_missing_key(std::time_t now) noexcept
{
    return builtin_creation_time > static_cast<std::uint64_t>(now) ? ORVANE_GPG_CLOCK_TOO_EARLY
                                                                   : ORVANE_GPG_KEY_MISSING;
}

// The key is not released: the manual documents the few hundred bytes that each call keeps.
gpgme_key_t find_builtin_key(gpgme_ctx_t context) noexcept
{
    gpgme_key_t key = nullptr;
    const gpgme_error_t error = ::gpgme_get_key(context, builtin_fingerprint, &key, public_half);
    return error == 0 ? key : nullptr;
}

gpg_data new_message() noexcept
{
    gpgme_data_t data = nullptr;
    return gpg_data(::gpgme_data_new(&data) == 0 ? data : nullptr);
}

gpgme_error_t encrypt(gpg_session &gpg, gpgme_key_t *recipients) noexcept
{
    if (gpg.input_bytes <= least_pipe_bytes)
        return ::gpgme_op_encrypt(gpg.context.get(), recipients, GPGME_ENCRYPT_ALWAYS_TRUST,
                                  gpg.input.get(), gpg.output.get());
    gpg.operation.attach_to(gpg.context.get());
    return gpg.operation.wait(::gpgme_op_encrypt_start(gpg.context.get(), recipients,
                                                       GPGME_ENCRYPT_ALWAYS_TRUST, gpg.input.get(),
                                                       gpg.output.get()));
}

bool is_refused(gpgme_ctx_t context) noexcept
{
    const auto *const result = ::gpgme_op_encrypt_result(context);
    const auto *const first = result != nullptr ? result->invalid_recipients : nullptr;
    return first != nullptr && first->fpr != nullptr &&
           ::strcmp(first->fpr, builtin_fingerprint) == 0;
}

void store_message(gpgme_data_t output, char **message, unsigned int *length) noexcept
{
    const off_t size = ::gpgme_data_seek(output, 0, SEEK_END);
    if (size <= 0)
        *message = nullptr;
    else
        store_data(output, static_cast<std::size_t>(size), 1, message, length);
}

int encrypt_text(const char *text, char **message, unsigned int *length) noexcept
{
    const std::time_t now = ::time(nullptr);
    gpg_session gpg;
    gpg.context = new_gpg_context();
    if (!gpg.context)
        return ORVANE_GPG_NO_CONTEXT;
    ::gpgme_set_armor(gpg.context.get(), 1);
    gpg.input = data_of_text(text, gpg.input_bytes);
    if (!gpg.input)
        return ORVANE_GPG_TEXT_NOT_TAKEN;
    gpg.output = new_message();
    if (!gpg.output)
        return ORVANE_GPG_NO_OUTPUT;

    import_builtin_key(gpg.context.get());
    gpgme_key_t recipients[] = {find_builtin_key(gpg.context.get()), nullptr};
    if (recipients[0] == nullptr)
        return code_of_missing_key(now);
    if (encrypt(gpg, recipients) != 0)
        return ORVANE_GPG_ENCRYPT_FAILED;
    if (is_refused(gpg.context.get()))
        return ORVANE_GPG_KEY_MISSING;

    if (message != nullptr)
        store_message(gpg.output.get(), message, length);
    return ORVANE_OK;
}

} // namespace

} // namespace orvane

extern "C" int gpg_encrypt(const char *text, char **message, unsigned int *length)
{
    return orvane::is_secure_execution() ? ORVANE_GPG_NO_CONTEXT
                                         : orvane::encrypt_text(text, message, length);
}
