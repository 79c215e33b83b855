// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Names that take the place of the library's. What compilers and linkers make of names is examined
// by tests/checks/check_names.sh.
#include "command_machine.h"

#include <cstdint>
#include <string>

namespace {

constexpr uid_t ordinary_user = 65534;
constexpr char hint[] = "orvane: the library uses these in the place of its own: rename them, make "
                        "them static, or compile them with -fvisibility=hidden\n";

class check_names : public command_machine {
protected:
    void furnish() override
    {
        command_machine::furnish();
        binary = machine.content("/opt/preloads/given_result.so");
        machine.file("/srv/taken", binary);
        machine.file("/srv/none", machine.content("/bin/true"));
    }

    // A binary with some bytes altered: always the same for a number.
    [[nodiscard]] std::string altered(std::uint32_t number) const
    {
        std::string bytes = binary;
        std::uint32_t state = number * 2654435761U + 1;
        const auto next = [&state](std::size_t limit) {
            state = state * 1664525U + 1013904223U;
            return (state >> 8U) % limit;
        };
        for (std::size_t count = 1 + number % 5; count > 0; --count) {
            // Half of them in the header, and in the headers of the sections at the end.
            constexpr std::size_t ends = 64;
            constexpr std::size_t section_headers = 2048;
            const std::size_t places[] = {next(ends), bytes.size() - 1 - next(section_headers),
                                          next(bytes.size()), next(bytes.size())};
            bytes[places[next(4)]] = static_cast<char>(next(256));
        }
        return bytes;
    }

    std::string binary;
};

const std::string taken_names = "taken: base64_decode\n"
                                "taken: gpg_encrypt\n"
                                "taken: gpg_verify\n";

} // namespace

TEST_F(check_names, prints_each_name)
{
    EXPECT_EQ(shell("exec orvane check-names taken"), (outcome{1, taken_names, hint}));
    EXPECT_EQ(shell("exec orvane check-names none"), printed(""));
    EXPECT_EQ(shell("exec orvane check-names none taken none"), (outcome{1, taken_names, hint}));
    EXPECT_EQ(shell("exec orvane check-names - <taken").output,
              "-: base64_decode\n-: gpg_encrypt\n-: gpg_verify\n");
}

TEST_F(check_names, takes_the_library_for_what_it_is)
{
    EXPECT_EQ(shell("library=$(echo /opt/orvane/lib*/liborvane.so.1 "
                    "/opt/orvane/lib/*/liborvane.so.1 | tr ' ' '\\n' | grep -v '*'); "
                    "cat $library >own; exec orvane check-names own"),
              printed("own: (the library itself)\n"));
}

TEST_F(check_names, cannot_tell_of_a_file_that_it_cannot_read)
{
    machine.file("/srv/secret", binary, 0600);
    machine.file("/srv/text", "abc");
    machine.file("/srv/empty", "");
    EXPECT_EQ(orvane({"check-names", "/srv/missing"}),
              undetermined("/srv/missing: No such file or directory"));
    EXPECT_EQ(orvane({"check-names", "/srv/secret"}, ordinary_user),
              undetermined("/srv/secret: Permission denied"));
    EXPECT_EQ(orvane({"check-names", "/srv"}), undetermined("/srv: Is a directory"));
    EXPECT_EQ(orvane({"check-names", "/dev/null"}),
              undetermined("/dev/null: it is no regular file"));
    EXPECT_EQ(shell("cat taken | orvane check-names -"),
              undetermined("standard input: it is no regular file"));
    for (const std::string name : {"/srv/text", "/srv/empty"})
        EXPECT_EQ(orvane({"check-names", name}), undetermined(name + ": it is no ELF file"));
}

TEST_F(check_names, goes_on_behind_a_file_that_it_cannot_read)
{
    EXPECT_EQ(shell("exec orvane check-names missing none"),
              undetermined("missing: No such file or directory"));
    EXPECT_EQ(shell("exec orvane check-names missing taken"),
              (outcome{1, taken_names,
                       std::string("orvane: missing: No such file or directory\n") + hint}));
}

TEST_F(check_names, takes_any_name_of_a_file)
{
    for (const std::string name : {"[a,b]", "check-names", " a  b "}) {
        machine.file("/srv/" + name, binary);
        EXPECT_EQ(shell("orvane check-names '" + name + "' | head -n 1"),
                  (outcome{0, name + ": base64_decode\n", hint}));
    }
    machine.file("/srv/-x", binary);
    EXPECT_EQ(shell("orvane check-names -- -x | head -n 1"),
              (outcome{0, "-x: base64_decode\n", hint}));
}

TEST_F(check_names, reports_a_truncated_file)
{
    std::string names;
    std::string messages;
    for (std::size_t size = 64; size < binary.size(); size += binary.size() / 97) {
        const std::string name = std::to_string(size);
        machine.file("/srv/" + name, binary.substr(0, size));
        names += " " + name;
        messages.append("orvane: ").append(name).append(": it is truncated or damaged\n");
    }
    EXPECT_EQ(shell("exec orvane check-names" + names), (outcome{3, "", messages}));
}

// A name, or a message, of each: the last file is whole.
TEST_F(check_names, survives_damaged_files)
{
    std::string names;
    for (std::uint32_t number = 0; number < 400; ++number) {
        const std::string name = "altered-" + std::to_string(number);
        machine.file("/srv/" + name, altered(number));
        names += " " + name;
    }
    const outcome result = shell("exec orvane check-names" + names + " taken");
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(result.output.ends_with("\n" + taken_names)) << result;
    EXPECT_TRUE(result.error.ends_with(hint)) << result;
    EXPECT_NE(result.error.find(": it is truncated or damaged\n"), std::string::npos) << result;
}
