// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fixture.h"
#include "interpose.h"
#include "orvane.h"

#include <array>
#include <cerrno>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace {

} // namespace

// The bits of a mode.

using file_bits = on_machine;

namespace {

struct mask_case : named_case {
    const char *path;
    int mask;
    int bits;
};

class masked_file : public on_machine, public testing::WithParamInterface<mask_case> {};

} // namespace

TEST_P(masked_file, has_those_bits_of_its_mode)
{
    machine.file("/sys/file", "text", 0640);
    machine.file("/sys/set", "", 07751);
    machine.file("/sys/none", "", 0);
    machine.directory("/sys/directory", 01700);
    machine.block_device("/sys/block");
    machine.link("/sys/to_file", "file");
    machine.link("/sys/to_directory", "directory");
    machine.link("/sys/to_nothing", "nothing");
    machine.link("/sys/to_itself", "to_itself");
    EXPECT_EQ(file_stat(GetParam().path, GetParam().mask), GetParam().bits);
}

INSTANTIATE_TEST_SUITE_P(
    where_it_stands, masked_file,
    testing::Values(mask_case{"type_of_a_file", "/sys/file", S_IFMT, S_IFREG},
                    mask_case{"all_permissions", "/sys/file", 07777, 0640},
                    mask_case{"one_bit", "/sys/file", S_IRGRP, 040},
                    mask_case{"some_of_the_asked", "/sys/file", 0444, 0440},
                    mask_case{"type_and_permissions", "/sys/file", S_IFREG | 0400, S_IFREG | 0400},
                    mask_case{"every_bit", "/sys/file", -1, S_IFREG | 0640},
                    mask_case{"special_bits", "/sys/set", 07000, 07000},
                    mask_case{"every_bit_with_special_ones", "/sys/set", -1, S_IFREG | 07751},
                    mask_case{"type_of_a_directory", "/sys/directory", S_IFDIR, S_IFDIR},
                    mask_case{"sticky_bit", "/sys/directory", S_ISVTX, 01000},
                    mask_case{"type_of_a_block_device", "/sys/block", S_IFMT, S_IFBLK},
                    mask_case{"type_of_a_character_device", "/dev/null", S_IFMT, S_IFCHR},
                    mask_case{"file_behind_a_link", "/sys/to_file", -1, S_IFREG | 0640},
                    mask_case{"directory_behind_a_link", "/sys/to_directory", S_IFMT, S_IFDIR},
                    mask_case{"directory_with_a_slash", "/sys/directory/", S_IFMT, S_IFDIR}));

INSTANTIATE_TEST_SUITE_P(without_the_asked_bits, masked_file,
                         testing::Values(mask_case{"none_asked", "/sys/file", 0, 0},
                                         mask_case{"owner_execute", "/sys/file", S_IXUSR, 0},
                                         mask_case{"other_users", "/sys/file", 0007, 0},
                                         mask_case{"another_type", "/sys/file", S_IFDIR, 0},
                                         mask_case{"link_behind_a_link", "/sys/to_file",
                                                   S_IFLNK & ~S_IFREG, 0},
                                         mask_case{"no_permission_at_all", "/sys/none", 07777, 0}));

INSTANTIATE_TEST_SUITE_P(that_cannot_be_examined, masked_file,
                         testing::Values(mask_case{"missing", "/sys/missing", -1, 0},
                                         mask_case{"missing_directory", "/sys/missing/file", -1, 0},
                                         mask_case{"below_a_file", "/sys/file/x", -1, 0},
                                         mask_case{"file_with_a_slash", "/sys/file/", -1, 0},
                                         mask_case{"link_to_nothing", "/sys/to_nothing", -1, 0},
                                         mask_case{"link_to_itself", "/sys/to_itself", -1, 0},
                                         mask_case{"empty_path", "", -1, 0},
                                         mask_case{"no_path", nullptr, -1, 0}));

TEST_F(file_bits, are_told_of_a_file_that_nobody_may_read)
{
    machine.file("/sys/none", "", 0);
    EXPECT_EQ(file_stat("/sys/none", S_IFMT), S_IFREG);
}

TEST_F(file_bits, are_told_of_a_file_above_four_gibibytes)
{
    machine.file("/sys/large", "", 0604);
    std::filesystem::resize_file("/sys/large", 5000000000);
    EXPECT_EQ(file_stat("/sys/large", -1), S_IFREG | 0604);
}

TEST_F(file_bits, are_found_from_the_working_directory)
{
    machine.file("/sys/class/file", "", 0604);
    std::filesystem::current_path("/sys/class");
    EXPECT_EQ(file_stat("file", 0777), 0604);
    std::filesystem::current_path("/");
}

TEST_F(file_bits, follow_the_file_from_call_to_call)
{
    machine.file("/sys/file", "", 0604);
    EXPECT_EQ(file_stat("/sys/file", 0777), 0604);
    machine.file("/sys/file", "", 0640);
    EXPECT_EQ(file_stat("/sys/file", 0777), 0640);
}

