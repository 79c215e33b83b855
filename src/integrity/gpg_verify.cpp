// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Whether a file is signed with the built-in key.
#include "integrity/builtin_key.h"
#include "integrity/gpg_session.h"
#include "orvane.h"
#include "support/text.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace orvane {

namespace {

constexpr off_t most_content_bytes = 4096;

// The content that gpg finds. What no caller gets is counted and not kept: a small file may hold
// gigabytes.
struct found_content {
    off_t size = 0;
    off_t position = 0;
    char bytes[most_content_bytes] = {};
};

ssize_t append_content(void *handle, const void *bytes, std::size_t count) noexcept
{
    auto &content = *static_cast<found_content *>(handle);
    if (content.size < most_content_bytes) {
        const auto free_bytes = static_cast<std::size_t>(most_content_bytes - content.size);
        ::memcpy(content.bytes + content.size, bytes, std::min(count, free_bytes));
    }
    content.size += static_cast<off_t>(count);
    return static_cast<ssize_t>(count);
}

ssize_t read_content(void *handle, void *buffer, std::size_t count) noexcept
{
    auto &content = *static_cast<found_content *>(handle);
    const off_t kept = std::min(content.size, most_content_bytes);
    const auto left = static_cast<std::size_t>(std::max(kept - content.position, off_t{0}));
    count = std::min(count, left);
    ::memcpy(buffer, content.bytes + content.position, count);
    content.position += static_cast<off_t>(count);
    return static_cast<ssize_t>(count);
}

// Only to the start and to the end.
off_t seek_content(void *handle, off_t /*offset*/, int whence) noexcept
{
    auto &content = *static_cast<found_content *>(handle);
    return content.position = whence == SEEK_END ? content.size : 0;
}

void release_content(void *handle) noexcept
{
    ::free(handle);
}

gpg_data new_content() noexcept
{
    static gpgme_data_cbs callbacks = {read_content, append_content, seek_content, release_content};
    void *const content = ::calloc(1, sizeof(found_content));
    gpgme_data_t data = nullptr;
    if (content == nullptr || ::gpgme_data_new_from_cbs(&data, &callbacks, content) != 0) {
        ::free(content);
        return nullptr;
    }
    return gpg_data(data);
}

gpgme_error_t verify(gpg_session &gpg) noexcept
{
    if (gpg.input_bytes <= least_pipe_bytes)
        return ::gpgme_op_verify(gpg.context.get(), gpg.input.get(), nullptr, gpg.output.get());
    gpg.operation.attach_to(gpg.context.get());
    return gpg.operation.wait(
        ::gpgme_op_verify_start(gpg.context.get(), gpg.input.get(), nullptr, gpg.output.get()));
}

gpgme_error_t decrypt_and_verify(gpg_session &gpg) noexcept
{
    if (gpg.input_bytes <= least_pipe_bytes)
        return ::gpgme_op_decrypt_verify(gpg.context.get(), gpg.input.get(), gpg.output.get());
    gpg.operation.attach_to(gpg.context.get());
    return gpg.operation.wait(
        ::gpgme_op_decrypt_verify_start(gpg.context.get(), gpg.input.get(), gpg.output.get()));
}

using signature = _gpgme_signature;

const signature *signatures_of(gpgme_ctx_t context) noexcept
{
    const auto *const result = ::gpgme_op_verify_result(context);
    return result != nullptr ? result->signatures : nullptr;
}

// Returns false without a result: GPGME itself has failed then, and a second run could hide it.
bool reports_no_error(gpgme_ctx_t context) noexcept
{
    const auto *const result = ::gpgme_op_verify_result(context);
    if (result == nullptr)
        return false;
    const auto *made = result->signatures;
    while (made != nullptr && ::gpgme_err_code(made->status) == GPG_ERR_NO_ERROR)
        made = made->next;
    return made == nullptr;
}

// What gpg reports of the file in words of its own, for as long as this lives.
struct gpg_report {
    explicit gpg_report(gpgme_ctx_t reporting) noexcept;
    gpg_report(const gpg_report &) = delete;
    gpg_report &operator=(const gpg_report &) = delete;
    ~gpg_report() { ::gpgme_set_status_cb(context, nullptr, nullptr); }

