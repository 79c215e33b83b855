// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

// A machine made for one test. It lives in mount and network namespaces of its own, so nothing that
// a test does reaches the host, and it starts bare: /sys, /proc, /dev, /var/log, /usr/sbin, /opt
// and /srv hold only what a running process needs. Whatever else is set is laid over the host's
// directories, which stay visible around it.
class constructed_machine {
public:
    // How a tool was run: argv with argv[0] as the kernel passed it, and the environment.
    struct tool_run {
        std::vector<std::string> arguments;
        std::vector<std::string> environment;
    };

    // What a program that ran to its end left behind.
    struct program_result {
        int status; // exit status, or 128 and the signal's number
        std::string output;
        std::string error;
    };

    constructed_machine() = default;
    constructed_machine(const constructed_machine &) = delete;
    constructed_machine &operator=(const constructed_machine &) = delete;
    ~constructed_machine() { stop(); }

    // Why no machine can be constructed here, or nothing when one can. The process is in namespaces
    // of its own afterwards.
    static std::string unavailable();

    void start();
    void stop() noexcept;

    // Each replaces what was at the path and makes the directories above it.
    void file(const std::string &path, std::string_view content, mode_t mode = 0644);
    void directory(const std::string &path, mode_t mode = 0755);
    void link(const std::string &path, const std::string &target);
    void block_device(const std::string &path, unsigned major = 7, unsigned minor = 0);
    void character_device(const std::string &path, unsigned major, unsigned minor);
    void remove(const std::string &path);

    // Executables that record how they are run: one prints a text, the other runs shell commands.
    void tool(const std::string &path, std::string_view prints);
    void script(const std::string &path, std::string_view commands, mode_t mode = 0755);
    [[nodiscard]] std::vector<tool_run> runs(const std::string &path) const;

    // Records each command line that a program gives to /bin/sh from now on; it runs all the same.
    void watch_shell();
    [[nodiscard]] std::vector<std::string> shell_commands() const;

    // A small file system for the directory at the path, mounted with the options of tmpfs(5).
    void file_system(const std::string &path, const std::string &options);
    void read_only(const std::string &path);

    // The messages of the trace log, without stamp and process id, whose form it checks.
    [[nodiscard]] std::vector<std::string> trace() const;

    // The content of a file; empty when there is none.
    [[nodiscard]] static std::string content(const std::string &path);
    [[nodiscard]] static std::string end_of(const std::string &path, long bytes);

    // A path for the test's own files, open to every user.
    [[nodiscard]] std::string scratch(const std::string &name) const;

    // Shows a directory of the host at a path of this machine.
    void show(const std::string &host_directory, const std::string &path);

    // Runs a program as a user; its standard input is empty.
    [[nodiscard]] program_result run(const std::vector<std::string> &command, uid_t user = 0) const;

    // The process's own entry in the real /proc, which the constructed one hides.
    [[nodiscard]] std::string own_proc() const { return staging_ + "/proc/self"; }

private:
    void cover(const std::string &path, const std::string &options = "mode=755");
    void shadow(const std::string &directory);
    void bind(const std::string &from, const std::string &to, bool writable);
    void fill_proc() const;
    void fill_dev();
    void clear_path(const std::string &path);
    void node(const std::string &path, mode_t type, unsigned major, unsigned minor);
    void executable(const std::string &path, std::string_view commands, mode_t mode);
    [[nodiscard]] std::string record_of(const std::string &tool_path) const;
    [[nodiscard]] bool is_ours(const std::string &path) const;

    std::string staging_;
    std::string watched_shell_;
    std::vector<std::string> mounts_;
    std::vector<dev_t> file_systems_;
};
