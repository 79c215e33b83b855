// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fixture.h"
#include "machine/system_uuid.h"

#include <string>
#include <vector>

namespace {

constexpr char uuid_file[] = "/sys/devices/virtual/dmi/id/product_uuid";
constexpr char dmidecode[] = "/usr/sbin/dmidecode";

using uuid_source = on_machine;

owned_text from_sysfs()
{
    return owned_text(orvane::get_system_uuid_from_sysfs());
}

owned_text from_dmidecode()
{
    return owned_text(orvane::get_system_uuid_from_dmidecode());
}

} // namespace

TEST_F(uuid_source, sysfs_gives_the_first_line_of_its_file)
{
    machine.file(uuid_file, "4C4C4544-0042-3510-8051-b4c04f4d3132 \r\nrest\n");
    EXPECT_EQ(from_sysfs().value(), "4C4C4544-0042-3510-8051-b4c04f4d3132 ");
}

TEST_F(uuid_source, sysfs_gives_an_empty_first_line)
{
    machine.file(uuid_file, "\n");
    EXPECT_FALSE(from_sysfs().is_null());
}

TEST_F(uuid_source, sysfs_gives_nothing_of_a_missing_file)
{
    machine.tool(dmidecode, "4c4c4544-0042-3510-8051-b4c04f4d3132\n");
    EXPECT_TRUE(from_sysfs().is_null());
    EXPECT_TRUE(machine.runs(dmidecode).empty());
}

TEST_F(uuid_source, sysfs_gives_nothing_of_an_empty_file)
{
    machine.file(uuid_file, "");
    EXPECT_TRUE(from_sysfs().is_null());
}

TEST_F(uuid_source, sysfs_gives_no_placeholder)
{
    machine.file(uuid_file, "FEFEFEFE-FEFE-FEFE-FEFE-FEFEFEFEFEFE\n");
    EXPECT_TRUE(from_sysfs().is_null());
}

TEST_F(uuid_source, dmidecode_gives_its_first_line_with_a_uuid)
{
    machine.file(uuid_file, "from the file\n");
    machine.tool(dmidecode, "# remark\nUUID 4C4C4544-0042-3510-8051-b4c04f4d3132 \r\nrest\n");
    EXPECT_EQ(from_dmidecode().value(), "UUID 4C4C4544-0042-3510-8051-b4c04f4d3132 ");
    ASSERT_EQ(machine.runs(dmidecode).size(), 1U);
    EXPECT_EQ(machine.runs(dmidecode).front().arguments,
              (std::vector<std::string>{"/usr/sbin/dmidecode", "-s", "system-uuid"}));
}

TEST_F(uuid_source, dmidecode_gives_nothing_when_it_is_missing)
{
    EXPECT_TRUE(from_dmidecode().is_null());
}

TEST_F(uuid_source, dmidecode_gives_nothing_when_it_is_not_executable)
{
    machine.script(dmidecode, "echo 4c4c4544-0042-3510-8051-b4c04f4d3132", 0644);
    EXPECT_TRUE(from_dmidecode().is_null());
    EXPECT_TRUE(machine.runs(dmidecode).empty());
}

TEST_F(uuid_source, dmidecode_gives_nothing_when_no_line_has_a_uuid)
{
    machine.tool(dmidecode, "Not Settable\n");
    EXPECT_TRUE(from_dmidecode().is_null());
}

TEST_F(uuid_source, dmidecode_gives_no_placeholder)
{
    machine.tool(dmidecode, "03000200-0400-0500-0006-000700080009\n");
    EXPECT_TRUE(from_dmidecode().is_null());
}
