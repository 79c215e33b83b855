// SPDX-License-Identifier: LGPL-2.1-or-later
#include "machine.h"

#include "process.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <grp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

// The tools' own shell, by a name that watch_shell() leaves alone.
constexpr char interpreter[] = "/usr/bin/dash";
constexpr char trace_log[] = "/var/log/orvane/liborvane.log";

void check(int result, const std::string &what)
{
    if (result < 0)
        throw std::system_error(errno, std::generic_category(), what);
}

void write_file(const std::string &path, std::string_view content, mode_t mode)
{
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    check(fd, "create " + path);
    for (std::string_view rest = content; !rest.empty();) {
        const ssize_t written = ::write(fd, rest.data(), rest.size());
        check(static_cast<int>(written), "write " + path);
        rest.remove_prefix(static_cast<std::size_t>(written));
    }
    check(::fchmod(fd, mode), "chmod " + path);
    ::close(fd);
}

std::vector<std::string> split(std::string_view text, char separator)
{
    std::vector<std::string> parts;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(separator), text.size());
        parts.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return parts;
}

// The shell word that stands for the text itself.
std::string quoted(const std::string &text)
{
    return "'" + std::regex_replace(text, std::regex("'"), "'\\''") + "'";
}

bool become(uid_t user)
{
    return user == 0 ||
           (::setgroups(0, nullptr) == 0 && ::setgid(user) == 0 && ::setuid(user) == 0);
}

fs::path deepest_existing_directory(fs::path path)
{
    while (!fs::is_directory(path))
        path = path.parent_path();
    return fs::canonical(path);
}

bool is_below(const std::string &directory, const std::string &path)
{
    return path.starts_with(directory + "/");
}

// Whether this process has entered namespaces that no machine has been started in yet.
bool has_fresh_namespaces = false;

void enter_namespaces()
{
    check(::unshare(CLONE_NEWNS | CLONE_NEWNET), "no private namespaces here");
    has_fresh_namespaces = true;
}

} // namespace

std::string constructed_machine::unavailable()
{
    if (::geteuid() != 0)
        return "a constructed machine needs root";
    try {
        enter_namespaces();
    } catch (const std::system_error &error) {
        return error.what();
    }
    return {};
}

void constructed_machine::start()
{
    if (!has_fresh_namespaces)
        enter_namespaces();
    has_fresh_namespaces = false;
    check(::mount("none", "/", "none", MS_REC | MS_PRIVATE, ""), "make mounts private");

    std::string staging = "/tmp/orvane-machine.XXXXXX";
    if (::mkdtemp(staging.data()) == nullptr)
        throw std::system_error(errno, std::generic_category(), "mkdtemp");
    staging_ = staging;
    cover(staging_);
    for (const char *const folder : {"/proc", "/host", "/records", "/scratch"})
        fs::create_directory(staging_ + folder);
    fs::permissions(staging_ + "/scratch", fs::perms::all);
    bind("/proc", staging_ + "/proc", true);

    for (const char *const bare : {"/sys", "/proc", "/dev", "/var/log", "/usr/sbin"})
        cover(bare);
    fill_proc();
    fill_dev();
    // Where tests put their files. A project that stands there stays visible.
    for (const char *const bare : {"/opt", "/srv"}) {
        if (!is_below(bare, PROJECT) && !is_below(bare, build_folder()))
            cover(bare);
    }
    for (const char *const of_the_host : {"/etc/gnupg", "/etc/orvane"}) {
        if (fs::exists(of_the_host))
            remove(of_the_host);
    }
}

void constructed_machine::stop() noexcept
{
    if (staging_.empty())
        return;
    for (auto mount = mounts_.rbegin(); mount != mounts_.rend(); ++mount)
        ::umount2(mount->c_str(), MNT_DETACH);
    mounts_.clear();
    file_systems_.clear();
    ::rmdir(staging_.c_str());
    staging_.clear();
}

// What a process expects of its own entry; the sanitizers read it by number.
void constructed_machine::fill_proc() const
{
    fs::create_symlink(staging_ + "/proc/self", "/proc/self");
    fs::create_symlink(staging_ + "/proc/sys", "/proc/sys");
    const std::string own = "/" + std::to_string(::getpid());
    fs::create_symlink(staging_ + "/proc" + own, "/proc" + own);
}

