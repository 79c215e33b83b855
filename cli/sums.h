// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <optional>
#include <string>

// One line of a list of digests: what sha256sum, sha1sum and md5sum write.
struct sum {
    std::string digest;
    std::string file;
    std::string name; // of the file, as the line writes it
};

// The line as a sum, or nothing where it is none.
std::optional<sum> parse_sum(const std::string &line);
