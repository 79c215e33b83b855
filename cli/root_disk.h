// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>

// The disk that lsblk lists with the root file system on one of its partitions; throws why there is
// none.
std::string root_disk();
