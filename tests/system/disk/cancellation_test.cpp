// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What becomes of a query whose thread is cancelled while a tool runs.
#include "disk_machine.h"

#include <fstream>
#include <string>

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// A disk whose smartctl reports that it runs, and answers when it is let go.
class cancelled_thread : public disk_machine {
protected:
    void furnish() override
    {
        runs = machine.scratch("runs");
        may_end = machine.scratch("may_end");
        ASSERT_EQ(::mkfifo(runs.c_str(), 0600), 0);
        ASSERT_EQ(::mkfifo(may_end.c_str(), 0600), 0);
        machine.block_device("/dev/sda2");
        machine.script(smartctl, "echo >" + runs + "\nread line <" + may_end +
                                     "\necho 'Device Model: A'\necho 'Serial Number: 1'");
    }

    static void *query(void *answer)
    {
        char *const text = harddisk_id_smartctl("/dev/sda2");
        *static_cast<std::string *>(answer) = owned_text(text).value();
        return nullptr;
    }
    static void *query_as_a_whole(void *answer)
    {
        int before = 0;
        ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);
        query(answer);
        ::pthread_setcancelstate(before, nullptr);
        ::pthread_testcancel();
        return nullptr;
    }

    // Cancels the thread while the tool runs. Whether that ended it.
    bool is_cancelled(void *(*routine)(void *), std::string &answer) const
    {
        pthread_t thread;
        EXPECT_EQ(::pthread_create(&thread, nullptr, routine, &answer), 0);
        std::string line;
        std::getline(std::ifstream(runs), line);
        ::pthread_cancel(thread);
        std::ofstream(may_end) << '\n';
        void *result = nullptr;
        ::pthread_join(thread, &result);
        return result == PTHREAD_CANCELED;
    }

    std::string runs;
    std::string may_end;
};

// How many descriptors this process has.
long descriptors()
{
    long count = 0;
    for (int fd = 0; fd < 1024; ++fd)
        count += ::fcntl(fd, F_GETFD) != -1 ? 1 : 0;
    return count;
}

} // namespace

// In a process of its own, which ends with what was left.
TEST_F(cancelled_thread, leaves_what_the_call_held)
{
    const pid_t child = ::fork();
    if (child == 0) {
        const long before = descriptors();
        std::string answer;
        const bool cancelled = is_cancelled(query, answer);
        const bool left = descriptors() == before + 1 && ::wait(nullptr) > 0;
        ::_exit(cancelled && left ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST_F(cancelled_thread, ends_behind_the_answer_where_the_caller_disables_cancellation)
{
    std::string answer;
    EXPECT_TRUE(is_cancelled(query_as_a_whole, answer));
    EXPECT_EQ(answer, "A_1");
}
