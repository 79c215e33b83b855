// SPDX-License-Identifier: LGPL-2.1-or-later
#include "steps.h"

#include "reasons.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <unistd.h>

namespace {

constexpr std::string_view request = "identify request to ";

// As in C: harddisk_id("/dev/sda2").
std::string as_call(const std::string &function, const std::string &argument)
{
    return function + (argument.empty() ? "()" : "(\"" + argument + "\")");
}

bool is_in_path(const std::string &tool)
{
    const char *const path = std::getenv("PATH");
    std::string_view folders = path != nullptr ? path : "/usr/bin:/bin";
    while (!folders.empty()) {
        const std::string_view folder = folders.substr(0, folders.find(':'));
        folders.remove_prefix(std::min(folder.size() + 1, folders.size()));
        if (::access((std::string(folder) + "/" + tool).c_str(), X_OK) == 0)
            return true;
    }
    return false;
}

// The words behind each "|" of a command line that the shell does not find.
std::vector<std::string> missing_filters(std::string_view command)
{
    std::vector<std::string> missing;
    for (std::size_t at = command.find('|'); at != std::string_view::npos;
         at = command.find('|', at + 1)) {
        const std::string_view filter =
            command.substr(std::min(command.find_first_not_of("| ", at), command.size()));
        const std::string name(filter.substr(0, filter.find(' ')));
        if (!is_in_path(name))
            missing.push_back(name);
    }
    return missing;
}

class tree_builder {
public:
    void add(const event &seen)
    {
        switch (seen.kind) {
        case event_kind::entered:
            open_.push_back({as_call(seen.subject, seen.text), results::no_answer, ""});
            break;
        case event_kind::left:
            close(seen);
            break;
        case event_kind::examined:
            if (seen.error != 0 && (is_tool(seen.subject) || is_source(seen.subject)))
                add_failure(seen);
            break;
        case event_kind::opened:
            add_file(seen);
            break;
        case event_kind::ran:
            current().push_back({seen.subject, results::no_answer, ""});
            for (const std::string &filter : missing_filters(seen.subject))
                current().push_back({filter, reasons::tool_missing.code, "it is not in PATH"});
            break;
        case event_kind::read:
            if (step *const source = latest(seen.subject))
                source->output += seen.text;
            break;
        case event_kind::ended:
            add_errors(seen);
            break;
        case event_kind::traced:
            add_trace(seen.text);
            break;
        default:
            break;
        }
    }

    std::vector<step> finished()
    {
        while (!open_.empty()) // the process ended within a call
            close({event_kind::left, 1, "", ""});
        return std::move(steps_);
    }

private:
    std::vector<step> &current() { return open_.empty() ? steps_ : open_.back().below; }

    step *latest(std::string_view source)
    {
        std::vector<step> &steps = current();
        const auto found = std::find_if(steps.rbegin(), steps.rend(),
                                        [source](const step &one) { return one.source == source; });
        return found != steps.rend() ? &*found : nullptr;
    }

    void close(const event &seen)
    {
        step call = std::move(open_.back());
        open_.pop_back();
        call.result = seen.error == 0 ? results::answered : results::no_answer;
        call.text = seen.text;
        if (seen.error == 0 && !call.below.empty() &&
            call.below.back().source.starts_with(request)) {
            call.below.back().result = results::answered;
            call.below.back().text = seen.text;
        }
        current().push_back(std::move(call));
    }

    void add_failure(const event &seen)
    {
        current().push_back(
            {seen.subject, result_of_error(seen.subject, seen.error), std::strerror(seen.error)});
    }

    void add_file(const event &seen)
    {
        step *const requested = latest(std::string(request) + seen.subject);
        if (seen.error != 0 && requested != nullptr) {
            requested->result = result_of_error(seen.subject, seen.error);
            requested->text = std::strerror(seen.error);
        } else if (is_source(seen.subject)) {
            if (seen.error != 0)
                add_failure(seen);
            else
                current().push_back({seen.subject, results::no_answer, ""});
        }
    }

    // A tool that a call runs without a shell has its errors at the end of the call.
    void add_errors(const event &seen)
    {
        step *source = latest(seen.subject);
        if (source == nullptr && !current().empty())
            source = &current().back();
        if (source != nullptr && source->text.empty())
            source->text = first_line_with_text(seen.text);
        if (source != nullptr && speaks_of_permission(seen.text))
            source->result = reasons::permission_denied.code;
    }

    // The lines by which the library reports what it asks of the kernel.
    void add_trace(const std::string &line)
    {
        if (line.starts_with("device :")) {
            current().push_back(
                {std::string(request) + behind(line, "device :"), results::no_answer, ""});
        } else if (line.starts_with("ioctl(fd, HDIO_GET_IDENTITY")) {
            if (!current().empty())
                current().back().text = "the kernel refuses it";
        } else if (!current().empty() && line.starts_with("physicalDiskNode: ") &&
                   line.find("(null)") == std::string::npos) {
            current().back().text = behind(line, "physicalDiskNode: ");
            current().back().result = results::answered;
        } else if (!current().empty() &&
                   line.find("' is not a block device, '") != std::string::npos) {
            mark_unfollowed(current().back());
        } else if (!current().empty() && line.starts_with("cannot found deps")) {
            current().back().text = "the mapping stands on nothing";
        }
    }

