// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/owned.h"

#include <glib.h>

namespace orvane {

inline void free_with_text(GString *string) noexcept
{
    ::g_string_free(string, TRUE);
}

using glib_text = owned<char, ::g_free>;
using glib_texts = owned<char *, ::g_strfreev>;
using glib_string = owned<GString, free_with_text>;
using unique_key_file = owned<GKeyFile, ::g_key_file_free>;

} // namespace orvane
