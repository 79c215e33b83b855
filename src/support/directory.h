// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/owned.h"

#include <cstring>

#include <dirent.h>

namespace orvane {

// The names in a directory, in directory order, without "." and "..".
class directory_names {
public:
    explicit directory_names(const char *path) noexcept : directory_(::opendir(path)) {}

    explicit operator bool() const noexcept { return directory_ != nullptr; }

    // The next name, valid until the next call, or nullptr after the last.
    const char *next() noexcept
    {
        // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread uses this stream.
        while (const dirent *const entry = ::readdir(directory_.get())) {
            if (::strcmp(entry->d_name, ".") != 0 && ::strcmp(entry->d_name, "..") != 0)
                return entry->d_name;
        }
        return nullptr;
    }

private:
    owned<DIR, ::closedir> directory_;
};

} // namespace orvane
