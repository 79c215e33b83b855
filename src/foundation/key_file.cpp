// SPDX-License-Identifier: LGPL-2.1-or-later
//
// GLib's key files with three decisions made: comments and translations are kept, a missing value
// is NULL, and a save that fails is a warning.
#include "foundation/glib_handles.h"
#include "orvane.h"

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

} // namespace

} // namespace orvane

extern "C" GKeyFile *key_file_load_from_file(const char *path)
{
    if (path == nullptr)
        return nullptr;
    constexpr auto flags =
        static_cast<GKeyFileFlags>(G_KEY_FILE_KEEP_COMMENTS | G_KEY_FILE_KEEP_TRANSLATIONS);
    orvane::unique_key_file kf(::g_key_file_new());
    orvane::unique_error error;
    if (::g_key_file_load_from_file(kf.get(), path, flags, error.out()) == FALSE)
        return nullptr;
    return kf.release();
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
