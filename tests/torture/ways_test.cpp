// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The ways of failing in which something happens all the same.
#include "fallible_functions.h"
#include "stream_of.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <openssl/rsa.h>
#include <unistd.h>

namespace {

// What stands in the function's place.
template <class Function> Function *replacement(const std::string &name, Function * /*of*/)
{
    const auto &functions = fallible_functions();
    const auto found = std::ranges::find(functions, name, &fallible_function::name);
    if (found == functions.end())
        throw std::runtime_error("not among the fallible functions: " + name);
    return reinterpret_cast<Function *>(found->replacement);
}
#define REPLACED(name) replacement(#name, &::name)

// The first call that is made in here fails in this way.
template <class Calls> void failing_in(unsigned way, Calls calls)
{
    injection::prepare({injection::side::caller, 1, false, way});
    injection::arm();
    calls();
    injection::disarm();
}

using owned_stream = std::unique_ptr<std::FILE, int (*)(std::FILE *)>;

owned_stream stream_with(const std::string &content)
{
    return {::stream_of(content.empty() ? texts{} : texts{content}), &std::fclose};
}

class way_of_failing : public testing::Test {
protected:
    void SetUp() override
    {
        replace_fallible_functions();
        room.fill('.');
    }

    [[nodiscard]] std::string stored() const
    {
        return {room.begin(), std::find(room.begin(), room.end(), '.')};
    }

    std::array<char, 32> room = {};
};

constexpr unsigned line_breaks_off = 2;
constexpr unsigned line_is_interrupted = 3;
constexpr unsigned line_is_interrupted_and_breaks_off = 4;

TEST_F(way_of_failing, of_fgets_leaves_all_but_the_last_of_the_line)
{
    for (const unsigned way : {line_breaks_off, line_is_interrupted}) {
        room.fill('.');
        const owned_stream stream = stream_with("Serial AB\nnext\n");
        failing_in(way, [&] {
            EXPECT_EQ(REPLACED(fgets)(room.data(), 32, stream.get()), nullptr);
            EXPECT_EQ(errno, way == line_breaks_off ? EIO : EINTR);
        });
        EXPECT_EQ(stored(), "Serial A");
        EXPECT_NE(std::ferror(stream.get()), 0);
        EXPECT_STREQ(std::fgets(room.data(), 32, stream.get()), "B\n");
    }
}

TEST_F(way_of_failing, of_fgets_comes_again)
{
    const owned_stream stream = stream_with("Serial AB\nnext\n");
    failing_in(line_is_interrupted_and_breaks_off, [&] {
        EXPECT_EQ(REPLACED(fgets)(room.data(), 32, stream.get()), nullptr);
        EXPECT_EQ(errno, EINTR);
        EXPECT_EQ(REPLACED(fgets)(room.data(), 32, stream.get()), nullptr);
        EXPECT_EQ(errno, EIO);
        EXPECT_STREQ(REPLACED(fgets)(room.data(), 32, stream.get()), "B\n");
    });
}

TEST_F(way_of_failing, of_fgets_fits_a_small_room)
{
    const owned_stream stream = stream_with("Serial AB\n");
    failing_in(line_breaks_off,
               [&] { EXPECT_EQ(REPLACED(fgets)(room.data(), 4, stream.get()), nullptr); });
    EXPECT_EQ(stored(), "Se");
}

TEST_F(way_of_failing, of_fgets_stores_nothing_at_the_end)
{
    const owned_stream stream = stream_with("");
    failing_in(line_breaks_off,
               [&] { EXPECT_EQ(REPLACED(fgets)(room.data(), 32, stream.get()), nullptr); });
    EXPECT_EQ(stored(), "");
}

TEST_F(way_of_failing, of_fread_leaves_half_of_the_content)
{
    constexpr unsigned content_breaks_off = 2;
    const owned_stream stream = stream_with("12345678");
    failing_in(content_breaks_off,
               [&] { EXPECT_EQ(REPLACED(fread)(room.data(), 1, 32, stream.get()), 4U); });
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(stored(), "1234");
    EXPECT_NE(std::ferror(stream.get()), 0);
    EXPECT_EQ(std::fread(room.data(), 1, 32, stream.get()), 4U);
    EXPECT_EQ(stored(), "5678");
}

class way_of_getdelim : public way_of_failing {
protected:
    ~way_of_getdelim() override { std::free(line); }

