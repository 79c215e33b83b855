// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "fixture.h"
#include "orvane.h"

#include <string>
#include <string_view>

// One of the three checks, with what it is to find of a file that says "abc".
struct digest_check : named_case {
    int (*check)(const char *path, const char *expected);
    const char *of_abc;
    const char *of_nothing;
    const char *calls; // what its calls of libcrypto begin with
};

inline const digest_check digest_checks[] = {
    {"sha256", file_check_sha256,
     "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad",
     "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855", "SHA256"},
    {"sha1", file_check_sha1, "a9993e364706816aba3e25717850c26c9cd0d89d",
     "da39a3ee5e6b4b0d3255bfef95601890afd80709", "SHA1"},
    {"md5", file_check_md5, "900150983cd24fb0d6963f7d28e17f72", "d41d8cd98f00b204e9800998ecf8427e",
     "MD5"},
};

// A machine with one file, which says "abc", and each of the checks in its turn.
class digested_file : public on_machine, public testing::WithParamInterface<digest_check> {
protected:
    void furnish() override
    {
        path = machine.scratch("file");
        machine.file(path, "abc");
    }

    [[nodiscard]] static int check(const std::string &path, const std::string &expected)
    {
        return GetParam().check(path.c_str(), expected.c_str());
    }
    [[nodiscard]] int check(const std::string &expected) const { return check(path, expected); }

    [[nodiscard]] static std::string of_abc() { return GetParam().of_abc; }
    [[nodiscard]] static std::string of_nothing() { return GetParam().of_nothing; }

    std::string path;
};
