// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// What a result of the library's says, in words.
const char *in_words(int result);