void constructed_machine::fill_dev()
{
    character_device("/dev/null", 1, 3);
    character_device("/dev/zero", 1, 5);
    character_device("/dev/full", 1, 7);
    character_device("/dev/urandom", 1, 9);
    link("/dev/fd", own_proc() + "/fd");
}

void constructed_machine::cover(const std::string &path, const std::string &options)
{
    check(::mount("tmpfs", path.c_str(), "tmpfs", MS_NOSUID, options.c_str()), "cover " + path);
    mounts_.push_back(path);
    struct stat status = {};
    check(::stat(path.c_str(), &status), "stat " + path);
    file_systems_.push_back(status.st_dev);
}

void constructed_machine::bind(const std::string &from, const std::string &to, bool writable)
{
    check(::mount(from.c_str(), to.c_str(), "none", MS_BIND | MS_REC, ""), "bind " + from);
    mounts_.push_back(to);
    if (!writable)
        check(::mount("none", to.c_str(), "none", MS_BIND | MS_REMOUNT | MS_RDONLY, ""),
              "protect " + from);
}

// Makes single entries of a directory of the host changeable: in a layer above it, or where the
// kernel has no overlays, in a directory of links.
void constructed_machine::shadow(const std::string &directory)
{
    const std::string layer = staging_ + "/layer" + directory;
    fs::create_directories(layer + "/upper");
    fs::create_directories(layer + "/work");
    const std::string options =
        "lowerdir=" + directory + ",upperdir=" + layer + "/upper,workdir=" + layer + "/work";
    if (::mount("overlay", directory.c_str(), "overlay", MS_NOSUID, options.c_str()) == 0) {
        mounts_.push_back(directory);
        struct stat status = {};
        check(::stat(directory.c_str(), &status), "stat " + directory);
        file_systems_.push_back(status.st_dev);
        return;
    }
    const std::string kept = staging_ + "/host" + directory;
    fs::create_directories(kept);
    bind(directory, kept, false);
    cover(directory);
    for (const fs::directory_entry &entry : fs::directory_iterator(kept)) {
        const fs::path here = fs::path(directory) / entry.path().filename();
        fs::create_symlink(entry.is_symlink() ? fs::read_symlink(entry.path()) : entry.path(),
                           here);
    }
}

bool constructed_machine::is_ours(const std::string &path) const
{
    struct stat status = {};
    check(::stat(path.c_str(), &status), "stat " + path);
    return std::find(file_systems_.begin(), file_systems_.end(), status.st_dev) !=
           file_systems_.end();
}

// Afterwards the path is free and its directory stands, on a file system of this machine.
void constructed_machine::clear_path(const std::string &path)
{
    const fs::path parent = fs::path(path).parent_path();
    const fs::path standing = deepest_existing_directory(parent);
    if (!is_ours(standing))
        shadow(standing);
    fs::create_directories(parent);
    fs::remove_all(path);
}

void constructed_machine::file(const std::string &path, std::string_view content, mode_t mode)
{
    clear_path(path);
    write_file(path, content, mode);
}

void constructed_machine::directory(const std::string &path, mode_t mode)
{
    clear_path(path);
    check(::mkdir(path.c_str(), 0700), "mkdir " + path);
    check(::chmod(path.c_str(), mode), "chmod " + path);
}

void constructed_machine::link(const std::string &path, const std::string &target)
{
    clear_path(path);
    fs::create_symlink(target, path);
}

void constructed_machine::node(const std::string &path, mode_t type, unsigned major, unsigned minor)
{
    clear_path(path);
    check(::mknod(path.c_str(), type | 0600, makedev(major, minor)), "mknod " + path);
    check(::chmod(path.c_str(), 0666), "chmod " + path);
}

void constructed_machine::block_device(const std::string &path, unsigned major, unsigned minor)
{
    node(path, S_IFBLK, major, minor);
}

void constructed_machine::character_device(const std::string &path, unsigned major, unsigned minor)
{
    node(path, S_IFCHR, major, minor);
}

void constructed_machine::remove(const std::string &path)
{
    clear_path(path);
}

void constructed_machine::file_system(const std::string &path, const std::string &options)
{
    directory(path);
    cover(path, options);
}

void constructed_machine::read_only(const std::string &path)
{
    check(::mount("none", path.c_str(), "none", MS_REMOUNT | MS_RDONLY, ""),
          "make read-only " + path);
}

