// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The subcommands. Each returns the exit status, and throws what it has to report in one line. An
// exception that is not one of those below ends the command as undetermined.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

// The same in every subcommand.
enum exit_status {
    success = 0,      // valid, or known
    negative = 1,     // not valid, or there is no answer
    misuse = 2,       // wrong use
    undetermined = 3, // no result: no key, no permission, an unreadable file, a full disk
};

// Arguments that the subcommand does not take.
struct usage_error : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Data that is not valid, or has no answer.
struct negative_result : std::runtime_error {
    using std::runtime_error::runtime_error;
};

enum class show_format { table, json, shell };

// What the subcommands that query the machine have in common.
struct query_options {
    std::vector<std::string> names; // of facts; none for all
    bool json = false;
    bool redact = false; // hashes in the place of what identifies the machine
    bool trace = false;  // the library's trace lines go to its log, too
};

struct show_options : query_options {
    show_format format = show_format::table;
    std::vector<std::string> required;
};
int show(const show_options &options);
int explain(const query_options &options);
int print_schema(); // of the JSON of show, explain and save
int print_facts_page();
int doctor(const query_options &options);

int save_facts(const std::string &file, const query_options &options);
int compare_facts(const std::string &file, const query_options &options);

int print_root_disk();

struct digest_options {
    std::string algorithm;
    std::vector<std::string> words; // files, or a file and its digest
};
int digest(const digest_options &options);

struct digest_list_options {
    std::string list;
    bool quiet = false;          // prints nothing about a file that matches
    bool status = false;         // prints of the list itself alone
    bool ignore_missing = false; // passes over files that are not there
    bool strict = false;         // a malformed line is negative
};
int check_digest_list(const digest_list_options &options);

struct signature_options {
    std::string text_file;
    std::string signature_file;
    std::string key; // empty for the system's
};
int check_signature(const signature_options &options);

struct gpg_options {
    std::string file;
    std::string output; // empty where --output is not given
};
int verify_gpg_file(const gpg_options &options);
int encrypt_with_gpg(const gpg_options &options);

int encode_base64();
int decode_base64();
int convert_base64_to_url();
int convert_base64_from_url();

int check_names(const std::vector<std::string> &binaries);
