// SPDX-License-Identifier: LGPL-2.1-or-later
#include "torture.h"

#include "fallible_functions.h"
#include "trial.h"

#include <filesystem>

namespace {

// More only repeat what is wrong.
constexpr std::size_t most_complaints = 8;

std::string description(const injection::plan &planned, error_queue queue,
                        const trial_result &result)
{
    const std::string before =
        queue == error_queue::with_an_error ? "with an error of libcrypto before it, " : "";
    if (result.failed == nullptr)
        return before + "no call failing";
    std::string text = before + "call " + std::to_string(planned.call);
    text += planned.where == injection::side::forked ? " of the process it forks, " : ", ";
    text += result.failed->name + "(), ";
    text += planned.lasting ? "and every later one failing"
                            : "failing in way " + std::to_string(planned.way);
    return text;
}

class torturer {
public:
    torturer(const constructed_machine &machine, const library_call &call)
        : machine_(machine), call_(call), has_log_(std::filesystem::exists(trace_directory))
    {
        replace_fallible_functions();
    }

    torture_result result()
    {
        attempt({});
        for (const auto where : {injection::side::caller, injection::side::forked})
            fail_each(where);
        return std::move(result_);
    }

private:
    static constexpr char trace_directory[] = "/var/log/orvane";

    void fail_each(injection::side where)
    {
        // What follows a failure may be longer than what follows success, so the end is where no
        // call of that number is made any more.
        for (unsigned call = 1; result_.complaints.size() < most_complaints; ++call) {
            const trial_result alone = attempt({where, call, false, 0});
            if (alone.failed == nullptr)
                return;
            for (unsigned way = 1; way < alone.failed->ways.size(); ++way)
                attempt({where, call, false, way});
            attempt({where, call, true, 0});
        }
    }

    // The errors of libcrypto that stood there before are another machine to those that leave them.
    trial_result attempt(const injection::plan &planned)
    {
        if (leaves_libcrypto_errors(call_.function))
            attempt(planned, error_queue::with_an_error);
        return attempt(planned, error_queue::empty);
    }

    trial_result attempt(const injection::plan &planned, error_queue queue)
    {
        trial_result tried = try_call(machine_, call_, planned, queue);
        ++result_.runs;
        if (!tried.complaint.empty())
            result_.complaints.push_back(description(planned, queue, tried) + ":\n" +
                                         tried.complaint);
        const std::vector<fallible_function> &functions = fallible_functions();
        for (std::size_t number = 0; number < functions.size(); ++number) {
            if (const unsigned failures = injection::shared().failures[number]; failures != 0)
                result_.failures[functions[number].name] += failures;
        }
        forget_trace();
        return tried;
    }

    // So that each run finds the machine without a log where the first one did.
    void forget_trace() const
    {
        if (!has_log_)
            std::filesystem::remove_all(trace_directory);
    }

    const constructed_machine &machine_;
    const library_call &call_;
    bool has_log_;
    torture_result result_;
};

} // namespace

torture_result torture(const constructed_machine &machine, const library_call &call)
{
    return torturer(machine, call).result();
}
