// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The orvane command: the library's queries, checks and encodings on the command line. This source
// declares subcommands and options; no other includes CLI11, which takes seconds to compile.
#include "commands.h"
#include "facts.h"
#include "help.h"
#include "output.h"

#include "orvane.h"

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <fcntl.h>
#include <unistd.h>

namespace {

// A subcommand, or the command without one. CLI11 splits the words. What they are examined for and
// in which order is decided here, because releases of CLI11 differ in that and in their messages.
struct subcommand {
    const char *name;
    CLI::App *parser;
    const CLI::Option *help_flag;
    std::function<void()> check_values = [] {};   // before help is printed
    std::function<void()> check_presence = [] {}; // after it
    std::function<int()> run = {};
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

bool is_set(const CLI::Option *flag)
{
    return flag->count() > 0 && flag->as<bool>();
}

void check_given_once(const CLI::Option *option)
{
    if (option->count() > 1)
        throw usage_error(option->get_name() + ": At Most 1 required but received " +
                          std::to_string(option->count()));
}

void check_given(const CLI::Option *option)
{
    if (option->count() == 0)
        throw usage_error(option->get_name() + " is required");
}

void check_excludes(const CLI::Option *one, const CLI::Option *other)
{
    if (one->count() > 0 && other->count() > 0)
        throw usage_error(one->get_name() + " excludes " + other->get_name());
}

void miss_subcommand()
{
    throw usage_error("A subcommand is required");
}

void add_show(CLI::App &app, subcommands &all)
{
    subcommand &command = declare("show", app.add_subcommand("show"), all);
    const auto options = std::make_shared<show_options>();
    const CLI::Option *const name = command.parser->add_option("NAME", options->name);
    const CLI::Option *const json = command.parser->add_flag("--json");
    command.check_values = [name, json, options] {
        if (name->count() > 0 && find_fact(options->name) == nullptr)
            throw usage_error("NAME: unknown fact '" + options->name + "'");
        options->json = is_set(json);
    };
    command.check_presence = [name, json] { check_excludes(name, json); };
    command.run = [options] { return show(*options); };
}

void add_root_disk(CLI::App &app, subcommands &all)
{
    declare("root-disk", app.add_subcommand("root-disk"), all).run = print_root_disk;
}

void check_needs(const CLI::Option *one, const CLI::Option *other)
{
    if (one->count() > 0 && other->count() == 0)
        throw usage_error(one->get_name() + " requires " + other->get_name());
}

void check_named(const CLI::Option *file)
{
    for (const std::string &path : file->results()) {
        if (path.empty())
            throw usage_error(file->get_name() + ": a file needs a name");
    }
}

// The words behind ALGORITHM, beside which there are no options. CLI11 splits one such as "[a,b]".
std::vector<std::string> words_of_digest(std::vector<std::string> arguments)
{
    const auto subcommand = std::find(arguments.begin(), arguments.end(), "digest");
    arguments.erase(arguments.begin(), std::next(subcommand));
    const auto end_of_options = std::find(arguments.begin(), arguments.end(), "--");
    if (end_of_options != arguments.end())
        arguments.erase(end_of_options);
    arguments.erase(arguments.begin());
    return arguments;
}

void add_digest(CLI::App &app, subcommands &all, const std::vector<std::string> &arguments)
{
    subcommand &command = declare("digest", app.add_subcommand("digest"), all);
    const auto options = std::make_shared<digest_options>();
    const auto list_options = std::make_shared<digest_list_options>();
    const CLI::Option *const list = add_value(command, "--check", list_options->list);
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
        if (algorithm->count() > 0)
            options->words = words_of_digest(arguments);
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

// Words that nothing takes are examined last.
void split(int argc, char **argv, CLI::App &app)
{
    try {
        app.parse(argc, argv);
    } catch (const CLI::ExtrasError &) { // check_remaining() reports them
    }
}

// The subcommands that were chosen, the command itself first.
std::vector<const subcommand *> chosen_from(const subcommands &all)
{
    std::vector<const subcommand *> chosen;
    for (const subcommand &command : all) {
        if (command.parser->parsed())
            chosen.push_back(&command);
    }
    return chosen;
}

// In the order in which CLI11 2.1 prints them.
void check_remaining(const CLI::App &parser)
{
    if (parser.remaining_size() == 0) // "--" does not count
        return;
    const std::vector<std::string> words = parser.remaining();
    std::string message = words.size() == 1 ? "The following argument was not expected:"
                                            : "The following arguments were not expected:";
    std::for_each(words.rbegin(), words.rend(),
                  [&message](const std::string &word) { message += " " + word; });
    throw usage_error(message);
}

int refused(const std::string &reason)
{
    print_error(reason + " (see orvane --help)");
    return misuse;
}

int print(const std::string &text)
{
    std::fputs(text.c_str(), stdout);
    return success;
}

// A wrong value comes before help, and help before words that are missing or left over.
int examine_and_run(const std::vector<const subcommand *> &chosen)
{
    const subcommand &command = *chosen.back();
    command.check_values();
    const auto asks_for_help = [](const subcommand *one) { return one->help_flag->count() > 0; };
    if (std::any_of(chosen.begin(), chosen.end(), asks_for_help))
        return print(help_of(command.name));
    command.check_presence();
    for (const subcommand *const one : chosen)
        check_remaining(*one->parser);
    return command.run();
}

// Returns the exit status.
int run(int argc, char **argv)
{
    CLI::App app;
    app.set_help_flag(); // none of CLI11's
    subcommands all;
    declare("", &app, all).run = [] { return show({}); };
    const CLI::Option *const version = app.add_flag("--version");
    add_show(app, all);
    add_root_disk(app, all);
    add_digest(app, all, {argv + std::min(argc, 1), argv + argc});
    add_signature(app, all);
    add_gpg(app, all);
    add_base64(app, all);
    try {
        split(argc, argv, app);
        return is_set(version) ? print("orvane " ORVANE_VERSION "\n")
                               : examine_and_run(chosen_from(all));
    } catch (const CLI::ParseError &error) {
        return refused(error.what());
    } catch (const usage_error &error) {
        return refused(error.what());
    } catch (const negative_result &error) {
        print_error(error.what());
        return negative;
    }
}

// Output that does not reach its destination leaves the result untold.
int flushed(int status)
{
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
        return status;
    print_error(std::string("standard output: ") + std::strerror(errno));
    return undetermined;
}

} // namespace

int main(int argc, char **argv)
{
    const bool has_output = ::fcntl(STDOUT_FILENO, F_GETFD) >= 0;
    redirect_stdio();
    try {
        if (!has_output)
            throw std::runtime_error("standard output is closed");
        std::setlocale(LC_ALL, "");
        return flushed(run(argc, argv));
    } catch (const std::bad_alloc &) {
        print_error("out of memory");
    } catch (const std::exception &error) {
        print_error(error.what());
    }
    return undetermined;
}
