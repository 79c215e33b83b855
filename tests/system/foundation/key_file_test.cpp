// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fixture.h"
#include "glib_owners.h"
#include "interpose.h"
#include "orvane.h"

#include <cstring>
#include <filesystem>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include <unistd.h>

namespace {

std::string value_of(const owned_key_file &kf, const char *group, const char *key)
{
    const glib_text value(key_file_get_value(kf.get(), group, key));
    return value ? value.get() : "(no value)";
}

std::string text_of(const owned_key_file &kf)
{
    const glib_text text(key_file_to_data(kf.get(), nullptr));
    return text ? text.get() : "(no text)";
}

// What is logged through GLib while it lives, in place of being printed.
class logged_messages {
public:
    logged_messages() { former_ = ::g_log_set_default_handler(note, this); }
    logged_messages(const logged_messages &) = delete;
    logged_messages &operator=(const logged_messages &) = delete;
    ~logged_messages() { ::g_log_set_default_handler(former_, nullptr); }

    struct message {
        std::string domain;
        int level;
        std::string text;
    };
    std::vector<message> all;

private:
    static void note(const char *domain, GLogLevelFlags level, const char *text, gpointer self)
    {
        static_cast<logged_messages *>(self)->all.push_back(
            {domain == nullptr ? "(no domain)" : domain, level, text});
    }

    GLogFunc former_;
};

constexpr char settings[] = "# Settings of the example\n"
                            "\n"
                            "[Screen]\n"
                            "# in pixels\n"
                            "Width=1920\n"
                            "Name=Screen\n"
                            "Name[de]=Bildschirm\n"
                            "Name[zh_CN]=\xe5\xb1\x8f\xe5\xb9\x95\n"
                            "\n"
                            "[Sound]\n"
                            "Volume=50\n";

class key_file : public on_machine {
protected:
    [[nodiscard]] owned_key_file loaded(std::string_view content)
    {
        machine.file(path, content);
        return owned_key_file(key_file_load_from_file(path));
    }

    [[nodiscard]] static owned_key_file made()
    {
        owned_key_file kf(::g_key_file_new());
        key_file_set_value(kf.get(), "Group", "key", "new value");
        return kf;
    }

    // The save fails and says so once, as a program's warning, in a text of this shape.
    static void expect_warning_of_save(const owned_key_file &kf, const char *to,
                                       const std::string &start, const std::string &end)
    {
        logged_messages logged;
        key_file_save_to_file(kf.get(), to);
        ASSERT_EQ(logged.all.size(), 1U);
        EXPECT_EQ(logged.all[0].domain, "(no domain)");
        EXPECT_EQ(logged.all[0].level, G_LOG_LEVEL_WARNING);
        EXPECT_TRUE(logged.all[0].text.starts_with(start)) << logged.all[0].text;
        EXPECT_TRUE(logged.all[0].text.ends_with(end)) << logged.all[0].text;
    }

    [[nodiscard]] static texts names_in(const std::string &directory)
    {
        texts names;
        for (const auto &entry : std::filesystem::directory_iterator(directory))
            names.push_back(entry.path().filename());
        return names;
    }

    static constexpr const char *path = "/srv/settings/example.conf";
};

} // namespace

// Loading.

TEST_F(key_file, loads_groups_and_keys)
{
    const owned_key_file kf = loaded("[One]\na=1\n[Two]\na=2\nb=3\n");
    ASSERT_TRUE(kf);
    EXPECT_EQ(value_of(kf, "One", "a"), "1");
    EXPECT_EQ(value_of(kf, "Two", "a"), "2");
    EXPECT_EQ(value_of(kf, "Two", "b"), "3");
}

TEST_F(key_file, loads_comments_and_every_translation)
{
    EXPECT_EQ(text_of(loaded(settings)), settings);
}

