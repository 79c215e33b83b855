// SPDX-License-Identifier: LGPL-2.1-or-later
#include "replay.h"

#include "replayed_kernel.h"
#include "words.h"

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <stdexcept>

#include <dlfcn.h>

namespace fs = std::filesystem;

namespace {

// Keeps a directory that is empty on the machine in version control.
constexpr char marker[] = ".gitkeep";

// Stands in the place of a fact where the reasons are those of another user than root.
constexpr char user_label[] = "user";

// Every tool that the library runs by a path, and lsblk, which it runs by its name, too.
const std::vector<std::string> tools = {
    "/usr/bin/lsblk",      "/usr/sbin/dmidecode", "/usr/sbin/dmsetup",
    "/usr/sbin/lvdisplay", "/usr/sbin/pvdisplay", "/usr/sbin/smartctl",
};

std::string shell_word(const std::string &text)
{
    std::string word = "'";
    for (const char c : text)
        word += c == '\'' ? "'\\''" : std::string(1, c);
    return word + "'";
}

std::string joined(const std::vector<std::string> &words)
{
    std::string text;
    for (const std::string &word : words)
        text += (text.empty() ? "" : " ") + word;
    return text;
}

std::pair<unsigned, unsigned> device_number(const std::string &text)
{
    char colon = '\0';
    std::pair<unsigned, unsigned> number;
    std::istringstream stream(text);
    if (!(stream >> number.first >> colon >> number.second) || colon != ':')
        throw std::runtime_error("no device number: " + text);
    return number;
}

std::string trail(const constructed_machine &machine)
{
    return machine.scratch("unrecorded");
}

} // namespace

std::vector<std::string> recorded_machine::names_in(const std::string &folders)
{
    std::vector<std::string> names;
    for (const fs::directory_entry &entry : fs::directory_iterator(folders)) {
        if (entry.is_directory())
            names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}

void recorded_machine::furnish(constructed_machine &machine) const
{
    for (const char *const known : {"/etc/os-release", "/usr/lib/os-release"})
        machine.remove(known);
    for (const char *const top : {"/proc", "/sys", "/etc"})
        furnish_tree(machine, top);
    furnish_devices(machine);
    furnish_modes();
    furnish_tools(machine);
    recorded::replay_kernel(folder_);
}

void recorded_machine::furnish_tree(constructed_machine &machine, const std::string &top) const
{
    if (!fs::exists(folder_ + top))
        return;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(folder_ + top)) {
        const std::string path = entry.path().string().substr(folder_.size());
        if (entry.is_symlink())
            machine.link(path, fs::read_symlink(entry.path()).string());
        else if (entry.path().filename() == marker)
            machine.directory(fs::path(path).parent_path().string());
        else if (entry.is_regular_file())
            machine.file(path, constructed_machine::content(entry.path().string()));
    }
}

void recorded_machine::furnish_devices(constructed_machine &machine) const
{
    for (const recorded::line &words : recorded::word_lines_of(folder_ + "/dev")) {
        const std::string &kind = words.at(0).text;
        if (kind == "b") {
            const auto [major, minor] = device_number(words.at(1).text);
            machine.block_device("/dev/" + words.at(2).text, major, minor);
        } else if (kind == "l") {
            machine.link("/dev/" + words.at(1).text, words.at(2).text);
        } else {
            throw std::runtime_error("neither a block device nor a link: " + kind);
        }
    }
}

// Root reads everything all the same: the modes are for a program that is run as the user.
void recorded_machine::furnish_modes() const
{
    if (!fs::exists(folder_ + "/modes"))
        return;
    for (const recorded::line &words : recorded::word_lines_of(folder_ + "/modes")) {
        const auto mode = static_cast<fs::perms>(std::stoul(words.at(0).text, nullptr, 8));
        fs::permissions(words.at(1).text, mode);
    }
}

std::vector<std::string> recorded_machine::installed_tools() const
{
    const recorded::line words = recorded::word_lines_of(folder_ + "/tools/index").at(0);
    if (words.at(0).text != "installed:")
        throw std::runtime_error(folder_ + "/tools/index does not begin with \"installed:\"");
    std::vector<std::string> names;
    for (auto word = words.begin() + 1; word != words.end(); ++word)
        names.push_back(word->text);
    return names;
}

