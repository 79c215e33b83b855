// SPDX-License-Identifier: LGPL-2.1-or-later
#include "manufacturer_machine.h"
#include "recorded_calls.h"

#include <cstring>
#include <filesystem>
#include <string>

namespace {

constexpr char by_keyword[] = "/usr/sbin/dmidecode -s system-manufacturer";
constexpr char by_table[] =
    "/usr/sbin/dmidecode -t 1 |grep -i 'Manufacturer' |awk -F': ' '{print $2}'";

class lenovo_machine : public manufacturer_machine {};

// What the two commands tell; nullptr for nothing.
struct told_manufacturers : named_case {
    const char *keyword;
    const char *table;
    int answer;
    texts commands;
};

class told_lenovo : public lenovo_machine,
                    public testing::WithParamInterface<told_manufacturers> {};

const texts the_first = {by_keyword};
const texts both = {by_keyword, by_table};

} // namespace

TEST_P(told_lenovo, is_looked_for_in_both_commands)
{
    texts commands;
    interpose::get_machine_info_from_dmidecode = [&commands](const char *command) {
        commands.emplace_back(command);
        const char *const told = commands.size() == 1 ? GetParam().keyword : GetParam().table;
        return told == nullptr ? nullptr : ::strdup(told);
    };
    EXPECT_EQ(is_lenovo_machine(), GetParam().answer);
    EXPECT_EQ(commands, GetParam().commands);
}

INSTANTIATE_TEST_SUITE_P(
    by_the_first, told_lenovo,
    testing::Values(
        told_manufacturers{"lenovo", "LENOVO", "Dell Inc.", 1, the_first},
        told_manufacturers{"kaitian", "KaiTian", "Dell Inc.", 1, the_first},
        told_manufacturers{"lenovo_and_more", "LENOVO (Beijing)", nullptr, 1, the_first},
        told_manufacturers{"kaitian_and_more", "KaiTianTech", nullptr, 1, the_first},
        told_manufacturers{"lenovo_beyond_ascii", "LENOVO\xff", nullptr, 1, the_first}));

INSTANTIATE_TEST_SUITE_P(
    by_the_second, told_lenovo,
    testing::Values(
        told_manufacturers{"lenovo", nullptr, "LENOVO", 1, both},
        told_manufacturers{"kaitian", nullptr, "KaiTian", 1, both},
        told_manufacturers{"lenovo_and_more", nullptr, "LENOVO (Beijing)", 1, both},
        told_manufacturers{"kaitian_and_more", nullptr, "KaiTianTech", 1, both},
        told_manufacturers{"though_the_first_says_another", "Dell Inc.", "LENOVO", 1, both},
        told_manufacturers{"though_the_first_is_empty", "", "KaiTian", 1, both},
        told_manufacturers{"though_the_first_is_in_other_case", "lenovo", "LENOVO", 1, both}));

INSTANTIATE_TEST_SUITE_P(
    by_neither, told_lenovo,
    testing::Values(told_manufacturers{"nothing", nullptr, nullptr, 0, both},
                    told_manufacturers{"nothing_by_the_first", nullptr, "Dell Inc.", 0, both},
                    told_manufacturers{"nothing_by_the_second", "Dell Inc.", nullptr, 0, both},
                    told_manufacturers{"empty", "", "", 0, both},
                    told_manufacturers{"small_letters", "lenovo", "lenovo", 0, both},
                    told_manufacturers{"first_letter_large", "Lenovo", "Lenovo", 0, both},
                    told_manufacturers{"kaitian_in_small_letters", "kaitian", "kaitian", 0, both},
                    told_manufacturers{"kaitian_in_capitals", "KAITIAN", "Kaitian", 0, both},
                    told_manufacturers{"lenovo_cut", "LENOV", "LENOV", 0, both},
                    told_manufacturers{"kaitian_cut", "KaiTia", "KaiTia", 0, both},
                    told_manufacturers{"other_in_the_last_byte", "LENOVA", "KaiTiam", 0, both},
                    told_manufacturers{"behind_a_blank", " LENOVO", " KaiTian", 0, both},
                    told_manufacturers{"inside", "The LENOVO", "The KaiTian", 0, both},
                    told_manufacturers{"with_a_blank", "LENO VO", "Kai Tian", 0, both}));

