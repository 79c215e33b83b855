// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fallible_functions.h"
#include "fixture.h"
#include "library_calls.h"
#include "summary.h"
#include "torture.h"
#include "trial.h"

#include <ostream>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

static void PrintTo(const library_call &call, std::ostream *stream)
{
    *stream << call.function << ", " << call.way;
}

namespace {

class torture_of : public on_machine, public testing::WithParamInterface<library_call> {
protected:
    void furnish() override
    {
        if (GetParam().furnish != nullptr)
            GetParam().furnish(machine);
    }
};

TEST_P(torture_of, leaves_the_process_whole_and_tells_the_documented_failure)
{
    report(GetParam(), torture(machine, GetParam()));
}

std::string name_of(const testing::TestParamInfo<library_call> &info)
{
    return info.param.function + "_" + info.param.way;
}

INSTANTIATE_TEST_SUITE_P(each, torture_of, testing::ValuesIn(library_calls()), name_of);

TEST(fallible_functions, are_told_apart_from_the_infallible_ones)
{
    EXPECT_EQ(replace_fallible_functions().unknown, std::set<std::string>{})
        << "the library calls these, and nobody has said whether they may fail";
    for (const fallible_function &function : fallible_functions())
        EXPECT_FALSE(is_infallible(function.name)) << function.name;
}

// Every call once, for what the library calls.
class library_calls_of_all : public on_machine {
protected:
    void furnish() override { replace_fallible_functions(); }

    void make(const library_call &call)
    {
        machine.stop();
        machine.start();
        if (call.furnish != nullptr)
            call.furnish(machine);
        EXPECT_EQ(try_call(machine, call, {}).complaint, "") << call.function << " " << call.way;
    }

    static std::set<std::string> reached_now()
    {
        std::set<std::string> names;
        const std::vector<fallible_function> &functions = fallible_functions();
        for (std::size_t number = 0; number < functions.size(); ++number) {
            if (injection::shared().reached[number] != 0)
                names.insert(functions[number].name);
        }
        return names;
    }
};

// Whatever is called here fails in the torture of that call.
TEST_F(library_calls_of_all, reach_every_fallible_function)
{
    std::set<std::string> unreached = replace_fallible_functions().fallible;
    ASSERT_TRUE(unreached.contains("open"));
    for (const library_call &call : library_calls()) {
        make(call);
        for (const std::string &name : reached_now())
            unreached.erase(name);
    }
    EXPECT_EQ(unreached, std::set<std::string>{}) << "no call of tests/calls makes these fail";
}

} // namespace