TEST_F(key_file, loads_with_exactly_the_flags_that_keep_comments_and_translations)
{
    std::vector<int> flags_used;
    interpose::g_key_file_load_from_file = [&](GKeyFile *kf, const char *from, GKeyFileFlags flags,
                                               GError **error) {
        EXPECT_STREQ(from, path);
        flags_used.push_back(flags);
        return interpose::g_key_file_load_from_file.real(kf, from, flags, error);
    };
    EXPECT_TRUE(loaded("[Group]\n"));
    EXPECT_EQ(flags_used, std::vector<int>{3});
}

TEST_F(key_file, is_none_from_a_missing_file)
{
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(key_file_load_from_file("/srv/none"), nullptr); }),
              "");
}

TEST_F(key_file, is_none_from_a_directory)
{
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(key_file_load_from_file("/srv"), nullptr); }), "");
}

TEST_F(key_file, is_none_from_no_path)
{
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(key_file_load_from_file(nullptr), nullptr); }), "");
}

TEST_F(key_file, is_none_from_a_file_that_cannot_be_read)
{
    machine.file(path, settings, 0600);
    const other_user user;
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(key_file_load_from_file(path), nullptr); }), "");
}

namespace {

struct malformed_text : named_case {
    std::string text;
};

class malformed_key_file : public key_file, public testing::WithParamInterface<malformed_text> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(
    key_file, malformed_key_file,
    testing::Values(malformed_text{"a_line_of_no_kind", "[Group]\na=1\nneither this nor that\n"},
                    malformed_text{"a_key_before_every_group", "a=1\n[Group]\n"},
                    malformed_text{"an_unclosed_group", "[Group\na=1\n"},
                    malformed_text{"an_empty_group_name", "[]\na=1\n"},
                    malformed_text{"a_value_without_a_key", "[Group]\n=1\n"},
                    malformed_text{"a_foreign_encoding", "[Group]\nEncoding=latin1\n"},
                    malformed_text{"bytes_of_no_kind", "\x7f"
                                                       "ELF\x01\x02\xff\n"}));

TEST_P(malformed_key_file, is_none_without_a_word)
{
    machine.file(path, GetParam().text);
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(key_file_load_from_file(path), nullptr); }), "");
}

// Looking up.

TEST_F(key_file, has_no_value_in_a_missing_group)
{
    const owned_key_file kf = loaded(settings);
    EXPECT_EQ(standard_error_of(
                  [&] { EXPECT_EQ(key_file_get_value(kf.get(), "Keyboard", "Width"), nullptr); }),
              "");
}

TEST_F(key_file, has_no_value_of_a_key_that_another_group_holds)
{
    const owned_key_file kf = loaded(settings);
    EXPECT_EQ(standard_error_of(
                  [&] { EXPECT_EQ(key_file_get_value(kf.get(), "Sound", "Width"), nullptr); }),
              "");
}

TEST_F(key_file, has_the_empty_text_for_an_empty_value)
{
    const owned_key_file kf = loaded("[Group]\nempty=\n");
    const glib_text value(key_file_get_value(kf.get(), "Group", "empty"));
    EXPECT_STREQ(value.get(), "");
}

TEST_F(key_file, keeps_escapes_in_a_value_as_written)
{
    EXPECT_EQ(value_of(loaded("[Group]\nkey=a\\sb\\nc\\td\\\\e\\q\n"), "Group", "key"),
              "a\\sb\\nc\\td\\\\e\\q");
}

TEST_F(key_file, does_not_split_a_list)
{
    EXPECT_EQ(value_of(loaded("[Group]\nlist=one;two\\;half;three;\n"), "Group", "list"),
              "one;two\\;half;three;");
}

TEST_F(key_file, keeps_blanks_and_separators_inside_a_value)
{
    EXPECT_EQ(value_of(loaded("[Group]\nkey = a  = b # c\n"), "Group", "key"), "a  = b # c");
}

