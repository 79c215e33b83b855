// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "injection.h"

#include <cerrno>
#include <string>
#include <vector>

// A function that may fail, and what stands in its place.
struct fallible_function {
    std::string name;
    std::size_t ways; // in which it fails
    bool lasts;       // whether what makes it fail may go on
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

    static inline int number = injection::none;
    static inline genuine real = nullptr;
    static inline failure fail = nullptr;
    static inline std::vector<int> errors;
    static inline bool lasts = true;

    static Result call(Parameters... parameters)
    {
        const std::optional<unsigned> way = injection::next_failure(number, lasts);
        return way ? fail(errors[*way], real, parameters...) : real(parameters...);
    }

    static fallible_function entry(const char *name, failure with, std::vector<int> each_error,
                                   bool goes_on = true)
    {
        fail = with;
        errors = std::move(each_error);
        lasts = goes_on;
        return {name, errors.size(), lasts, reinterpret_cast<void *>(&call),
                [](int its, void *found) {
                    number = its;
                    real = reinterpret_cast<genuine>(found);
                }};
    }
};
