// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/bounded_text.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace orvane {

std::size_t store_vformat(char *buffer, std::size_t size, const char *format,
                          va_list arguments) noexcept
{
    *buffer = '\0';
    const int length = ::vsnprintf(buffer, size, format, arguments);
    if (length < 0)
        return ::strnlen(buffer, size - 1);
    return std::min(static_cast<std::size_t>(length), size - 1);
}

std::size_t store_format(char *buffer, std::size_t size, const char *format, ...) noexcept
{
    va_list arguments;
    va_start(arguments, format);
    const std::size_t length = store_vformat(buffer, size, format, arguments);
    va_end(arguments);
    return length;
}

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
    store_vformat(buffer_, capacity_, format, arguments);
    va_end(arguments);
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
