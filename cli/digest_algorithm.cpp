// SPDX-License-Identifier: LGPL-2.1-or-later
#include "digest_algorithm.h"

#include "orvane.h"

#include <algorithm>
#include <cctype>
#include <memory>

#include <glib.h>

namespace {

struct free_checksum {
    void operator()(GChecksum *checksum) const noexcept { ::g_checksum_free(checksum); }
};

// The library compares digests and returns none.
template <GChecksumType Type> std::string digest_of(input_blocks &input)
{
    const std::unique_ptr<GChecksum, free_checksum> checksum(::g_checksum_new(Type));
    for (std::string_view block = input.next(); !block.empty(); block = input.next())
        ::g_checksum_update(checksum.get(), reinterpret_cast<const guchar *>(block.data()),
                            static_cast<gssize>(block.size()));
    return ::g_checksum_get_string(checksum.get());
}

constexpr digest_algorithm algorithms[] = {
    {"sha256", "SHA256", 64, file_check_sha256, digest_of<G_CHECKSUM_SHA256>},
    {"sha1", "SHA1", 40, file_check_sha1, digest_of<G_CHECKSUM_SHA1>},
    {"md5", "MD5", 32, file_check_md5, digest_of<G_CHECKSUM_MD5>},
};

template <class Predicate> const digest_algorithm *find_algorithm(Predicate predicate)
{
    const auto *const found = std::find_if(std::begin(algorithms), std::end(algorithms), predicate);
    return found != std::end(algorithms) ? found : nullptr;
}

} // namespace

const digest_algorithm *algorithm_named(std::string_view name)
{
    return find_algorithm([name](const digest_algorithm &known) { return known.name == name; });
}

const digest_algorithm *algorithm_tagged(std::string_view tag)
{
    return find_algorithm([tag](const digest_algorithm &known) { return known.tag == tag; });
}

const digest_algorithm *algorithm_with(std::size_t digits)
{
    return find_algorithm(
        [digits](const digest_algorithm &known) { return known.digits == digits; });
}

bool is_hexadecimal(std::string_view text)
{
    return std::all_of(text.begin(), text.end(),
                       [](unsigned char c) { return std::isxdigit(c) != 0; });
}
