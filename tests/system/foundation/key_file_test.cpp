// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fixture.h"
#include "glib_owners.h"
#include "interpose.h"
#include "orvane.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <sys/prctl.h>
#include <sys/stat.h>

using namespace std::string_literals;

namespace {

constexpr char path[] = "/srv/settings/example.conf";

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

owned_key_file new_key_file()
{
    owned_key_file kf(::g_key_file_new());
    key_file_set_value(kf.get(), "Group", "key", "new value");
    return kf;
}

texts names_in(const std::string &directory)
{
    texts names;
    for (const auto &entry : std::filesystem::directory_iterator(directory))
        names.push_back(entry.path().filename());
    return names;
}

struct message {
    std::string domain;
    int level;
    std::string text;
};

// What a save logs through GLib.
std::vector<message> logged_by_save(const owned_key_file &kf, const char *to)
{
    std::vector<message> logged;
    const GLogFunc former = ::g_log_set_default_handler(
        [](const char *domain, GLogLevelFlags level, const char *text, gpointer all) {
            static_cast<std::vector<message> *>(all)->push_back(
                {domain == nullptr ? "(no domain)" : domain, level, text});
        },
        &logged);
    key_file_save_to_file(kf.get(), to);
    ::g_log_set_default_handler(former, nullptr);
    return logged;
}

// Whether there is one message, a program's warning in a text of this shape.
void expect_warning(const std::vector<message> &logged, const std::string &start,
                    const std::string &end)
{
    ASSERT_EQ(logged.size(), 1U);
    EXPECT_EQ(logged[0].domain, "(no domain)");
    EXPECT_EQ(logged[0].level, G_LOG_LEVEL_WARNING);
    EXPECT_TRUE(logged[0].text.starts_with(start)) << logged[0].text;
    EXPECT_TRUE(logged[0].text.ends_with(end)) << logged[0].text;
}

class key_file : public on_machine {
protected:
    [[nodiscard]] owned_key_file loaded(std::string_view content)
    {
        machine.file(path, content);
        return owned_key_file(key_file_load_from_file(path));
    }
};

} // namespace

// Loading.

TEST_F(key_file, is_loaded_with_comments_and_every_translation)
{
    const owned_key_file kf = loaded(settings);
    EXPECT_EQ(text_of(kf), settings);
    EXPECT_EQ(value_of(kf, "Sound", "Volume"), "50");
    EXPECT_EQ(value_of(kf, "Screen", "Name"), "Screen");
    EXPECT_EQ(value_of(kf, "Screen", "Name[de]"), "Bildschirm");
    EXPECT_EQ(value_of(kf, "Screen", "Name[zh_CN]"), "\xe5\xb1\x8f\xe5\xb9\x95");
}

TEST_F(key_file, is_not_loaded_without_the_right_to_read)
{
    machine.file(path, settings, 0600);
    const other_user user;
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(key_file_load_from_file(path), nullptr); }), "");
}

TEST_F(key_file, is_not_loaded_from_what_is_no_file)
{
    machine.directory("/srv/settings");
    ASSERT_EQ(::mkfifo("/srv/settings/fifo", 0600), 0); // that nobody writes to
    for (const char *const other : {"/srv/missing", "/srv", "/srv/settings/fifo", "/dev/zero", "",
                                    static_cast<const char *>(nullptr)})
        EXPECT_EQ(standard_error_of([=] { EXPECT_EQ(key_file_load_from_file(other), nullptr); }),
                  "");
}

namespace {

struct malformed_text : named_case {
    const char *text;
};

class malformed_key_file : public key_file, public testing::WithParamInterface<malformed_text> {};

} // namespace

TEST_P(malformed_key_file, is_not_loaded_and_nothing_is_printed)
{
    machine.file(path, GetParam().text);
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(key_file_load_from_file(path), nullptr); }), "");
}

