// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include <glib.h>

// What the library hands over of GLib's: released when the test is done with it.
struct free_key_file {
    void operator()(GKeyFile *kf) const noexcept { ::g_key_file_free(kf); }
};
using owned_key_file = std::unique_ptr<GKeyFile, free_key_file>;

struct free_glib_text {
    void operator()(char *text) const noexcept { ::g_free(text); }
};
using glib_text = std::unique_ptr<char, free_glib_text>;

// A key file with its comments and translations.
inline owned_key_file key_file_of(std::string_view text)
{
    owned_key_file kf(::g_key_file_new());
    constexpr auto flags =
        static_cast<GKeyFileFlags>(G_KEY_FILE_KEEP_COMMENTS | G_KEY_FILE_KEEP_TRANSLATIONS);
    if (!::g_key_file_load_from_data(kf.get(), text.data(), text.size(), flags, nullptr))
        throw std::runtime_error("not a key file: " + std::string(text));
    return kf;
}

inline std::string text_of(GKeyFile *kf)
{
    return glib_text(::g_key_file_to_data(kf, nullptr, nullptr)).get();
}
