// SPDX-License-Identifier: LGPL-2.1-or-later
#include "verdicts.h"

#include <algorithm>

#include <unistd.h>

namespace {

bool is_read(const step &source)
{
    return source.result == results::answered || source.result == results::no_answer ||
           source.result == reasons::empty.code;
}

// 0 is an answer only where the file was read.
void judge_file(finding &one)
{
    const bool was_read = std::any_of(one.steps.begin(), one.steps.end(), is_read);
    const bool is_traced = std::any_of(one.trace.begin(), one.trace.end(), [](const auto &line) {
        return line.find("os_ver = ") != std::string::npos;
    });
    for (step &source : one.steps) {
        if (is_read(source))
            source = {source.source, results::answered, "read"};
    }
    if (was_read || is_traced)
        return;
    if (with(one, reasons::permission_denied) != nullptr)
        miss(one, reasons::permission_denied);
    else if (with(one, reasons::source_failed) != nullptr || !exists("/proc/self"))
        miss(one, reasons::source_failed);
    else
        miss(one, reasons::file_absent);
}

} // namespace

void judge(finding &one)
{
    switch (one.what->kind) {
    case fact_kind::device:
        return judge_device(one);
    case fact_kind::disk:
        return judge_disk(one);
    case fact_kind::network:
        return judge_network(one);
    case fact_kind::uuid:
        return judge_uuid(one);
    case fact_kind::firmware:
        return judge_firmware(one);
    case fact_kind::flash:
        return judge_flash(one);
    case fact_kind::maker:
        return judge_maker(one);
    default:
        return judge_file(one);
    }
}

bool exists(const char *path)
{
    return ::access(path, F_OK) == 0;
}

const step *with(const finding &one, const reason &result)
{
    return last_with(one.steps, result.code);
}

void miss(finding &one, const reason &why, const std::string &subject)
{
    one.value = {};
    one.why = &why;
    one.subject = subject;
    if (&why != &reasons::tool_missing || !one.missing_tools.empty())
        return;
    for (const step *const leaf : leaves_of(one.steps)) {
        if (leaf->result == why.code)
            one.missing_tools.push_back(leaf->source);
    }
}

void add_unqueried(std::vector<step> &steps, const char *source, const std::string &why)
{
    steps.push_back({source, results::not_queried, why});
}

bool is_text(const finding &one)
{
    return std::holds_alternative<std::string>(one.value);
}