TEST_F(key_file, has_the_translation_that_is_named)
{
    const owned_key_file kf = loaded(settings);
    EXPECT_EQ(value_of(kf, "Screen", "Name"), "Screen");
    EXPECT_EQ(value_of(kf, "Screen", "Name[de]"), "Bildschirm");
    EXPECT_EQ(value_of(kf, "Screen", "Name[zh_CN]"), "\xe5\xb1\x8f\xe5\xb9\x95");
}

TEST_F(key_file, keeps_bytes_of_any_encoding_in_a_value)
{
    EXPECT_EQ(value_of(loaded("[Group]\nkey=M\xfcller \x80\xff\n"), "Group", "key"),
              "M\xfcller \x80\xff");
}

TEST_F(key_file, keeps_a_value_of_a_megabyte)
{
    const std::string large(1024 * 1024, 'x');
    EXPECT_EQ(value_of(loaded("[Group]\nkey=" + large + "\n"), "Group", "key"), large);
}

// Setting.

TEST_F(key_file, takes_a_value_in_the_place_of_the_former)
{
    const owned_key_file kf = loaded("[Group]\nfirst=1\nsecond=2\nthird=3\n");
    key_file_set_value(kf.get(), "Group", "second", "two");
    EXPECT_EQ(text_of(kf), "[Group]\nfirst=1\nsecond=two\nthird=3\n");
}

TEST_F(key_file, makes_a_missing_key)
{
    const owned_key_file kf = loaded("[Group]\nfirst=1\n");
    key_file_set_value(kf.get(), "Group", "second", "2");
    EXPECT_EQ(text_of(kf), "[Group]\nfirst=1\nsecond=2\n");
}

TEST_F(key_file, makes_a_missing_group)
{
    const owned_key_file kf = loaded("[Group]\nfirst=1\n");
    key_file_set_value(kf.get(), "Other", "second", "2");
    EXPECT_EQ(text_of(kf), "[Group]\nfirst=1\n\n[Other]\nsecond=2\n");
}

TEST_F(key_file, takes_a_value_as_it_stands)
{
    const owned_key_file kf = made();
    key_file_set_value(kf.get(), "Group", "key", "a\\sb;c\\;\xff");
    EXPECT_EQ(value_of(kf, "Group", "key"), "a\\sb;c\\;\xff");
    EXPECT_EQ(text_of(kf), "[Group]\nkey=a\\sb;c\\;\xff\n");
}

TEST_F(key_file, takes_an_empty_value)
{
    const owned_key_file kf = made();
    key_file_set_value(kf.get(), "Group", "key", "");
    EXPECT_EQ(value_of(kf, "Group", "key"), "");
}

TEST_F(key_file, leaves_the_file_alone_until_it_is_saved)
{
    const owned_key_file kf = loaded(settings);
    key_file_set_value(kf.get(), "Sound", "Volume", "80");
    EXPECT_EQ(machine.content(path), settings);
}

// The whole text.

TEST_F(key_file, tells_the_length_of_its_text)
{
    const owned_key_file kf = loaded("[Group]\nkey=\xc3\xa9\n");
    std::size_t length = 99;
    const glib_text text(key_file_to_data(kf.get(), &length));
    EXPECT_STREQ(text.get(), "[Group]\nkey=\xc3\xa9\n");
    EXPECT_EQ(length, 15U);
}

TEST_F(key_file, has_a_text_when_nobody_asks_for_the_length)
{
    const glib_text text(key_file_to_data(made().get(), nullptr));
    EXPECT_STREQ(text.get(), "[Group]\nkey=new value\n");
}

TEST_F(key_file, has_an_empty_text_at_first)
{
    const owned_key_file kf(::g_key_file_new());
    std::size_t length = 99;
    const glib_text text(key_file_to_data(kf.get(), &length));
    EXPECT_STREQ(text.get(), "");
    EXPECT_EQ(length, 0U);
}

// Saving.

