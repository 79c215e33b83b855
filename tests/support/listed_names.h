// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "cases.h"
#include "interpose.h"

#include <dirent.h>

// Lets whatever directory is read have these names, in this order.
class listed_names {
public:
    void list(const texts &names)
    {
        names_ = names;
        interpose::readdir = [this](DIR *) -> dirent * {
            if (names_.empty())
                return nullptr;
            entry_ = {};
            names_.front().copy(entry_.d_name, sizeof entry_.d_name - 1);
            names_.erase(names_.begin());
            return &entry_;
        };
    }

    [[nodiscard]] const texts &not_listed() const { return names_; }

private:
    texts names_;
    dirent entry_ = {};
};
