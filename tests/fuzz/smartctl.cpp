// SPDX-License-Identifier: LGPL-2.1-or-later
#include "disk/smartctl.h"
#include "fuzz.h"

namespace {

using words = std::initializer_list<const char *>;
constexpr words model_words = {"Model", "product", "Product"};
constexpr words serial_words = {"Serial Number", "Serial number", "serial"};

bool mentions(const std::string &text, words known)
{
    return std::any_of(known.begin(), known.end(),
                       [&text](const char *word) { return text.find(word) != std::string::npos; });
}

// The last field that is no label, of a line that mentions one. Only the first field of a line that
// was looked at so is there for the next look.
void take(std::string &line, words known, std::string &value)
{
    if (!mentions(line, known))
        return;
    std::string first;
    for (std::string rest = line; !rest.empty();) {
        std::string field = up_to(rest, ":");
        rest.erase(0, field.size() + 1);
        if (field.empty())
            continue;
        if (first.empty())
            first = field;
        if (mentions(field, known))
            continue;
        value = field.substr(0, 510);
        std::erase_if(value, [](char c) { return c == ' ' || c == '\n'; });
    }
    // Colons before the first field stay where they are.
    line = line.substr(0, line.find(first) + first.size());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const orvane::unique_file report = stream_of(data, size);
    orvane::smartctl_field model;
    orvane::smartctl_field serial;
    orvane::read_smartctl_report(report.get(), model, serial);
    std::string wanted_model;
    std::string wanted_serial;
    for (std::string rest = bytes_of(data, size); !rest.empty();) {
        std::string line = take_read(rest, 1024);
        take(line, model_words, wanted_model);
        take(line, serial_words, wanted_serial);
    }
    require(model.view() == wanted_model && serial.view() == wanted_serial);
    return 0;
}
