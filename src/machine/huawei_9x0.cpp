// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Whether the machine has one of three Kirin processors.
#include "orvane.h"
#include "support/line_reader.h"
#include "support/owned.h"

#include <algorithm>
#include <iterator>

#include <glib.h>
#include <strings.h>

namespace orvane {

namespace {

constexpr char label[] = "hardware";
constexpr const char *processors[] = {"kirin990", "kirin9006c", "kirin9a0"};

bool names_processor(const char *line) noexcept
{
    return std::any_of(std::begin(processors), std::end(processors), [line](const char *processor) {
        return ::g_strrstr(line, processor) != nullptr;
    });
}

// A line counts however it is spaced and capitalised.
bool names_kirin_9x0(std::FILE *cpuinfo) noexcept
{
    line_buffer line;
    while (read_line(cpuinfo, line)) {
        ::toLowerCase(line.data());
        ::removeSpacesTabs(line.data());
        if (::strncasecmp(line.c_str(), label, sizeof label - 1) == 0 &&
            names_processor(line.c_str()))
            return true;
    }
    return false;
}

} // namespace

} // namespace orvane

extern "C" int is_huawei_9x0(void)
{
    const orvane::unique_file cpuinfo(::fopen("/proc/cpuinfo", "re"));
    return cpuinfo && orvane::names_kirin_9x0(cpuinfo.get()) ? 1 : 0;
}
