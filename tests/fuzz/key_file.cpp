// SPDX-License-Identifier: LGPL-2.1-or-later
//
// A value to set on the first line, and behind it the key file.
#include "foundation/glib_handles.h"
#include "fuzz.h"
#include "orvane.h"

namespace {

std::string saved; // by the last call that was to write a file

void require_every_value_found(GKeyFile *key_file)
{
    const orvane::glib_texts groups(g_key_file_get_groups(key_file, nullptr));
    for (char **group = groups.get(); *group != nullptr; ++group) {
        const orvane::glib_texts keys(g_key_file_get_keys(key_file, *group, nullptr, nullptr));
        for (char **key = keys.get(); key != nullptr && *key != nullptr; ++key)
            require(orvane::glib_text(key_file_get_value(key_file, *group, *key)) != nullptr);
        require(!orvane::glib_text(key_file_get_value(key_file, *group, "no such key")));
    }
    require(!orvane::glib_text(key_file_get_value(key_file, "no such group", "key")));
}

void require_value(GKeyFile *key_file, const std::string &value)
{
    const orvane::glib_text found(key_file_get_value(key_file, "of the fuzzer", "value"));
    require(found != nullptr && found.get() == value);
}

std::string text_of(GKeyFile *key_file)
{
    std::size_t length = 12345;
    const orvane::glib_text text(key_file_to_data(key_file, &length));
    require(text != nullptr && length == std::string_view(text.get()).size());
    return text.get();
}

// Comments and translations are there to be saved again.
void require_nothing_dropped(GKeyFile *loaded, const std::string &content)
{
    constexpr auto all_kept =
        static_cast<GKeyFileFlags>(G_KEY_FILE_KEEP_COMMENTS | G_KEY_FILE_KEEP_TRANSLATIONS);
    const orvane::unique_key_file whole(g_key_file_new());
    require(g_key_file_load_from_data(whole.get(), content.data(), content.size(), all_kept,
                                      nullptr) != FALSE);
    const orvane::glib_text text(g_key_file_to_data(whole.get(), nullptr, nullptr));
    require(text_of(loaded) == text.get());
}

} // namespace

// What is saved is kept, for a million files a minute would only wear the disk.
extern "C" gboolean g_file_set_contents(const gchar * /*path*/, const gchar *content, gssize length,
                                        GError ** /*error*/)
{
    saved.assign(content, static_cast<std::size_t>(length));
    return TRUE;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const memory_file file;
    std::string content = bytes_of(data, size);
    std::string value = up_to_zero(take_line(content));
    value.erase(0, value.find_first_not_of(" \t\r\v\f")); // the parser takes these off
    value = up_to(value, "\r");
    file.fill(content);
    const orvane::unique_key_file loaded(key_file_load_from_file(file.path()));
    if (!loaded)
        return 0;
    require_every_value_found(loaded.get());
    require_nothing_dropped(loaded.get(), content);

    key_file_set_value(loaded.get(), "of the fuzzer", "value", value.c_str());
    require_value(loaded.get(), value);
    saved.clear();
    key_file_save_to_file(loaded.get(), file.path());
    require(saved == text_of(loaded.get()));

    file.fill(saved);
    const orvane::unique_key_file again(key_file_load_from_file(file.path()));
    require(again != nullptr);
    require_value(again.get(), value);
    return 0;
}
