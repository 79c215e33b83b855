// SPDX-License-Identifier: LGPL-2.1-or-later
//
// A manufacturer on the first line, and behind it the patterns, as a key file.
#include "fuzz.h"
#include "machine/manufacturer_match.h"
#include "orvane.h"
#include "support/glib_handles.h"

namespace {

void match(const std::string &manufacturer, GKeyFile *patterns, bool ignore_case)
{
    std::string text = manufacturer;
    const int type = orvane::match_manufacturer(text.data(), patterns, ignore_case);
    require(type >= -1 && type <= 12);
    require(ignore_case || text == manufacturer);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    std::string patterns = text_of(data, size);
    const std::string manufacturer = take_line(patterns);

    const orvane::unique_key_file key_file(g_key_file_new());
    g_key_file_load_from_data(key_file.get(), patterns.data(), patterns.size(), G_KEY_FILE_NONE,
                              nullptr);
    // Made once, because matching leaves them as they are.
    static const orvane::unique_key_file exact(generate_machine_whitelist());
    static const orvane::unique_key_file without_case(generate_machine_whitelist_ignore_case());
    for (GKeyFile *const set : {key_file.get(), exact.get(), without_case.get()}) {
        match(manufacturer, set, false);
        match(manufacturer, set, true);
    }
    return 0;
}
