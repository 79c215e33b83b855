// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "cases.h"

#include <cstddef>
#include <stdexcept>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

// Bytes and their base64.
struct base64_sample : named_case {
    std::string bytes;
    std::string text;
};

inline const std::string every_byte = [] {
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte)
        bytes += static_cast<char>(byte);
    return bytes;
}();

inline const base64_sample base64_samples[] = {
    {"f", "f", "Zg=="},
    {"fo", "fo", "Zm8="},
    {"foo", "foo", "Zm9v"},
    {"foob", "foob", "Zm9vYg=="},
    {"fooba", "fooba", "Zm9vYmE="},
    {"foobar", "foobar", "Zm9vYmFy"},
    {"abc", "abc", "YWJj"},
    {"a_zero_byte", std::string("\0", 1), "AA=="},
    {"zero_bytes", std::string("\0\0\0", 3), "AAAA"},
    {"a_zero_byte_inside", std::string("a\0b", 3), "YQBi"},
    {"bytes_of_ones", "\xff\xff\xff", "////"},
    {"bytes_with_plus_signs", "\xfb\xef\xbe", "++++"},
    {"line_ends", "\r\n\t ", "DQoJIA=="},
    {"more_than_a_line_of_mail", std::string(49, 'a'),
     "YWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYQ=="},
    {"every_byte", every_byte,
     "AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8gISIjJCUmJygpKissLS4vMDEyMzQ1Njc4OTo7PD0+P0BB"
     "QkNERUZHSElKS0xNTk9QUVJTVFVWV1hZWltcXV5fYGFiY2RlZmdoaWprbG1ub3BxcnN0dXZ3eHl6e3x9fn+AgYKD"
     "hIWGh4iJiouMjY6PkJGSk5SVlpeYmZqbnJ2en6ChoqOkpaanqKmqq6ytrq+wsbKztLW2t7i5uru8vb6/wMHCw8TF"
     "xsfIycrLzM3Oz9DR0tPU1dbX2Nna29zd3t/g4eLj5OXm5+jp6uvs7e7v8PHy8/T19vf4+fr7/P3+/w=="},
};

inline std::string repeated(const std::string &piece, std::size_t times)
{
    std::string all;
    all.reserve(piece.size() * times);
    while (times-- > 0)
        all += piece;
    return all;
}

// "abcabcabc..." of this many bytes.
inline base64_sample long_sample(std::size_t size)
{
    const std::string rests[] = {"", "a", "ab"};
    const std::string encoded_rests[] = {"", "YQ==", "YWI="};
    return {"long", repeated("abc", size / 3) + rests[size % 3],
            repeated("YWJj", size / 3) + encoded_rests[size % 3]};
}

// A text whose terminator is the last byte that can be read: the memory behind it is not
// readable.
class guarded_text {
public:
    explicit guarded_text(const std::string &text)
        : size_((text.size() / page_bytes + 1) * page_bytes),
          start_(static_cast<char *>(::mmap(nullptr, size_ + page_bytes, PROT_READ | PROT_WRITE,
                                            MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))),
          text_(start_ + size_ - text.size() - 1)
    {
        if (start_ == MAP_FAILED || ::mprotect(start_ + size_, page_bytes, PROT_NONE) != 0)
            throw std::runtime_error("no memory for a text");
        text.copy(text_, text.size());
    }
    guarded_text(const guarded_text &) = delete;
    guarded_text &operator=(const guarded_text &) = delete;
    ~guarded_text() { ::munmap(start_, size_ + page_bytes); }

    [[nodiscard]] const char *data() const { return text_; }

private:
    static constexpr std::size_t page_bytes = 65536; // the largest page of any machine

    std::size_t size_;
    char *start_;
    char *text_;
};

// Gigabytes of one character, and a zero byte, in two megabytes of memory: every block of them is
// the same one.
class repeated_block {
public:
    repeated_block(std::size_t bytes, char character)
        : size_((bytes + block_bytes - 1) / block_bytes * block_bytes)
    {
        const int block = ::memfd_create("block", MFD_CLOEXEC);
        const std::string content(block_bytes, character);
        if (::write(block, content.data(), block_bytes) != static_cast<ssize_t>(block_bytes))
            throw std::runtime_error("no memory for a block");
        start_ = static_cast<char *>(::mmap(nullptr, size_ + block_bytes, PROT_READ,
                                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
        if (start_ == MAP_FAILED)
            throw std::runtime_error("no addresses for a block");
        for (std::size_t at = 0; at < size_; at += block_bytes)
            ::mmap(start_ + at, block_bytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, block,
                   0);
        ::close(block);
    }
    repeated_block(const repeated_block &) = delete;
    repeated_block &operator=(const repeated_block &) = delete;
    ~repeated_block() { ::munmap(start_, size_ + block_bytes); }

    [[nodiscard]] char *data() const { return start_; }

private:
    static constexpr std::size_t block_bytes = 1UL << 21U;

    std::size_t size_;
    char *start_;
};
