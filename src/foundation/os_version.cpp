// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Which variant of the operating system is installed, by its application scene.
#include "foundation/glib_handles.h"
#include "orvane.h"
#include "support/line_reader.h"
#include "support/outside_text.h"
#include "support/text.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>

// Weak, so that the library loads without libzusysinfo and calls whichever object of the process
// defines the function: the real library, the program itself, or a test.
extern "C" [[gnu::weak]] char *zdk_system_get_appScene(void);

namespace orvane {

namespace {

constexpr unsigned int ordinary_version = 0;
constexpr unsigned int education_version = 2;

constexpr std::string_view variant_key = "VARIANT=";

// A value whose quotes are not closed is taken as it stands.
char *variant_in(std::FILE *os_release) noexcept
{
    const heap_text text = whole_text(os_release);
    if (!text)
        return nullptr;
    tokenizer lines(text.get(), "\n");
    while (const char *const line = lines.next()) {
        if (!has_prefix(line, variant_key))
            continue;
        const char *const value = line + variant_key.size();
        const glib_text unquoted(::g_shell_unquote(value, nullptr));
        return ::strdup(unquoted ? unquoted.get() : value);
    }
    return nullptr;
}

// Not by g_get_os_info(), whose descriptor a program that another thread starts would inherit.
char *variant_of_os_release() noexcept
{
    for (const char *const path : {"/etc/os-release", "/usr/lib/os-release"}) {
        const unique_file os_release(::fopen(path, "re"));
        if (os_release)
            return variant_in(os_release.get());
        if (errno != ENOENT)
            return nullptr;
    }
    return nullptr;
}

heap_text application_scene() noexcept
{
    return heap_text(zdk_system_get_appScene != nullptr ? ::zdk_system_get_appScene()
                                                        : variant_of_os_release());
}

// Every edition whose name begins with "EDU" is an education variant.
bool is_education(const char *scene) noexcept
{
    return has_prefix(scene, "EDU");
}

} // namespace

} // namespace orvane

extern "C" unsigned int _os_get_version(void)
{
    ::orvane_trace("_os_get_version, begin");
    const orvane::heap_text scene = orvane::application_scene();
    if (!scene)
        return orvane::ordinary_version;

    orvane::trace_outside_text("_os_get_version, os_ver = %s", scene.get());
    return orvane::is_education(scene.get()) ? orvane::education_version : orvane::ordinary_version;
}

extern "C" unsigned int orvane_get_os_version(void)
{
    return ::_os_get_version();
}
