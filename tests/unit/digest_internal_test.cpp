// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fixture.h"
#include "guarded_room.h"
#include "integrity/digest.h"

#include <algorithm>
#include <cstring>
#include <string>

#include <sys/inotify.h>
#include <unistd.h>

// The hexadecimal digits of a digest.

namespace {

struct hex_variant : named_case {
    orvane::hex_routine hex_of_file;
    std::string of_abc;
};

const hex_variant hex_variants[] = {
    {"sha256", orvane::file_sha256_hex,
     "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
    {"sha1", orvane::file_sha1_hex, "a9993e364706816aba3e25717850c26c9cd0d89d"},
    {"md5", orvane::file_md5_hex, "900150983cd24fb0d6963f7d28e17f72"},
};

class digest_digits : public on_machine, public testing::WithParamInterface<hex_variant> {
protected:
    void furnish() override
    {
        path = machine.scratch("file");
        machine.file(path, "abc");
    }

    int write_to(guarded_room &room, std::size_t size) const
    {
        return GetParam().hex_of_file(path.c_str(), room.data(), size);
    }

    [[nodiscard]] static std::string of_abc() { return GetParam().of_abc; }
    [[nodiscard]] static std::size_t least() { return of_abc().size(); }

    std::string path;
};

// Tells whether anybody opens a file.
class opening_watch {
public:
    explicit opening_watch(const std::string &path)
        : events_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    {
        EXPECT_GE(::inotify_add_watch(events_, path.c_str(), IN_OPEN), 0);
    }
    opening_watch(const opening_watch &) = delete;
    opening_watch &operator=(const opening_watch &) = delete;
    ~opening_watch() { ::close(events_); }

    [[nodiscard]] bool saw_it_opened() const
    {
        inotify_event event = {};
        return ::read(events_, &event, sizeof event) > 0;
    }

private:
    int events_;
};

} // namespace

TEST_P(digest_digits, fill_room_for_just_as_many_without_a_terminator)
{
    guarded_room room(least());
    EXPECT_EQ(write_to(room, least()), 0);
    EXPECT_TRUE(room.holds(of_abc()));
}

TEST_P(digest_digits, leave_the_rest_of_a_larger_room_as_it_is)
{
    guarded_room room(1024);
    EXPECT_EQ(write_to(room, 1024), 0);
    EXPECT_TRUE(room.holds(of_abc()));
}

TEST_P(digest_digits, are_not_written_where_the_room_is_one_byte_short)
{
    guarded_room room(least());
    EXPECT_EQ(write_to(room, least() - 1), -1);
    EXPECT_TRUE(room.holds(""));
}

TEST_P(digest_digits, are_not_written_where_there_is_no_room)
{
    guarded_room room(least());
    EXPECT_EQ(write_to(room, 0), -1);
    EXPECT_TRUE(room.holds(""));
    EXPECT_EQ(GetParam().hex_of_file(path.c_str(), nullptr, 1024), -1);
}

TEST_P(digest_digits, are_looked_for_in_no_file_without_room_for_them)
{
    const opening_watch watch(path);
    guarded_room room(least());
    EXPECT_EQ(write_to(room, least() - 1), -1);
    EXPECT_EQ(GetParam().hex_of_file(path.c_str(), nullptr, 1024), -1);
    EXPECT_FALSE(watch.saw_it_opened());
    EXPECT_EQ(write_to(room, least()), 0);
    EXPECT_TRUE(watch.saw_it_opened());
}

TEST_P(digest_digits, are_not_written_of_a_file_that_does_not_open)
{
    machine.remove(path);
    guarded_room room(1024);
    EXPECT_EQ(write_to(room, 1024), -1);
    EXPECT_EQ(GetParam().hex_of_file(nullptr, room.data(), 1024), -1);
    EXPECT_TRUE(room.holds(""));
}

TEST_P(digest_digits, are_not_written_of_a_file_that_cannot_be_read)
{
    machine.directory(path);
    guarded_room room(1024);
    EXPECT_EQ(write_to(room, 1024), -1);
    EXPECT_TRUE(room.holds(""));
}

INSTANTIATE_TEST_SUITE_P(by, digest_digits, testing::ValuesIn(hex_variants));

// The comparison.

namespace {

struct asking {
    const char *path;
    std::size_t size;
    bool zeroed;
};
asking last_asking;

// What is told of any file.
template <int Result> int tell(const char *path, char *hex, std::size_t size) noexcept
{
    last_asking = {path, size, std::all_of(hex, hex + size, [](char c) { return c == '\0'; })};
    std::memcpy(hex, "12ab34cd", 8);
    return Result;
}

int tell_nothing(const char *, char *, std::size_t) noexcept
{
    return 0;
}

int compared(const char *expected, std::size_t digest_bytes)
{
    return orvane::file_check_digest("/any", expected, tell<0>, digest_bytes);
}

} // namespace

TEST(digest_comparison, asks_for_the_digits_in_1024_zero_bytes)
{
    EXPECT_EQ(compared("12ab34cd", 4), 1);
    EXPECT_STREQ(last_asking.path, "/any");
    EXPECT_EQ(last_asking.size, 1024U);
    EXPECT_TRUE(last_asking.zeroed);
}

TEST(digest_comparison, passes_on_a_path_that_is_none)
{
    EXPECT_EQ(orvane::file_check_digest(nullptr, "12ab34cd", tell<0>, 4), 1);
    EXPECT_EQ(last_asking.path, nullptr);
}

TEST(digest_comparison, looks_at_two_digits_for_each_byte)
{
    EXPECT_EQ(compared("12ab", 2), 1);
    EXPECT_EQ(compared("12abxx", 2), 1);
    EXPECT_EQ(compared("12ax34cd", 2), 0);
    EXPECT_EQ(compared("12a", 2), 0);
    EXPECT_EQ(compared("12ab34cx", 4), 0);
}

TEST(digest_comparison, tells_capitals_from_other_letters)
{
    EXPECT_EQ(compared("12AB34CD", 4), 0);
}

TEST(digest_comparison, ends_where_both_texts_end)
{
    EXPECT_EQ(compared("12ab34cd", 32), 1);
    EXPECT_EQ(compared("12ab34cd0", 32), 0);
    EXPECT_EQ(orvane::file_check_digest("/any", "", tell_nothing, 32), 1);
}

TEST(digest_comparison, finds_no_match_without_digits)
{
    EXPECT_EQ(orvane::file_check_digest("/any", "12ab34cd", tell<-1>, 4), 0);
    EXPECT_EQ(orvane::file_check_digest("/any", "12ab34cd", tell<1>, 4), 0);
}
