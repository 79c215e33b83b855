// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Lines with a digest and a file, as sha256sum, sha1sum and md5sum write and read them.
#pragma once

#include "digest_algorithm.h"

#include <optional>
#include <string>
#include <string_view>

struct checksum {
    const digest_algorithm *algorithm; // by the length of the digest, or by the tag
    std::string digest;
    std::string file;
};

// Nothing where the line is of no other form: with --tag or without.
std::optional<checksum> parse_checksum(std::string_view line);

// A line that names a file between two texts. Where the name has a line end or a "\", these are
// escaped and the line starts with "\".
std::string line_with_name(const std::string &before, const std::string &name,
                           const std::string &after);
