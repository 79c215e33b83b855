// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdlib>
#include <string_view>

namespace orvane {

// Format into a buffer of `size` bytes, at least one, and return the length stored: truncated to
// leave the terminator its byte, any NUL that "%c" stores included. When a conversion fails or the
// length exceeds INT_MAX, what was written up to there remains.
[[gnu::format(printf, 3, 4)]] std::size_t store_format(char *buffer, std::size_t size,
                                                       const char *format, ...) noexcept;
[[gnu::format(printf, 3, 0)]] std::size_t
store_vformat(char *buffer, std::size_t size, const char *format, va_list arguments) noexcept;

// Text in a buffer of fixed size: zero-filled at first, always terminated, truncated where it would
// overflow. The text ends at the first NUL, so a system call may fill data() directly.
//
// This is the part that does not depend on the size; functions take it by reference, so that one
// function serves every bound. Objects are declared as bounded_text<bytes>, or where the thread's
// stack may be too small for them as heap_buffer<bytes>.
class text_buffer {
public:
    text_buffer(const text_buffer &) = delete;
    text_buffer &operator=(const text_buffer &) = delete;

    // The size of the buffer in bytes, terminator included.
    [[nodiscard]] std::size_t capacity() const noexcept { return capacity_; }
    [[nodiscard]] std::size_t length() const noexcept;
    [[nodiscard]] bool empty() const noexcept { return *buffer_ == '\0'; }
    [[nodiscard]] const char *c_str() const noexcept { return buffer_; }
    [[nodiscard]] std::string_view view() const noexcept { return {buffer_, length()}; }

    // For calls that fill a buffer; call terminate() afterwards if they may fill the last byte.
    [[nodiscard]] char *data() noexcept { return buffer_; }
    void terminate() noexcept { buffer_[capacity_ - 1] = '\0'; }

    void clear() noexcept;
    void append(std::string_view text) noexcept;
    void assign(std::string_view text) noexcept; // must not overlap this text
    [[gnu::format(printf, 2, 3)]] void format(const char *format, ...) noexcept;

    // Truncates the text at the first of its bytes that is one of `ends`.
    void cut_at_any(const char *ends) noexcept;

    // A copy allocated with malloc(), or nullptr.
    [[nodiscard]] char *copy() const noexcept;

protected:
    text_buffer(char *buffer, std::size_t capacity) noexcept : buffer_(buffer), capacity_(capacity)
    {
    }
    ~text_buffer() = default;

private:
    char *buffer_;
    std::size_t capacity_;
};

template <std::size_t Bytes> class bounded_text final : public text_buffer {
    static_assert(Bytes > 0, "the terminator needs a byte");

public:
    bounded_text() noexcept : text_buffer(storage_, Bytes) {}

private:
    char storage_[Bytes] = {};
};

// False, and not to be used as a text, where it cannot be allocated.
template <std::size_t Bytes> class heap_buffer final : public text_buffer {
public:
    heap_buffer() noexcept : text_buffer(static_cast<char *>(::calloc(Bytes, 1)), Bytes) {}
    heap_buffer(const heap_buffer &) = delete;
    heap_buffer &operator=(const heap_buffer &) = delete;
    ~heap_buffer() { ::free(data()); }

    explicit operator bool() const noexcept { return c_str() != nullptr; }
};

} // namespace orvane