// What dmidecode prints.

TEST_F(lenovo_machine, is_known_by_the_keyword_alone)
{
    dmidecode_prints("LENOVO\n", "\tManufacturer: LENOVO\n");
    EXPECT_EQ(is_lenovo_machine(), 1);
    ASSERT_EQ(machine.runs(dmidecode).size(), 1U);
    EXPECT_EQ(machine.runs(dmidecode)[0].arguments,
              (texts{dmidecode, "-s", "system-manufacturer"}));
}

TEST_F(lenovo_machine, is_known_by_the_table)
{
    dmidecode_prints("Default string\n", "System Information\n\tManufacturer: KaiTian\n");
    EXPECT_EQ(is_lenovo_machine(), 1);
    ASSERT_EQ(machine.runs(dmidecode).size(), 2U);
    EXPECT_EQ(machine.runs(dmidecode)[1].arguments, (texts{dmidecode, "-t", "1"}));
}

TEST_F(lenovo_machine, is_known_by_the_first_line_alone)
{
    dmidecode_prints("# SMBIOS 3.5\nLENOVO\n",
                     "\tManufacturer: Dell Inc.\n\tManufacturer: LENOVO\n");
    EXPECT_EQ(is_lenovo_machine(), 0);
}

TEST_F(lenovo_machine, runs_the_commands_in_the_documented_order)
{
    dmidecode_prints("Dell Inc.\n", "\tManufacturer: Dell Inc.\n");
    const recorded_calls calls;
    EXPECT_EQ(is_lenovo_machine(), 0);
    EXPECT_EQ(
        calls.made(),
        (texts{"access /usr/sbin/dmidecode 5", "popen /usr/sbin/dmidecode -s system-manufacturer r",
               "fgets 1024", "pclose", "strdup Dell Inc.", "access /usr/sbin/dmidecode 5",
               "popen /usr/sbin/dmidecode -t 1 |grep -i 'Manufacturer' |awk -F': ' "
               "'{print $2}' r",
               "fgets 1024", "pclose", "strdup Dell Inc."}));
}

TEST_F(lenovo_machine, starts_nothing_where_dmidecode_is_missing)
{
    machine.file("/sys/class/dmi/id/sys_vendor", "LENOVO\n");
    const recorded_calls calls;
    EXPECT_EQ(is_lenovo_machine(), 0);
    EXPECT_EQ(calls.made(),
              (texts{"access /usr/sbin/dmidecode 5", "access /usr/sbin/dmidecode 5"}));
}

TEST_F(lenovo_machine, is_not_simulated)
{
    simulate("LENOVO");
    dmidecode_prints("Dell Inc.\n", "\tManufacturer: Dell Inc.\n");
    EXPECT_EQ(is_lenovo_machine(), 0);
}

TEST_F(lenovo_machine, is_known_by_the_table_when_no_memory_is_left_for_the_keyword)
{
    dmidecode_prints("LENOVO\n", "\tManufacturer: KaiTian\n");
    interpose::strdup = [](const char *text) -> char * {
        return std::strcmp(text, "LENOVO") == 0 ? nullptr : interpose::strdup.real(text);
    };
    EXPECT_EQ(is_lenovo_machine(), 1);
}

TEST_F(lenovo_machine, is_not_known_without_memory)
{
    dmidecode_prints("LENOVO\n", "\tManufacturer: KaiTian\n");
    interpose::strdup = [](const char *) -> char * { return nullptr; };
    EXPECT_EQ(is_lenovo_machine(), 0);
}

TEST_F(lenovo_machine, writes_nothing)
{
    dmidecode_prints("Dell Inc.\n", "\tManufacturer: LENOVO\n");
    EXPECT_EQ(standard_error_of([] { EXPECT_EQ(is_lenovo_machine(), 1); }), "");
    EXPECT_FALSE(std::filesystem::exists("/var/log/orvane"));
}
