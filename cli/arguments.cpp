// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The subcommands and their options. No other source includes CLI11, which takes seconds to
// compile.
#include "arguments.h"

#include "commands.h"
#include "facts.h"
#include "help.h"
#include "output.h"
#include "remaining_words.h"
#include "version.h"
#include "words.h"

#include <algorithm>
#include <cstdio>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

namespace {

// A subcommand, or the command without one. CLI11 splits the words. What they are examined for, in
// which order and in which words is decided here, because releases of CLI11 differ in that.
struct subcommand {
    const char *name;
    CLI::App *parser;
    const CLI::Option *help_flag;
    std::function<void()> check_values = [] {};   // before help is printed
    std::function<void()> check_presence = [] {}; // after it
    std::function<int()> run = {};
    std::vector<std::pair<const CLI::Option *, bool *>> flags = {};
};
using subcommands = std::deque<subcommand>;

subcommand &declare(const char *name, CLI::App *parser, subcommands &all)
{
    parser->require_subcommand(0, 1);
    all.push_back({name, parser, parser->add_flag("-h,--help")});
    return all.back();
}

// Given more than once it is refused by check_given_once().
CLI::Option *add_value(const subcommand &command, const char *name, std::string &value)
{
    return command.parser->add_option(name, value)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
}

const CLI::Option *add_flag(subcommand &command, const char *name, bool &value)
{
    command.flags.emplace_back(command.parser->add_flag(name), &value);
    return command.flags.back().first;
}

std::string quoted(const CLI::Option *option)
{
    const std::string name = option->get_name();
    return name.starts_with('-') ? "option '" + name + "'" : name;
}

// CLI11 stores "true" for a flag without a value. The last one counts.
bool is_set(const CLI::Option *flag)
{
    bool is_true = false;
    for (const std::string &value : flag->results()) {
        is_true = value == "true";
        if (!is_true && value != "false")
            throw usage_error(quoted(flag) + " takes no value");
    }
    return is_true;
}

void check_given_once(const CLI::Option *option)
{
    if (option->count() > 1)
        throw usage_error(quoted(option) + " is given more than once");
}

void check_given(const CLI::Option *option)
{
    if (option->count() == 0)
        throw usage_error(quoted(option) + " is missing");
}

void check_excludes(const CLI::Option *one, const CLI::Option *other)
{
    if (one->count() > 0 && other->count() > 0)
        throw usage_error(quoted(one) + " cannot be used with " + quoted(other));
}

void miss_subcommand()
{
    throw usage_error("a subcommand is missing");
}

void add_show(CLI::App &app, subcommands &all)
{
    subcommand &command = declare("show", app.add_subcommand("show"), all);
    const auto options = std::make_shared<show_options>();
    const auto format_name = std::make_shared<std::string>("table");
    command.parser->add_option("NAME", options->names);
    command.parser->add_option("--require", options->required);
    const CLI::Option *const format = add_value(command, "--format", *format_name);
    const CLI::Option *const json = add_flag(command, "-j,--json", options->json);
    add_flag(command, "--redact", options->redact);
    add_flag(command, "--trace", options->trace);
    command.check_values = [options, format, format_name] {
        check_facts(options->names);
        options->required = split_at_commas(options->required);
        check_facts(options->required);
        options->format = format_named(*format_name);
        check_given_once(format);
    };
    command.check_presence = [json, format] { check_excludes(json, format); };
    command.run = [options] {
        if (options->json)
            options->format = show_format::json;
        options->json = options->format == show_format::json;
        return show(*options);
    };
}

void add_explain(CLI::App &app, subcommands &all)
{
    subcommand &command = declare("explain", app.add_subcommand("explain"), all);
    const auto options = std::make_shared<query_options>();
    const auto wants_schema = std::make_shared<bool>(false);
    const std::vector<const CLI::Option *> others = {
        command.parser->add_option("FACT", options->names),
        add_flag(command, "-j,--json", options->json),
        add_flag(command, "--redact", options->redact),
        add_flag(command, "--trace", options->trace)};
    const CLI::Option *const schema = add_flag(command, "--schema", *wants_schema);
    command.check_values = [options] { check_facts(options->names); };
    command.check_presence = [schema, others] {
        for (const CLI::Option *const other : others)
            check_excludes(schema, other);
    };
    command.run = [options, wants_schema] {
        return *wants_schema ? print_schema() : explain(*options);
    };
}

void add_doctor(CLI::App &app, subcommands &all)
{
    subcommand &command = declare("doctor", app.add_subcommand("doctor"), all);
    const auto options = std::make_shared<query_options>();
    add_flag(command, "-j,--json", options->json);
    add_flag(command, "--trace", options->trace);
    command.run = [options] { return doctor(*options); };
}

void add_file(subcommand &command, std::string &path)
{
    const CLI::Option *const file = command.parser->add_option("FILE", path);
    command.check_values = [file, &path] {
        if (file->count() > 0 && path.empty())
            throw usage_error("FILE: a file needs a name");
    };
    command.check_presence = [file] { check_given(file); };
}

void add_save(CLI::App &app, subcommands &all)
{
    subcommand &command = declare("save", app.add_subcommand("save"), all);
    const auto options = std::make_shared<query_options>();
    const auto path = std::make_shared<std::string>();
    add_file(command, *path);
    add_flag(command, "--trace", options->trace);
    command.run = [options, path] { return save_facts(*path, *options); };
}

void add_compare(CLI::App &app, subcommands &all)
{
    subcommand &command = declare("compare", app.add_subcommand("compare"), all);
    const auto options = std::make_shared<query_options>();
    const auto path = std::make_shared<std::string>();
    add_file(command, *path);
    add_flag(command, "-j,--json", options->json);
    add_flag(command, "--trace", options->trace);
    command.run = [options, path] { return compare_facts(*path, *options); };
}

void add_root_disk(CLI::App &app, subcommands &all)
{
    declare("root-disk", app.add_subcommand("root-disk"), all).run = print_root_disk;
}

void check_needs(const CLI::Option *one, const CLI::Option *other)
{
    if (one->count() > 0 && other->count() == 0)
        throw usage_error(quoted(one) + " needs " + quoted(other));
}

void check_named(const CLI::Option *file)
{
    for (const std::string &path : file->results()) {
        if (path.empty())
            throw usage_error(file->get_name() + ": a file needs a name");
    }
}

// An option that takes a value takes the next word, whatever it is.
void check_no_option(const CLI::Option *file)
{
    for (const std::string &path : file->results()) {
        if (path.starts_with("--"))
            throw usage_error(quoted(file) + " needs a value");
    }
}

// The words behind a subcommand, where there are no options. CLI11 splits one such as "[a,b]".
words words_behind(const char *subcommand, words arguments)
{
    const auto place = std::find(arguments.begin(), arguments.end(), subcommand);
    arguments.erase(arguments.begin(), std::next(place));
    const auto end_of_options = std::find(arguments.begin(), arguments.end(), "--");
    if (end_of_options != arguments.end())
        arguments.erase(end_of_options);
    return arguments;
}

void add_digest(CLI::App &app, subcommands &all, const std::vector<std::string> &arguments)
{
    subcommand &command = declare("digest", app.add_subcommand("digest"), all);
    const auto options = std::make_shared<digest_options>();
    const auto list_options = std::make_shared<digest_list_options>();
    const CLI::Option *const list = add_value(command, "-c,--check", list_options->list);
    const CLI::Option *const quiet = command.parser->add_flag("--quiet");
    const CLI::Option *const status = command.parser->add_flag("--status");
    const CLI::Option *const ignore_missing = command.parser->add_flag("--ignore-missing");
    const CLI::Option *const strict = command.parser->add_flag("--strict");
    const CLI::Option *const algorithm =
        command.parser->add_option("ALGORITHM", options->algorithm);
    const CLI::Option *const files = command.parser->add_option("FILE", options->words);
    command.check_values = [=] {
        check_named(list);
        check_given_once(list);
        check_no_option(list);
        check_named(files);
        list_options->quiet = is_set(quiet);
        list_options->status = is_set(status);
        list_options->ignore_missing = is_set(ignore_missing);
        list_options->strict = is_set(strict);
    };
    command.check_presence = [=] {
        check_excludes(list, algorithm);
        for (const CLI::Option *const one : {quiet, status, ignore_missing, strict})
            check_needs(one, list);
    };
    command.run = [=] {
        if (list->count() > 0)
            return check_digest_list(*list_options);
        if (algorithm->count() > 0) {
            options->words = words_behind("digest", arguments);
            options->words.erase(options->words.begin()); // the algorithm
        }
        return digest(*options);
    };
}

void add_signature(CLI::App &app, subcommands &all)
{
    subcommand &command = declare("signature", app.add_subcommand("signature"), all);
    const auto options = std::make_shared<signature_options>();
    const CLI::Option *const key = add_value(command, "--key", options->key);
    const CLI::Option *const text = command.parser->add_option("TEXTFILE", options->text_file);
    const CLI::Option *const signature =
        command.parser->add_option("SIGNATUREFILE", options->signature_file);
    command.check_values = [key] {
        check_named(key);
        check_given_once(key);
    };
    command.check_presence = [text, signature] {
        check_given(text);
        check_given(signature);
    };
    command.run = [options] { return check_signature(*options); };
}

void add_output(subcommand &command, gpg_options &options)
{
    const CLI::Option *const output = add_value(command, "--output", options.output);
    command.check_values = [output] {
        check_named(output);
        check_given_once(output);
    };
}

void add_gpg(CLI::App &app, subcommands &all)
{
    subcommand &gpg = declare("gpg", app.add_subcommand("gpg"), all);
    gpg.check_presence = miss_subcommand;

    const auto options = std::make_shared<gpg_options>();
    subcommand &verify = declare("gpg verify", gpg.parser->add_subcommand("verify"), all);
    const CLI::Option *const file = verify.parser->add_option("FILE", options->file);
    add_output(verify, *options);
    verify.check_presence = [file] { check_given(file); };
    verify.run = [options] { return verify_gpg_file(*options); };

    subcommand &encrypt = declare("gpg encrypt", gpg.parser->add_subcommand("encrypt"), all);
    add_output(encrypt, *options);
    encrypt.run = [options] { return encrypt_with_gpg(*options); };
}

void add_base64(CLI::App &app, subcommands &all)
{
    CLI::App *const base64 = app.add_subcommand("base64");
    declare("base64", base64, all).check_presence = miss_subcommand;
    declare("base64 encode", base64->add_subcommand("encode"), all).run = encode_base64;
    declare("base64 decode", base64->add_subcommand("decode"), all).run = decode_base64;
    declare("base64 to-url", base64->add_subcommand("to-url"), all).run = convert_base64_to_url;
    declare("base64 from-url", base64->add_subcommand("from-url"), all).run =
        convert_base64_from_url;
}

void add_check_names(CLI::App &app, subcommands &all, const words &arguments)
{
    subcommand &command = declare("check-names", app.add_subcommand("check-names"), all);
    const auto files = std::make_shared<words>();
    const CLI::Option *const binaries = command.parser->add_option("BINARY", *files);
    command.check_values = [files, binaries] { check_named(binaries); };
    command.check_presence = [binaries] { check_given(binaries); };
    command.run = [arguments] { return check_names(words_behind("check-names", arguments)); };
}

int print(const std::string &text)
{
    std::fputs(text.c_str(), stdout);
    return success;
}

std::string joined(const words &several)
{
    std::string text;
    for (const std::string &word : several)
        text.append(text.empty() ? "" : " ").append(word);
    return text;
}

void add_help(CLI::App &app, subcommands &all)
{
    subcommand &command = declare("help", app.add_subcommand("help"), all);
    const auto topic = std::make_shared<words>();
    command.parser->add_option("SUBCOMMAND", *topic);
    command.check_values = [topic, &all] {
        words known = {"facts"};
        for (const subcommand &one : all)
            known.emplace_back(one.name);
        const std::string name = joined(*topic);
        if (std::find(known.begin(), known.end(), name) == known.end())
            throw usage_error(unknown("topic", name, nearest(name, known)));
    };
    command.run = [topic] {
        const std::string name = joined(*topic);
        return name == "facts" ? print_facts_page() : print(help_of(name));
    };
}

// Words that nothing takes are left for check_no_option_remains() and check_no_word_remains().
void split(const words &given, CLI::App &app)
{
    try {
        app.parse(words(given.rbegin(), given.rend())); // CLI11 takes the first word from the end
    } catch (const CLI::ExtrasError &) {
        return;
    } catch (const CLI::ArgumentMismatch &) {
        const std::string &option = given.back(); // behind which a word is missing
        throw usage_error("option '" + option.substr(0, option.find('=')) + "' needs a value");
    } catch (const CLI::ParseError &) {
        throw usage_error("the arguments are not understood");
    }
}

// The subcommands that were chosen, the command itself first.
using chosen_subcommands = std::vector<const subcommand *>;

chosen_subcommands chosen_from(const subcommands &all)
{
    chosen_subcommands chosen = {&all.front()};
    for (const subcommand &command : all) {
        if (&command != &all.front() && command.parser->parsed())
            chosen.push_back(&command);
    }
    return chosen;
}

std::string call_of(const subcommand &command)
{
    return *command.name == '\0' ? "orvane" : std::string("orvane ") + command.name;
}

words options_of(const subcommand &command)
{
    words options;
    for (const CLI::Option *const one : command.parser->get_options()) {
        for (const std::string &name : one->get_lnames())
            options.push_back("--" + name);
        for (const std::string &name : one->get_snames())
            options.push_back("-" + name);
    }
    return options;
}

words subcommands_of(const subcommand &command)
{
    words names;
    for (const CLI::App *const one : command.parser->get_subcommands({}))
        names.push_back(one->get_name());
    return names;
}

// Words without a subcommand are probably meant for the first one.
remaining_words remaining_from(const chosen_subcommands &chosen, const subcommands &all)
{
    chosen_subcommands commands = chosen;
    if (commands.size() == 1)
        commands.push_back(&all[1]);
    remaining_words remaining;
    for (const subcommand *const one : commands)
        remaining.push_back(
            {call_of(*one), options_of(*one), subcommands_of(*one), one->parser->remaining()});
    return remaining;
}

// A wrong value comes before help, and help before words that are left over or missing. An option
// that is not known may be why a value is wrong.
int examine_and_run(const words &given, const subcommands &all)
{
    const chosen_subcommands chosen = chosen_from(all);
    const subcommand &command = *chosen.back();
    const remaining_words remaining = remaining_from(chosen, all);
    try {
        for (const auto &[flag, value] : command.flags)
            *value = is_set(flag);
        command.check_values();
    } catch (const usage_error &) {
        check_no_option_remains(remaining, given);
        throw;
    }
    const auto asks_for_help = [](const subcommand *one) { return is_set(one->help_flag); };
    if (std::any_of(chosen.begin(), chosen.end(), asks_for_help))
        return print(help_of(command.name));
    check_no_option_remains(remaining, given);
    check_no_word_remains(remaining);
    command.check_presence();
    return command.run();
}

int refused(const std::string &reason, const std::string &page)
{
    print_error(reason + " (see " + page + ")");
    return misuse;
}

} // namespace

int run(const words &command_line)
{
    const words given = with_check_before_list(command_line);
    CLI::App app;
    app.set_help_flag(); // none of CLI11's
    subcommands all;
    declare("", &app, all).run = [] { return show({}); };
    const CLI::Option *const version = app.add_flag("-V,--version");
    add_show(app, all);
    add_explain(app, all);
    add_doctor(app, all);
    add_save(app, all);
    add_compare(app, all);
    add_root_disk(app, all);
    add_digest(app, all, given);
    add_signature(app, all);
    add_gpg(app, all);
    add_base64(app, all);
    add_check_names(app, all, given);
    add_help(app, all);
    try {
        split(given, app);
        return is_set(version) ? print(version_text()) : examine_and_run(given, all);
    } catch (const usage_error_on_page &error) {
        return refused(error.what(), error.page);
    } catch (const usage_error &error) {
        return refused(error.what(), call_of(*chosen_from(all).back()) + " --help");
    } catch (const negative_result &error) {
        print_error(error.what());
        return negative;
    }
}
