// SPDX-License-Identifier: LGPL-2.1-or-later
//
// What a file that is signed with OpenPGP shows without its key.
#pragma once

#include <string>
#include <vector>

// Whether it is signatures alone, binary or armoured. False also where the file cannot be read.
bool is_detached_signature(const std::string &path);

bool is_gpg_installed();

// The keys that the signatures name, each by its fingerprint, or by its key ID where there is no
// more of it. Nothing vouches for them. None where gpg does not run or finds no signature.
std::vector<std::string> named_signers(const std::string &path);
