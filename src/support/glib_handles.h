// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/owned.h"

#include <glib.h>

namespace orvane {

using glib_text = owned<char, ::g_free>;
using glib_texts = owned<char *, ::g_strfreev>;
using unique_key_file = owned<GKeyFile, ::g_key_file_free>;

// Where a GLib call stores its error: pass out() once.
class unique_error {
public:
    unique_error() = default;
    unique_error(const unique_error &) = delete;
    unique_error &operator=(const unique_error &) = delete;
    ~unique_error() { ::g_clear_error(&error_); }

    explicit operator bool() const noexcept { return error_ != nullptr; }
    [[nodiscard]] const char *message() const noexcept { return error_->message; }
    GError **out() noexcept { return &error_; }

private:
    GError *error_ = nullptr;
};

} // namespace orvane
