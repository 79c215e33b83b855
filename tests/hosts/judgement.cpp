// SPDX-License-Identifier: LGPL-2.1-or-later
#include "judgement.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <set>

#include <fnmatch.h>
#include <sys/wait.h>

namespace {

std::string end_of(const outcome &made)
{
    if (WIFSIGNALED(made.status))
        return "ended by " + std::string(::strsignal(WTERMSIG(made.status)));
    return "ended with status " + std::to_string(WEXITSTATUS(made.status));
}

bool is_ended_by(const outcome &made, const std::set<int> &signals)
{
    return WIFSIGNALED(made.status) && signals.contains(WTERMSIG(made.status));
}

// Whether standard error could tell why.
bool has_standard_error(const host &place)
{
    return place.name.find("closed") == std::string::npos ||
           place.name.find('2') == std::string::npos;
}

bool is_documented_end(const library_call &call, const host &place, const outcome &made)
{
    const bool by_call =
        !call.ends_with.empty() && is_ended_by(made, {SIGABRT}) &&
        (made.said.find(call.ends_with) != std::string::npos || !has_standard_error(place));
    return by_call || (has(place.may_end, call) && is_ended_by(made, place.ends_by) &&
                       made.said.find(place.ends_with) != std::string::npos);
}

bool is_documented_answer(const library_call &call, const host &place, const outcome &made)
{
    const bool may_fail = has(place.may_fail, call) || has(place.must_fail, call);
    if (made.answer == call.answer)
        return call.ends_with.empty() || may_fail;
    return may_fail && std::ranges::find(call.failures, made.answer) != call.failures.end();
}

} // namespace

bool has(const functions &named, const library_call &call)
{
    const std::string way = call.function + "/" + call.way;
    return std::ranges::any_of(named, [&](const std::string &each) {
        return each == call.function || ::fnmatch(each.c_str(), way.c_str(), 0) == 0;
    });
}

std::string objection(const library_call &call, const host &place, const outcome &made)
{
    if (made.has_hung)
        return "it hangs";
    if (!made.trouble.empty())
        return made.trouble;
    if (!made.has_answered)
        return is_documented_end(call, place, made) ? "" : end_of(made);
    if (has(place.must_fail, call) && made.answer == call.answer)
        return "it tells '" + made.answer + "', which it cannot know";
    if (!is_documented_answer(call, place, made))
        return "it tells '" + made.answer + "' for '" + call.answer + "'";
    if (!made.changes.empty())
        return made.changes;
    return made.status == 0 ? "" : end_of(made);
}
