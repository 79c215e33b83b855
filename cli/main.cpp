// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The orvane command: what the library knows, for people and scripts.
#include "facts.h"
#include "quiet.h"
#include "show.h"

#include "orvane.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstring>
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

// A text from outside may hold what a terminal obeys.
std::string without_controls(std::string text)
{
    for (char &c : text) {
        if (std::iscntrl(static_cast<unsigned char>(c)) != 0)
            c = ' ';
    }
    return text;
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

// The one fact that is wanted, or nullptr for all of them.
const fact *single_fact(const request &wanted)
{
    if (wanted.root_disk)
        return &root_disk_fact();
    return wanted.name.empty() ? nullptr : find_fact(wanted.name);
}

int answer_request(const request &wanted)
{
    const fact *const only = single_fact(wanted);
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

    if (status == no_answer && wanted.root_disk)
        complain("lsblk -J lists no partition mounted at / by \"mountpoint\"");
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
