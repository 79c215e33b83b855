// SPDX-License-Identifier: LGPL-2.1-or-later
#include "cases.h"
#include "process.h"
#include "support/write_or_lose.h"

#include <cerrno>
#include <cstdio>
#include <cwchar>
#include <string>

#include <gtest/gtest.h>

#include <unistd.h>

namespace {

// What the program may have done with its standard error.
struct stream_state : named_case {
    int orientation;
    int buffering;
    void (*printed)(); // before
};

class message_about_an_error : public testing::TestWithParam<stream_state> {
protected:
    // What arrives in the file, marked where the stream is flushed, and how the stream is left.
    static std::string printed_by(void (*print)(const char *))
    {
        int orientation = 0;
        const std::string text = standard_error_of([print, &orientation] {
            std::FILE *const before = stderr;
            stderr = ::fdopen(::dup(STDERR_FILENO), "w");
            std::setvbuf(stderr, nullptr, GetParam().buffering, BUFSIZ);
            ::fwide(stderr, GetParam().orientation);
            GetParam().printed();
            errno = ENOENT;
            print("Open log file failed");
            static_cast<void>(::write(STDERR_FILENO, "|", 1));
            orientation = ::fwide(stderr, 0);
            std::fclose(stderr);
            stderr = before;
        });
        return text + " " + std::to_string(orientation);
    }
};

} // namespace

TEST_P(message_about_an_error, is_what_perror_prints)
{
    EXPECT_EQ(printed_by(orvane::print_error_or_lose), printed_by(::perror));
}

INSTANTIATE_TEST_SUITE_P(
    on, message_about_an_error,
    testing::Values(
        stream_state{"a_new_stream", 0, _IONBF, [] {}},
        stream_state{"a_new_buffered_stream", 0, _IOFBF, [] {}},
        stream_state{"bytes", -1, _IONBF, [] { std::fputs("before ", stderr); }},
        stream_state{"lines_of_bytes", -1, _IOLBF, [] { std::fputs("before ", stderr); }},
        stream_state{"buffered_bytes", -1, _IOFBF, [] { std::fputs("before ", stderr); }},
        stream_state{"wide_characters", 1, _IONBF, [] { std::fputws(L"before ", stderr); }},
        stream_state{"buffered_wide_characters", 1, _IOFBF,
                     [] { std::fputws(L"before ", stderr); }}));

TEST(message, is_printed_like_any_other_output)
{
    EXPECT_EQ(standard_error_of([] { orvane::print_or_lose("%s: %d\n", "%s", 42); }), "%s: 42\n");
}
