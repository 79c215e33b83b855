// SPDX-License-Identifier: LGPL-2.1-or-later
#include "observation.h"

#include "orvane.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Before the subject and the text of each event in the file.
struct event_header {
    event_kind kind;
    int error;
    std::size_t subject_size;
    std::size_t text_size;
};

int events_file = -1; // negative in a process that is not observed
bool is_trace_wanted = false;
off_t reported_of_stderr = 0;

class memory_file {
public:
    explicit memory_file(const char *name) : number_(::memfd_create(name, MFD_CLOEXEC))
    {
        if (number_ < 0)
            throw std::runtime_error(std::string("a file in memory: ") + std::strerror(errno));
    }
    memory_file(const memory_file &) = delete;
    memory_file &operator=(const memory_file &) = delete;
    ~memory_file() { ::close(number_); }

    [[nodiscard]] int get() const { return number_; }

private:
    int number_;
};

// What the child records. The tools that it runs do not have it.
class event_pipe {
public:
    event_pipe()
    {
        if (::pipe2(ends_.data(), O_CLOEXEC) != 0)
            throw std::runtime_error(std::string("a pipe: ") + std::strerror(errno));
    }
    event_pipe(const event_pipe &) = delete;
    event_pipe &operator=(const event_pipe &) = delete;
    ~event_pipe()
    {
        ::close(ends_[0]);
        if (ends_[1] >= 0)
            ::close(ends_[1]);
    }

    [[nodiscard]] int writer() const { return ends_[1]; }

    // Up to the end of the child, which alone writes from now on.
    [[nodiscard]] std::string read_all()
    {
        ::close(ends_[1]);
        ends_[1] = -1;
        std::string all;
        std::array<char, 65536> block = {};
        while (true) {
            const ssize_t count = ::read(ends_[0], block.data(), block.size());
            if (count == 0 || (count < 0 && errno != EINTR))
                return all;
            if (count > 0)
                all.append(block.data(), static_cast<std::size_t>(count));
        }
    }

private:
    std::array<int, 2> ends_ = {-1, -1};
};

std::string text_of(int file, off_t start)
{
    const off_t size = ::lseek(file, 0, SEEK_END);
    std::string text(size > start ? static_cast<std::size_t>(size - start) : 0, '\0');
    const ssize_t count = ::pread(file, text.data(), text.size(), start);
    text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return text;
}

std::vector<event> events_in(std::string_view bytes)
{
    std::vector<event> events;
    event_header header = {};
    while (bytes.size() >= sizeof header) {
        std::memcpy(&header, bytes.data(), sizeof header);
        bytes.remove_prefix(sizeof header);
        if (header.subject_size > bytes.size() ||
            header.text_size > bytes.size() - header.subject_size)
            break; // the process ended while it wrote
        events.push_back({header.kind, header.error,
                          std::string(bytes.substr(0, header.subject_size)),
                          std::string(bytes.substr(header.subject_size, header.text_size))});
        bytes.remove_prefix(header.subject_size + header.text_size);
    }
    return events;
}

constexpr char is_text[] = "text";
constexpr char is_number[] = "number";

void record_answer(const answer &value)
{
    if (const auto *const text = std::get_if<std::string>(&value))
        record(event_kind::answered, is_text, *text);
    else if (const auto *const number = std::get_if<unsigned int>(&value))
        record(event_kind::answered, is_number, std::to_string(*number));
    else
        record(event_kind::answered, "");
}

answer answer_in(const event &last)
{
    if (last.subject == is_text)
        return last.text;
    if (last.subject == is_number)
        return static_cast<unsigned int>(std::strtoul(last.text.c_str(), nullptr, 10));
    return {};
}

// The child has one thread, and copies of this process's owners: it leaves without destroying them.
// A signal that is ignored is ignored by the tools, too: a file size limit does not end them when
// they write to standard error, which is a file here.
[[noreturn]] void answer_as_child(answer (*query)(), bool to_trace_log, int events, int errors,
                                  pid_t parent)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent || ::dup2(errors, STDERR_FILENO) < 0)
        std::_Exit(1);
    std::signal(SIGABRT, SIG_DFL);
    std::signal(SIGXFSZ, SIG_IGN);
    events_file = events;
    is_trace_wanted = to_trace_log;
    record_answer(query());
    std::_Exit(0);
}

void wait_for(pid_t child)
{
    while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
}

} // namespace

observation observe(answer (*query)(), bool to_trace_log)
{
    const memory_file errors("errors");
    event_pipe events;
    std::fflush(nullptr); // or the child has it, too
    const pid_t parent = ::getpid();
    const pid_t child = ::fork();
    if (child < 0)
        throw std::runtime_error(std::string("a process: ") + std::strerror(errno));
    if (child == 0)
        answer_as_child(query, to_trace_log, events.writer(), errors.get(), parent);

    observation seen;
    seen.events = events_in(events.read_all());
    wait_for(child);
    seen.last_words = text_of(errors.get(), 0);
    seen.has_ended = seen.events.empty() || seen.events.back().kind != event_kind::answered;
    if (!seen.has_ended) {
        seen.value = answer_in(seen.events.back());
        seen.events.pop_back();
    }
    return seen;
}

std::string new_errors()
{
    std::string text = text_of(STDERR_FILENO, reported_of_stderr);
    reported_of_stderr += static_cast<off_t>(text.size());
    return text;
}

bool is_observed()
{
    return events_file >= 0;
}

bool is_trace_log_wanted()
{
    return is_trace_wanted;
}

void record(event_kind kind, std::string_view subject, std::string_view text, int error)
{
    if (!is_observed())
        return;
    const int kept = errno;
    const event_header header = {kind, error, subject.size(), text.size()};
    std::string bytes(sizeof header, '\0');
    std::memcpy(bytes.data(), &header, sizeof header);
    bytes.append(subject).append(text);
    for (std::string_view left = bytes; !left.empty();) {
        const ssize_t count = ::write(events_file, left.data(), left.size());
        if (count < 0 && errno != EINTR)
            break;
        left.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    errno = kept;
}
