// SPDX-License-Identifier: LGPL-2.1-or-later
//
// How the digest checks go about it: which calls they make, in which order.
#include "digest_machine.h"
#include "recorded_calls.h"

#include <algorithm>
#include <cerrno>
#include <functional>
#include <string>
#include <utility>

#include <fcntl.h>

namespace {

using reader = std::function<ssize_t(int fd, void *room, size_t size)>;

// Writes down the calls of the kernel and of libcrypto that are made for a digest.
class digest_calls : public recorded_calls {
public:
    digest_calls()
    {
        interpose::open = [this](const char *path, int flags, mode_t mode) {
            note("open", path, (flags & O_ACCMODE) == O_RDONLY ? "for reading" : "to write");
            file_ = interpose::open.real(path, flags, mode);
            return file_;
        };
        interpose::read = [this](int fd, void *room, size_t size) {
            note("read", whose(fd));
            return read_(fd, room, size);
        };
        interpose::close = [this](int fd) {
            note("close", whose(fd));
            return interpose::close.real(fd);
        };
        record("SHA256", interpose::SHA256_Init, interpose::SHA256_Update, interpose::SHA256_Final);
        record("SHA1", interpose::SHA1_Init, interpose::SHA1_Update, interpose::SHA1_Final);
        record("MD5", interpose::MD5_Init, interpose::MD5_Update, interpose::MD5_Final);
    }

    void read_by(reader by) { read_ = std::move(by); }

    // Lets the next such step of libcrypto's say that it failed.
    void fail_once(std::string step) { failing_ = std::move(step); }

private:
    template <class Context>
    void record(const std::string &name, interpose::hook<int(Context *)> &init,
                interpose::hook<int(Context *, const void *, size_t)> &update,
                interpose::hook<int(unsigned char *, Context *)> &final)
    {
        init = [this, name, &init](Context *context) {
            note(name, "init");
            return result_of("init", init.real(context));
        };
        update = [this, name, &update](Context *context, const void *data, size_t size) {
            note(name, "update", std::string(static_cast<const char *>(data), size));
            return result_of("update", update.real(context, data, size));
        };
        final = [this, name, &final](unsigned char *digest, Context *context) {
            note(name, "final");
            return result_of("final", final.real(digest, context));
        };
    }

    [[nodiscard]] const char *whose(int fd) const { return fd == file_ ? "file" : "other"; }
    int result_of(const std::string &step, int result)
    {
        if (step != failing_)
            return result;
        failing_.clear();
        return 0;
    }

    reader read_ = [](int fd, void *room, size_t size) {
        return interpose::read.real(fd, room, size);
    };
    int file_ = -1;
    std::string failing_;
};

class digest_in_steps : public digested_file {
protected:
    void furnish() override
    {
        digested_file::furnish();
        crypto_ = GetParam().calls;
    }

    [[nodiscard]] std::string opening() const { return "open " + path + " for reading"; }
    [[nodiscard]] std::string init() const { return crypto_ + " init"; }
    [[nodiscard]] std::string update(const std::string &data) const
    {
        return crypto_ + " update " + data;
    }
    [[nodiscard]] std::string final() const { return crypto_ + " final"; }

    // Lets reads give these counts of bytes, one after the other: an error where one is below 0.
    void read_in(std::vector<int> counts, int error = EIO)
    {
        calls.read_by([counts = std::move(counts), error](int fd, void *room,
                                                          size_t size) mutable -> ssize_t {
            if (counts.empty())
                return interpose::read.real(fd, room, size);
            const int count = counts.front();
            counts.erase(counts.begin());
            errno = error;
            return count < 0 ? -1 : interpose::read.real(fd, room, static_cast<size_t>(count));
        });
    }

    digest_calls calls;

private:
    std::string crypto_;
};

} // namespace

TEST_P(digest_in_steps, opens_the_file_and_reads_to_its_end_before_closing_it)
{
    EXPECT_EQ(check(of_abc()), 1);
    EXPECT_EQ(calls.made(), (texts{opening(), init(), "read file", update("abc"), "read file",
                                   final(), "close file"}));
}

