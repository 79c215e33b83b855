// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The options of the sanitizers in every test program.
#include "sanitizers.h"

#include <dlfcn.h>

bool has_address_sanitizer()
{
    return ::dlsym(RTLD_DEFAULT, "__asan_init") != nullptr;
}

bool has_thread_sanitizer()
{
    return ::dlsym(RTLD_DEFAULT, "__tsan_init") != nullptr;
}

namespace {

// AddressSanitizer that is preloaded starts at the first allocation. libgpg-error makes that while
// it holds a lock of the C library's, which the start needs too.
void start_sanitizer()
{
    if (void *const start = ::dlsym(RTLD_DEFAULT, "__asan_init"))
        reinterpret_cast<void (*)()>(start)();
}

// Before the constructors of all libraries.
[[gnu::section(".preinit_array"), gnu::used]] void (*const start_first)() = start_sanitizer;

} // namespace

extern "C" const char *__asan_default_options()
{
    // Memory that cannot be had is a null pointer, as everywhere else.
    return "detect_stack_use_after_return=1:allocator_may_return_null=1";
}

// The leaks that are accepted, each by name.
extern "C" const char *__lsan_default_suppressions()
{
    return
        // Nobody releases the key that a text is encrypted to.
        "leak:gpgme_get_key\n";
}

extern "C" const char *__tsan_default_options()
{
    return "history_size=4:allocator_may_return_null=1";
}

// The races that are accepted, each by name.
extern "C" const char *__tsan_default_suppressions()
{
    return
        // The stamp of a trace line stands in one static text for the whole process, and its
        // readers accept to see another thread's.
        "race:time_string\n"
        // The events' stamp comes from localtime(), whose one result for the whole process is the
        // C library's; callers of the event log accept to see another thread's.
        "race:^localtime$\n"
        "race:^__interceptor_localtime$\n"
        // GLib is not built with the sanitizer, which does not see how its locks order its
        // accesses.
        "called_from_lib:libglib-2.0.so\n";
}
