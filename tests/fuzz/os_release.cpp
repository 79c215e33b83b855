// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fuzz.h"
#include "orvane.h"

#include <dlfcn.h>

namespace {

const memory_file release;

bool is_release(std::string_view path)
{
    return path == "/etc/os-release" || path == "/usr/lib/os-release";
}

// Some line names the variant, once its quotes are removed.
bool may_be_education(std::string text)
{
    std::erase_if(text, [](char c) { return c == '"' || c == '\'' || c == '\\'; });
    return text.find("VARIANT=EDU") != std::string::npos;
}

bool is_plainly_education(const std::string &text)
{
    return text.starts_with("VARIANT=EDU") &&
           text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ=\n") == std::string::npos;
}

} // namespace

extern "C" FILE *fopen(const char *path, const char *mode)
{
    static auto *const real = reinterpret_cast<decltype(&::fopen)>(::dlsym(RTLD_NEXT, "fopen"));
    return real(is_release(path) ? release.path() : path, mode);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string text = bytes_of(data, size);
    release.fill(text);
    const unsigned int version = orvane_get_os_version();
    require(version == 0 || version == 2);
    require(version == 0 || may_be_education(text));
    require(version == 2 || !is_plainly_education(text));
    return 0;
}