namespace {

// GLib can make no text, and tells why where it is asked.
char *refuse_to_make_text(GKeyFile *, gsize *, GError **error)
{
    ::g_set_error_literal(error, G_KEY_FILE_ERROR, G_KEY_FILE_ERROR_PARSE, "no text today");
    return nullptr;
}

} // namespace

TEST_F(key_file, keeps_comments_and_translations_through_a_change_and_a_save)
{
    const owned_key_file kf = loaded(settings);
    key_file_set_value(kf.get(), "Screen", "Width", "2560");
    key_file_save_to_file(kf.get(), path);
    EXPECT_EQ(machine.content(path), "# Settings of the example\n"
                                     "\n"
                                     "[Screen]\n"
                                     "# in pixels\n"
                                     "Width=2560\n"
                                     "Name=Screen\n"
                                     "Name[de]=Bildschirm\n"
                                     "Name[zh_CN]=\xe5\xb1\x8f\xe5\xb9\x95\n"
                                     "\n"
                                     "[Sound]\n"
                                     "Volume=50\n");
}

TEST_F(key_file, makes_the_file_that_it_is_saved_to)
{
    machine.directory("/srv/settings");
    EXPECT_EQ(standard_error_of([] { key_file_save_to_file(made().get(), path); }), "");
    EXPECT_EQ(machine.content(path), "[Group]\nkey=new value\n");
    EXPECT_EQ(names_in("/srv/settings"), (texts{"example.conf"}));
}

TEST_F(key_file, saves_an_empty_text)
{
    machine.file(path, settings);
    const owned_key_file kf(::g_key_file_new());
    key_file_save_to_file(kf.get(), path);
    EXPECT_TRUE(std::filesystem::exists(path));
    EXPECT_EQ(machine.content(path), "");
}

TEST_F(key_file, moves_a_new_file_over_the_old_one)
{
    machine.file(path, settings);
    std::filesystem::create_hard_link(path, "/srv/settings/old");
    key_file_save_to_file(made().get(), path);
    EXPECT_EQ(machine.content(path), "[Group]\nkey=new value\n");
    EXPECT_EQ(machine.content("/srv/settings/old"), settings);
}

TEST_F(key_file, hands_the_whole_text_over_in_one_save)
{
    machine.directory("/srv/settings");
    texts saves;
    interpose::g_file_set_contents = [&](const char *to, const char *text, gssize length,
                                         GError **error) {
        saves.push_back(std::string(to) + " " + std::to_string(length) + " " + text);
        return interpose::g_file_set_contents.real(to, text, length, error);
    };
    key_file_save_to_file(made().get(), path);
    EXPECT_EQ(saves, (texts{"/srv/settings/example.conf 22 [Group]\nkey=new value\n"}));
}

TEST_F(key_file, saves_as_many_bytes_as_glib_tells)
{
    machine.directory("/srv/settings");
    interpose::g_key_file_to_data = [](GKeyFile *, gsize *length, GError **) {
        *length = 5;
        return static_cast<char *>(::g_memdup2("ab\0cd", 6));
    };
    key_file_save_to_file(made().get(), path);
    EXPECT_EQ(machine.content(path), std::string("ab\0cd", 5));
}

TEST_F(key_file, warns_when_no_text_can_be_made)
{
    machine.file(path, settings);
    interpose::g_key_file_to_data = refuse_to_make_text;
    expect_warning_of_save(made(), path, "Unable to save settings2: no text today",
                           "Unable to save settings2: no text today");
}

TEST_F(key_file, leaves_the_file_alone_when_no_text_can_be_made)
{
    machine.file(path, settings);
    interpose::g_key_file_to_data = refuse_to_make_text;
    interpose::g_file_set_contents = [](const char *, const char *, gssize, GError **) -> gboolean {
        ADD_FAILURE() << "the file was written";
        return TRUE;
    };
    const logged_messages logged;
    key_file_save_to_file(made().get(), path);
    EXPECT_EQ(machine.content(path), settings);
    EXPECT_EQ(names_in("/srv/settings"), (texts{"example.conf"}));
}

