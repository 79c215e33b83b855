// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/bounded_text.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace orvane {

std::size_t text_buffer::length() const noexcept
{
    return ::strlen(buffer_);
}

void text_buffer::clear() noexcept
{
    ::memset(buffer_, 0, capacity_);
}

void text_buffer::append(std::string_view text) noexcept
{
    const std::size_t end = length();
    const std::size_t kept = std::min(text.size(), capacity_ - 1 - end);
    std::copy_n(text.data(), kept, buffer_ + end);
    buffer_[end + kept] = '\0';
}

void text_buffer::assign(std::string_view text) noexcept
{
    clear();
    append(text);
}

void text_buffer::format(const char *format, ...) noexcept
{
    clear();
    va_list arguments;
    va_start(arguments, format);
    append_vformat(format, arguments, 0);
    va_end(arguments);
}

void text_buffer::append_vformat(const char *format, va_list arguments, std::size_t spare) noexcept
{
    const std::size_t end = length();
    const std::size_t taken = end + spare;
    if (taken >= capacity_)
        return;
    // When a conversion fails or the length exceeds INT_MAX, what was written up to there remains.
    static_cast<void>(::vsnprintf(buffer_ + end, capacity_ - taken, format, arguments));
    terminate();
}

void text_buffer::cut_at_any(const char *ends) noexcept
{
    buffer_[::strcspn(buffer_, ends)] = '\0';
}

char *text_buffer::copy() const noexcept
{
    return ::strdup(buffer_);
}

} // namespace orvane
