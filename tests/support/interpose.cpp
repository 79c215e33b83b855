// SPDX-License-Identifier: LGPL-2.1-or-later
#include "interpose.h"

#include <stdexcept>
#include <string_view>

#include <gtest/gtest.h>

#include <dlfcn.h>

namespace interpose {

bool is_from_library(const void *address)
{
    Dl_info where = {};
    return ::dladdr(address, &where) != 0 &&
           std::string_view(where.dli_fname).find("/liborvane.so") != std::string_view::npos;
}

void *next_definition(const char *name)
{
    void *const found = ::dlsym(RTLD_NEXT, name);
    if (found == nullptr)
        throw std::runtime_error(std::string("nobody else defines ") + name);
    return found;
}

#define INTERPOSED_AS(symbol, result, name, parameters, arguments)                                 \
    constinit hook<result parameters> name(symbol);
INTERPOSED_FUNCTIONS
#undef INTERPOSED_AS

namespace {

class take_back : public testing::EmptyTestEventListener {
    void OnTestEnd(const testing::TestInfo &) override
    {
#define INTERPOSED_AS(symbol, result, name, parameters, arguments) name.reset();
        INTERPOSED_FUNCTIONS
#undef INTERPOSED_AS
    }
};

const bool listening = [] {
    testing::UnitTest::GetInstance()->listeners().Append(new take_back);
    return true;
}();

} // namespace

} // namespace interpose

// The definitions that the library's calls find first. Their C++ names differ from the system's,
// whose declarations say more (noexcept, attributes) than needs repeating here.
#define INTERPOSED_AS(symbol, result, name, parameters, arguments)                                 \
    extern "C" result interposed_##name parameters __asm__(symbol);                                \
    extern "C" __attribute__((visibility("default"))) result interposed_##name parameters          \
    {                                                                                              \
        return interpose::name.call(__builtin_return_address(0) INTERPOSED_ARGUMENTS arguments);   \
    }
#define INTERPOSED_ARGUMENTS(...) __VA_OPT__(, ) __VA_ARGS__
INTERPOSED_FUNCTIONS

extern "C" int interposed_checked_open(const char *path, int flags) __asm__(SYMBOL_OF_CHECKED_OPEN);
extern "C" __attribute__((visibility("default"))) int interposed_checked_open(const char *path,
                                                                              int flags)
{
    return interpose::open.call(__builtin_return_address(0), path, flags, mode_t{0});
}
