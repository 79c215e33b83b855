// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "injection.h"

#include <cerrno>
#include <string>
#include <vector>

// What comes of a call that does not do its work.
enum class effect {
    failure,
    cut_text, // a text that the call was to make or to write is there in part, or not at all
    part, // a part of the work, and the call says so: whoever made it goes on, nothing has failed
};

// A function that may fail, and what stands in its place.
struct fallible_function {
    std::string name;
    std::vector<effect> ways; // in which it fails
    bool lasts;               // whether what makes it fail may go on
    void *replacement;
    void (*keep)(int number, void *genuine); // told when it has been put there
};

template <class Pointer> struct signature_of;
template <class Result, class... Parameters> struct signature_of<Result (*)(Parameters...)> {
    using type = Result(Parameters...);
};
template <class Result, class... Parameters>
struct signature_of<Result (*)(Parameters...) noexcept> {
    using type = Result(Parameters...);
};

// Calls the genuine function unless this call is to fail.
template <auto function, class Signature = typename signature_of<decltype(function)>::type>
struct replacement_of;
template <auto function, class Result, class... Parameters>
struct replacement_of<function, Result(Parameters...)> {
    using genuine = Result (*)(Parameters...);
    // What a call does that fails with this error.
    using failure = Result (*)(int error, genuine real, Parameters... parameters);

    struct way {
        failure fail;
        int error;
        effect what = effect::failure;
        bool fails_again = false; // the next call fails too, in the first way
    };

    static inline int number = injection::none;
    static inline genuine real = nullptr;
    static inline std::vector<way> ways;
    static inline bool lasts = true;

    static Result call(Parameters... parameters)
    {
        const std::optional<unsigned> failing = injection::next_failure(number, lasts);
        if (!failing)
            return real(parameters...);
        const way &chosen = ways[*failing];
        if (chosen.fails_again)
            injection::fail_next(number);
        return chosen.fail(chosen.error, real, parameters...);
    }

    static fallible_function entry(const char *name, std::vector<way> each, bool goes_on = true)
    {
        ways = std::move(each);
        lasts = goes_on;
        std::vector<effect> effects;
        for (const way &one : ways)
            effects.push_back(one.what);
        return {name, effects, lasts, reinterpret_cast<void *>(&call), [](int its, void *found) {
                    number = its;
                    real = reinterpret_cast<genuine>(found);
                }};
    }

    static fallible_function entry(const char *name, failure with, const std::vector<int> &errors)
    {
        std::vector<way> each;
        for (const int error : errors)
            each.push_back({with, error});
        return entry(name, std::move(each));
    }
};
