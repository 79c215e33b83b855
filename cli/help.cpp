// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The pages of the help. Every example is run by the tests.
#include "help.h"

#include "help_page.h"
#include "layout.h"

#include <algorithm>

namespace {

constexpr described json = {"-j, --json", "print one JSON object"};
constexpr described redact = {"--redact",
                              "print hashes in the place of what identifies the machine"};
constexpr described trace = {"--trace", "write the library's trace lines to its log, too"};

constexpr help_page pages[] = {
    {
        .subcommand = "",
        .usages = {"[-h|--help] [-V|--version] [SUBCOMMAND [WORD...]]"},
        .purpose = "identify this machine, and check and encode data files",
        .details = "Without a subcommand it shows all facts.",
        .options = {{"-V, --version", "print the version, the signing key and the features"}},
        .examples = {{"orvane", "Show what is known about this machine."},
                     {"orvane help gpg verify", "Describe one subcommand."}},
        .success = "valid, or known",
        .negative = "not valid, or no answer",
        .undetermined = "no key, no gpg, an unreadable file, no permission",
        .more = "orvane help facts, docs/command.md, docs/troubleshooting.md",
    },
    {
        .subcommand = "show",
        .usages = {"[NAME...] [--format=table|json|shell] [-j|--json] [--require FACT...] "
                   "[--redact] [--trace]"},
        .purpose = "show what is known about this machine",
        .details = "Of one named fact the value alone is printed.",
        .arguments = {{"NAME", "fact to show; without one, all"}},
        .options = {{"--format=FORMAT", "table, json, or shell: assignments to variables"},
                    {"-j, --json", "the same as --format=json"},
                    {"--require FACT...",
                     "fail where one of these has no answer; words up to the next option, or "
                     "separated by commas"},
                    redact,
                    trace},
        .lists_facts = true,
        .examples = {{"orvane show disk", "Print the model and the serial number of the disk."},
                     {"orvane show --json >report.json", "Write all facts as one JSON object."},
                     {"orvane show --require disk,mac",
                      "Show all facts, and fail unless these two are known."}},
        .success = "shown",
        .negative = "a named fact has no answer, or a required one is not known",
        .undetermined = "a named fact needs root, or a tool that is missing",
        .more = "orvane help facts, docs/troubleshooting.md",
    },
    {
        .subcommand = "explain",
        .usages = {"[FACT...] [-j|--json] [--redact] [--trace]", "--schema"},
        .purpose = "explain why facts have the answers they have, or none",
        .arguments = {{"FACT", "fact to explain; without one, all"}},
        .options = {json,
                    redact,
                    trace,
                    {"--schema", "print the schema of the JSON of show, explain and save, alone"}},
        .examples = {{"orvane explain disk", "Explain one fact."},
                     {"orvane explain --json --redact >redacted.json",
                      "Write a report that does not identify the machine."}},
        .success = "explained, and each named fact is known",
        .negative = "a named fact has no answer",
        .undetermined = "a named fact needs root, or a tool that is missing",
        .more = "orvane help facts, docs/troubleshooting.md",
    },
    {
        .subcommand = "doctor",
        .usages = {"[-j|--json] [--trace]"},
        .purpose = "find what is missing for facts that this machine could have",
        .options = {json, trace},
        .examples = {{"orvane doctor", "Examine this machine."}},
        .success = "nothing is missing",
        .negative = "a tool or a right is missing",
    },
    {
        .subcommand = "save",
        .usages = {"FILE [--trace]"},
        .purpose = "save the facts in a file, to compare with later",
        .arguments = {{"FILE", "file to write; - is standard output"}},
        .options = {trace},
        .examples = {{"orvane save report.json", "Save all facts."}},
        .success = "saved",
        .undetermined = "a file that cannot be written",
    },
    {
        .subcommand = "compare",
        .usages = {"FILE [-j|--json] [--trace]"},
        .purpose = "compare the facts with those that were saved",
        .arguments = {{"FILE", "file that orvane save wrote; - is standard input"}},
        .options = {json, trace},
        .examples = {{"orvane compare report.json", "List what has changed since."}},
        .success = "nothing has changed",
        .negative = "a fact has changed",
        .undetermined = "an unreadable file, or facts that are out of reach then or now",
    },
    {
        .subcommand = "root-disk",
        .purpose = "print the disk with the root file system",
        .details =
            "It is the one that lsblk -J -o NAME,MOUNTPOINT lists with a partition mounted at /.",
        .examples = {{"orvane root-disk", "Print its name, such as sda."}},
        .success = "printed",
        .negative = "no disk is listed with such a partition",
        .undetermined = "lsblk is missing, or prints no listing",
        .more = "docs/troubleshooting.md",
    },
    {
        .subcommand = "digest",
        .usages = {"ALGORITHM [FILE...]", "ALGORITHM FILE HEX",
                   "--check SUMS [--quiet] [--status] [--ignore-missing] [--strict]"},
        .purpose = "print or check the digests of files",
        .arguments = {{"ALGORITHM", "sha256, sha1 or md5"},
                      {"FILE", "file; - or none is standard input"},
                      {"HEX", "all hexadecimal digits of the digest that the one file should have; "
                              "a file with such a name is ./NAME"}},
        .options = {{"-c, --check SUMS",
                     "check the digests of a list, as sha256sum writes it; - is "
                     "standard input"},
                    {"--quiet", "print nothing about a file that matches"},
                    {"--status", "print nothing about the files: the exit status has the result"},
                    {"--ignore-missing", "pass over files that are missing"},
                    {"--strict", "exit with 1 also where a line of the list is malformed"}},
        .examples = {{"orvane digest sha256 licence.txt >SHA256SUMS",
                      "Print a digest, as sha256sum does."},
                     {"orvane digest --check SHA256SUMS", "Check every file of a list."},
                     {"orvane digest md5 licence.txt 900150983cd24fb0d6963f7d28e17f72",
                      "Check one file."}},
        .success = "printed, or every digest is the expected one",
        .negative = "a digest differs",
        .undetermined = "an unreadable file or list",
    },
    {
        .subcommand = "signature",
        .usages = {"TEXTFILE SIGNATUREFILE [--key FILE]"},
        .purpose = "check an RSA signature of a text",
        .arguments = {{"TEXTFILE", "text that was signed"},
                      {"SIGNATUREFILE", "its signature, in base64"}},
        .options = {{"--key FILE",
                     "public key in PEM, in the place of the one in /etc/orvane/public.pem"}},
        .examples = {{"orvane signature licence.txt licence.sig --key public.pem",
                      "Check the signature of a text."}},
        .success = "valid",
        .negative = "not valid",
        .undetermined = "no key, an unreadable file",
        .more = "docs/keys.md",
    },
    {
        .subcommand = "gpg",
        .usages = {"SUBCOMMAND"},
        .purpose = "verify or encrypt with the built-in GPG key",
        .examples = {{"orvane gpg verify licence.gpg", "Verify a signed file."}},
        .success = "valid, or encrypted",
        .negative = "not valid",
        .undetermined = "no key, no gpg, an unreadable file",
        .more = "docs/keys.md",
    },
    {
        .subcommand = "gpg verify",
        .usages = {"FILE [--output FILE]"},
        .purpose = "verify a file that carries its content and signatures",
        .arguments = {{"FILE", "signed file"}},
        .options = {{"--output FILE", "where to write its content (- is standard output)"}},
        .examples = {{"orvane gpg verify licence.gpg --output licence.txt",
                      "Write the content if the signature is valid."}},
        .success = "valid",
        .negative = "not valid",
        .undetermined = "no gpg, no key store, an unreadable file, a detached signature",
        .more = "docs/keys.md",
    },
    {
        .subcommand = "gpg encrypt",
        .usages = {"[--output FILE]"},
        .purpose = "encrypt the text on standard input",
        .options = {{"--output FILE", "where to write the message (standard output)"}},
        .examples = {{"orvane gpg encrypt <report.json >report.asc",
                      "Encrypt a report to the holder of the built-in key."}},
        .success = "encrypted",
        .undetermined = "no key, no gpg, an unreadable text",
        .more = "docs/keys.md",
    },
    {
        .subcommand = "base64",
        .usages = {"SUBCOMMAND"},
        .purpose = "convert standard input to or from base64",
        .examples = {{"orvane base64 encode <licence.txt >text.b64", "Encode a file."}},
        .success = "converted",
        .negative = "the input is not of the form",
        .undetermined = "an unreadable input",
    },
    {
        .subcommand = "base64 encode",
        .purpose = "convert bytes to base64 on one line",
        .examples = {{"orvane base64 encode <licence.txt >text.b64", "Encode a file."}},
        .success = "converted",
        .negative = "there is nothing to encode",
        .undetermined = "an unreadable input",
    },
    {
        .subcommand = "base64 decode",
        .purpose = "convert base64, on any number of lines, to bytes",
        .examples = {{"orvane base64 decode <text.b64 >licence.txt", "Decode it again."}},
        .success = "converted",
        .negative = "the input is not base64, or empty",
        .undetermined = "an unreadable input",
    },
    {
        .subcommand = "base64 to-url",
        .purpose = "convert base64 to the form for the query of a URL",
        .examples = {{"orvane base64 to-url <text.b64 >text.url", "Convert an encoded file."}},
        .success = "converted",
        .negative = "the input is not base64, or empty",
        .undetermined = "an unreadable input",
    },
    {
        .subcommand = "base64 from-url",
        .purpose = "convert the form for the query of a URL to base64",
        .examples = {{"orvane base64 from-url <text.url >text.b64", "Convert it back."}},
        .success = "converted",
        .negative = "the input is not of that form, or empty",
        .undetermined = "an unreadable input",
    },
    {
        .subcommand = "check-names",
        .usages = {"BINARY..."},
        .purpose = "find names of a program that take the place of the library's",
        .details = "The library calls its own functions by their names. Where a program or a "
                   "shared library exports such a name, too, that one is called.",
        .arguments = {{"BINARY", "program or shared library; - is standard input"}},
        .examples = {{"orvane check-names ./program ./plugin.so",
                      "Print the names that these two have in common with the library."}},
        .success = "no name takes the place of one of the library's",
        .negative = "a name does",
        .undetermined = "an unreadable file, or one that is no ELF file",
        .more = "docs/embedding.md",
    },
    {
        .subcommand = "help",
        .usages = {"[SUBCOMMAND...]", "facts"},
        .purpose = "describe a subcommand, or the facts",
        .arguments = {{"SUBCOMMAND", "one or two words; without one, the command itself"}},
        .examples = {{"orvane help gpg verify", "Describe one subcommand."},
                     {"orvane help facts", "Describe every fact."}},
        .success = "described",
    },
};

} // namespace

std::string help_of(std::string_view subcommand)
{
    const help_page *const found =
        std::find_if(std::begin(pages), std::end(pages),
                     [&](const help_page &one) { return one.subcommand == subcommand; });
    return lay_out(*found, pages, output_columns());
}
