// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fixture.h"
#include "support/directory.h"

#include <algorithm>
#include <string>

namespace {

using directory = on_machine;

} // namespace

TEST_F(directory, has_names_of_every_type_and_of_any_bytes)
{
    const std::string longest(255, 'n');
    texts names = {"...", "..a", ".a", "a.", "a\nb", "\x80\xff", longest};
    for (const std::string &name : names)
        machine.file("/srv/directory/" + name, "");
    machine.directory("/srv/directory/directory");
    machine.link("/srv/directory/link", "nothing");
    names.insert(names.end(), {"directory", "link"});

    texts listed;
    orvane::directory_names list("/srv/directory");
    ASSERT_TRUE(list);
    while (const char *const name = list.next())
        listed.emplace_back(name);
    EXPECT_EQ(list.next(), nullptr);
    std::sort(names.begin(), names.end());
    std::sort(listed.begin(), listed.end()); // the order is the file system's
    EXPECT_EQ(listed, names);
}

TEST_F(directory, has_no_name_where_it_is_empty)
{
    machine.directory("/srv/directory");
    orvane::directory_names list("/srv/directory");
    EXPECT_TRUE(list);
    EXPECT_EQ(list.next(), nullptr);
}

TEST_F(directory, has_no_names_where_it_cannot_be_opened)
{
    machine.file("/srv/file", "");
    machine.directory("/srv/private", 0);
    const other_user caller;
    for (const char *const path : {"/srv/missing", "/srv/file", "/srv/private", ""})
        EXPECT_FALSE(orvane::directory_names(path)) << path;
}
