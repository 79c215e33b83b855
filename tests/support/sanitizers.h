// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// Whether the program is linked with a sanitizer's runtime. The tests themselves are compiled once,
// without one, so no macro of the compiler's says so.
bool has_address_sanitizer();
bool has_thread_sanitizer();
