// SPDX-License-Identifier: LGPL-2.1-or-later
//
// GLib's key files with three decisions made: comments and translations are kept, a missing value
// is NULL, and a save that fails is a warning.
#include "foundation/glib_handles.h"
#include "orvane.h"
#include "support/line_reader.h"

#include <cstdio>
#include <cstring>
#include <utility>

#include <sys/stat.h>

namespace orvane {

namespace {

// Where a GLib call stores its error: pass out() once.
class unique_error {
public:
    unique_error() = default;
    unique_error(const unique_error &) = delete;
    unique_error &operator=(const unique_error &) = delete;
    ~unique_error() { ::g_clear_error(&error_); }

    explicit operator bool() const noexcept { return error_ != nullptr; }
    [[nodiscard]] const char *message() const noexcept { return error_->message; }
    GError **out() noexcept { return &error_; }

private:
    GError *error_ = nullptr;
};

// The warnings are the program's own rather than GLib's.
constexpr const char *no_log_domain = nullptr;

unique_file open_regular_file(const char *path) noexcept
{
    unique_file file = open_without_waiting(path);
    struct stat status = {};
    if (file && (::fstat(::fileno(file.get()), &status) != 0 || !S_ISREG(status.st_mode)))
        file.reset();
    return file;
}

unique_key_file parse(const GString &text, std::size_t length) noexcept
{
    constexpr auto flags =
        static_cast<GKeyFileFlags>(G_KEY_FILE_KEEP_COMMENTS | G_KEY_FILE_KEEP_TRANSLATIONS);
    unique_key_file kf(::g_key_file_new());
    if (::g_key_file_load_from_data(kf.get(), text.str, length, flags, nullptr) == FALSE)
        return {};
    return kf;
}

// Whether a line that has been read to its end is of no key file.
bool has_malformed_line(const GString &text) noexcept
{
    const void *const last = ::memrchr(text.str, '\n', text.len);
    return last != nullptr &&
           !parse(text, static_cast<std::size_t>(static_cast<const char *>(last) + 1 - text.str));
}

// The rest of a large file is not read where a line at its start is malformed.
glib_string read_key_file(std::FILE *file) noexcept
{
    glib_string text(::g_string_new(nullptr));
    for (std::size_t size = 65536;; size *= 2) {
        const std::size_t before = text->len;
        ::g_string_set_size(text.get(), size);
        ::g_string_truncate(text.get(),
                            before + read_bytes(file, text->str + before, size - before));
        if (text->len < size)
            return has_read_error(file) ? glib_string() : std::move(text);
        if (has_malformed_line(*text))
            return {};
    }
}

} // namespace

} // namespace orvane

// Not by g_key_file_load_from_file(), whose descriptor a program that another thread starts would
// inherit.
extern "C" GKeyFile *key_file_load_from_file(const char *path)
{
    const orvane::unique_file file = orvane::open_regular_file(path);
    const orvane::glib_string text = file ? orvane::read_key_file(file.get()) : nullptr;
    return text ? orvane::parse(*text, text->len).release() : nullptr;
}

extern "C" char *key_file_get_value(GKeyFile *kf, const char *group, const char *key)
{
    if (::g_key_file_has_group(kf, group) == FALSE ||
        ::g_key_file_has_key(kf, group, key, nullptr) == FALSE)
        return nullptr;
    return ::g_key_file_get_value(kf, group, key, nullptr);
}

extern "C" void key_file_set_value(GKeyFile *kf, const char *group, const char *key,
                                   const char *value)
{
    ::g_key_file_set_value(kf, group, key, value);
}

extern "C" char *key_file_to_data(GKeyFile *kf, size_t *length)
{
    return ::g_key_file_to_data(kf, length, nullptr);
}

extern "C" void key_file_save_to_file(GKeyFile *kf, const char *path)
{
    gsize length = 0;
    orvane::unique_error not_made;
    const orvane::glib_text data(::g_key_file_to_data(kf, &length, not_made.out()));
    if (not_made)
        ::g_log(orvane::no_log_domain, G_LOG_LEVEL_WARNING, "Unable to save settings2: %s",
                not_made.message());
    if (not_made || !data)
        return;

    orvane::unique_error not_written;
    ::g_file_set_contents(path, data.get(), static_cast<gssize>(length), not_written.out());
    if (not_written)
        ::g_log(orvane::no_log_domain, G_LOG_LEVEL_WARNING, "Unable to save settings3: %s",
                not_written.message());
}
