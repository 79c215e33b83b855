// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>

// One plain line on standard error, whatever the message holds.
void complain(const std::string &message);

// A line on standard output. A script gets every byte of it, a terminal none that it would obey.
void say(const std::string &line);
