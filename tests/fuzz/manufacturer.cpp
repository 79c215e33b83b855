// SPDX-License-Identifier: LGPL-2.1-or-later
//
// A manufacturer on the first line, and behind it the patterns, as a key file.
#include "faked_system.h"
#include "foundation/glib_handles.h"
#include "orvane.h"

namespace {

void match(GKeyFile *patterns, bool ignore_case)
{
    const int type = maching_machine_type(patterns, ignore_case);
    require(type >= -1 && type <= 12);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    std::string patterns = text_of(data, size);
    faked::reset();
    faked::tool_output = take_line(patterns);

    const orvane::unique_key_file key_file(g_key_file_new());
    g_key_file_load_from_data(key_file.get(), patterns.data(), patterns.size(), G_KEY_FILE_NONE,
                              nullptr);
    // Made once, because matching leaves them as they are.
    static const orvane::unique_key_file exact(generate_machine_whitelist());
    static const orvane::unique_key_file without_case(generate_machine_whitelist_ignore_case());
    for (GKeyFile *const set : {key_file.get(), exact.get(), without_case.get()}) {
        match(set, false);
        match(set, true);
    }
    return 0;
}
