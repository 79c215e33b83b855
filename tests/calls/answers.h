// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdlib>
#include <memory>
#include <string>

// What a call tells of the text that it was handed; the text is released.
inline std::string told(char *text)
{
    const std::unique_ptr<char, decltype(&std::free)> owned(text, &std::free);
    return text == nullptr ? "NULL" : text;
}

inline std::string told(int number)
{
    return std::to_string(number);
}