TEST_P(digest_in_steps, takes_the_same_steps_for_another_digest)
{
    EXPECT_EQ(check(of_nothing()), 0);
    EXPECT_EQ(calls.made(), (texts{opening(), init(), "read file", update("abc"), "read file",
                                   final(), "close file"}));
}

TEST_P(digest_in_steps, has_nothing_to_update_with_for_an_empty_file)
{
    machine.file(path, "");
    EXPECT_EQ(check(of_nothing()), 1);
    EXPECT_EQ(calls.made(), (texts{opening(), init(), "read file", final(), "close file"}));
}

TEST_P(digest_in_steps, takes_the_file_in_whatever_pieces_it_comes)
{
    read_in({1, 2});
    EXPECT_EQ(check(of_abc()), 1);
    EXPECT_EQ(calls.made(), (texts{opening(), init(), "read file", update("a"), "read file",
                                   update("bc"), "read file", final(), "close file"}));
}

TEST_P(digest_in_steps, stops_at_the_first_end_of_the_file)
{
    read_in({1, 0});
    EXPECT_EQ(check(of_abc()), 0);
    EXPECT_EQ(calls.made(), (texts{opening(), init(), "read file", update("a"), "read file",
                                   final(), "close file"}));
}

TEST_P(digest_in_steps, finishes_and_closes_when_the_first_read_fails)
{
    read_in({-1});
    EXPECT_EQ(check(of_nothing()), 0);
    EXPECT_EQ(calls.made(), (texts{opening(), init(), "read file", final(), "close file"}));
}

TEST_P(digest_in_steps, finishes_and_closes_when_a_read_fails_in_the_middle)
{
    read_in({3, -1});
    EXPECT_EQ(check(of_abc()), 0);
    EXPECT_EQ(calls.made(), (texts{opening(), init(), "read file", update("abc"), "read file",
                                   final(), "close file"}));
}

TEST_P(digest_in_steps, finishes_and_closes_when_a_step_of_libcrypto_fails)
{
    texts expected;
    for (const char *const step : {"init", "update", "final"}) {
        calls.fail_once(step);
        EXPECT_EQ(check(of_abc()), 0) << step;
        const texts steps = {opening(),   init(),  "read file", update("abc"),
                             "read file", final(), "close file"};
        expected.insert(expected.end(), steps.begin(), steps.end());
    }
    EXPECT_EQ(calls.made(), expected);
}

TEST_P(digest_in_steps, is_none_when_one_of_several_updates_fails)
{
    calls.fail_once("update");
    read_in({1, 1, 1});
    EXPECT_EQ(check(of_abc()), 0);
}

TEST_P(digest_in_steps, takes_a_read_that_a_signal_breaks_off_for_failed)
{
    read_in({1, -1}, EINTR);
    EXPECT_EQ(check(of_abc()), 0);
    EXPECT_EQ(calls.made(), (texts{opening(), init(), "read file", update("a"), "read file",
                                   final(), "close file"}));
}

TEST_P(digest_in_steps, reads_nothing_of_a_file_that_does_not_open)
{
    machine.remove(path);
    EXPECT_EQ(check(of_nothing()), 0);
    EXPECT_EQ(calls.made(), texts{opening()});
}

TEST_P(digest_in_steps, opens_no_file_without_an_expected_digest)
{
    EXPECT_EQ(GetParam().check(path.c_str(), nullptr), 0);
    EXPECT_EQ(calls.made(), texts{});
}

TEST_P(digest_in_steps, opens_no_file_without_a_path)
{
    EXPECT_EQ(GetParam().check(nullptr, GetParam().of_nothing), 0);
    EXPECT_EQ(calls.made(), texts{});
}

INSTANTIATE_TEST_SUITE_P(by, digest_in_steps, testing::ValuesIn(digest_checks));
