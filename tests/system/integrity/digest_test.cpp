// SPDX-License-Identifier: LGPL-2.1-or-later
#include "built_locale.h"
#include "digest_machine.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include <sys/stat.h>

// The expected text.

TEST_P(digested_file, is_not_what_another_file_is)
{
    EXPECT_EQ(check(of_nothing()), 0);
}

TEST_P(digested_file, is_known_by_its_digits_whatever_stands_behind_them)
{
    EXPECT_EQ(check(of_abc() + "0"), 1);
    EXPECT_EQ(check(of_abc() + "  file.txt\n"), 1);
    EXPECT_EQ(check(of_abc() + "\xff"), 1);
    EXPECT_EQ(check(of_abc() + std::string(5000, 'A')), 1);
}

TEST_P(digested_file, is_not_known_by_fewer_digits)
{
    EXPECT_EQ(check(""), 0);
    EXPECT_EQ(check(of_abc().substr(0, 1)), 0);
    EXPECT_EQ(check(of_abc().substr(0, of_abc().size() / 2)), 0);
    EXPECT_EQ(check(of_abc().substr(0, of_abc().size() - 1)), 0);
}

TEST_P(digested_file, is_not_known_where_any_digit_differs)
{
    for (std::size_t place = 0; place < of_abc().size(); ++place) {
        std::string other = of_abc();
        other[place] = other[place] == '0' ? '1' : '0';
        EXPECT_EQ(check(other), 0) << other;
    }
}

TEST_P(digested_file, is_not_known_by_digits_in_capitals)
{
    std::string capitals = of_abc();
    for (char &digit : capitals)
        digit = static_cast<char>(std::toupper(digit));
    EXPECT_EQ(check(capitals), 0);
}

TEST_P(digested_file, is_not_known_by_digits_with_one_capital)
{
    std::string capital = of_abc();
    const std::size_t last_letter = capital.find_last_of("abcdef");
    capital[last_letter] = static_cast<char>(std::toupper(capital[last_letter]));
    EXPECT_EQ(check(capital), 0);
}

TEST_P(digested_file, is_not_known_by_digits_behind_a_blank)
{
    EXPECT_EQ(check(" " + of_abc()), 0);
}

TEST_P(digested_file, is_not_known_by_the_digests_of_the_other_kinds)
{
    for (const digest_check &other : digest_checks) {
        if (other.check != GetParam().check) {
            EXPECT_EQ(check(other.of_abc), 0) << other;
        }
    }
}

TEST_P(digested_file, is_not_known_without_digits)
{
    EXPECT_EQ(GetParam().check(path.c_str(), nullptr), 0);
    EXPECT_EQ(GetParam().check(nullptr, nullptr), 0);
}

// The C library says what is a capital and what is its lower-case form: here a, b and c are
// capitals, d, e and f only have another lower-case form, which does not count.
TEST_P(digested_file, has_digits_as_the_locale_of_the_caller_lowers_capitals)
{
    const built_locale locale(machine, "odd",
                              "upper <U0061>;<U0062>;<U0063>\n"
                              "tolower (<U0061>,<U0075>);(<U0062>,<U0076>);(<U0063>,<U0077>);"
                              "(<U0064>,<U0078>);(<U0065>,<U0079>);(<U0066>,<U007A>)\n");
    std::string lowered = of_abc();
    std::replace(lowered.begin(), lowered.end(), 'a', 'u');
    std::replace(lowered.begin(), lowered.end(), 'b', 'v');
    std::replace(lowered.begin(), lowered.end(), 'c', 'w');
    EXPECT_EQ(check(lowered), 1);
    EXPECT_EQ(check(of_abc()), 0);
}

// The file.

TEST_P(digested_file, is_read_afresh_every_time)
{
    EXPECT_EQ(check(of_abc()), 1);
    machine.file(path, "");
    EXPECT_EQ(check(of_abc()), 0);
    EXPECT_EQ(check(of_nothing()), 1);
}

TEST_P(digested_file, is_found_through_a_link)
{
    machine.link(machine.scratch("link"), "file");
    EXPECT_EQ(check(machine.scratch("link"), of_abc()), 1);
}

TEST_P(digested_file, may_have_a_name_of_any_bytes)
{
    const std::string name = machine.scratch("%s \n$(x)\xff");
    machine.file(name, "abc");
    EXPECT_EQ(check(name, of_abc()), 1);
}

