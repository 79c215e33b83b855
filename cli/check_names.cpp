// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Names of programs and shared libraries that take the place of the library's own, which calls its
// functions by their names.
#include "commands.h"
#include "exported_names.h"
#include "output.h"

#include <cstdio>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>

#include <dlfcn.h>
#include <link.h>

namespace {

constexpr char library_soname[] = ORVANE_SONAME;

// A program may define it, and the library calls that one.
constexpr std::string_view made_to_be_replaced = "get_machine_info_simulate";

// The file of the library that this process has loaded.
std::string file_of_library()
{
    void *const library = ::dlopen(library_soname, RTLD_LAZY | RTLD_NOLOAD);
    if (library == nullptr)
        throw std::runtime_error(std::string(library_soname) + ": it is not loaded");
    const link_map *map = nullptr;
    const int status = ::dlinfo(library, RTLD_DI_LINKMAP, static_cast<void *>(&map));
    std::string file = status == 0 ? map->l_name : "";
    ::dlclose(library);
    return file;
}

using versions_by_name = std::map<std::string, std::string>;

versions_by_name names_of_library()
{
    versions_by_name names;
    for (const exported_name &one : read_exports(file_of_library()).names)
        names.emplace(one.name, one.version);
    return names;
}

// The library's calls are of its own version: the dynamic linker finds that one, or a name that has
// no version.
std::set<std::string> taken_names(const exports &binary, const versions_by_name &library)
{
    std::set<std::string> names;
    for (const exported_name &one : binary.names) {
        const auto found = library.find(one.name);
        if (found != library.end() && (one.version.empty() || one.version == found->second))
            names.insert(one.name);
    }
    return names;
}

// Whether a name is one that should not be there.
bool print_names(const std::string &file, const exports &binary, const versions_by_name &library)
{
    if (binary.soname == library_soname) {
        print_line(file + ": (the library itself)");
        return false;
    }
    bool is_any_wrong = false;
    for (const std::string &name : taken_names(binary, library)) {
        const bool is_wrong = name != made_to_be_replaced;
        std::string line = file + ": ";
        print_line(line.append(name).append(is_wrong ? "" : " (made to be replaced)"));
        is_any_wrong = is_any_wrong || is_wrong;
    }
    return is_any_wrong;
}

} // namespace

int check_names(const std::vector<std::string> &binaries)
{
    const versions_by_name library = names_of_library();
    bool is_any_wrong = false;
    bool is_any_unreadable = false;
    for (const std::string &file : binaries) {
        try {
            is_any_wrong = print_names(file, read_exports(file), library) || is_any_wrong;
        } catch (const std::runtime_error &error) {
            flush_output();
            print_error(error.what());
            is_any_unreadable = true;
        }
    }
    if (is_any_wrong) {
        flush_output();
        print_error(
            "the library uses these in the place of its own: rename them, make them static, "
            "or compile them with -fvisibility=hidden");
        return negative;
    }
    return is_any_unreadable ? undetermined : success;
}
