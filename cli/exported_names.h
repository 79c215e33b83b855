// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>
#include <vector>

// A name that other programs and libraries find in a program or shared library.
struct exported_name {
    std::string name;
    std::string version; // empty where it has none
};

struct exports {
    std::string soname; // empty where the file has none
    std::vector<exported_name> names;
};

// What the dynamic symbol table of an ELF file exports, of any class and byte order. The path "-"
// is standard input. Throws where the file is neither a program nor a shared library, or is
// damaged.
exports read_exports(const std::string &path);
