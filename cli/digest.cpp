// SPDX-License-Identifier: LGPL-2.1-or-later
//
// orvane digest: whether files have the expected digests.
#include "checksum_list.h"
#include "commands.h"
#include "output.h"
#include "progress.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>

#include <sys/stat.h>
#include <unistd.h>

namespace {

bool is_hexadecimal(const std::string &text)
{
    return std::all_of(text.begin(), text.end(),
                       [](unsigned char c) { return std::isxdigit(c) != 0; });
}

const digest_algorithm &algorithm_for(const digest_options &options)
{
    if (options.digest.empty())
        throw usage_error("ALGORITHM, FILE and HEX, or --check SUMS, is required");
    const digest_algorithm *const algorithm = find_algorithm(options.algorithm);
    if (algorithm == nullptr)
        throw usage_error("ALGORITHM: sha256, sha1 or md5, not '" + options.algorithm + "'");
    if (options.digest.size() != algorithm->digits || !is_hexadecimal(options.digest))
        throw usage_error("HEX: " + options.algorithm + " has " +
                          std::to_string(algorithm->digits) + " hexadecimal digits");
    return *algorithm;
}

// The library compares with lower-case digits.
std::string lowered(std::string digest)
{
    for (char &digit : digest)
        digit = static_cast<char>(std::tolower(static_cast<unsigned char>(digit)));
    return digest;
}

bool matches(const digest_algorithm &algorithm, const std::string &file, const std::string &digest)
{
    const progress_bar bar(file);
    return algorithm.check(file.c_str(), lowered(digest).c_str()) == 1;
}

// Why a file cannot be read, as far as that is known without opening it: a pipe is read once.
std::string reason_unreadable(const std::string &path)
{
    struct stat file = {};
    if (::stat(path.c_str(), &file) != 0 || ::access(path.c_str(), R_OK) != 0)
        return std::strerror(errno);
    return S_ISDIR(file.st_mode) ? std::strerror(EISDIR) : "";
}

} // namespace

int check_digest(const digest_options &options)
{
    const digest_algorithm &algorithm = algorithm_for(options);
    if (matches(algorithm, options.file, options.digest)) {
        print_line(options.file + ": OK");
        return success;
    }
    const std::string reason = reason_unreadable(options.file);
    print_error(options.file + ": " +
                (reason.empty() ? std::string("the ") + algorithm.name +
                                      " digest differs, or the file cannot be read to its end"
                                : reason));
    return negative;
}

int check_digest_list(const std::string &path)
{
    const std::string list = read_checksum_list(path);
    std::size_t checked = 0;
    std::size_t different = 0;
    std::size_t unreadable = 0;
    for (std::string_view rest = list; !rest.empty(); ++checked) {
        const checksum entry = next_checksum(rest);
        if (matches(*entry.algorithm, entry.file, entry.digest)) {
            print_line(entry.label + ": OK");
        } else if (const std::string reason = reason_unreadable(entry.file); reason.empty()) {
            ++different;
            print_line(entry.label + ": FAILED");
        } else {
            ++unreadable;
            print_line(entry.label + ": FAILED: " + reason);
        }
    }
    if (different + unreadable == 0)
        return success;
    print_error("files checked: " + std::to_string(checked) + ", different: " +
                std::to_string(different) + ", unreadable: " + std::to_string(unreadable));
    return negative;
}