std::vector<recorded_machine::tool_run> recorded_machine::tool_runs() const
{
    std::vector<recorded::line> lines = recorded::word_lines_of(folder_ + "/tools/index");
    lines.erase(lines.begin());
    std::vector<tool_run> runs;
    for (const recorded::line &words : lines) {
        const recorded::word &output = words.at(1);
        const std::string file = folder_ + "/tools/" + output.text;
        if (!output.is_quoted && !fs::exists(file))
            throw std::runtime_error("there is no " + file);
        tool_run run{std::stoi(words.at(0).text),
                     output.is_quoted ? output.text : constructed_machine::content(file),
                     {}};
        for (auto word = words.begin() + 2; word != words.end(); ++word)
            run.command.push_back(word->text);
        runs.push_back(std::move(run));
    }
    return runs;
}

// Each tool is a shell script with the recorded command lines. dmsetup has no environment.
void recorded_machine::furnish_tools(constructed_machine &machine) const
{
    const std::vector<std::string> installed = installed_tools();
    const std::vector<tool_run> runs = tool_runs();
    machine.file(trail(machine), "", 0666);
    for (const std::string &path : tools) {
        const std::string name = fs::path(path).filename();
        if (std::find(installed.begin(), installed.end(), name) == installed.end()) {
            machine.remove(path);
            continue;
        }
        std::string script = "IFS='\n'\ncase \"$*\" in\n";
        for (std::size_t number = 0; number < runs.size(); ++number) {
            const tool_run &run = runs[number];
            if (run.command.at(0) != name)
                continue;
            const std::string output = machine.scratch("output" + std::to_string(number));
            machine.file(output, run.output);
            std::string arguments;
            for (auto word = run.command.begin() + 1; word != run.command.end(); ++word)
                arguments += (arguments.empty() ? "" : "\n") + *word;
            script +=
                shell_word(arguments) +
                (run.status == 0 ? ") exec cat " + output
                                 : ") cat " + output + "; exit " + std::to_string(run.status)) +
                " ;;\n";
        }
        script += "*) echo " + name + " \"$@\" >>" + trail(machine) + "; exit 127 ;;\nesac";
        machine.script(path, script);
    }
}

std::map<std::string, std::string> recorded_machine::expected() const
{
    std::map<std::string, std::string> answers;
    constexpr std::string_view equals = " = ";
    for (const std::string &text : recorded::lines_of(folder_ + "/expected")) {
        const std::size_t end = text.find(equals);
        if (end == std::string::npos)
            throw std::runtime_error("no query with its answer: " + text);
        if (!answers.emplace(text.substr(0, end), text.substr(end + equals.size())).second)
            throw std::runtime_error("a query that is there twice: " + text);
    }
    return answers;
}

std::map<std::string, std::string> recorded_machine::reasons() const
{
    std::map<std::string, std::string> reasons;
    for (const recorded::line &words : recorded::word_lines_of(folder_ + "/reasons")) {
        if (words.at(0).text == user_label)
            continue;
        if (!reasons.emplace(words.at(0).text, words.at(1).text).second)
            throw std::runtime_error("a fact that is there twice: " + words.at(0).text);
    }
    return reasons;
}

uid_t recorded_machine::user() const
{
    const std::vector<recorded::line> lines = recorded::word_lines_of(folder_ + "/reasons");
    const bool has_user = !lines.empty() && lines.front().at(0).text == user_label;
    return has_user ? static_cast<uid_t>(std::stoul(lines.front().at(1).text)) : 0;
}

std::vector<std::string> recorded_machine::unrecorded(const constructed_machine &machine)
{
    return recorded::lines_of(trail(machine));
}

std::string recorded_machine::output_of(const std::string &command_line) const
{
    for (const tool_run &run : tool_runs()) {
        if (joined(run.command) == command_line)
            return run.output;
    }
    return {};
}

// AddressSanitizer has to be the first library of a process.
std::vector<std::string> recorded::with_kernel(const std::string &kernel, const std::string &folder)
{
    Dl_info sanitizer = {};
    void *const start = ::dlsym(RTLD_DEFAULT, "__asan_init");
    const bool is_sanitized = start != nullptr && ::dladdr(start, &sanitizer) != 0;
    const std::string preloads =
        (is_sanitized ? sanitizer.dli_fname + std::string(" ") : "") + kernel;
    return {"/usr/bin/env", "LD_PRELOAD=" + preloads, std::string(kernel_variable) + "=" + folder,
            "ASAN_OPTIONS=detect_leaks=0"};
}