    ssize_t in_way(unsigned way)
    {
        ssize_t result = 0;
        failing_in(way,
                   [&] { result = REPLACED(getdelim)(&line, &line_bytes, '\0', stream.get()); });
        return result;
    }

    owned_stream stream = stream_with("12345678");
    char *line = nullptr;
    std::size_t line_bytes = 0;
};

TEST_F(way_of_getdelim, has_made_the_room)
{
    constexpr unsigned room_is_made = 2;
    EXPECT_EQ(in_way(room_is_made), -1);
    EXPECT_EQ(errno, EIO);
    EXPECT_NE(line, nullptr);
    EXPECT_NE(line_bytes, 0U);
}

TEST_F(way_of_getdelim, has_read_half)
{
    constexpr unsigned text_breaks_off = 4;
    EXPECT_EQ(in_way(text_breaks_off), 4);
    EXPECT_STREQ(line, "1234");
    EXPECT_NE(std::ferror(stream.get()), 0);
}

class way_of_a_pipe : public way_of_failing {
protected:
    void SetUp() override
    {
        way_of_failing::SetUp();
        ASSERT_EQ(::pipe(ends.data()), 0);
    }
    void TearDown() override
    {
        ::close(ends[0]);
        ::close(ends[1]);
    }

    std::array<int, 2> ends = {-1, -1};
};

constexpr unsigned part_is_read = 2;
constexpr unsigned part_is_read_before_a_failure = 3;

TEST_F(way_of_a_pipe, reads_half_and_the_rest_next)
{
    ASSERT_EQ(::write(ends[1], "12345678", 8), 8);
    failing_in(part_is_read, [&] {
        EXPECT_EQ(REPLACED(read)(ends[0], room.data(), 32), 4);
        EXPECT_EQ(REPLACED(read)(ends[0], room.data() + 4, 28), 4);
    });
    EXPECT_EQ(stored(), "12345678");
}

TEST_F(way_of_a_pipe, reads_half_and_fails_next)
{
    ASSERT_EQ(::write(ends[1], "12345678", 8), 8);
    failing_in(part_is_read_before_a_failure, [&] {
        EXPECT_EQ(REPLACED(read)(ends[0], room.data(), 32), 4);
        EXPECT_EQ(REPLACED(read)(ends[0], room.data(), 32), -1);
        EXPECT_EQ(errno, EIO);
    });
}

TEST_F(way_of_a_pipe, writes_half)
{
    constexpr unsigned half_is_written = 2;
    failing_in(half_is_written, [&] { EXPECT_EQ(REPLACED(write)(ends[1], "12345678", 8), 4); });
    EXPECT_EQ(::read(ends[0], room.data(), 32), 4);
    EXPECT_EQ(stored(), "1234");
}

TEST_F(way_of_a_pipe, raises_the_signal_of_the_file_size_limit)
{
    constexpr unsigned limit_is_reached = 3;
    static volatile std::sig_atomic_t raised;
    raised = 0;
    const auto before = std::signal(SIGXFSZ, [](int signal) { raised = signal; });
    failing_in(limit_is_reached, [&] {
        EXPECT_EQ(REPLACED(write)(ends[1], "12345678", 8), -1);
        EXPECT_EQ(errno, EFBIG);
    });
    std::signal(SIGXFSZ, before);
    EXPECT_EQ(raised, SIGXFSZ);
}

TEST_F(way_of_failing, of_rsa_verify_is_no_verdict)
{
    constexpr unsigned error_of_its_own = 1;
    failing_in(error_of_its_own,
               [&] { EXPECT_EQ(REPLACED(RSA_verify)(0, nullptr, 0, nullptr, 0, nullptr), -1); });
}

} // namespace
