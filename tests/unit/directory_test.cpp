// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fixture.h"
#include "support/directory.h"

#include <algorithm>
#include <string>

namespace {

class names_in_a_directory : public on_machine {
protected:
    static texts listed()
    {
        orvane::directory_names names("/srv/directory");
        EXPECT_TRUE(names);
        texts listed;
        while (const char *const name = names.next())
            listed.emplace_back(name);
        std::sort(listed.begin(), listed.end()); // the order is the file system's own
        return listed;
    }
};

} // namespace

TEST_F(names_in_a_directory, are_those_of_its_entries_of_every_type)
{
    machine.file("/srv/directory/file", "");
    machine.directory("/srv/directory/directory");
    machine.link("/srv/directory/link", "nothing");
    machine.character_device("/srv/directory/null", 1, 3);
    EXPECT_EQ(listed(), (texts{"directory", "file", "link", "null"}));
}

TEST_F(names_in_a_directory, are_none_where_it_is_empty)
{
    machine.directory("/srv/directory");
    EXPECT_EQ(listed(), texts{});
}

TEST_F(names_in_a_directory, include_those_that_only_begin_with_dots)
{
    for (const char *const name : {"...", "..a", ".a", "a", "a."})
        machine.file(std::string("/srv/directory/") + name, "");
    EXPECT_EQ(listed(), (texts{"...", "..a", ".a", "a", "a."}));
}

TEST_F(names_in_a_directory, are_those_of_any_bytes)
{
    const std::string longest(255, 'n');
    for (const std::string &name : {std::string("a\nb"), longest, std::string("\x80\xff")})
        machine.file("/srv/directory/" + name, "");
    EXPECT_EQ(listed(), (texts{"a\nb", longest, "\x80\xff"}));
}

TEST_F(names_in_a_directory, stay_at_their_end)
{
    machine.file("/srv/directory/file", "");
    orvane::directory_names names("/srv/directory");
    EXPECT_STREQ(names.next(), "file");
    EXPECT_EQ(names.next(), nullptr);
    EXPECT_EQ(names.next(), nullptr);
}

TEST_F(names_in_a_directory, are_to_be_had_by_two_at_once)
{
    machine.file("/srv/directory/file", "");
    machine.file("/srv/other/entry", "");
    orvane::directory_names names("/srv/directory");
    orvane::directory_names others("/srv/other");
    EXPECT_STREQ(others.next(), "entry");
    EXPECT_STREQ(names.next(), "file");
}

TEST_F(names_in_a_directory, need_not_be_read_to_their_end)
{
    machine.file("/srv/directory/file", "");
    machine.file("/srv/directory/other", "");
    orvane::directory_names names("/srv/directory");
    EXPECT_NE(names.next(), nullptr);
}

TEST_F(names_in_a_directory, are_not_to_be_had_where_it_cannot_be_opened)
{
    machine.file("/srv/file", "");
    machine.directory("/srv/private", 0);
    const other_user caller;
    for (const char *const path : {"/srv/missing", "/srv/file", "/srv/private", ""})
        EXPECT_FALSE(orvane::directory_names(path)) << path;
}
