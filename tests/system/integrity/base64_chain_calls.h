// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "recorded_calls.h"

#include <functional>
#include <map>
#include <string>

#include <openssl/evp.h>

// Writes down the calls by which the library codes base64. One of the objects they make may be made
// to fail.
class base64_chain_calls : public recorded_calls {
public:
    base64_chain_calls()
    {
        interpose::BIO_new = [this](const BIO_METHOD *method) {
            const char *const kind = method == ::BIO_f_base64() ? "filter" : "memory";
            note("new", kind);
            return built(kind, [method] { return interpose::BIO_new.real(method); });
        };
        interpose::BIO_new_mem_buf = [this](const void *data, int size) {
            note("new memory over", data == text_ ? "text" : "other bytes", size);
            return built("memory",
                         [data, size] { return interpose::BIO_new_mem_buf.real(data, size); });
        };
        interpose::BIO_set_flags = [this](BIO *bio, int flags) {
            note("flags of", kinds_[bio], flags);
            interpose::BIO_set_flags.real(bio, flags);
        };
        interpose::BIO_push = [this](BIO *bio, BIO *next) {
            note("push", kinds_[bio], "on", kinds_[next]);
            return interpose::BIO_push.real(bio, next);
        };
        interpose::BIO_write = [this](BIO *bio, const void *data, int size) {
            note("write to", kinds_[bio], size);
            return interpose::BIO_write.real(bio, data, size);
        };
        interpose::BIO_read = [this](BIO *bio, void *room, int size) {
            note("read from", kinds_[bio], size);
            return interpose::BIO_read.real(bio, room, size);
        };
        interpose::BIO_ctrl = [this](BIO *bio, int command, long number, void *pointer) {
            note("control", kinds_[bio], command);
            return interpose::BIO_ctrl.real(bio, command, number, pointer);
        };
        interpose::BIO_free_all = [this](BIO *bio) {
            note("free", kinds_[bio]);
            interpose::BIO_free_all.real(bio);
        };
    }

    // The text by which a memory over it is known.
    void expect_text(const void *text) { text_ = text; }

    // Lets the first, second, ... object that is asked for be none.
    void fail_to_make(int which) { failing_ = which; }

private:
    BIO *built(const char *kind, const std::function<BIO *()> &make)
    {
        if (--failing_ == 0)
            return nullptr;
        BIO *const bio = make();
        kinds_[bio] = kind;
        return bio;
    }

    std::map<BIO *, std::string> kinds_ = {{nullptr, "nothing"}};
    const void *text_ = nullptr;
    int failing_ = 0;
};
