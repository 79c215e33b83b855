// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdarg>
#include <cstddef>
#include <string_view>

namespace orvane {

// Text in a room of fixed size: zero-filled at first, terminated always, cut where it would
// overflow. The text ends at the first NUL, whoever stored it, so a reader may let a system call
// fill data() and go on from there.
//
// This is the part that does not depend on the size; functions take it by reference, so that one
// function serves every bound. What is declared is a bounded_text<bytes>.
class text_buffer {
public:
    text_buffer(const text_buffer &) = delete;
    text_buffer &operator=(const text_buffer &) = delete;

    // Bytes of the room, the terminator's included.
    [[nodiscard]] std::size_t capacity() const noexcept { return capacity_; }
    [[nodiscard]] std::size_t length() const noexcept;
    [[nodiscard]] bool empty() const noexcept { return *room_ == '\0'; }
    [[nodiscard]] const char *c_str() const noexcept { return room_; }
    [[nodiscard]] std::string_view view() const noexcept { return {room_, length()}; }

    // For calls that fill a buffer; terminate() afterwards if they may fill the last byte.
    [[nodiscard]] char *data() noexcept { return room_; }
    void terminate() noexcept { room_[capacity_ - 1] = '\0'; }

    void clear() noexcept;
    void append(std::string_view text) noexcept;
    void assign(std::string_view text) noexcept; // of another text, not a part of this one
    [[gnu::format(printf, 2, 3)]] void format(const char *format, ...) noexcept;

    // Formats behind the text and leaves `spare` bytes free for what must still follow.
    [[gnu::format(printf, 2, 0)]] void append_vformat(const char *format, va_list arguments,
                                                      std::size_t spare = 0) noexcept;

    // Ends the text at the first of its bytes that is one of `ends`.
    void cut_at_any(const char *ends) noexcept;

    // A new block for the caller of the library, or nullptr.
    [[nodiscard]] char *copy() const noexcept;

protected:
    text_buffer(char *room, std::size_t capacity) noexcept : room_(room), capacity_(capacity) {}
    ~text_buffer() = default;

private:
    char *room_;
    std::size_t capacity_;
};

template <std::size_t Bytes> class bounded_text final : public text_buffer {
    static_assert(Bytes > 0, "a text needs room for its terminator");

public:
    bounded_text() noexcept : text_buffer(storage_, Bytes) {}

private:
    char storage_[Bytes] = {};
};

} // namespace orvane
