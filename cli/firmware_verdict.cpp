// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Facts from the firmware's tables, which the kernel shows as files and dmidecode prints.
#include "verdicts.h"

#include <algorithm>

#include <unistd.h>

namespace {

// The kernel shows the folder where it found tables.
bool has_firmware_tables()
{
    return exists("/sys/class/dmi/id") || exists("/sys/devices/virtual/dmi/id") ||
           exists("/sys/firmware/dmi/tables/DMI");
}

bool runs_dmidecode(const step &one)
{
    return one.source.find("dmidecode ") != std::string::npos;
}

// dmidecode prints nothing where it may not read the tables, and its filters hide its status.
void mark_refused_dmidecode(finding &one)
{
    if (::geteuid() == 0 || !has_firmware_tables())
        return;
    for (step &source : one.steps) {
        if (runs_dmidecode(source) && source.output.empty())
            source.result = reasons::permission_denied.code;
    }
}

// That is known of the kernel's files alone: dmidecode's refusal hides what else is missing.
bool is_file_refused(const finding &one)
{
    return std::any_of(one.steps.begin(), one.steps.end(), [](const step &source) {
        return source.result == reasons::permission_denied.code && !runs_dmidecode(source);
    });
}

const reason &reason_in_firmware(const finding &one)
{
    if (with(one, reasons::source_failed) != nullptr || !exists("/sys/class"))
        return reasons::source_failed;
    if (!has_firmware_tables())
        return reasons::no_firmware_tables;
    if (with(one, reasons::tool_missing) != nullptr && !is_file_refused(one))
        return reasons::tool_missing;
    return with(one, reasons::permission_denied) != nullptr ? reasons::permission_denied
                                                            : reasons::not_in_firmware;
}

// What was read and is not the answer was refused. A step has its text without blanks around it.
void mark_placeholders(finding &one)
{
    const std::string answered = is_text(one) ? first_line_with_text(to_text(one.value)) : "";
    for (step &source : one.steps) {
        if (source.result == results::answered && source.text != answered)
            source.result = reasons::placeholder.code;
    }
}

// The two classes of the manufacturer read the same sources.
void remove_repeated_steps(std::vector<step> &steps)
{
    std::vector<step> once;
    for (step &one : steps) {
        const bool is_there = std::any_of(once.begin(), once.end(), [&one](const step &other) {
            return other.source == one.source && other.text == one.text;
        });
        if (!is_there)
            once.push_back(std::move(one));
    }
    steps = std::move(once);
}

} // namespace

void judge_firmware(finding &one)
{
    if (is_text(one)) {
        if (to_text(one.value).empty())
            miss(one, reasons::empty);
        else if (one.steps.size() == 1)
            add_unqueried(one.steps, "/usr/sbin/dmidecode", earlier_one_answered);
        return;
    }
    mark_refused_dmidecode(one);
    miss(one, reason_in_firmware(one));
}

void judge_uuid(finding &one)
{
    mark_placeholders(one);
    if (!is_text(one) && with(one, reasons::placeholder) != nullptr)
        miss(one, reasons::placeholder, with(one, reasons::placeholder)->text);
    else
        judge_firmware(one);
}

// An empty text stands for a source that failed on the way.
void judge_flash(finding &one)
{
    if (is_text(one) && !to_text(one.value).empty())
        return;
    const bool is_empty = is_text(one);
    mark_refused_dmidecode(one);
    if (!exists("/proc/bootdevice/product_name") || !exists("/proc/bootdevice/cid"))
        miss(one, reasons::file_absent);
    else if (is_empty && with(one, reasons::permission_denied) == nullptr)
        miss(one, reasons::empty);
    else
        miss(one, reason_in_firmware(one));
}

// 0 and TYPE_UNKNOWN are answers only where the manufacturer's name was read.
void judge_maker(finding &one)
{
    remove_repeated_steps(one.steps);
    const bool was_read = std::any_of(one.steps.begin(), one.steps.end(), [](const step &source) {
        return runs_dmidecode(source) && source.result == results::answered;
    });
    if (was_read)
        return;
    mark_refused_dmidecode(one);
    miss(one, reason_in_firmware(one));
}
