// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Every exported function on a stack of the size that the header documents as enough. A function
// that needs more is ended by SIGSEGV.
#include "api_cases/api_case.h"
#include "fixture.h"
#include "orvane.h"

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <functional>
#include <iterator>
#include <string>
#include <system_error>

#include <gtest/gtest.h>

#include <blkid.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

namespace {

constexpr std::size_t documented = 16384;
constexpr std::size_t documented_for_thread = 32768;
constexpr std::size_t documented_for_any_json = 131072;

// A stack of just this size: the page below it cannot be accessed. Unlike a thread's, it holds
// neither the thread's descriptor nor its thread-local data.
class exact_stack {
public:
    explicit exact_stack(std::size_t size)
        : guard_(static_cast<std::size_t>(::sysconf(_SC_PAGESIZE))), size_(size),
          pages_(static_cast<char *>(::mmap(nullptr, guard_ + size_, PROT_READ | PROT_WRITE,
                                            MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)))
    {
        if (pages_ == MAP_FAILED || ::mprotect(pages_, guard_, PROT_NONE) != 0)
            throw std::system_error(errno, std::generic_category(), "exact_stack");
    }
    exact_stack(const exact_stack &) = delete;
    exact_stack &operator=(const exact_stack &) = delete;
    ~exact_stack() { ::munmap(pages_, guard_ + size_); }

    void run(const std::function<void()> &call)
    {
        static const std::function<void()> *running;
        running = &call;
        ucontext_t caller = {};
        ucontext_t callee = {};
        ::getcontext(&callee);
        callee.uc_stack.ss_sp = pages_ + guard_;
        callee.uc_stack.ss_size = size_;
        callee.uc_link = &caller;
        ::makecontext(
            &callee, [] { (*running)(); }, 0);
        ::swapcontext(&caller, &callee);
    }

private:
    std::size_t guard_;
    std::size_t size_;
    char *pages_;
};

std::string answer_on_stack(std::size_t size, const std::function<std::string()> &query)
{
    std::string answer;
    exact_stack(size).run([&] { answer = query(); });
    return answer;
}

// ---- API cases ----

api_case_list cases_that_return()
{
    api_case_list all;
    std::ranges::copy_if(api_cases(), std::back_inserter(all),
                         [](const api_case &one) { return one.ends_with.empty(); });
    return all;
}

class case_on_small_stack : public on_machine, public testing::WithParamInterface<api_case> {
protected:
    void furnish() override
    {
        // A log that a service manager or a shell has opened, and that the program has written to.
        ::close(STDERR_FILENO);
        ASSERT_EQ(::open("/dev/null", O_WRONLY), STDERR_FILENO);
        ASSERT_LT(std::fwide(stderr, -1), 0);
        if (GetParam().furnish != nullptr)
            GetParam().furnish(machine);
    }

