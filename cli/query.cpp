// SPDX-License-Identifier: LGPL-2.1-or-later
#include "query.h"

#include "output.h"

#include <algorithm>

std::vector<std::string> each_once(const std::vector<std::string> &names)
{
    std::vector<std::string> once;
    for (const std::string &name : names) {
        if (std::find(once.begin(), once.end(), name) == once.end())
            once.push_back(name);
    }
    return once;
}

findings queried(const query_options &options)
{
    findings found = examine(each_once(options.names), options.trace);
    const bool is_lost = std::any_of(found.begin(), found.end(),
                                     [](const finding &one) { return one.is_trace_lost; });
    if (is_lost)
        print_error("the trace log cannot be opened, so this run left no trace");
    if (options.redact)
        redact(found);
    return found;
}

int status_of_all(const findings &found)
{
    int status = success;
    for (const finding &one : found) {
        const fact_status is = status_of(one);
        if (is == fact_status::needs_root || is == fact_status::not_determinable)
            return undetermined;
        if (is != fact_status::known)
            status = negative;
    }
    return status;
}

std::string missing_line(const finding &one)
{
    return std::string(one.what->name) + ": " + words_for(status_of(one)) + ": " +
           explanation_of(one) + "; " + advice_on(one) + " (see orvane explain " + one.what->name +
           ")";
}
