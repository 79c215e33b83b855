// SPDX-License-Identifier: LGPL-2.1-or-later
#include "steps.h"

#include "reasons.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::string_view found_interface = "found network interface device: ";
constexpr std::string_view permanent_address = "permanent_mac: <";
constexpr std::string_view slave_address = "Permanent HW addr: ";

std::string up_to(const std::string &text, char end)
{
    return text.substr(0, text.find(end));
}

// The walk over the interfaces, from the lines that it leaves in the trace.
class network_walk {
public:
    void add(const event &seen)
    {
        if (seen.kind == event_kind::traced)
            add_line(seen.text);
        else if (seen.kind == event_kind::opened && is_source(seen.subject))
            steps_.push_back(
                {seen.subject,
                 seen.error == 0 ? results::no_answer : result_of_error(seen.subject, seen.error),
                 seen.error == 0 ? "" : std::strerror(seen.error)});
        else if (seen.kind == event_kind::read && is_source(seen.subject))
            add_slave(seen.text);
    }

    std::vector<step> steps() { return std::move(steps_); }

private:
    void add_line(const std::string &line)
    {
        if (line.starts_with(found_interface)) {
            name_ = up_to(line.substr(found_interface.size()), ',');
            why_ = reasons::usb_adapter.code;
            note_.clear();
        } else if (line == "get stat error" || line == "is not link file") {
            why_ = reasons::no_device_behind.code;
        } else if (line == "get basename error" || line == "get real path error") {
            why_ = reasons::tool_missing.code;
        } else if (line.starts_with("Could not read permanent MAC.")) {
            note_ = ": the driver reports no permanent address";
        } else if (line.find(" mounted on the usb bus, ignore.") != std::string::npos) {
            add_interface(why_, "the search ends here");
        } else if (line.find(permanent_address) != std::string::npos) {
            add_interface(results::answered, up_to(behind(line, permanent_address), '>') + note_);
        }
    }

    // Each address of an interface is a step of the walk; one is enough to see.
    void add_interface(const char *result, const std::string &text)
    {
        const bool is_there = std::any_of(steps_.begin(), steps_.end(), [&](const step &one) {
            return one.source == name_ && one.result == result && one.text == text;
        });
        if (!is_there)
            steps_.push_back({name_, result, text});
    }

    void add_slave(const std::string &line)
    {
        if (steps_.empty() || line.find(slave_address) == std::string::npos)
            return;
        step &report = steps_.back();
        report.result = results::answered;
        report.text +=
            (report.text.empty() ? "" : ", ") + first_line_with_text(behind(line, slave_address));
    }

    std::vector<step> steps_;
    std::string name_;
    const char *why_ = reasons::usb_adapter.code;
    std::string note_;
};

} // namespace

std::vector<step> network_steps_in(const std::vector<event> &events)
{
    network_walk walk;
    for (const event &seen : events)
        walk.add(seen);
    return walk.steps();
}
