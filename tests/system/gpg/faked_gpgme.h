// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "cases.h"
#include "interpose.h"

#include <algorithm>
#include <array>
#include <clocale>
#include <cstdio>
#include <functional>
#include <list>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

// A GPGME that runs no gpg: it does as the test says, and writes down what it is asked. Its objects
// are called "context", "input", "output", "key data" and "key".
class faked_gpgme {
public:
    // The functions that fail.
    std::set<std::string> failing;

    // The signatures that an operation finds, and the recipients that it refuses.
    std::list<_gpgme_signature> signatures;
    std::list<_gpgme_invalid_key> refused;

    // What an operation gives out, and the piece that each read gets: whatever there is room for
    // when there are no more pieces. The read after the last piece may fail instead.
    std::string output = "hello\n";
    std::list<std::size_t> pieces;
    bool reads_fail_at_last = false;
    // What the size is said to be, if not that of the output.
    off_t said_size = -1;

    // The bytes that the data objects were made from.
    std::map<std::string, std::string> wrapped;
    // What the room for the output held when the first read came.
    std::string room_before_reading;

    [[nodiscard]] const texts &calls() const { return calls_; }

    faked_gpgme()
    {
        fake_start();
        fake_data();
        fake_operations();
        fake_hand_over();
    }

    // Adds a signature to those that will be found.
    void find(const char *fingerprint, unsigned int summary = 0, gpgme_error_t status = 0)
    {
        _gpgme_signature found = {};
        found.fpr = const_cast<char *>(fingerprint);
        found.summary = static_cast<gpgme_sigsum_t>(summary);
        found.status = status;
        append(signatures, found);
    }

    void refuse(const char *fingerprint)
    {
        _gpgme_invalid_key recipient = {};
        recipient.fpr = const_cast<char *>(fingerprint);
        append(refused, recipient);
    }

private:
    static constexpr gpgme_error_t failure = GPG_ERR_GENERAL;

    template <class Entry> static void append(std::list<Entry> &entries, const Entry &entry)
    {
        entries.push_back(entry);
        if (entries.size() > 1)
            std::prev(entries.end(), 2)->next = &entries.back();
    }

    template <class... Words> void note(const Words &...words)
    {
        std::ostringstream line;
        const char *gap = "";
        ((line << std::exchange(gap, " ") << words), ...);
        calls_.push_back(line.str());
    }

    static std::string text_of(const char *text)
    {
        return text == nullptr ? "(null)" : "\"" + std::string(text) + "\"";
    }

    static std::string category_of(int category)
    {
        return category == LC_ALL     ? "LC_ALL"
               : category == LC_CTYPE ? "LC_CTYPE"
                                      : std::to_string(category);
    }

    [[nodiscard]] gpgme_error_t outcome_of(const char *function) const
    {
        return failing.contains(function) ? failure : 0;
    }

    // An object is known by where it is.
    [[nodiscard]] std::string name_of(const void *object) const
    {
        if (object == nullptr)
            return "(null)";
        for (const auto &[name, here] : objects_)
            if (&here == object)
                return name;
        return "(unknown)";
    }

    template <class Object>
    gpgme_error_t make(const char *function, Object *made, const std::string &name)
    {
        const gpgme_error_t outcome = outcome_of(function);
        *made = outcome == 0 ? reinterpret_cast<Object>(&objects_[name]) : nullptr;
        return outcome;
    }

    void fake_start()
    {
        interpose::time = [this](std::time_t *now) {
            note("time", name_of(now));
            return std::time_t{4000000000};
        };
        interpose::gpgme_check_version_internal = [this](const char *version, std::size_t) {
            note("gpgme_check_version", text_of(version));
            return "1.18.0";
        };
        interpose::setlocale = [this](int category, const char *locale) {
            note("setlocale", category_of(category), text_of(locale));
            static char reported[] = "tlh_QO.UTF-8";
            static char everything[] = "LC_CTYPE=tlh_QO.UTF-8;LC_TIME=C";
            return category == LC_CTYPE ? reported : everything;
        };
        interpose::gpgme_set_locale = [this](gpgme_ctx_t context, int category, const char *value) {
            note("gpgme_set_locale", name_of(context), category_of(category), text_of(value));
            return outcome_of("gpgme_set_locale");
        };
        interpose::gpgme_new = [this](gpgme_ctx_t *context) {
            note("gpgme_new");
            return make("gpgme_new", context, "context");
        };
        interpose::gpgme_release = [this](gpgme_ctx_t context) {
            note("gpgme_release", name_of(context));
        };
        interpose::gpgme_set_armor = [this](gpgme_ctx_t context, int armored) {
            note("gpgme_set_armor", name_of(context), armored);
        };
    }

