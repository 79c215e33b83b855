// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

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

// Throws where any line is not one of such a list, or there is no file in it.
std::vector<checksum> read_checksum_list(const std::string &path);
