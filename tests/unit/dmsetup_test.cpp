// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Which device a report of dmsetup names.
#include "dependency_reports.h"
#include "disk/dmsetup.h"
#include "fixture.h"

#include <cstring>

namespace {

// Of a report as it stands in a room of its own.
template <std::size_t Bytes = 1024> std::string dependency_in(const std::string &report)
{
    std::string room = report;
    orvane::bounded_text<Bytes> name;
    orvane::find_dependency(room.data(), name);
    return name.c_str();
}

class report : public on_machine, public testing::WithParamInterface<dependency_report> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(of, report, testing::ValuesIn(dependency_reports));

TEST_P(report, names_a_device_or_none)
{
    EXPECT_EQ(dependency_in(GetParam().printed), GetParam().name);
    EXPECT_EQ(machine.trace(), GetParam().tells_of_none ? texts{"cannot found deps"} : texts());
}

TEST(find_dependency, cuts_a_name_to_its_room)
{
    EXPECT_EQ(dependency_in<8>("1 dependencies:123456"), "123456");
    EXPECT_EQ(dependency_in<8>("1 dependencies:1234567"), "1234567");
    EXPECT_EQ(dependency_in<8>("1 dependencies:12345678"), "1234567");
}

TEST(find_dependency, copies_1023_characters_of_a_field)
{
    EXPECT_EQ(dependency_in(":" + std::string(1022, 'x')), std::string(1022, 'x'));
    EXPECT_EQ(dependency_in(":" + std::string(1023, 'x')), std::string(1023, 'x'));
    EXPECT_EQ(dependency_in(":" + std::string(1024, 'x')), std::string(1023, 'x'));
}

TEST(find_dependency, cuts_a_field_before_it_is_cleaned)
{
    EXPECT_EQ(dependency_in<8>("1 dependencies: (sda12)"), "sda12");
    EXPECT_EQ(dependency_in<8>("1 dependencies: (sda123)"), "sda12");
}

TEST(find_dependency, leaves_the_callers_own_splitting_alone)
{
    char text[] = "one:two:three";
    ASSERT_STREQ(::strtok(text, ":"), "one");
    EXPECT_EQ(dependency_in("1 dependencies : (sda2)\n"), "sda2");
    EXPECT_STREQ(::strtok(nullptr, ":"), "two");
}
