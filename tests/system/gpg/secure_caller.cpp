// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Prints the results of both GPG functions, and the locale that they leave.
#include "orvane.h"

#include <clocale>
#include <cstdio>

// Such a process cannot be traced, nor does it see ASAN_OPTIONS.
extern "C" const char *__asan_default_options();
extern "C" const char *__asan_default_options()
{
    return "detect_leaks=0";
}

int main(int, char **arguments)
{
    const int verified = gpg_verify(arguments[1], nullptr, nullptr);
    const int encrypted = gpg_encrypt("text", nullptr, nullptr);
    std::printf("%d %d %s\n", verified, encrypted, std::setlocale(LC_ALL, nullptr));
}
