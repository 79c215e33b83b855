// SPDX-License-Identifier: LGPL-2.1-or-later
//
// Findings for a report that others may read.
#include "input.h"
#include "query.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

#include <glib.h>

namespace {

// The same on this machine until it is installed again, or at least until it is started again; not
// to be had from a report.
std::string salt()
{
    constexpr std::size_t digits = 32; // an image that is to be copied has a word instead
    for (const char *const path : {"/etc/machine-id", "/proc/sys/kernel/random/boot_id"}) {
        std::string line = first_line_of(path);
        if (std::count_if(line.begin(), line.end(),
                          [](unsigned char c) { return std::isxdigit(c) != 0; }) == digits)
            return line;
    }
    throw std::runtime_error("/etc/machine-id: it is missing, so that nothing can be redacted");
}

class redactor {
public:
    [[nodiscard]] std::string hash(const std::string &text) const
    {
        constexpr std::size_t digits = 10;
        gchar *const hexadecimal = g_compute_hmac_for_data(
            G_CHECKSUM_SHA256, reinterpret_cast<const guchar *>(salt_.data()), salt_.size(),
            reinterpret_cast<const guchar *>(text.data()), text.size());
        const std::string short_hash(hexadecimal, digits);
        g_free(hexadecimal);
        return "#" + short_hash;
    }

    // Remembers a text that identifies, wherever else it stands.
    void add_secret(const std::string &text)
    {
        constexpr std::size_t shortest = 4; // or it would be found in other words
        if (text.size() < shortest || is_repeated(text))
            return;
        secrets_.push_back(text);
        std::sort(secrets_.begin(), secrets_.end(),
                  [](const std::string &one, const std::string &other) {
                      return one.size() > other.size();
                  });
    }

    [[nodiscard]] std::string redacted(const std::string &text) const
    {
        for (const std::string &secret : secrets_) {
            if (const std::size_t at = text.find(secret); at != std::string::npos)
                return redacted(text.substr(0, at)) + hash(secret) +
                       redacted(text.substr(at + secret.size()));
        }
        return without_identifiers(text);
    }

private:
    // Runs of digits in groups, as in UUIDs and hardware addresses, which stand in many names.
    [[nodiscard]] std::string without_identifiers(const std::string &text) const
    {
        std::string plain;
        for (std::size_t at = 0; at < text.size();) {
            std::size_t end = at;
            while (end < text.size() && is_of_identifier(text[end]))
                ++end;
            const std::string run = text.substr(at, end - at);
            plain += is_identifier(run) ? hash(run) : run;
            if (end < text.size())
                plain += text[end++];
            at = end;
        }
        return plain;
    }

    static bool is_of_identifier(char c)
    {
        return std::isxdigit(static_cast<unsigned char>(c)) != 0 || c == '-' || c == ':';
    }

    static bool is_identifier(const std::string &run)
    {
        constexpr std::size_t digits_of_address = 12;
        const auto digits = std::count_if(run.begin(), run.end(),
                                          [](unsigned char c) { return std::isxdigit(c) != 0; });
        return static_cast<std::size_t>(digits) >= digits_of_address && !is_repeated(run);
    }

    std::string salt_ = salt();
    std::vector<std::string> secrets_;
};

// Of a disk the model may be known. Neither it nor the serial number is free of "_": what stands
// behind the first one is taken for the serial number.
std::size_t start_of_secret(const finding &one, const std::string &value)
{
    const std::size_t end = one.what->kind == fact_kind::disk ? value.find('_') : value.size();
    return end < value.size() ? end + 1 : 0;
}

std::string redacted_value(const finding &one, const std::string &value, const redactor &redact)
{
    if (!one.what->is_identity || is_repeated(value))
        return redact.redacted(value);
    const std::size_t start = start_of_secret(one, value);
    return redact.redacted(value.substr(0, start)) + redact.hash(value.substr(start));
}

// Whether all that a step returned identifies the machine.
bool is_secret(const finding &one, const step &source)
{
    const bool is_answer = source.result == results::answered && one.what->is_identity;
    return is_answer && (one.what->kind != fact_kind::disk || source.source.ends_with("/serial"));
}

void redact_steps(const finding &one, std::vector<step> &steps, const redactor &redact)
{
    for (step &source : steps) {
        source.text =
            is_secret(one, source) ? redact.hash(source.text) : redact.redacted(source.text);
        source.source = redact.redacted(source.source);
        source.output.clear();
        redact_steps(one, source.below, redact);
    }
}

void collect_secrets(const finding &one, redactor &redact)
{
    if (const auto *const value = std::get_if<std::string>(&one.value);
        value != nullptr && one.what->is_identity)
        redact.add_secret(value->substr(start_of_secret(one, *value)));
    for (const step *const leaf : leaves_of(one.steps)) {
        if (is_secret(one, *leaf))
            redact.add_secret(leaf->text);
    }
}

} // namespace

void redact(findings &found)
{
    redactor redact;
    for (const finding &one : found)
        collect_secrets(one, redact);
    for (finding &one : found) {
        if (const auto *const value = std::get_if<std::string>(&one.value))
            one.value = redacted_value(one, *value, redact);
        one.source = redact.redacted(one.source);
        one.device = redact.redacted(one.device);
        one.subject = redact.redacted(one.subject);
        redact_steps(one, one.steps, redact);
        for (storage_layer &layer : one.layers) {
            layer.name = redact.redacted(layer.name);
            std::transform(layer.below.begin(), layer.below.end(), layer.below.begin(),
                           [&redact](const std::string &name) { return redact.redacted(name); });
        }
        one.trace.clear(); // its lines hold the serial numbers of other disks, too
    }
}
