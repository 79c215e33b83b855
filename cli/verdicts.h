// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "findings.h"

#include <string>
#include <string_view>
#include <vector>

// Sets the reason by what was observed and by what sysfs shows, takes a value away that stands for
// none, and adds the sources that were not queried.
void judge(finding &one);

// The same of one kind of fact.
void judge_uuid(finding &one);
void judge_firmware(finding &one);
void judge_flash(finding &one);
void judge_maker(finding &one);
void judge_network(finding &one);
void judge_device(finding &one);
void judge_disk(finding &one);

// What these have in common.

bool exists(const char *path);
bool is_text(const finding &one);

// The last step with this result; nullptr where there is none.
const step *with(const finding &one, const reason &result);

// Takes the value away for this reason, which is about something.
void miss(finding &one, const reason &why, const std::string &subject = "");

inline constexpr char earlier_one_answered[] = "an earlier source answered";
void add_unqueried(std::vector<step> &steps, const char *source, const std::string &why);

// The same where root_device() has no answer, once its steps are explained.
void miss_root_device(finding &one);

// Adds what the mount table and the command line name to the steps of the fact's call of
// root_device(), and returns its answer.
std::string explain_root_device(finding &one);

// The type of the file system that is mounted at "/".
std::string type_of_root();
