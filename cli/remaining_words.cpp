// SPDX-License-Identifier: LGPL-2.1-or-later
#include "remaining_words.h"

#include "facts.h"

namespace {

bool is_option(const std::string &word)
{
    return word.size() > 1 && word.starts_with('-') && word != "--";
}

// As the user wrote it, but for its value: of "-json" the letters that are not known remain.
std::string option_given(const std::string &option, const words &given)
{
    if (option.starts_with("--"))
        return option.substr(0, option.find('='));
    for (const std::string &word : given) {
        if (is_option(word) && word.ends_with(option.substr(1)))
            return word;
    }
    return option;
}

// The option of this subcommand, or else of the last one that has it, with its subcommand.
std::string option_meant(const std::string &option, const words_behind &here,
                         const remaining_words &places)
{
    if (std::string meant = nearest(option, here.options); !meant.empty())
        return meant;
    std::string meant;
    for (const words_behind &place : places) {
        if (const std::string there = nearest(option, place.options); !there.empty())
            meant = place.call + " " + there;
    }
    return meant;
}

// The subcommand, or else what shows the fact.
std::string subcommand_meant(const std::string &word, const words_behind &here)
{
    const std::string meant = nearest(word, here.subcommands);
    return meant.empty() && find_fact(word) != nullptr ? "orvane show " + word : meant;
}

[[noreturn]] void refuse(const words_behind &here, const std::string &message)
{
    throw usage_error_on_page(message, here.call + " --help");
}

} // namespace

void check_no_option_remains(const remaining_words &remaining, const words &given)
{
    for (const words_behind &here : remaining) {
        for (const std::string &word : here.remaining) {
            if (!is_option(word))
                continue;
            const std::string option = option_given(word, given);
            refuse(here, unknown("option", option, option_meant(option, here, remaining)));
        }
    }
}

void check_no_word_remains(const remaining_words &remaining)
{
    for (const words_behind &here : remaining) {
        for (const std::string &word : here.remaining) {
            if (word == "--") // it ends the options
                continue;
            refuse(here, here.subcommands.empty()
                             ? "unexpected argument '" + word + "'"
                             : unknown("subcommand", word, subcommand_meant(word, here)));
        }
    }
}