    void fake_data()
    {
        interpose::gpgme_data_new = [this](gpgme_data_t *data) {
            note("gpgme_data_new");
            return make("gpgme_data_new", data, "output");
        };
        interpose::gpgme_data_new_from_file = [this](gpgme_data_t *data, const char *path,
                                                     int copy) {
            note("gpgme_data_new_from_file", path, copy);
            return make("gpgme_data_new_from_file", data, "input");
        };
        // No text of a test begins as a binary key does.
        interpose::gpgme_data_new_from_mem = [this](gpgme_data_t *data, const char *bytes,
                                                    std::size_t size, int copy) {
            const std::string name = size != 0 && bytes[0] == '\x99' ? "key data" : "input";
            note("gpgme_data_new_from_mem", name, copy);
            wrapped[name].assign(bytes, size);
            return make(("gpgme_data_new_from_mem " + name).c_str(), data, name);
        };
        interpose::gpgme_data_release = [this](gpgme_data_t data) {
            note("gpgme_data_release", name_of(data));
        };
    }

    void fake_operations()
    {
        interpose::gpgme_op_import = [this](gpgme_ctx_t context, gpgme_data_t data) {
            note("gpgme_op_import", name_of(context), name_of(data));
            return outcome_of("gpgme_op_import");
        };
        interpose::gpgme_op_verify = [this](gpgme_ctx_t context, gpgme_data_t signature,
                                            gpgme_data_t text, gpgme_data_t content) {
            note("gpgme_op_verify", name_of(context), name_of(signature), name_of(text),
                 name_of(content));
            return outcome_of("gpgme_op_verify");
        };
        interpose::gpgme_op_verify_result = [this](gpgme_ctx_t context) {
            note("gpgme_op_verify_result", name_of(context));
            verify_result_.signatures = signatures.empty() ? nullptr : &signatures.front();
            return failing.contains("gpgme_op_verify_result") ? nullptr : &verify_result_;
        };
        interpose::gpgme_get_key = [this](gpgme_ctx_t context, const char *fingerprint,
                                          gpgme_key_t *key, int secret) {
            note("gpgme_get_key", name_of(context), fingerprint, secret);
            return make("gpgme_get_key", key, "key");
        };
        interpose::gpgme_op_encrypt = [this](gpgme_ctx_t context, gpgme_key_t *recipients,
                                             gpgme_encrypt_flags_t flags, gpgme_data_t text,
                                             gpgme_data_t message) {
            note("gpgme_op_encrypt", name_of(context), name_of(recipients[0]),
                 name_of(recipients[1]), flags, name_of(text), name_of(message));
            return outcome_of("gpgme_op_encrypt");
        };
        interpose::gpgme_op_encrypt_result = [this](gpgme_ctx_t context) {
            note("gpgme_op_encrypt_result", name_of(context));
            encrypt_result_.invalid_recipients = refused.empty() ? nullptr : &refused.front();
            return &encrypt_result_;
        };
    }

    void fake_hand_over()
    {
        interpose::gpgme_data_seek = [this](gpgme_data_t data, off_t offset, int whence) {
            const bool to_end = whence == SEEK_END;
            const std::string call = to_end ? "gpgme_data_seek END" : "gpgme_data_seek SET";
            note(call, name_of(data), offset);
            if (failing.contains(call))
                return off_t{-1};
            if (!to_end)
                return offset;
            return said_size < 0 ? static_cast<off_t>(output.size()) : said_size;
        };
        interpose::gpgme_data_read = [this](gpgme_data_t data, void *room, std::size_t size) {
            note("gpgme_data_read", name_of(data), size);
            if (read_ == 0)
                room_before_reading.assign(static_cast<const char *>(room), size);
            std::size_t piece = size;
            if (!pieces.empty()) {
                piece = pieces.front();
                pieces.pop_front();
            } else if (reads_fail_at_last) {
                return ssize_t{-1};
            }
            const std::size_t got =
                output.copy(static_cast<char *>(room), std::min(piece, size), read_);
            read_ += got;
            return static_cast<ssize_t>(got);
        };
    }

    texts calls_;
    std::map<std::string, char> objects_;
    _gpgme_op_verify_result verify_result_ = {};
    _gpgme_op_encrypt_result encrypt_result_ = {};
    std::size_t read_ = 0;
};
