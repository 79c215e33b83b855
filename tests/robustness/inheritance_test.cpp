// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What a program inherits that another thread of the caller starts during a call.
#include "inheritance.h"

#include "api_cases/api_case.h"
#include "fixture.h"
#include "summary.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <map>
#include <string>
#include <thread>

namespace {

// Starts programs until as many have been started as are enough.
class starting_thread {
public:
    explicit starting_thread(inheritance &programs) : programs_(programs) {}
    ~starting_thread() { thread_.join(); }

    [[nodiscard]] bool is_done() const { return is_done_; }

private:
    void start_programs()
    {
        const int enough = is_sanitized() ? 5 : 40;
        for (int i = 0; i < enough; ++i)
            programs_.start_program();
        is_done_ = true;
    }

    inheritance &programs_;
    std::atomic<bool> is_done_ = false;
    std::thread thread_{[this] { start_programs(); }};
};

class program_of_another_thread : public on_machine, public testing::WithParamInterface<api_case> {
protected:
    void furnish() override
    {
        if (GetParam().furnish != nullptr)
            GetParam().furnish(machine);
    }
};

// What other libraries open without close-on-exec, in the functions that need them for it.
const std::map<std::string, std::string> opened_by_others = {
    // GLib's temporary file, which becomes the key file.
    {"key_file_save_to_file", "/srv/calls/"},
    // GPGME's pipes to gpg, until it has started.
    {"gpg_encrypt", "pipe:"},
    {"gpg_verify", "pipe:"},
};

TEST_P(program_of_another_thread, inherits_nothing)
{
    // Once in a process, libcrypto reads its configuration.
    EXPECT_EQ(GetParam().run(), GetParam().answer);
    inheritance programs(machine);
    {
        const starting_thread other(programs);
        while (!other.is_done())
            EXPECT_EQ(GetParam().run(), GetParam().answer);
    }
    const auto others = opened_by_others.find(GetParam().function);
    const inheritance::report found =
        others == opened_by_others.end() ? programs.found() : programs.found(others->second);
    EXPECT_EQ(found.heirs, 0) << "of " << found.programs << " programs, with "
                              << testing::PrintToString(found.inherited);
}

api_case_list cases_that_return()
{
    api_case_list some;
    std::ranges::copy_if(representative_cases(), std::back_inserter(some),
                         [](const api_case &one) { return one.ends_with.empty(); });
    return some;
}

INSTANTIATE_TEST_SUITE_P(during, program_of_another_thread, testing::ValuesIn(cases_that_return()),
                         [](const auto &one) { return one.param.full_name(); });

} // namespace
