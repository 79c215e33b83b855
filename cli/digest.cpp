// SPDX-License-Identifier: LGPL-2.1-or-later
//
// orvane digest: whether files have expected digests.
#include "command.h"
#include "files.h"
#include "progress.h"
#include "say.h"
#include "sums.h"

#include "orvane.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

namespace {

struct algorithm {
    const char *name;
    std::size_t digits;
    int (*check)(const char *path, const char *expected);
};

constexpr algorithm algorithms[] = {
    {"sha256", 64, file_check_sha256},
    {"sha1", 40, file_check_sha1},
    {"md5", 32, file_check_md5},
};

struct request {
    std::string algorithm;
    std::string file;
    std::string digest;
    std::string list;
};

template <class Property> const algorithm *find_algorithm(Property property)
{
    const auto *const found = std::find_if(std::begin(algorithms), std::end(algorithms), property);
    return found != std::end(algorithms) ? found : nullptr;
}

const algorithm *algorithm_named(const std::string &name)
{
    return find_algorithm([&name](const algorithm &known) { return known.name == name; });
}

const algorithm *algorithm_of(const std::string &digest)
{
    return find_algorithm([&](const algorithm &known) { return known.digits == digest.size(); });
}

bool is_hexadecimal(const std::string &text)
{
    return std::all_of(text.begin(), text.end(),
                       [](unsigned char c) { return std::isxdigit(c) != 0; });
}

// People paste capitals, which to the library are another digest.
std::string lowered(std::string digest)
{
    for (char &digit : digest)
        digit = static_cast<char>(std::tolower(static_cast<unsigned char>(digit)));
    return digest;
}

// Why a file cannot be read, as far as can be seen without opening it once more: a pipe opens once.
std::string reason_unreadable(const std::string &path)
{
    struct stat file = {};
    if (::stat(path.c_str(), &file) != 0 || ::access(path.c_str(), R_OK) != 0)
        return std::strerror(errno);
    return S_ISDIR(file.st_mode) ? std::strerror(EISDIR) : "";
}

bool matches(const algorithm &with, const std::string &file, const std::string &digest)
{
    const progress_bar bar(file);
    return with.check(file.c_str(), lowered(digest).c_str()) == 1;
}

int check_file(const request &wanted)
{
    const algorithm &with = *algorithm_named(wanted.algorithm);
    if (matches(with, wanted.file, wanted.digest)) {
        say(wanted.file + ": OK");
        return done;
    }
    const std::string reason = reason_unreadable(wanted.file);
    complain(wanted.file + ": " +
             (reason.empty() ? std::string("the ") + with.name +
                                   " digest differs, or the file cannot be read to its end"
                             : reason));
    return failed;
}

std::vector<sum> sums_in(const std::string &list)
{
    std::vector<sum> sums;
    std::istringstream lines(text_in(list));
    int number = 1;
    for (std::string line; std::getline(lines, line); ++number) {
        if (line.ends_with('\r'))
            line.pop_back();
        if (line.empty() || line.starts_with('#'))
            continue;
        const auto entry = parse_sum(line);
        if (!entry || algorithm_of(entry->digest) == nullptr)
            throw std::runtime_error(list + ": line " + std::to_string(number) +
                                     " is not one of sha256sum, sha1sum or md5sum without --tag");
        sums.push_back(*entry);
    }
    if (sums.empty())
        throw std::runtime_error(list + ": it lists no file");
    return sums;
}

int check_list(const std::vector<sum> &sums)
{
    std::size_t different = 0;
    std::size_t unreadable = 0;
    for (const sum &entry : sums) {
        if (matches(*algorithm_of(entry.digest), entry.file, entry.digest)) {
            say(entry.name + ": OK");
        } else if (const std::string reason = reason_unreadable(entry.file); reason.empty()) {
            ++different;
            say(entry.name + ": FAILED");
        } else {
            ++unreadable;
            say(entry.name + ": FAILED: " + reason);
        }
    }
    if (different + unreadable == 0)
        return done;
    complain("files checked: " + std::to_string(sums.size()) + ", different: " +
             std::to_string(different) + ", unreadable: " + std::to_string(unreadable));
    return failed;
}

void require_digest(const request &wanted)
{
    if (wanted.digest.empty())
        throw CLI::RequiredError("ALGORITHM, FILE and HEX, or --check SUMS,");
    const algorithm *const with = algorithm_named(wanted.algorithm);
    if (with == nullptr)
        throw CLI::ValidationError("ALGORITHM",
                                   "sha256, sha1 or md5, not '" + wanted.algorithm + "'");
    if (wanted.digest.size() != with->digits || !is_hexadecimal(wanted.digest))
        throw CLI::ValidationError("HEX", wanted.algorithm + " has " +
                                              std::to_string(with->digits) + " hexadecimal digits");
}

} // namespace

void add_digest_command(CLI::App &app, action &chosen)
{
    const auto wanted = std::make_shared<request>();
    CLI::App *const command = app.add_subcommand("digest", "Check the digests of files");
    CLI::Option *const list = command->add_option(
        "--check", wanted->list, "A list of digests and files, as sha256sum writes it");
    command->add_option("ALGORITHM", wanted->algorithm, "sha256, sha1 or md5")->excludes(list);
    command->add_option("FILE", wanted->file, "The file");
    command->add_option("HEX", wanted->digest, "Its digest in hexadecimal digits");
    command->callback([wanted, list, &chosen] {
        if (list->count() == 0) {
            require_digest(*wanted);
            chosen = [wanted] { return check_file(*wanted); };
        } else {
            chosen = [wanted] { return check_list(sums_in(wanted->list)); };
        }
    });
}
