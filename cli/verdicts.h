// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "findings.h"

// Sets the reason by what was observed and by what sysfs shows, takes a value away that stands for
// none, and adds the sources that were not queried.
void judge(finding &one);
