// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/tool.h"

#include <unistd.h>

namespace orvane {

bool is_runnable(const char *path) noexcept
{
    return ::access(path, R_OK | X_OK) == 0;
}

tool_output run_tool(const char *command) noexcept
{
    // NOLINTNEXTLINE(cert-env33-c): some tools are pipelines, and only a shell joins them.
    return tool_output(command == nullptr ? nullptr : ::popen(command, "r"));
}

} // namespace orvane
