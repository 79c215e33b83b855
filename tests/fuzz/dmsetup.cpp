// SPDX-License-Identifier: LGPL-2.1-or-later
#include "disk/dmsetup.h"
#include "fuzz.h"

namespace {

// The first of the parts between colons that does not say how many there are.
std::string expected(std::string report)
{
    if (report.find(':') == std::string::npos)
        return "";
    while (!report.empty()) {
        std::string part = up_to(report, ":");
        report.erase(0, part.size() + 1);
        if (part.starts_with("0 dependencies"))
            return "";
        if (part.empty() || part.find("dependencies") != std::string::npos)
            continue;
        part.resize(std::min<std::size_t>(part.size(), 1023));
        std::erase_if(part, [](char c) { return c == '\n' || c == ' ' || c == '(' || c == ')'; });
        return part;
    }
    return "";
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    std::string report = text_of(data, size);
    const std::string wanted = expected(report);
    orvane::bounded_text<1024> name;
    orvane::find_dependency(report.data(), name);
    require(name.view() == wanted);
    return 0;
}