TEST_F(key_file, leaves_the_file_alone_when_there_is_no_text_and_no_reason)
{
    machine.file(path, settings);
    interpose::g_key_file_to_data = [](GKeyFile *, gsize *, GError **) -> char * {
        return nullptr;
    };
    EXPECT_EQ(standard_error_of([] { key_file_save_to_file(made().get(), path); }), "");
    EXPECT_EQ(machine.content(path), settings);
}

TEST_F(key_file, warns_when_it_is_saved_in_a_missing_directory)
{
    machine.directory("/srv/settings");
    expect_warning_of_save(made(), "/srv/settings/missing/example.conf",
                           "Unable to save settings3: Failed to create file "
                           "\xe2\x80\x9c/srv/settings/missing/example.conf.",
                           "\xe2\x80\x9d: No such file or directory");
    EXPECT_EQ(names_in("/srv/settings"), texts{});
}

TEST_F(key_file, warns_when_it_is_saved_on_a_read_only_file_system)
{
    machine.file_system("/srv/settings", "size=64k");
    machine.file(path, settings);
    machine.read_only("/srv/settings");
    expect_warning_of_save(made(), path, "Unable to save settings3: Failed to create file ",
                           ": Read-only file system");
    EXPECT_EQ(machine.content(path), settings);
}

TEST_F(key_file, leaves_the_old_file_and_nothing_else_on_a_full_file_system)
{
    machine.file_system("/srv/settings", "size=64k");
    machine.file(path, settings);
    const owned_key_file kf = made();
    key_file_set_value(kf.get(), "Group", "key", std::string(128 * 1024, 'x').c_str());
    expect_warning_of_save(kf, path, "Unable to save settings3: Failed to write file ",
                           ": No space left on device");
    EXPECT_EQ(machine.content(path), settings);
    EXPECT_EQ(names_in("/srv/settings"), (texts{"example.conf"}));
}

TEST_F(key_file, warns_when_it_is_saved_over_a_directory)
{
    machine.directory(path);
    expect_warning_of_save(made(), path, "Unable to save settings3: Failed to rename file ",
                           ": Is a directory");
    EXPECT_EQ(names_in("/srv/settings"), (texts{"example.conf"}));
}

TEST_F(key_file, takes_a_percent_sign_in_the_reason_for_itself)
{
    machine.directory("/srv/settings");
    expect_warning_of_save(made(), "/srv/settings/%s%n/file",
                           "Unable to save settings3: Failed to create file "
                           "\xe2\x80\x9c/srv/settings/%s%n/file.",
                           ": No such file or directory");
}

TEST_F(key_file, warns_on_standard_error_where_the_program_handles_no_log)
{
    const std::string printed =
        standard_error_of([] { key_file_save_to_file(made().get(), "/srv/missing/example.conf"); });
    EXPECT_NE(printed.find("WARNING **"), std::string::npos) << printed;
    EXPECT_NE(printed.find("Unable to save settings3: Failed to create file"), std::string::npos)
        << printed;
}

// Closed standard descriptors.

namespace {

class key_file_without_standard_descriptors : public key_file,
                                              public testing::WithParamInterface<std::vector<int>> {
};

} // namespace

INSTANTIATE_TEST_SUITE_P(key_file, key_file_without_standard_descriptors,
                         testing::ValuesIn(every_set_of_standard_descriptors()));

TEST_P(key_file_without_standard_descriptors, is_loaded_and_saved_and_leaves_them_closed)
{
    machine.file(path, settings);
    const auto load_and_save = [] {
        const owned_key_file kf(key_file_load_from_file(path));
        key_file_save_to_file(kf.get(), "/srv/settings/copy");
    };
    EXPECT_EQ(left_open(GetParam(), load_and_save), std::vector<int>{});
    EXPECT_EQ(machine.content("/srv/settings/copy"), settings);
}
