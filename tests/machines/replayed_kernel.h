// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The kernel of a recorded machine: its answers about network interfaces and block devices. It
// stands in the place of the real one for a program that is linked with it, or into which it is
// loaded, because no test machine can have such devices.
#pragma once

#include <string>

namespace recorded {

// Answers from now on as the texts in this folder state; as the real kernel where it is empty. A
// process that is started with this name in its environment answers so from the start.
inline constexpr char kernel_variable[] = "ORVANE_RECORDED_MACHINE";
void replay_kernel(const std::string &folder);

} // namespace recorded
