// SPDX-License-Identifier: LGPL-2.1-or-later
#include "signed_file.h"

#include <cstddef>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <sstream>
#include <string_view>

#include <glib.h>

namespace {

constexpr std::size_t longest_signatures = std::size_t{1} << 20U;

std::string start_of(const std::string &path)
{
    std::string bytes(longest_signatures, '\0');
    std::ifstream file(path, std::ios::binary);
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(file.gcount()));
    return bytes;
}

// The first armour decides: in a clear-signed file that of the signature follows the content.
bool begins_armoured_signature(std::string_view text)
{
    constexpr std::string_view begin = "-----BEGIN PGP ";
    std::size_t at = text.find(begin);
    while (at != std::string_view::npos && at > 0 && text[at - 1] != '\n')
        at = text.find(begin, at + 1);
    return at != std::string_view::npos &&
           text.substr(at + begin.size()).starts_with("SIGNATURE-----");
}

// The most significant byte comes first.
std::optional<std::size_t> take_number(std::string_view &bytes, std::size_t width)
{
    if (bytes.size() < width)
        return std::nullopt;
    std::size_t number = 0;
    for (const char byte : bytes.substr(0, width))
        number = number << 8U | static_cast<unsigned char>(byte);
    bytes.remove_prefix(width);
    return number;
}

// The first byte of a packet has a tag in one of two formats.
constexpr std::size_t new_format = 0xC0;
constexpr std::size_t old_format = 0x80;

std::optional<std::size_t> take_old_length(std::string_view &bytes, std::size_t kind)
{
    constexpr std::size_t indeterminate = 3;
    return kind == indeterminate ? std::nullopt : take_number(bytes, std::size_t{1} << kind);
}

std::optional<std::size_t> take_new_length(std::string_view &bytes)
{
    constexpr std::size_t two_bytes = 192;
    constexpr std::size_t partial = 224;
    constexpr std::size_t four_bytes = 255;
    const std::optional<std::size_t> first = take_number(bytes, 1);
    if (!first || *first < two_bytes)
        return first;
    if (*first == four_bytes)
        return take_number(bytes, 4);
    const std::optional<std::size_t> second = take_number(bytes, 1);
    if (!second || *first >= partial)
        return std::nullopt;
    return ((*first - two_bytes) << 8U) + *second + two_bytes;
}

bool take_signature(std::string_view &bytes)
{
    constexpr std::size_t signature = 2;
    const std::size_t tag = take_number(bytes, 1).value_or(0);
    std::optional<std::size_t> length;
    if (tag == (new_format | signature))
        length = take_new_length(bytes);
    else if ((tag & ~std::size_t{3}) == (old_format | signature << 2U))
        length = take_old_length(bytes, tag & 3U);
    if (!length || *length > bytes.size())
        return false;
    bytes.remove_prefix(*length);
    return true;
}

bool are_signatures(std::string_view bytes)
{
    if (!take_signature(bytes))
        return false;
    while (!bytes.empty()) {
        if (!take_signature(bytes))
            return false;
    }
    return true;
}

struct free_memory {
    void operator()(char *text) const noexcept { ::g_free(text); }
};
using glib_text = std::unique_ptr<char, free_memory>;

// The status lines of gpg, which open every form: compressed, armoured and clear-signed. With an
// empty keyring and no options of the user's it takes no signature for one of a known key, and
// looks for no key anywhere.
std::string status_lines(std::string path)
{
    std::string words[] = {"gpg",
                           "--batch",
                           "--no-tty",
                           "--no-options",
                           "--no-default-keyring",
                           "--keyring",
                           "/dev/null",
                           "--trust-model",
                           "always",
                           "--no-auto-check-trustdb",
                           "--status-fd",
                           "1",
                           "--verify",
                           "--"};
    if (!path.starts_with('/'))
        path.insert(0, "./"); // "-" is standard input to gpg
    std::vector<char *> arguments;
    for (std::string &word : words)
        arguments.push_back(word.data());
    arguments.push_back(path.data());
    arguments.push_back(nullptr);

    constexpr auto flags =
        static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH | G_SPAWN_STDERR_TO_DEV_NULL);
    char *output = nullptr;
    ::g_spawn_sync(nullptr, arguments.data(), nullptr, flags, nullptr, nullptr, &output, nullptr,
                   nullptr, nullptr);
    const glib_text lines(output);
    return lines ? lines.get() : "";
}

} // namespace

bool is_detached_signature(const std::string &path)
{
    const std::string bytes = start_of(path);
    return are_signatures(bytes) || begins_armoured_signature(bytes);
}

bool is_gpg_installed()
{
    const glib_text path(::g_find_program_in_path("gpg"));
    return path != nullptr;
}

// "[GNUPG:] ERRSIG KEYID ALGORITHM DIGEST CLASS TIME REASON FINGERPRINT", where "-" is no
// fingerprint.
std::vector<std::string> named_signers(const std::string &path)
{
    constexpr std::size_t key_id = 2;
    constexpr std::size_t fingerprint = 8;
    std::vector<std::string> signers;
    std::istringstream lines(status_lines(path));
    for (std::string line; std::getline(lines, line);) {
        std::istringstream stream(line);
        const std::vector<std::string> words(std::istream_iterator<std::string>(stream), {});
        if (words.size() <= key_id || words[0] != "[GNUPG:]" || words[1] != "ERRSIG")
            continue;
        const bool has_fingerprint = words.size() > fingerprint && words[fingerprint] != "-";
        signers.push_back(words[has_fingerprint ? fingerprint : key_id]);
    }
    return signers;
}
