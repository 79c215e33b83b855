// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fuzz.h"
#include "shell.h"
#include "support/shell.h"

namespace {

constexpr std::string_view tool = "/usr/bin/tool ";

// A name that does not fit loses its end and nothing else.
template <std::size_t Capacity> void require_word(const std::string &name, bool must_quote)
{
    orvane::bounded_text<Capacity> command;
    command.append(tool);
    if (must_quote)
        orvane::append_quoted(command, name);
    else
        orvane::append_word(command, name);
    require(runs_on(command.view(), tool, name));
    const bool is_truncated = literal_word(command.view().substr(tool.size())) != name;
    require(!is_truncated || command.length() + sizeof "'\\''" > Capacity);
}

bool is_plain(const std::string &name)
{
    return name.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
                                  "/_-.:+@,=") == std::string::npos;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string name = text_of(data, size);
    for (const bool must_quote : {false, true}) {
        require_word<tool.size() + 1>(name, must_quote);
        require_word<tool.size() + 2>(name, must_quote);
        require_word<tool.size() + 3>(name, must_quote);
        require_word<tool.size() + 8>(name, must_quote);
        require_word<tool.size() + 30>(name, must_quote);
        require_word<100000>(name, must_quote);
    }
    orvane::bounded_text<100000> word;
    orvane::append_word(word, name);
    require((word.view() == name) == is_plain(name));
    return 0;
}
