// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

struct digest_algorithm {
    const char *name;
    std::size_t digits;
    int (*check)(const char *path, const char *expected);
};

// nullptr where there is no such algorithm.
const digest_algorithm *find_algorithm(std::string_view name);

// One line of a list as sha256sum, sha1sum and md5sum write it.
struct checksum {
    const digest_algorithm *algorithm; // by the length of the digest
    std::string digest;
    std::string file;
    std::string label; // the file name as the list writes it
};

// The lines that have a checksum. Throws where any other is neither empty nor a comment, or there
// is no file in the list.
std::string read_checksum_list(const std::string &path);

// Takes the first line from such a list, which must not be empty.
checksum next_checksum(std::string_view &list);
