// SPDX-License-Identifier: LGPL-2.1-or-later
//
// orvane digest: prints the digests of files, and checks them.
#include "checksum_list.h"
#include "commands.h"
#include "input.h"
#include "output.h"
#include "progress.h"

#include <cctype>
#include <cerrno>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/stat.h>

namespace {

const digest_algorithm &algorithm_of(const digest_options &options)
{
    if (options.algorithm.empty())
        throw usage_error("ALGORITHM, or --check SUMS, is required");
    const digest_algorithm *const algorithm = algorithm_named(options.algorithm);
    if (algorithm == nullptr)
        throw usage_error("ALGORITHM: sha256, sha1 or md5, not '" + options.algorithm + "'");
    return *algorithm;
}

// The library compares with lower-case digits.
std::string lowered(std::string digest)
{
    for (char &digit : digest)
        digit = static_cast<char>(std::tolower(static_cast<unsigned char>(digit)));
    return digest;
}

std::string digest_of(const digest_algorithm &algorithm, const std::string &file)
{
    const unique_stream stream = open_input(file);
    input_blocks blocks(stream.get(), name_of_input(file), content::bytes, any_length);
    const progress_bar bar(file == "-" ? "/proc/self/fd/0" : file);
    return algorithm.digest_of(blocks);
}

// Throws where the file cannot be read. The library's check alone does not show that.
bool has_digest(const digest_algorithm &algorithm, const std::string &file,
                const std::string &digest)
{
    const std::string expected = lowered(digest);
    if (file == "-")
        return digest_of(algorithm, file) == expected;
    const progress_bar bar(file);
    if (algorithm.check(file.c_str(), expected.c_str()) == 1)
        return true;
    check_readable(file);
    return false;
}

// Throws where the lines before it are lost, which no later message reports.
void report(const std::string &message)
{
    flush_output();
    print_error(message);
}

int print_digests(const digest_algorithm &algorithm, const std::vector<std::string> &files)
{
    int status = success;
    for (const std::string &file : files) {
        try {
            print_line(line_with_name(digest_of(algorithm, file) + "  ", file, ""));
        } catch (const unreadable_input &error) {
            report(error.what());
            status = undetermined;
        }
    }
    return status;
}

int compare_digest(const digest_algorithm &algorithm, const std::string &file,
                   const std::string &digest)
{
    if (!has_digest(algorithm, file, digest))
        throw negative_result(name_of_input(file) + ": the " + algorithm.name + " digest differs");
    print_line(file + ": OK");
    return success;
}

bool is_missing(const std::string &file)
{
    struct stat status = {};
    return file != "-" && ::stat(file.c_str(), &status) != 0 && errno == ENOENT;
}

class list_check {
public:
    explicit list_check(const digest_list_options &options)
        : options_(options), name_(name_of_input(options.list))
    {
    }

    void check_lines();
    [[nodiscard]] int report_counts() const;

private:
    void check_file(const checksum &entry);
    [[nodiscard]] bool matches(const checksum &entry) const;
    void print_result(const checksum &entry, const std::string &result) const;
    void warn(const std::string &message) const;
    [[nodiscard]] std::string counts() const;

    const digest_list_options &options_;
    std::string name_;
    std::size_t listed_ = 0;
    std::size_t malformed_ = 0;
    std::size_t equal_ = 0;
    std::size_t different_ = 0;
    std::size_t unreadable_ = 0;
};

void list_check::check_lines()
{
    text_lines lines(options_.list);
    for (std::string line; lines.next(line);) {
        if (line.ends_with('\r'))
            line.pop_back();
        if (line.empty() || line.starts_with('#'))
            continue;
        if (const std::optional<checksum> entry = parse_checksum(line)) {
            ++listed_;
            check_file(*entry);
        } else {
            ++malformed_;
            warn(name_ + ": line " + std::to_string(lines.number()) +
                 " is not a digest and a file");
        }
    }
}

void list_check::check_file(const checksum &entry)
{
    if (options_.ignore_missing && is_missing(entry.file))
        return;
    try {
        const bool is_equal = matches(entry);
        ++(is_equal ? equal_ : different_);
        if (!is_equal || !options_.quiet)
            print_result(entry, is_equal ? "OK" : "FAILED");
    } catch (const unreadable_input &error) {
        ++unreadable_;
        print_result(entry, "FAILED: " + error.reason());
    }
}

bool list_check::matches(const checksum &entry) const
{
    if (entry.file == "-" && options_.list == "-")
        throw unreadable_input(entry.file, "the list is read from standard input");
    return has_digest(*entry.algorithm, entry.file, entry.digest);
}

void list_check::print_result(const checksum &entry, const std::string &result) const
{
    if (!options_.status)
        print_line(line_with_name("", entry.file, ": " + result));
}

void list_check::warn(const std::string &message) const
{
    if (!options_.status)
        report(message);
}

int list_check::report_counts() const
{
    if (listed_ == 0)
        throw std::runtime_error(name_ + ": no line is a digest and a file");
    const bool is_any_read = equal_ + different_ > 0;
    if (different_ + unreadable_ + malformed_ > 0)
        warn(counts());
    if (options_.ignore_missing && !is_any_read)
        warn(name_ + ": no file was checked");
    if (different_ > 0 || (options_.strict && malformed_ > 0))
        return negative;
    return unreadable_ > 0 || !is_any_read ? undetermined : success;
}

std::string list_check::counts() const
{
    std::string text = "files checked: " + std::to_string(equal_ + different_ + unreadable_) +
                       ", different: " + std::to_string(different_) +
                       ", unreadable: " + std::to_string(unreadable_);
    if (malformed_ > 0)
        text += ", malformed lines: " + std::to_string(malformed_);
    return text;
}

} // namespace

int digest(const digest_options &options)
{
    const digest_algorithm &algorithm = algorithm_of(options);
    const std::vector<std::string> &words = options.words;
    if (words.size() == 2 && words[1].size() == algorithm.digits && is_hexadecimal(words[1]))
        return compare_digest(algorithm, words[0], words[1]);
    return print_digests(algorithm, words.empty() ? std::vector<std::string>{"-"} : words);
}

int check_digest_list(const digest_list_options &options)
{
    list_check check(options);
    check.check_lines();
    return check.report_counts();
}
