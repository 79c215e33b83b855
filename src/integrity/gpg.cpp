// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What verifying and encrypting with the built-in key have in common.
#include "integrity/gpg.h"

#include "integrity/builtin_key.h"

#include <clocale>
#include <cstdlib>
#include <cstring>

namespace orvane {

namespace {

constexpr int copied = 1;

} // namespace

gpg_context new_gpg_context() noexcept
{
    ::gpgme_check_version(nullptr);
    // Deliberate: the locale becomes the environment's for the whole process, for the characters of
    // what gpg may have to ask the user. Callers know that it changes.
    // NOLINTBEGIN(concurrency-mt-unsafe)
    ::setlocale(LC_ALL, "");
    ::gpgme_set_locale(nullptr, LC_CTYPE, ::setlocale(LC_CTYPE, nullptr));
    // NOLINTEND(concurrency-mt-unsafe)

    gpgme_ctx_t context = nullptr;
    return gpg_context(::gpgme_new(&context) == 0 ? context : nullptr);
}

gpg_data new_output() noexcept
{
    gpgme_data_t data = nullptr;
    return gpg_data(::gpgme_data_new(&data) == 0 ? data : nullptr);
}

gpg_data data_of_file(const char *path) noexcept
{
    gpgme_data_t data = nullptr;
    const bool is_read = path != nullptr && ::gpgme_data_new_from_file(&data, path, copied) == 0;
    return gpg_data(is_read ? data : nullptr);
}

gpg_data data_of_text(const char *text) noexcept
{
    gpgme_data_t data = nullptr;
    const bool is_wrapped =
        text != nullptr && ::gpgme_data_new_from_mem(&data, text, ::strlen(text), copied) == 0;
    return gpg_data(is_wrapped ? data : nullptr);
}

int import_builtin_key(gpgme_ctx_t context) noexcept
{
    gpgme_data_t data = nullptr;
    if (::gpgme_data_new_from_mem(&data, reinterpret_cast<const char *>(builtin_key.bytes),
                                  builtin_key.length, copied) != 0)
        return 0;
    const gpg_data key(data);
    ::gpgme_op_import(context, key.get());
    return 0;
}

void hand_over(gpgme_data_t data, std::size_t size, std::size_t zeros, char **content,
               unsigned int *length) noexcept
{
    *content = nullptr;
    if (length != nullptr)
        *length = static_cast<unsigned int>(size);
    heap_text room(static_cast<char *>(::malloc(size + zeros)));
    if (!room || ::gpgme_data_seek(data, 0, SEEK_SET) != 0)
        return;

    ::memset(room.get(), 0, size + zeros);
    std::size_t filled = 0;
    ssize_t got = 0;
    while ((got = ::gpgme_data_read(data, room.get() + filled, size - filled)) > 0)
        filled += static_cast<std::size_t>(got);
    if (got < 0)
        return;
    if (filled == size)
        *content = room.release();
    else if (length != nullptr)
        *length = 0;
}

} // namespace orvane