TEST_P(digested_file, may_be_a_device)
{
    EXPECT_EQ(check("/dev/null", of_nothing()), 1);
}

TEST_P(digested_file, may_be_a_pipe_that_somebody_writes_in_pieces)
{
    const std::string pipe = machine.scratch("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    std::thread writer([&pipe] {
        std::ofstream stream(pipe);
        stream << "a" << std::flush << "bc" << std::flush;
    });
    EXPECT_EQ(check(pipe, of_abc()), 1);
    writer.join();
}

TEST_P(digested_file, that_is_missing_has_no_digest)
{
    EXPECT_EQ(check(machine.scratch("missing"), of_nothing()), 0);
    EXPECT_EQ(check(machine.scratch("missing/file"), of_nothing()), 0);
    EXPECT_EQ(check(path + "/file", of_nothing()), 0);
    EXPECT_EQ(check("", of_nothing()), 0);
}

TEST_P(digested_file, without_a_path_has_no_digest)
{
    EXPECT_EQ(GetParam().check(nullptr, GetParam().of_nothing), 0);
}

TEST_P(digested_file, that_is_a_directory_has_no_digest)
{
    machine.directory(machine.scratch("directory"));
    EXPECT_EQ(check(machine.scratch("directory"), of_nothing()), 0);
}

TEST_P(digested_file, that_the_caller_may_not_read_has_no_digest)
{
    machine.file(path, "abc", 0600);
    const other_user caller;
    EXPECT_EQ(check(of_abc()), 0);
}

TEST_P(digested_file, has_a_digest_for_every_user_who_may_read_it)
{
    const other_user caller;
    EXPECT_EQ(check(of_abc()), 1);
}

TEST_P(digested_file, is_checked_without_a_word)
{
    const std::string said = standard_error_of([this] {
        EXPECT_EQ(check(of_abc()), 1);
        EXPECT_EQ(check(of_nothing()), 0);
        EXPECT_EQ(check(machine.scratch("missing"), of_abc()), 0);
        EXPECT_EQ(check(machine.scratch(""), of_abc()), 0);
        EXPECT_EQ(GetParam().check(nullptr, nullptr), 0);
    });
    EXPECT_EQ(said, "");
    EXPECT_EQ(machine.trace(), texts{});
}

TEST_P(digested_file, may_be_checked_by_many_threads_at_once)
{
    std::vector<std::future<int>> matches;
    for (int thread = 0; thread < 8; ++thread) {
        matches.push_back(std::async(std::launch::async, [this, thread] {
            const std::string own = path + std::to_string(thread);
            std::ofstream(own) << (thread % 2 == 0 ? "abc" : "");
            int found = 0;
            for (int times = 0; times < 50; ++times)
                found += check(own, thread % 2 == 0 ? of_abc() : of_nothing());
            return found;
        }));
    }
    for (std::future<int> &found : matches)
        EXPECT_EQ(found.get(), 50);
}

INSTANTIATE_TEST_SUITE_P(by, digested_file, testing::ValuesIn(digest_checks));

// Closed standard descriptors.

namespace {

class file_digested_without_standard_descriptors
    : public on_machine,
      public testing::WithParamInterface<std::vector<int>> {};

} // namespace

TEST_P(file_digested_without_standard_descriptors, is_known_and_leaves_them_closed)
{
    const std::string path = machine.scratch("file");
    machine.file(path, "abc");
    for (const digest_check &one : digest_checks) {
        int match = 0;
        EXPECT_EQ(left_open(GetParam(), [&] { match = one.check(path.c_str(), one.of_abc); }),
                  std::vector<int>{});
        EXPECT_EQ(match, 1) << one;
    }
}

TEST_P(file_digested_without_standard_descriptors, cannot_be_read_and_leaves_them_closed)
{
    const std::string directory = machine.scratch("");
    for (const digest_check &one : digest_checks) {
        int match = 1;
        EXPECT_EQ(
            left_open(GetParam(), [&] { match = one.check(directory.c_str(), one.of_nothing); }),
            std::vector<int>{});
        EXPECT_EQ(match, 0) << one;
    }
}

INSTANTIATE_TEST_SUITE_P(every_combination, file_digested_without_standard_descriptors,
                         testing::ValuesIn(every_set_of_standard_descriptors()));
