// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "machine.h"

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include <unistd.h>

inline constexpr char scratch_directory[] = "/srv/calls";

inline void make_scratch_directory(constructed_machine &machine)
{
    machine.directory(scratch_directory, 01777);
}

// A path that no other thread or process uses; nothing is there at first.
class scratch_file {
public:
    scratch_file() : path_(std::string(scratch_directory) + "/" + unique()) {}
    explicit scratch_file(std::string_view content) : scratch_file()
    {
        const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(std::fopen(path(), "we"),
                                                                    &std::fclose);
        std::fwrite(content.data(), 1, content.size(), file.get());
    }
    scratch_file(const scratch_file &) = delete;
    scratch_file &operator=(const scratch_file &) = delete;
    ~scratch_file()
    {
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }

    static std::string unique()
    {
        static std::atomic<unsigned long> made = 0;
        return std::to_string(::getpid()) + "." + std::to_string(++made);
    }

    [[nodiscard]] const char *path() const { return path_.c_str(); }
    [[nodiscard]] std::string content() const
    {
        return std::filesystem::exists(path_) ? constructed_machine::content(path_) : "absent";
    }

private:
    std::string path_;
};
