// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <memory>

#include <glib.h>

// What the library hands over of GLib's: released when the test is done with it.
struct free_key_file {
    void operator()(GKeyFile *kf) const noexcept { ::g_key_file_free(kf); }
};
using owned_key_file = std::unique_ptr<GKeyFile, free_key_file>;

struct free_glib_text {
    void operator()(char *text) const noexcept { ::g_free(text); }
};
using glib_text = std::unique_ptr<char, free_glib_text>;