    gpgme_ctx_t context;
    bool is_damaged = false;
    bool is_of_another_form = false; // than content with signatures
    bool has_two_contents = false;
    bool has_failed = false;
};

gpgme_error_t take_status(void *handle, const char *keyword, const char *arguments) noexcept
{
    auto &report = *static_cast<gpg_report *>(handle);
    const std::string_view status(keyword);
    const std::string_view reason(arguments != nullptr ? arguments : "");
    if (status == "NODATA")
        (reason == "4" ? report.is_of_another_form : report.is_damaged) = true;
    else if (status == "UNEXPECTED" && reason == "0")
        report.is_of_another_form = true;
    else if (status == "ERROR" && has_prefix(reason, "proc_pkt.plaintext "))
        report.has_two_contents = true;
    else if (status == "FAILURE")
        report.has_failed = true;
    return 0;
}

gpg_report::gpg_report(gpgme_ctx_t reporting) noexcept : context(reporting)
{
    ::gpgme_set_ctx_flag(context, "full-status", "1");
    ::gpgme_set_status_cb(context, take_status, this);
}

// Whether GPGME lacked what it needs, such as memory or a process. Its other errors say no more
// than that the file is not encrypted, or that the user cannot open it.
bool was_cut_short(gpgme_error_t error) noexcept
{
    const gpg_err_code_t code = ::gpgme_err_code(error);
    return (code & GPG_ERR_SYSTEM_ERROR) != 0 || code == GPG_ERR_GENERAL;
}

// Returns ORVANE_OK also where there is no signature.
int find_signatures_in_any_form(gpg_session &gpg) noexcept
{
    gpg_report report(gpg.context.get());
    gpg.output = new_content();
    if (!gpg.output)
        return ORVANE_GPG_NO_OUTPUT;
    if (::gpgme_data_seek(gpg.input.get(), 0, SEEK_SET) != 0 ||
        was_cut_short(decrypt_and_verify(gpg)))
        return ORVANE_GPG_VERIFY_FAILED;
    const bool is_damaged = report.is_damaged && signatures_of(gpg.context.get()) == nullptr;
    return is_damaged || report.has_two_contents ? ORVANE_GPG_VERIFY_FAILED : ORVANE_OK;
}

// GPGME 1.18 lets gpg find out what a file is. GPGME 1.24 runs it with --verify, which takes an
// unsigned file for an error, opens no encrypted one, and reports no signature without content but
// that it fails. Callers' stored codes are those of the former, and gpg --decrypt still gives them.
//
// Returns ORVANE_OK also where there is no signature.
int find_signatures(gpg_session &gpg) noexcept
{
    gpg_report report(gpg.context.get());
    const gpgme_error_t error = verify(gpg);
    const bool has_silently_failed =
        error == 0 && report.has_failed && reports_no_error(gpg.context.get());
    if (report.is_of_another_form || has_silently_failed)
        return find_signatures_in_any_form(gpg);
    return error == 0 ? ORVANE_OK : ORVANE_GPG_VERIFY_FAILED;
}

int code_of(const signature &first) noexcept
{
    const gpg_err_code_t status = ::gpgme_err_code(first.status);
    const auto has = [&first](gpgme_sigsum_t bit) {
        return (static_cast<unsigned int>(first.summary) & static_cast<unsigned int>(bit)) != 0;
    };
    // Without an error the signature is good even where the key store does not trust its key. Where
    // the store trusts the key, an expired signature is good too.
    if (has(GPGME_SIGSUM_VALID) || has(GPGME_SIGSUM_GREEN) || status == GPG_ERR_NO_ERROR)
        return ORVANE_OK;
    if (has(GPGME_SIGSUM_KEY_MISSING))
        return ORVANE_GPG_KEY_MISSING;
    if (has(GPGME_SIGSUM_RED))
        return ORVANE_GPG_SIGNATURE_RED;
    return status == GPG_ERR_BAD_SIGNATURE ? ORVANE_GPG_SIGNATURE_BAD
                                           : ORVANE_GPG_SIGNATURE_INVALID;
}

bool is_by_builtin_key(const signature &made) noexcept
{
    return made.fpr != nullptr && (::strcmp(made.fpr, builtin_fingerprint) == 0 ||
                                   ::strcmp(made.fpr, builtin_long_key_id) == 0);
}

bool are_by_builtin_key(const signature *made) noexcept
{
    while (made != nullptr && is_by_builtin_key(*made))
        made = made->next;
    return made == nullptr;
}

void store_content(gpgme_data_t output, char **content, unsigned int *length) noexcept
{
    const off_t size = ::gpgme_data_seek(output, 0, SEEK_END);
    if (size < 0 || size > most_content_bytes) {
        *content = nullptr;
        return;
    }
    // No terminator: the content is bytes, and callers use its length.
    store_data(output, static_cast<std::size_t>(size), 0, content, length);
}

int verify_file(const char *path, char **content, unsigned int *length) noexcept
{
    gpg_session gpg;
    gpg.context = new_gpg_context();
    if (!gpg.context)
        return ORVANE_GPG_NO_CONTEXT;
    gpg.input = data_of_file(path, gpg.input_bytes);
    if (!gpg.input)
        return ORVANE_GPG_FILE_UNREADABLE;
    gpg.output = new_content();
    if (!gpg.output)
        return ORVANE_GPG_NO_OUTPUT;

    import_builtin_key(gpg.context.get());
    if (const int code = find_signatures(gpg); code != ORVANE_OK)
        return code;
    const auto *const signatures = signatures_of(gpg.context.get());
    if (signatures == nullptr)
        return ORVANE_GPG_NO_SIGNATURE;
    // The first signature alone decides whether the file is intact.
    if (const int code = code_of(*signatures); code != ORVANE_OK)
        return code;
    if (!are_by_builtin_key(signatures))
        return ORVANE_GPG_OTHER_SIGNER;

    if (content != nullptr)
        store_content(gpg.output.get(), content, length);
    return ORVANE_OK;
}

} // namespace

} // namespace orvane

extern "C" int gpg_verify(const char *path, char **content, unsigned int *length)
{
    return orvane::is_secure_execution() ? ORVANE_GPG_NO_CONTEXT
                                         : orvane::verify_file(path, content, length);
}