INSTANTIATE_TEST_SUITE_P(
    with, malformed_key_file,
    testing::Values(malformed_text{"a_line_of_no_kind", "[Group]\na=1\nneither this nor that\n"},
                    malformed_text{"a_key_before_every_group", "a=1\n[Group]\n"},
                    malformed_text{"an_unclosed_group", "[Group\na=1\n"},
                    malformed_text{"an_empty_group_name", "[]\na=1\n"},
                    malformed_text{"a_value_without_a_key", "[Group]\n=1\n"},
                    malformed_text{"a_foreign_encoding", "[Group]\nEncoding=latin1\n"},
                    malformed_text{"binary_data", "\x7f\x45LF\x01\x02\xff\n"}));

namespace {

// Of many lines, and with this one in their midst.
std::string large_text(const std::string &line)
{
    std::string text = "[Group]\n";
    const auto append_lines = [&text] {
        for (int i = 0; i < 10000; ++i)
            text += "key" + std::to_string(i) + "=value\n";
    };
    append_lines();
    text += line;
    append_lines();
    return text;
}

struct file_content : named_case {
    std::string content;
};

class content_of_a_key_file : public key_file, public testing::WithParamInterface<file_content> {};

} // namespace

// What GLib itself loads from the file.
TEST_P(content_of_a_key_file, is_loaded_as_by_glib)
{
    const owned_key_file kf = loaded(GetParam().content);
    owned_key_file expected(::g_key_file_new());
    constexpr auto flags =
        static_cast<GKeyFileFlags>(G_KEY_FILE_KEEP_COMMENTS | G_KEY_FILE_KEEP_TRANSLATIONS);
    if (::g_key_file_load_from_file(expected.get(), path, flags, nullptr) == FALSE)
        expected.reset();
    ASSERT_EQ(kf == nullptr, expected == nullptr);
    if (kf) {
        EXPECT_EQ(text_of(kf), text_of(expected));
    }
}

INSTANTIATE_TEST_SUITE_P(
    with, content_of_a_key_file,
    testing::Values(file_content{"nothing", ""}, file_content{"one_newline", "\n"},
                    file_content{"no_final_newline", "[Group]\na=1"},
                    file_content{"carriage_returns", "[Group]\r\na=1\r\n"},
                    file_content{"a_zero_byte_in_a_value", "[Group]\na=1"s + '\0' + "2\nb=3\n"},
                    file_content{"a_zero_byte_in_a_key", "[Group]\na"s + '\0' + "=1\nb=3\n"},
                    file_content{"a_zero_byte_in_a_line", "[Group]\n"s + '\0' + "\nb=3\n"},
                    // The first 65536 bytes of it end behind the carriage return's line.
                    file_content{"carriage_returns_in_a_large_file",
                                 "#" + std::string(65528, 'x') + "\r\n[g]\r\na=b\r\n"},
                    file_content{"many_lines", large_text("")},
                    file_content{"many_groups", large_text("[Other]\n")},
                    file_content{"a_malformed_line_among_many", large_text("malformed\n")},
                    file_content{"a_long_value", "[Group]\na=" + std::string(200000, 'v') + "\n"},
                    file_content{"a_long_line_of_no_kind", std::string(200000, 'v')}));

TEST_F(key_file, of_a_terabyte_is_not_read_behind_a_malformed_line)
{
    machine.file(path, "malformed\n");
    std::filesystem::resize_file(path, std::uintmax_t{1} << 40);
    EXPECT_EQ(key_file_load_from_file(path), nullptr);
}

// Of no size, as far as the kernel reports.
TEST_F(key_file, is_loaded_from_proc)
{
    const std::string lines = machine.own_proc() + "/comm";
    ASSERT_EQ(::prctl(PR_SET_NAME, "[Group]"), 0);
    const owned_key_file kf(key_file_load_from_file(lines.c_str()));
    ASSERT_NE(kf, nullptr);
    EXPECT_EQ(text_of(kf), "[Group]\n");
}

// Values.

namespace {

struct lookup : named_case {
    const char *text;
    const char *value; // of the key "key" in the group "Group"
};

class key_file_value : public key_file, public testing::WithParamInterface<lookup> {};

} // namespace

