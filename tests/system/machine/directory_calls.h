// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "recorded_calls.h"

// Writes down also which directories are opened and how their entries are examined.
class directory_calls : public recorded_calls {
public:
    directory_calls()
    {
        interpose::opendir = [this](const char *path) {
            note("opendir", path);
            return interpose::opendir.real(path);
        };
        interpose::closedir = [this](DIR *directory) {
            note("closedir");
            return interpose::closedir.real(directory);
        };
        interpose::stat = [this](const char *path, struct stat *status) {
            note("stat", path);
            return interpose::stat.real(path, status);
        };
        interpose::lstat = [this](const char *path, struct stat *status) {
            note("lstat", path);
            return interpose::lstat.real(path, status);
        };
        interpose::basename = [this](const char *path) {
            note("basename", path);
            return interpose::basename.real(path);
        };
        interpose::orvane_logger_env_init = [] { return 0; }; // no trace
    }
};