std::string constructed_machine::record_of(const std::string &tool_path) const
{
    return staging_ + "/records" + std::regex_replace(tool_path, std::regex("/"), "_");
}

// The record of a run is the number of its arguments, the arguments, and the environment that
// execve() was given, each ended by a zero byte, and a last empty field.
void constructed_machine::executable(const std::string &path, std::string_view commands,
                                     mode_t mode)
{
    const std::string record = quoted(record_of(path));
    std::ostringstream text;
    text << "#!" << interpreter << "\n"
         << "{ printf '%s\\0' \"$#\" \"$0\" \"$@\"; cat " << staging_
         << "/proc/$$/environ; printf '\\0'; } >>" << record << "\n"
         << commands << "\n";
    file(path, text.str(), mode);
    ::close(::open(record_of(path).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666));
    check(::chmod(record_of(path).c_str(), 0666), "chmod record");
}

void constructed_machine::tool(const std::string &path, std::string_view prints)
{
    const std::string text = record_of(path) + ".prints";
    fs::remove(text);
    write_file(text, prints, 0644);
    executable(path, "exec cat " + quoted(text), 0755);
}

void constructed_machine::script(const std::string &path, std::string_view commands, mode_t mode)
{
    executable(path, commands, mode);
}

std::vector<constructed_machine::tool_run> constructed_machine::runs(const std::string &path) const
{
    std::vector<tool_run> runs;
    const std::vector<std::string> fields = split(content(record_of(path)), '\0');
    for (auto field = fields.begin(); field != fields.end();) {
        tool_run run;
        const auto last_argument = field + std::stol(*field) + 1;
        run.arguments.assign(field + 1, last_argument + 1);
        const auto end = std::find(last_argument + 1, fields.end(), "");
        run.environment.assign(last_argument + 1, end);
        runs.push_back(std::move(run));
        field = end == fields.end() ? end : end + 1;
    }
    return runs;
}

std::vector<std::string> constructed_machine::trace() const
{
    static const std::regex form(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} \[(\d+)\]: ([^]*))");
    std::vector<std::string> messages;
    for (const std::string &line : split(content(trace_log), '\n')) {
        std::smatch parts;
        if (!std::regex_match(line, parts, form) || parts[1] != std::to_string(::getpid()))
            throw std::runtime_error("not a trace line of this process: " + line);
        messages.push_back(parts[2]);
    }
    return messages;
}

void constructed_machine::watch_shell()
{
    watched_shell_ = fs::canonical("/bin") / "sh";
    script(watched_shell_, "exec " + std::string(interpreter) + " \"$@\"");
}

std::vector<std::string> constructed_machine::shell_commands() const
{
    std::vector<std::string> commands;
    for (const tool_run &run : runs(watched_shell_)) {
        // Some C libraries end the shell's options with "--" before the command.
        if (run.arguments.size() >= 3 && run.arguments[1] == "-c")
            commands.push_back(run.arguments.back());
    }
    return commands;
}

std::string constructed_machine::content(const std::string &path)
{
    return end_of(path, std::numeric_limits<long>::max());
}

// Not by a C++ stream, which a program that another thread starts would inherit.
std::string constructed_machine::end_of(const std::string &path, long bytes)
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(std::fopen(path.c_str(), "re"),
                                                                &std::fclose);
    std::string text;
    if (!file)
        return text;
    if (std::fseek(file.get(), -bytes, SEEK_END) != 0)
        std::rewind(file.get());
    std::array<char, 4096> block;
    while (const std::size_t size = std::fread(block.data(), 1, block.size(), file.get()))
        text.append(block.data(), size);
    return text;
}

std::string constructed_machine::scratch(const std::string &name) const
{
    return staging_ + "/scratch/" + name;
}

void constructed_machine::show(const std::string &host_directory, const std::string &path)
{
    directory(path);
    bind(host_directory, path, false);
}

constructed_machine::program_result
constructed_machine::run(const std::vector<std::string> &command, uid_t user) const
{
    return run_program(command, [this, user] {
        const std::string own = "/proc/" + std::to_string(::getpid());
        // Where a coverage build's counts of another user may go; root's stay beside the objects.
        if (user != 0)
            ::setenv("GCOV_PREFIX", scratch("").c_str(), 1);
        return ::symlink((staging_ + own).c_str(), own.c_str()) == 0 && become(user);
    });
}
