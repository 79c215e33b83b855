// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

// The library counts in int. Whatever reads an input throws as soon as it is longer than its limit.
constexpr std::uintmax_t longest_input = std::numeric_limits<int>::max();
constexpr std::uintmax_t any_length = std::numeric_limits<std::uintmax_t>::max();

// Standard input in messages.
constexpr char input_name[] = "standard input";

// An input that cannot be opened or read.
class unreadable_input : public std::runtime_error {
public:
    unreadable_input(const std::string &name, const std::string &reason)
        : std::runtime_error(name + ": " + reason), reason_(reason)
    {
    }

    [[nodiscard]] const std::string &reason() const { return reason_; }

private:
    std::string reason_;
};

// All bytes of standard input. Throws also where it cannot be read.
std::string read_input(std::uintmax_t limit = longest_input);

// The same of a text, from standard input or a file. Throws also for a zero byte, at which the
// library would take the text to end.
std::string read_input_text();
std::string read_text(const std::string &path);

// All bytes of a file, where "-" is standard input.
std::string read_file(const std::string &path);

// The first line of a short file of the kernel's or the system's; empty where it cannot be read.
std::string first_line_of(const std::string &path);

// Throws where a file is missing or cannot be read to its end. Nothing is read of a pipe or a
// device.
void check_readable(const std::string &path);

struct close_stream {
    void operator()(std::FILE *stream) const noexcept
    {
        if (stream != stdin)
            std::fclose(stream);
    }
};
using unique_stream = std::unique_ptr<std::FILE, close_stream>;

// The file at a path, where "-" is standard input.
unique_stream open_input(const std::string &path);
std::string name_of_input(const std::string &path);

enum class content { bytes, text };

// An input that is read in blocks.
class input_blocks {
public:
    input_blocks(std::FILE *stream, std::string name, content kind, std::uintmax_t limit);

    // The bytes that follow, until the next call; none at the end of the input.
    std::string_view next();

    [[nodiscard]] const std::string &name() const { return name_; }

private:
    std::FILE *stream_;
    std::string name_;
    content kind_;
    std::uintmax_t left_; // up to the limit
    std::uintmax_t limit_;
    std::array<char, 65536> block_ = {};
};

// An input that is read line by line. Throws also where a line is longer than a mebibyte.
class text_lines {
public:
    explicit text_lines(const std::string &path); // "-" is standard input

    // Reads the next line, without the line feed at its end. False behind the last one.
    bool next(std::string &line);

    // The number of the line that was read last, from 1 on.
    [[nodiscard]] std::size_t number() const { return number_; }

private:
    unique_stream stream_;
    input_blocks blocks_;
    std::string_view unread_; // of the block
    std::size_t number_ = 0;
};
