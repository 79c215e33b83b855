// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Every API case, plainly and with each fault; representative cases in each environment.
#include "fixture.h"
#include "summary.h"
#include "trial.h"

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <string>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

class trials : public on_machine, public testing::WithParamInterface<api_case> {
protected:
    void furnish() override
    {
        if (GetParam().furnish != nullptr)
            GetParam().furnish(machine);
    }
};

std::string name_of(const testing::TestParamInfo<api_case> &info)
{
    return info.param.full_name();
}

// ---- Faults ----

class each_case : public trials {};

TEST_P(each_case, gives_its_answer_and_survives_each_fault)
{
    for (const std::string &violation : try_with_faults(machine, GetParam()))
        ADD_FAILURE() << violation;
}

// A trial takes ten times as long with a sanitizer, so only the representative cases run then.
INSTANTIATE_TEST_SUITE_P(of, each_case,
                         testing::ValuesIn(is_sanitized() ? representative_cases() : api_cases()),
                         name_of);

// ---- Environments ----

// Other users may not read here what they may not read on a machine.
void leave_sources_to_root()
{
    constexpr fs::perms roots = fs::perms::owner_read | fs::perms::owner_write;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator("/dev")) {
        if (!entry.is_symlink() && entry.is_block_file())
            fs::permissions(entry, roots);
    }
    const std::string uuid = "/sys/devices/virtual/dmi/id/product_uuid";
    if (fs::exists(uuid))
        fs::permissions(uuid, roots);
}

class representative_case : public trials {
protected:
    void furnish() override
    {
        trials::furnish();
        leave_sources_to_root();
    }

    // What cannot be distinguished from the environment: the case closes the descriptors itself.
    static bool is_meaningless(const environment &place)
    {
        return GetParam().function == "redirect_stdio" && place.name.starts_with("closed");
    }
};

TEST_P(representative_case, survives_each_environment)
{
    // With a sanitizer each case meets every third environment, and another case the others.
    std::size_t number = GetParam().name.size();
    for (const environment &place : environments()) {
        if (is_meaningless(place) || (is_sanitized() && number++ % 3 != 0))
            continue;
        EXPECT_EQ(try_case(machine, GetParam(), {.place = &place}).violation, "") << place.name;
    }
}

INSTANTIATE_TEST_SUITE_P(of, representative_case, testing::ValuesIn(representative_cases()),
                         name_of);

// An environment that withholds something has to be noticed by a case that needs it.
TEST(environments, withhold_what_some_case_needs)
{
    for (const environment &place : environments()) {
        EXPECT_TRUE(place.withholds == 0 ||
                    std::ranges::any_of(representative_cases(),
                                        [&place](const api_case &one) {
                                            return (one.needs & place.withholds) != 0 &&
                                                   !one.failures.empty();
                                        }))
            << place.name;
    }
}

// ---- Completeness ----

std::set<std::string> exported_functions()
{
    std::set<std::string> names;
    std::ifstream map(LIBRARY_MAP);
    const std::regex entry("    (\\w+);");
    for (std::string line; std::getline(map, line);) {
        if (std::smatch parts; std::regex_match(line, parts, entry))
            names.insert(parts[1]);
    }
    names.erase("manufacturerType"); // a table
    return names;
}

TEST(completeness, every_exported_function_has_a_case)
{
    std::set<std::string> functions;
    for (const api_case &one : api_cases())
        functions.insert(one.function);
    ASSERT_FALSE(functions.empty());
    EXPECT_EQ(functions, exported_functions());
}

TEST(completeness, every_import_is_known_as_fallible_or_infallible)
{
    EXPECT_EQ(replace_fallible_functions().unknown, std::set<std::string>{})
        << "imports that faults.cpp does not know: may they fail?";
}

class completeness_of_cases : public on_machine {};

TEST_F(completeness_of_cases, every_fallible_import_is_reached)
{
    std::set<std::string> unreached = replace_fallible_functions().fallible;
    ASSERT_FALSE(unreached.empty());
    for (const api_case &one : api_cases()) {
        machine.stop();
        machine.start();
        if (one.furnish != nullptr)
            one.furnish(machine);
        static_cast<void>(try_case(machine, one));
        for (std::size_t number = 0; number < fallible_functions().size(); ++number) {
            if (injection::shared().reached[number])
                unreached.erase(fallible_functions()[number].name);
        }
        if (unreached.empty())
            return;
    }
    EXPECT_EQ(unreached, std::set<std::string>{}) << "no API case makes these fail";
}

} // namespace