    // The most that a trace line can need: a complaint on standard error, for whose words the C
    // library loads a converter of characters, and which perror() formats in a buffer on the stack
    // where the stream is in use or cannot be read.
    void make_trace_lines_complain()
    {
        machine.file("/var/log/orvane", "no directory");
        ::setenv("LOCPATH", BUILT_LOCALES, 1);
        ::setenv("LC_ALL", "de_DE.ISO-8859-1", 1);
        ASSERT_NE(std::setlocale(LC_ALL, ""), nullptr);
    }
};

TEST_P(case_on_small_stack, gives_its_answer)
{
    EXPECT_EQ(answer_on_stack(documented, GetParam().run), GetParam().answer);
    make_trace_lines_complain();
    answer_on_stack(documented, GetParam().run);
}

INSTANTIATE_TEST_SUITE_P(of, case_on_small_stack, testing::ValuesIn(cases_that_return()),
                         [](const testing::TestParamInfo<api_case> &one) {
                             return one.param.full_name();
                         });

// ---- The largest inputs ----

class small_stack : public on_machine {};

TEST_F(small_stack, holds_longest_command_line)
{
    machine.file("/srv/line", "root=LABEL=" + std::string(4084, '/') + "\n");
    const std::string device = answer_on_stack(
        documented, [] { return reported(command_line_get_root_device_name("/srv/line")); });
    EXPECT_EQ(device.size(), 4095);
}

TEST_F(small_stack, holds_longest_mount_entry)
{
    machine.file("/proc/mounts", std::string(4000, 'x') + " / ext4 rw 0 0\n");
    EXPECT_EQ(answer_on_stack(documented, [] { return reported(root_device()); }), "NULL");
}

TEST_F(small_stack, holds_longest_listing)
{
    std::string devices;
    while (devices.size() < 16000)
        devices += R"({"name": "/dev/sda", "children": [{"children": [{"children": [{}]}]}]},)";
    devices += R"({"name": "/dev/nvme7n1", "serial": "N1", "model": "M"})";
    machine.block_device("/dev/dm-0", 253, 0);
    machine.link("/dev/mapper/root", "../dm-0");
    machine.tool("/usr/sbin/dmsetup", "1 dependencies\t: (nvme7n1)\n");
    machine.tool("/usr/bin/lsblk", R"({"blockdevices": [)" + devices + "]}");
    EXPECT_EQ(answer_on_stack(documented, [] { return reported(harddisk_id("/dev/mapper/root")); }),
              "NULL");
}

// A thread's stack also holds the thread's descriptor and its thread-local data.
TEST_F(small_stack, is_that_of_thread_of_32_kib)
{
    machine.block_device("/dev/dm-0", 253, 0);
    machine.link("/dev/mapper/root", "../dm-0");
    machine.file("/var/log/orvane", "no directory");
    pthread_attr_t attributes;
    ASSERT_EQ(::pthread_attr_init(&attributes), 0);
    ASSERT_EQ(::pthread_attr_setstacksize(&attributes, documented_for_thread), 0);
    pthread_t thread;
    ASSERT_EQ(::pthread_create(
                  &thread, &attributes,
                  [](void *) -> void * { return ::harddisk_id("/dev/mapper/root"); }, nullptr),
              0);
    void *answer = nullptr;
    ASSERT_EQ(::pthread_join(thread, &answer), 0);
    EXPECT_EQ(answer, nullptr);
    ::pthread_attr_destroy(&attributes);
}

TEST_F(small_stack, holds_longest_path)
{
    const std::string path = std::string(4095, '/');
    using query = char *(*)(const char *);
    for (const query one : {harddisk_id, harddisk_id_smartctl, harddisk_id_lvm})
        EXPECT_EQ(answer_on_stack(documented, [&] { return reported(one(path.c_str())); }), "NULL");
}

// The parser calls itself for each level, and takes a thousand of them.
TEST(stack_of_128_kib, holds_json_of_any_depth)
{
    std::string objects;
    for (int level = 0; level < 999; ++level)
        objects += R"({"children":)";
    objects += "[]" + std::string(999, '}');
    for (const std::string &json : {objects, std::string(5000, '[')})
        EXPECT_EQ(answer_on_stack(documented_for_any_json,
                                  [&] { return reported(find_root_disk(json.c_str())); }),
                  "NULL");
}

// The machine's kernel answers in the place of libblkid, which needs more than anything else that a
// query calls. A query has taken less than 2 KiB by then.
TEST(small_stack_of_libblkid, holds_test_for_whole_disk)
{
    const int fd = static_cast<int>(::syscall(SYS_openat, AT_FDCWD, "/dev/loop0", O_RDONLY));
    if (fd < 0)
        GTEST_SKIP() << "there is no /dev/loop0";
    void *const real = ::dlsym(RTLD_NEXT, "blkid_probe_is_wholedisk");
    ASSERT_NE(real, nullptr);
    constexpr std::size_t taken = 2048;
    exact_stack(documented - taken).run([&] {
        blkid_probe const probe = ::blkid_new_probe();
        EXPECT_EQ(::blkid_probe_set_device(probe, fd, 0, 0), 0);
        EXPECT_EQ(reinterpret_cast<int (*)(blkid_probe)>(real)(probe), 1);
        ::blkid_free_probe(probe);
    });
    ::close(fd);
}

} // namespace