TEST_F(file_bits, are_none_where_a_failed_call_left_some)
{
    interpose::stat = [](const char *, struct stat *status) {
        status->st_mode = S_IFREG | 0777;
        errno = EACCES;
        return -1;
    };
    EXPECT_EQ(file_stat("/dev/null", -1), 0);
}

TEST_F(file_bits, are_asked_for_once)
{
    texts asked;
    interpose::stat = [&asked](const char *path, struct stat *status) {
        asked.emplace_back(path);
        status->st_mode = S_IFREG | 0754;
        return 0;
    };
    EXPECT_EQ(file_stat("/sys/file", 0777), 0754);
    EXPECT_EQ(asked, texts{"/sys/file"});
}

// Standard descriptors.

namespace {

// Lets each of the three stand on a file of its own, for its lifetime.
class own_standard_files {
public:
    explicit own_standard_files(const constructed_machine &machine)
    {
        for (int fd = 0; fd < 3; ++fd) {
            const std::string path = machine.scratch("standard" + std::to_string(fd));
            const int file = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
            kept_.push_back(::fcntl(fd, F_DUPFD_CLOEXEC, 100));
            ::dup2(file, fd);
            ::close(file);
        }
    }
    own_standard_files(const own_standard_files &) = delete;
    own_standard_files &operator=(const own_standard_files &) = delete;
    ~own_standard_files()
    {
        for (int fd = 0; const int kept : kept_) {
            ::dup2(kept, fd++);
            ::close(kept);
        }
    }

private:
    std::vector<int> kept_;
};

class standard_descriptors : public on_machine {
protected:
    // What stands behind each of the three: the file that stood there before ("own"), another file,
    // or nothing.
    using state = std::array<std::string, 3>;

    // The state that redirect_stdio() leaves where these descriptors are closed.
    state after_redirect(const std::vector<int> &closed_before)
    {
        const own_standard_files files(machine);
        const closed_descriptors closed(closed_before);
        const int free_before = lowest_free_spare();
        redirect_stdio();
        spare_is_closed_ = lowest_free_spare() == free_before;
        return {target(0), target(1), target(2)};
    }

    // What redirect_stdio() calls where these descriptors are closed, but for the last close(),
    // which may be a jump.
    static texts calls_of_redirect(const std::vector<int> &closed_before)
    {
        texts calls;
        interpose::open = [&calls](const char *path, int flags, mode_t mode) {
            const int opened = interpose::open.real(path, flags, mode);
            calls.push_back("open " + std::string(path) + " " + std::to_string(flags) + " is " +
                            name_of(opened));
            return opened;
        };
        interpose::fstat = [&calls](int fd, struct stat *status) {
            calls.push_back("fstat " + name_of(fd));
            return interpose::fstat.real(fd, status);
        };
        interpose::dup2 = [&calls](int from, int to) {
            calls.push_back("dup2 " + name_of(from) + " " + name_of(to));
            return interpose::dup2.real(from, to);
        };
        const closed_descriptors closed(closed_before);
        redirect_stdio();
        return calls;
    }

    static std::string null_opened(const std::string &as)
    {
        return "open /dev/null " + std::to_string(O_RDWR) + " is " + as;
    }

    [[nodiscard]] bool spare_is_closed() const { return spare_is_closed_; }

private:
    static std::string name_of(int fd) { return fd > 2 ? "spare" : std::to_string(fd); }

    [[nodiscard]] std::string target(int fd) const
    {
        std::error_code missing;
        const std::string path = std::filesystem::read_symlink(
            machine.own_proc() + "/fd/" + std::to_string(fd), missing);
        return path == machine.scratch("standard" + std::to_string(fd)) ? "own" : path;
    }

    static int lowest_free_spare()
    {
        int fd = 3;
        while (is_open(fd))
            ++fd;
        return fd;
    }

    bool spare_is_closed_ = false;
};

struct closing {
    std::vector<int> closed;
    std::array<std::string, 3> after;
    friend std::ostream &operator<<(std::ostream &stream, const closing &one)
    {
        stream << "closed";
        for (const int fd : one.closed)
            stream << "_" << fd;
        return stream;
    }
};

class closed_standard_descriptors : public standard_descriptors,
                                    public testing::WithParamInterface<closing> {};

} // namespace

TEST_P(closed_standard_descriptors, are_opened_on_the_null_device_and_the_others_stay)
{
    EXPECT_EQ(after_redirect(GetParam().closed), GetParam().after);
    EXPECT_TRUE(spare_is_closed());
}

