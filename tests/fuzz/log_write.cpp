// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The tag on the first line, and behind it the message.
#include "fuzz.h"
#include "orvane.h"

#include <cctype>

namespace {

constexpr std::string_view stamp_form = "0000-00-00 00:00:00";

bool is_stamp(std::string_view text)
{
    return std::equal(text.begin(), text.end(), stamp_form.begin(), [](char c, char form) {
        return form == '0' ? std::isdigit(static_cast<unsigned char>(c)) != 0 : c == form;
    });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const memory_file log;
    std::string message = text_of(data, size);
    const std::string tag = take_line(message);
    log.fill("as it was\n");
    log_write(log.path(), message.c_str(), tag.c_str(), 0);
    require(log.content() == "as it was\n");

    log.fill("");
    log_write(log.path(), message.c_str(), tag.c_str(), 1);
    const std::string event = log.content();
    const std::string start = "(" + tag + ") Time: ";
    const std::string stamp =
        event.substr(std::min(start.size(), event.size())).substr(0, stamp_form.size());
    require(is_stamp(stamp));
    const std::string whole = start + stamp + "\t\tMessage: " + message + "\n";
    require(event == whole.substr(0, 1023));
    return 0;
}