TEST_P(key_file_value, is_the_text_behind_the_equals_sign)
{
    const owned_key_file kf = loaded(GetParam().text);
    std::string value;
    EXPECT_EQ(standard_error_of([&] { value = value_of(kf, "Group", "key"); }), "");
    EXPECT_EQ(value, GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(
    of, key_file_value,
    testing::Values(
        lookup{"a_key", "[Other]\nkey=1\n[Group]\nkey=2\n", "2"},
        lookup{"a_missing_group", "[Other]\nkey=1\n", "(no value)"},
        lookup{"a_missing_key", "[Group]\na=1\n[Other]\nkey=1\n", "(no value)"},
        lookup{"an_empty_value", "[Group]\nkey=\n", ""},
        lookup{"escapes", "[Group]\nkey=a\\sb\\nc\\td\\\\e\\q\n", "a\\sb\\nc\\td\\\\e\\q"},
        lookup{"a_list", "[Group]\nkey=one;two\\;half;three;\n", "one;two\\;half;three;"},
        lookup{"blanks_and_separators", "[Group]\nkey = a  = b # c\n", "a  = b # c"},
        lookup{"bytes_of_any_encoding", "[Group]\nkey=M\xfcller \x80\xff\n",
               "M\xfcller \x80\xff"}));

TEST_F(key_file, keeps_a_value_of_a_megabyte)
{
    const std::string large(1024 * 1024, 'x');
    EXPECT_EQ(value_of(loaded("[Group]\nkey=" + large + "\n"), "Group", "key"), large);
}

namespace {

struct setting : named_case {
    const char *group;
    const char *key;
    const char *value;
    const char *text; // of what was "[Group]\nfirst=1\nsecond=2\n"
};

class key_file_setting : public key_file, public testing::WithParamInterface<setting> {};

} // namespace

TEST_P(key_file_setting, changes_the_key_file_and_not_the_file)
{
    const std::string before = "[Group]\nfirst=1\nsecond=2\n";
    const owned_key_file kf = loaded(before);
    key_file_set_value(kf.get(), GetParam().group, GetParam().key, GetParam().value);
    EXPECT_EQ(text_of(kf), GetParam().text);
    EXPECT_EQ(value_of(kf, GetParam().group, GetParam().key), GetParam().value);
    EXPECT_EQ(machine.content(path), before);
}

INSTANTIATE_TEST_SUITE_P(
    of, key_file_setting,
    testing::Values(setting{"a_key", "Group", "first", "one", "[Group]\nfirst=one\nsecond=2\n"},
                    setting{"a_missing_key", "Group", "third", "3",
                            "[Group]\nfirst=1\nsecond=2\nthird=3\n"},
                    setting{"a_missing_group", "Other", "first", "3",
                            "[Group]\nfirst=1\nsecond=2\n\n[Other]\nfirst=3\n"},
                    setting{"an_empty_value", "Group", "first", "", "[Group]\nfirst=\nsecond=2\n"},
                    setting{"a_value_as_it_stands", "Group", "first", "a\\sb;c\\;\xff",
                            "[Group]\nfirst=a\\sb;c\\;\xff\nsecond=2\n"}));

// The whole text.

TEST_F(key_file, has_a_text_and_its_length)
{
    const owned_key_file kf = loaded("[Group]\nkey=\xc3\xa9\n");
    std::size_t length = 99;
    const glib_text text(key_file_to_data(kf.get(), &length));
    EXPECT_STREQ(text.get(), "[Group]\nkey=\xc3\xa9\n");
    EXPECT_EQ(length, 15U);
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

TEST_F(key_file, keeps_comments_and_translations_through_a_change_and_a_save)
{
    const owned_key_file kf = loaded(settings);
    key_file_set_value(kf.get(), "Screen", "Width", "2560");
    EXPECT_EQ(logged_by_save(kf, path).size(), 0U);
    std::string expected = settings;
    expected.replace(expected.find("1920"), 4, "2560");
    EXPECT_EQ(machine.content(path), expected);
}

TEST_F(key_file, makes_the_file_that_it_is_saved_to)
{
    machine.directory("/srv/settings");
    EXPECT_EQ(standard_error_of([] { key_file_save_to_file(new_key_file().get(), path); }), "");
    EXPECT_EQ(machine.content(path), "[Group]\nkey=new value\n");
    EXPECT_EQ(names_in("/srv/settings"), (texts{"example.conf"}));
    EXPECT_EQ(permissions(path), 0644U);
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
    key_file_save_to_file(new_key_file().get(), path);
    EXPECT_EQ(machine.content(path), "[Group]\nkey=new value\n");
    EXPECT_EQ(machine.content("/srv/settings/old"), settings);
}

// No key file that GLib accepts fails to become a text.
TEST_F(key_file, warns_and_leaves_the_file_alone_when_no_text_can_be_made)
{
    machine.file(path, settings);
    interpose::g_key_file_to_data = [](GKeyFile *, gsize *, GError **error) -> char * {
        ::g_set_error_literal(error, G_KEY_FILE_ERROR, G_KEY_FILE_ERROR_PARSE, "no text today");
        return nullptr;
    };
    expect_warning(logged_by_save(new_key_file(), path), "Unable to save settings2: no text today",
                   "today");
    EXPECT_EQ(machine.content(path), settings);
    EXPECT_EQ(names_in("/srv/settings"), (texts{"example.conf"}));
}

TEST_F(key_file, warns_when_it_is_saved_in_a_missing_directory)
{
    machine.directory("/srv/settings");
    // Percent signs of the path are no format.
    expect_warning(logged_by_save(new_key_file(), "/srv/settings/%s%n/example.conf"),
                   "Unable to save settings3: Failed to create file "
                   "\xe2\x80\x9c/srv/settings/%s%n/example.conf.",
                   "\xe2\x80\x9d: No such file or directory");
    EXPECT_EQ(names_in("/srv/settings"), texts{});
}

TEST_F(key_file, warns_when_it_is_saved_on_a_read_only_file_system)
{
    machine.file_system("/srv/settings", "size=64k");
    machine.file(path, settings);
    machine.read_only("/srv/settings");
    expect_warning(logged_by_save(new_key_file(), path),
                   "Unable to save settings3: Failed to create file ", ": Read-only file system");
    EXPECT_EQ(machine.content(path), settings);
}

TEST_F(key_file, leaves_the_old_file_and_nothing_else_on_a_full_file_system)
{
    machine.file_system("/srv/settings", "size=64k");
    machine.file(path, settings);
    const owned_key_file kf = new_key_file();
    key_file_set_value(kf.get(), "Group", "key", std::string(128 * 1024, 'x').c_str());
    expect_warning(logged_by_save(kf, path), "Unable to save settings3: Failed to write file ",
                   ": No space left on device");
    EXPECT_EQ(machine.content(path), settings);
    EXPECT_EQ(names_in("/srv/settings"), (texts{"example.conf"}));
}

TEST_F(key_file, warns_when_it_is_saved_over_a_directory)
{
    machine.directory(path);
    expect_warning(logged_by_save(new_key_file(), path),
                   "Unable to save settings3: Failed to rename file ", ": Is a directory");
    EXPECT_EQ(names_in("/srv/settings"), (texts{"example.conf"}));
}

TEST_F(key_file, warns_on_standard_error_where_the_program_handles_no_log)
{
    const std::string printed = standard_error_of(
        [] { key_file_save_to_file(new_key_file().get(), "/srv/missing/example.conf"); });
    EXPECT_NE(printed.find("WARNING **"), std::string::npos) << printed;
    EXPECT_NE(printed.find("Unable to save settings3: Failed to create file"), std::string::npos)
        << printed;
}

TEST_F(key_file, leaves_closed_standard_descriptors_closed)
{
    machine.file(path, settings);
    const auto load_and_save = [] {
        const owned_key_file kf(key_file_load_from_file(path));
        key_file_save_to_file(kf.get(), "/srv/settings/copy");
    };
    for (const std::vector<int> &closed : every_set_of_standard_descriptors()) {
        machine.remove("/srv/settings/copy");
        EXPECT_EQ(left_open(closed, load_and_save), std::vector<int>{});
        EXPECT_EQ(machine.content("/srv/settings/copy"), settings);
    }
}
