// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// The message for a result code of the library.
const char *result_message(int result);