INSTANTIATE_TEST_SUITE_P(
    every_combination, closed_standard_descriptors,
    testing::Values(closing{{}, {"own", "own", "own"}}, closing{{0}, {"/dev/null", "own", "own"}},
                    closing{{1}, {"own", "/dev/null", "own"}},
                    closing{{2}, {"own", "own", "/dev/null"}},
                    closing{{0, 1}, {"/dev/null", "/dev/null", "own"}},
                    closing{{0, 2}, {"/dev/null", "own", "/dev/null"}},
                    closing{{1, 2}, {"own", "/dev/null", "/dev/null"}},
                    closing{{0, 1, 2}, {"/dev/null", "/dev/null", "/dev/null"}}));

TEST_F(standard_descriptors, are_all_open_for_both_ways_and_for_programs)
{
    std::vector<int> flags;
    {
        const closed_descriptors closed({0, 1, 2});
        redirect_stdio();
        for (int fd = 0; fd < 3; ++fd) {
            flags.push_back(::fcntl(fd, F_GETFL) & O_ACCMODE);
            flags.push_back(::fcntl(fd, F_GETFD));
        }
    }
    EXPECT_EQ(flags, (std::vector<int>{O_RDWR, 0, O_RDWR, 0, O_RDWR, 0}));
}

TEST_F(standard_descriptors, cost_a_spare_one_where_all_are_open)
{
    EXPECT_EQ(calls_of_redirect({}),
              (texts{null_opened("spare"), "fstat spare", "fstat 0", "fstat 1", "fstat 2"}));
}

TEST_F(standard_descriptors, keep_the_one_that_filled_the_only_slot)
{
    EXPECT_EQ(calls_of_redirect({1}),
              (texts{null_opened("1"), "fstat 1", "fstat 0", "fstat 1", "fstat 2"}));
}

TEST_F(standard_descriptors, copy_the_one_that_filled_the_first_slot)
{
    EXPECT_EQ(calls_of_redirect({0, 2}),
              (texts{null_opened("0"), "fstat 0", "fstat 0", "fstat 1", "fstat 2", "dup2 0 2"}));
}

TEST_F(standard_descriptors, are_filled_in_their_order)
{
    EXPECT_EQ(calls_of_redirect({0, 1, 2}), (texts{null_opened("0"), "fstat 0", "fstat 0",
                                                   "fstat 1", "dup2 0 1", "fstat 2", "dup2 0 2"}));
}

TEST_F(standard_descriptors, take_a_copy_where_the_null_device_came_higher)
{
    interpose::open = [](const char *path, int flags, mode_t) {
        const int low = ::open(path, flags | O_CLOEXEC);
        const int high = ::fcntl(low, F_DUPFD_CLOEXEC, 100);
        ::close(low);
        return high;
    };
    EXPECT_EQ(after_redirect({0, 2})[0], "/dev/null");
    EXPECT_FALSE(is_open(100));
}

TEST_F(standard_descriptors, stay_closed_without_a_null_device)
{
    machine.remove("/dev/null");
    EXPECT_EQ(after_redirect({1, 2}), (state{"own", "", ""}));
}

TEST_F(standard_descriptors, stay_closed_where_a_file_stands_for_the_null_device)
{
    machine.file("/dev/null", "");
    EXPECT_EQ(after_redirect({1, 2}), (state{"own", "", ""}));
}

TEST_F(standard_descriptors, stay_closed_where_a_directory_stands_for_the_null_device)
{
    machine.directory("/dev/null");
    EXPECT_EQ(after_redirect({1, 2}), (state{"own", "", ""}));
}

TEST_F(standard_descriptors, take_any_character_device_of_that_name)
{
    machine.character_device("/dev/null", 1, 5);
    EXPECT_EQ(after_redirect({1, 2}), (state{"own", "/dev/null", "/dev/null"}));
}

TEST_F(standard_descriptors, are_given_up_when_the_null_device_cannot_be_opened)
{
    machine.remove("/dev/null");
    EXPECT_EQ(calls_of_redirect({1}), texts{null_opened("-1")});
}

TEST_F(standard_descriptors, are_given_up_when_the_device_is_none)
{
    machine.file("/dev/null", "");
    EXPECT_EQ(calls_of_redirect({1}), (texts{null_opened("1"), "fstat 1"}));
}

TEST_F(standard_descriptors, are_given_up_when_the_device_cannot_be_examined)
{
    texts calls;
    interpose::fstat = [&calls](int, struct stat *status) {
        calls.emplace_back("fstat");
        status->st_mode = S_IFCHR;
        errno = EIO;
        return -1;
    };
    interpose::dup2 = [&calls](int, int) {
        calls.emplace_back("dup2");
        return 0;
    };
    EXPECT_EQ(after_redirect({1, 2}), (state{"own", "", ""}));
    EXPECT_EQ(calls, texts{"fstat"});
}

TEST_F(standard_descriptors, are_redirected_in_silence)
{
    machine.remove("/dev/null");
    testing::internal::CaptureStdout();
    EXPECT_EQ(standard_error_of(redirect_stdio), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}
