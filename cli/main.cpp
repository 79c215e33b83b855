// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The orvane command: what the library knows, for people and scripts.
#include "facts.h"
#include "quiet.h"
#include "root_disk.h"
#include "show.h"

#include "orvane.h"

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <exception>
#include <stdexcept>
#include <string>

#include <CLI/CLI.hpp>
#include <fcntl.h>
#include <unistd.h>

namespace {

enum exit_status {
    done = 0,
    no_answer = 1, // also: the answer could not be printed
    wrong_use = 2,
};

struct request {
    bool json = false;
    bool root_disk = false;
    std::string name; // empty for all facts
};

// A text from outside may hold what a terminal obeys, in the user's encoding.
std::string without_controls(const std::string &text)
{
    std::string plain;
    std::mbstate_t state = {};
    for (std::size_t at = 0; at < text.size();) {
        wchar_t wide = 0;
        const std::size_t size = std::mbrtowc(&wide, &text[at], text.size() - at, &state);
        const bool is_character = size <= text.size() - at && size > 0;
        if (is_character && std::iswcntrl(static_cast<std::wint_t>(wide)) == 0)
            plain.append(text, at, size);
        else
            plain.push_back(is_character ? ' ' : '?');
        if (!is_character)
            state = {};
        at += is_character ? size : 1;
    }
    return plain;
}

// One plain line, whatever the message holds.
void complain(const std::string &message)
{
    std::fprintf(stderr, "orvane: %s\n", without_controls(message).c_str());
}

// A script gets every byte of the value, a terminal none that it would obey.
void print_value(const answer &value)
{
    const std::string text = to_text(value);
    std::puts((::isatty(STDOUT_FILENO) != 0 ? without_controls(text) : text).c_str());
}

void describe(CLI::App &app, request &wanted)
{
    app.set_version_flag("--version", "orvane " ORVANE_VERSION);
    app.require_subcommand(0, 1);

    CLI::App *const show = app.add_subcommand("show", "Show what is known (the default)");
    CLI::Option *const name =
        show->add_option("NAME", wanted.name, "One fact, to print its value alone");
    show->add_flag("--json", wanted.json, "Print one JSON object")->excludes(name);
    name->check(
        [](const std::string &given) {
            return find_fact(given) != nullptr ? "" : "unknown fact '" + given + "'";
        },
        "");

    std::string facts = "Facts:\n";
    for (const fact &known : all_facts()) {
        std::string line = std::string("  ") + known.name;
        line.resize(std::max<std::size_t>(line.size() + 1, 30), ' ');
        facts += line + known.description + "\n";
    }
    show->footer(facts);

    app.add_subcommand("root-disk", "Print the name of the disk with the root file system on one of"
                                    " its partitions, as lsblk -J lists it")
        ->callback([&wanted] { wanted.root_disk = true; });
}

int answer_request(const request &wanted)
{
    if (wanted.root_disk) {
        print_value(answer(root_disk()));
        return done;
    }
    const fact *const only = wanted.name.empty() ? nullptr : find_fact(wanted.name);
    const auto findings = ask(only != nullptr ? std::span(only, 1) : all_facts());

    int status = done;
    if (wanted.json)
        print_json(findings);
    else if (only == nullptr)
        print_table(findings);
    else if (is_answered(findings.front().value))
        print_value(findings.front().value);
    else
        status = no_answer;

    if (::geteuid() == 0) {
        if (trace_log_refused())
            complain("the trace log cannot be opened, so this run left no trace");
    } else if (const std::string names = names_for_root(findings); !names.empty()) {
        complain("may need root: " + names);
    }
    return status;
}

// What was printed counts only when it has arrived.
int flushed(int status)
{
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
        return status;
    complain(std::string("standard output: ") + std::strerror(errno));
    return no_answer;
}

int run(int argc, char **argv)
{
    CLI::App app("Tells the identity of the machine it runs on.", "orvane");
    request wanted;
    describe(app, wanted);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success &success) { // --help and --version
        return flushed(app.exit(success));
    } catch (const CLI::ParseError &error) {
        complain(std::string(error.what()) + " (see orvane --help)");
        return wrong_use;
    }
    return flushed(answer_request(wanted));
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
        return run(argc, argv);
    } catch (const std::exception &error) {
        complain(error.what());
        return no_answer;
    }
}
