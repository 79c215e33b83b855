// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "fixture.h"
#include "interpose.h"
#include "orvane.h"

#include <cerrno>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <string_view>

// A machine whose root file system is on the mapped device /dev/mapper/root, which is /dev/dm-0.
// It has neither dmsetup nor lsblk, no device answers the ATA request, and none can be probed.
class mapping_machine : public on_machine {
protected:
    static constexpr char dmsetup[] = "/usr/sbin/dmsetup";
    static constexpr char lsblk[] = "/usr/bin/lsblk";

    void furnish() override
    {
        machine.block_device("/dev/dm-0");
        machine.link("/dev/mapper/root", "../dm-0");
        machine.remove(lsblk);
        interpose::open = [](const char *path, int flags, mode_t mode) {
            const bool is_device = std::string_view(path).starts_with("/dev/");
            return interpose::open.real(is_device ? "/dev/null" : path, flags, mode);
        };
        interpose::ioctl = [](int, unsigned long, void *) {
            errno = ENOTTY;
            return -1;
        };
        cannot_probe();
    }

    static owned_text asked(const char *name = "/dev/mapper/root")
    {
        return owned_text(harddisk_id(name));
    }

    void depends_on(const std::string &device)
    {
        machine.tool(dmsetup, "1 dependencies\t: (" + device + ")\n");
    }

    // What libblkid says. It is noted among the calls how it is asked.
    void cannot_probe()
    {
        interpose::blkid_new_probe_from_filename = [this](const char *path) {
            note("probe " + std::string(path));
            return blkid_probe{nullptr};
        };
        interpose::blkid_probe_is_wholedisk = [this](blkid_probe) {
            note("no probe is whole?");
            return 1;
        };
        interpose::blkid_free_probe = [this](blkid_probe) { note("free no probe"); };
    }
    void probes_tell(int whole)
    {
        interpose::blkid_new_probe_from_filename = [this](const char *path) {
            note("probe " + std::string(path));
            return the_probe();
        };
        interpose::blkid_probe_is_wholedisk = [this, whole](blkid_probe probe) {
            note(probe == the_probe() ? "is whole?" : "another is whole?");
            return whole;
        };
        interpose::blkid_free_probe = [this](blkid_probe probe) {
            note(probe == the_probe() ? "free probe" : "free another");
        };
    }

    // The lines of a request that the mapped device itself leaves unanswered.
    static texts request_lines()
    {
        return {"device :/dev/dm-0", "ioctl(fd, HDIO_GET_IDENTITY, &id), return"};
    }
    // The lines of a dependency that is no device, in the trace as in a path.
    static texts missing_lines(const std::string &dependency)
    {
        return {"physicalDiskNode: /dev/" + dependency, "!stat(dev_name, &sb) return",
                "'/dev/" + dependency + "' is not a block device, '" + dependency + "'"};
    }
    static texts joined(texts first, const texts &second)
    {
        first.insert(first.end(), second.begin(), second.end());
        return first;
    }

    // Notes the calls by which tools are run and files examined. Those of a child process are
    // noted apart, because its memory is.
    void record_calls()
    {
        interpose::access = [this](const char *path, int mode) {
            if (std::string_view(path).starts_with("/usr/"))
                note("access " + std::string(path) + " " + std::to_string(mode));
            return interpose::access.real(path, mode);
        };
        interpose::stat = [this](const char *path, struct stat *status) {
            note("stat " + std::string(path));
            return interpose::stat.real(path, status);
        };
        record_pipe_calls();
        interpose::fork = [this] {
            note("fork");
            const pid_t child = interpose::fork.real();
            in_child_ = child == 0;
            return child;
        };
        interpose::execve = [this](const char *path, char *const *arguments,
                                   char *const *environment) {
            note("execve " + std::string(path) + listed(arguments) + listed(environment));
            return interpose::execve.real(path, arguments, environment);
        };
        interpose::wait = [this](int *status) {
            note("wait");
            const pid_t child = interpose::wait.real(&tool_status);
            if (status != nullptr)
                *status = tool_status;
            return child;
        };
        record_lister_calls();
    }

    [[nodiscard]] texts child_calls() const
    {
        texts lines;
        std::ifstream file(machine.scratch("child"));
        for (std::string line; std::getline(file, line);)
            lines.push_back(line);
        return lines;
    }

    texts calls;
    int tool_status = -1; // as the recorded wait() had it

private:
    static blkid_probe the_probe()
    {
        static char place;
        return reinterpret_cast<blkid_probe>(&place);
    }

    static std::string listed(char *const *words)
    {
        std::ostringstream list;
        list << " {";
        for (const char *gap = ""; *words != nullptr; ++words, gap = " ")
            list << gap << *words;
        list << "}";
        return list.str();
    }

    void note(const std::string &call)
    {
        if (in_child_)
            std::ofstream(machine.scratch("child"), std::ios::app) << call << '\n';
        else
            calls.push_back(call);
    }

    void record_pipe_calls()
    {
        interpose::pipe = [this](int *ends) {
            note("pipe");
            const int result = interpose::pipe.real(ends);
            ends_ = {{ends[0], "read end"}, {ends[1], "write end"}};
            return result;
        };
        interpose::close = [this](int fd) {
            if (const auto end = ends_.find(fd); end != ends_.end()) {
                note("close " + end->second);
                ends_.erase(end);
            }
            return interpose::close.real(fd);
        };
        interpose::dup2 = [this](int from, int to) {
            note("dup2 " + ends_[from] + " to " + std::to_string(to));
            return interpose::dup2.real(from, to);
        };
        interpose::read = [this](int fd, void *room, size_t size) {
            note("read " + std::to_string(size) + " from " + ends_[fd]);
            return interpose::read.real(fd, room, size);
        };
    }

    void record_lister_calls()
    {
        interpose::popen = [this](const char *command, const char *mode) {
            note("popen " + std::string(command) + " " + mode);
            return interpose::popen.real(command, mode);
        };
        interpose::fread = [this](void *room, size_t size, size_t count, std::FILE *stream) {
            note("fread " + std::to_string(size * count));
            return interpose::fread.real(room, size, count, stream);
        };
        interpose::pclose = [this](std::FILE *stream) {
            note("pclose");
            return interpose::pclose.real(stream);
        };
        interpose::cJSON_Parse = [this](const char *text) {
            note("parse " + std::string(text));
            return interpose::cJSON_Parse.real(text);
        };
        interpose::cJSON_Print = [this](const cJSON *item) {
            note("print");
            return interpose::cJSON_Print.real(item);
        };
    }

    std::map<int, std::string> ends_;
    bool in_child_ = false;
};

// The same machine with some of the caller's standard descriptors closed.
class mapping_without_standard_descriptors : public mapping_machine,
                                             public testing::WithParamInterface<std::vector<int>> {
protected:
    // What a query answers that leaves the closed descriptors closed and the others untouched.
    static std::string answer()
    {
        std::string answer;
        std::vector<int> open;
        testing::internal::CaptureStdout();
        const std::string error = standard_error_of([&answer, &open] {
            open = left_open(GetParam(), [&answer] { answer = asked().value(); });
        });
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
        EXPECT_EQ(error, "");
        EXPECT_EQ(open, std::vector<int>());
        return answer;
    }
};
