// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The orvane command: the library's queries, checks and encodings on the command line. This source
// declares subcommands and options; no other includes CLI11, which takes seconds to compile.
#include "commands.h"
#include "facts.h"
#include "output.h"

#include "orvane.h"

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>

#include <CLI/CLI.hpp>
#include <fcntl.h>
#include <unistd.h>

namespace {

// Runs the subcommand once the whole command line is parsed.
using action = std::function<int()>;

template <class Options>
action bound(int (*run)(const Options &), const std::shared_ptr<Options> &options)
{
    return [run, options] { return run(*options); };
}

std::string list_of_facts()
{
    std::string list = "Facts:\n";
    for (const fact &known : all_facts()) {
        std::string line = std::string("  ") + known.name;
        line.resize(std::max<std::size_t>(line.size() + 1, 30), ' ');
        list += line + known.description + "\n";
    }
    return list;
}

// Without a subcommand the command shows all facts.
void add_show(CLI::App &app, action &chosen)
{
    const auto options = std::make_shared<show_options>();
    CLI::App *const command = app.add_subcommand("show", "Show what is known (the default)");
    CLI::Option *const name =
        command->add_option("NAME", options->name, "One fact, to print its value alone");
    command->add_flag("--json", options->json, "Print one JSON object")->excludes(name);
    name->check(
        [](const std::string &given) {
            return find_fact(given) != nullptr ? "" : "unknown fact '" + given + "'";
        },
        "");
    command->footer(list_of_facts());
    chosen = bound(show, options);
}

void add_root_disk(CLI::App &app, action &chosen)
{
    app.add_subcommand("root-disk", "Print the name of the disk with the root file system on one of"
                                    " its partitions, as lsblk -J lists it")
        ->callback([&chosen] { chosen = print_root_disk; });
}

void add_digest(CLI::App &app, action &chosen)
{
    const auto options = std::make_shared<digest_options>();
    const auto list_path = std::make_shared<std::string>();
    CLI::App *const command = app.add_subcommand("digest", "Check the digests of files");
    CLI::Option *const list = command->add_option(
        "--check", *list_path, "A list of digests and files, as sha256sum writes it");
    command->add_option("ALGORITHM", options->algorithm, "sha256, sha1 or md5")->excludes(list);
    command->add_option("FILE", options->file, "The file");
    command->add_option("HEX", options->digest, "Its digest in hexadecimal digits");
    command->callback([options, list_path, list, &chosen] {
        chosen =
            list->count() == 0 ? bound(check_digest, options) : bound(check_digest_list, list_path);
    });
}

void add_signature(CLI::App &app, action &chosen)
{
    const auto options = std::make_shared<signature_options>();
    CLI::App *const command = app.add_subcommand(
        "signature", "Check an RSA signature under the key in /etc/orvane/public.pem");
    command->add_option("TEXTFILE", options->text_file, "The text that was signed")->required();
    command->add_option("SIGNATUREFILE", options->signature_file, "Its signature, in base64")
        ->required();
    command->callback([options, &chosen] { chosen = bound(check_signature, options); });
}

void add_gpg(CLI::App &app, action &chosen)
{
    const auto options = std::make_shared<gpg_options>();
    const auto is_named = [](const std::string &path) {
        return path.empty() ? "a file needs a name" : "";
    };
    CLI::App *const gpg = app.add_subcommand("gpg", "Verify or encrypt with the built-in GPG key");
    gpg->require_subcommand(1);

    CLI::App *const verify =
        gpg->add_subcommand("verify", "Verify a file that carries its content and signatures");
    verify->add_option("FILE", options->file, "The signed file")->required();
    verify
        ->add_option("--output", options->output,
                     "Where to write its content (- is standard output)")
        ->check(is_named, "");
    verify->callback([options, &chosen] { chosen = bound(verify_gpg_file, options); });

    CLI::App *const encrypt = gpg->add_subcommand("encrypt", "Encrypt the text on standard input");
    encrypt->add_option("--output", options->output, "Where to write the message (standard output)")
        ->check(is_named, "");
    encrypt->callback([options, &chosen] { chosen = bound(encrypt_with_gpg, options); });
}

void add_base64(CLI::App &app, action &chosen)
{
    CLI::App *const base64 =
        app.add_subcommand("base64", "Convert standard input to or from base64");
    base64->require_subcommand(1);
    const auto add = [&](const char *name, const char *description, int (*run)()) {
        base64->add_subcommand(name, description)->callback([run, &chosen] { chosen = run; });
    };
    add("encode", "Bytes to base64 on one line", encode_base64);
    add("decode", "Base64 on one line to bytes", decode_base64);
    add("to-url", "Base64 to the form for the query of a URL", convert_base64_to_url);
    add("from-url", "The form for the query of a URL to base64", convert_base64_from_url);
}

int refused(const std::string &reason)
{
    print_error(reason + " (see orvane --help)");
    return misuse;
}

// Returns the exit status.
int run(int argc, char **argv)
{
    CLI::App app("Tells the identity of the machine it runs on, and checks and encodes data files.",
                 "orvane");
    app.set_version_flag("--version", "orvane " ORVANE_VERSION);
    app.require_subcommand(0, 1);
    action chosen;
    add_show(app, chosen);
    add_root_disk(app, chosen);
    add_digest(app, chosen);
    add_signature(app, chosen);
    add_gpg(app, chosen);
    add_base64(app, chosen);
    try {
        app.parse(argc, argv);
        return chosen();
    } catch (const CLI::Success &answered) { // --help and --version
        return app.exit(answered);
    } catch (const CLI::ParseError &error) {
        return refused(error.what());
    } catch (const usage_error &error) {
        return refused(error.what());
    }
}

// Output that does not reach its destination is a failure.
int flushed(int status)
{
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
        return status;
    print_error(std::string("standard output: ") + std::strerror(errno));
    return failure;
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
    return failure;
}
