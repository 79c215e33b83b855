// SPDX-License-Identifier: LGPL-2.1-or-later
#include "library_calls.h"

#include "fixture.h"

#include <algorithm>
#include <csignal>
#include <fstream>
#include <iterator>
#include <ostream>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

static void PrintTo(const library_call &call, std::ostream *stream)
{
    *stream << call.function << ", " << call.way;
}

namespace {

std::string name_of(const testing::TestParamInfo<library_call> &info)
{
    return info.param.function + "_" + info.param.way;
}

std::vector<library_call> calls_that(bool (*are_wanted)(const library_call &))
{
    std::vector<library_call> wanted;
    std::ranges::copy_if(library_calls(), std::back_inserter(wanted), are_wanted);
    return wanted;
}

// Every call on the machine that it asks for, where nothing fails.
class registered_call : public on_machine, public testing::WithParamInterface<library_call> {
protected:
    void furnish() override
    {
        if (GetParam().furnish != nullptr)
            GetParam().furnish(machine);
    }
};

TEST_P(registered_call, tells_its_answer)
{
    EXPECT_EQ(GetParam().run(), GetParam().answer);
}

TEST_P(registered_call, tells_its_answer_again)
{
    static_cast<void>(GetParam().run());
    EXPECT_EQ(GetParam().run(), GetParam().answer);
}

INSTANTIATE_TEST_SUITE_P(each, registered_call, testing::ValuesIn(calls_that([](const auto &call) {
                             return call.ends_with.empty();
                         })),
                         name_of);

// A call that the documentation lets end the process.
class registered_end : public registered_call {};

TEST_P(registered_end, comes_with_its_line)
{
    const std::string error = standard_error_of([] {
        const pid_t child = ::fork();
        if (child == 0) {
            static_cast<void>(GetParam().run());
            ::_exit(0);
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT) << status;
    });
    EXPECT_EQ(error, GetParam().ends_with);
}

INSTANTIATE_TEST_SUITE_P(each, registered_end, testing::ValuesIn(calls_that([](const auto &call) {
                             return !call.ends_with.empty();
                         })),
                         name_of);

// What the library exports, but for its one table.
std::set<std::string> exported_functions()
{
    std::set<std::string> names;
    std::ifstream map(LIBRARY_MAP);
    const std::regex entry("    (\\w+);");
    for (std::string line; std::getline(map, line);) {
        if (std::smatch parts; std::regex_match(line, parts, entry))
            names.insert(parts[1]);
    }
    names.erase("manufacturerType");
    return names;
}

std::set<std::string> called_functions()
{
    std::set<std::string> names;
    for (const library_call &call : library_calls())
        names.insert(call.function);
    return names;
}

TEST(library_calls, have_every_exported_function)
{
    ASSERT_FALSE(exported_functions().empty());
    EXPECT_EQ(called_functions(), exported_functions());
}

} // namespace