    // dmsetup's answer is no device; where it could not be run there is none.
    static void mark_unfollowed(step &tool)
    {
        if (tool.result != results::answered)
            return;
        tool.text += ", which is no block device";
        tool.result = results::no_answer;
    }

    std::vector<step> steps_;
    std::vector<step> open_; // calls that have not returned
};

// Below smartctl's name and rights stands what it has to report.
std::string report_of_smartctl(std::string_view output)
{
    const std::size_t end_of_head = output.find("\n\n");
    std::string_view report = output.substr(std::min(end_of_head, output.size()));
    constexpr std::string_view heading = "===";
    std::string line = first_line_with_text(report);
    while (line.starts_with(heading)) {
        report.remove_prefix(report.find(line) + line.size());
        line = first_line_with_text(report);
    }
    return line.empty() ? first_line_with_text(output) : line;
}

std::string last_line_with(std::string_view label, std::string_view output)
{
    const std::size_t start = output.rfind(label);
    return start != std::string_view::npos ? first_line_with_text(output.substr(start)) : "";
}

// The line of a tool's output that counts.
std::string line_of_note(const step &one)
{
    if (one.source.find("/smartctl ") != std::string::npos)
        return report_of_smartctl(one.output);
    if (one.source.find("/pvdisplay") != std::string::npos)
        return last_line_with("PV Name", one.output);
    if (one.source.find("/lvdisplay") != std::string::npos)
        return last_line_with("VG Name", one.output);
    if (one.source.find("/lsblk -J") != std::string::npos)
        return "a listing";
    return first_line_with_text(one.output);
}

// What was read decides, where nothing else is known of a source.
void complete(std::vector<step> &steps)
{
    for (step &one : steps) {
        complete(one.below);
        if (one.result != results::no_answer || one.output.empty() || !one.text.empty())
            continue;
        one.text = line_of_note(one);
        one.result = speaks_of_permission(one.output) ? reasons::permission_denied.code
                     : one.text.empty()               ? reasons::empty.code
                                                      : results::answered;
    }
}

template <class Steps> auto found_in(Steps &steps, std::string_view function) -> decltype(&steps[0])
{
    for (auto &one : steps) {
        if (one.source.starts_with(function) && one.source[function.size()] == '(')
            return &one;
        if (auto *const below = found_in(one.below, function))
            return below;
    }
    return nullptr;
}

void add_leaves(const std::vector<step> &steps, std::vector<const step *> &leaves)
{
    for (const step &one : steps) {
        if (one.below.empty())
            leaves.push_back(&one);
        else
            add_leaves(one.below, leaves);
    }
}

} // namespace

// Files that a source of facts lies in. Others are the C library's and the tools' own.
bool is_source(std::string_view path)
{
    constexpr std::string_view folders[] = {
        "/proc/bootdevice/",         "/proc/cmdline",   "/proc/cpuinfo",
        "/proc/net/bonding/",        "/sys/block/",     "/sys/class/dmi/",
        "/sys/devices/virtual/dmi/", "/etc/os-release", "/usr/lib/os-release"};
    return std::any_of(std::begin(folders), std::end(folders),
                       [path](std::string_view folder) { return path.starts_with(folder); });
}

bool is_tool(std::string_view path)
{
    return path.starts_with("/usr/") || path.starts_with("/bin/") || path.starts_with("/sbin/");
}

const char *result_of_error(std::string_view path, int error)
{
    if (error == EACCES || error == EPERM)
        return reasons::permission_denied.code;
    if (error != ENOENT && error != ENOTDIR)
        return reasons::source_failed.code;
    return is_tool(path) ? reasons::tool_missing.code : reasons::file_absent.code;
}

// The value behind a label in a trace line.
std::string behind(const std::string &line, std::string_view label)
{
    return line.substr(std::min(line.find(label) + label.size(), line.size()));
}

std::vector<step> steps_in(const std::vector<event> &events)
{
    tree_builder builder;
    for (const event &seen : events)
        builder.add(seen);
    std::vector<step> steps = builder.finished();
    complete(steps);
    return steps;
}

std::vector<const step *> leaves_of(const std::vector<step> &steps)
{
    std::vector<const step *> leaves;
    add_leaves(steps, leaves);
    return leaves;
}

const step *last_with(const std::vector<step> &steps, std::string_view result)
{
    const std::vector<const step *> leaves = leaves_of(steps);
    const auto found = std::find_if(leaves.rbegin(), leaves.rend(),
                                    [result](const step *one) { return one->result == result; });
    return found != leaves.rend() ? *found : nullptr;
}

const step *find_call(const std::vector<step> &steps, std::string_view function)
{
    return found_in(steps, function);
}

step *find_call(std::vector<step> &steps, std::string_view function)
{
    return found_in(steps, function);
}

std::string first_line_with_text(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r";
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        const std::size_t start = line.find_first_not_of(blanks);
        if (start != std::string_view::npos)
            return std::string(line.substr(start, line.find_last_not_of(blanks) + 1 - start));
    }
    return "";
}

bool speaks_of_permission(std::string_view text)
{
    return text.find("ermission denied") != std::string_view::npos ||
           text.find("not permitted") != std::string_view::npos;
}
