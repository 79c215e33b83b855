// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "symbols.h"

#include <atomic>
#include <cstdio>
#include <ctime>
#include <functional>

#include <blkid.h>
#include <cJSON.h>
#include <glib.h>
#include <gpgme.h>
#include <ifaddrs.h>
#include <openssl/md5.h>
#include <openssl/rsa.h>
#include <openssl/sha.h>
#include <sys/types.h>

// Puts a test's own function in the place of one that the library calls. Only calls that come from
// liborvane.so are affected, but for the library's own functions: it may reach those by a jump,
// which leaves no trace of where it came from, so they are replaced for everyone. A replacement may
// call real() for the genuine answer, and lasts until the test ends:
//
//     interpose::time = [](time_t *) { return time_t{0}; };
namespace interpose {

// Whether the code at this address is the library's.
bool is_from_library(const void *address);
void *next_definition(const char *name);

template <class Signature> class hook;

template <class Result, class... Parameters> class hook<Result(Parameters...)> {
public:
    constexpr explicit hook(const char *name) : name_(name) {}

    hook &operator=(std::function<Result(Parameters...)> replacement)
    {
        reset();
        replacement_ = new std::function<Result(Parameters...)>(std::move(replacement));
        return *this;
    }

    void reset()
    {
        delete replacement_;
        replacement_ = nullptr;
    }

    Result real(Parameters... parameters)
    {
        Result (*found)(Parameters...) = real_;
        if (found == nullptr) {
            found = reinterpret_cast<Result (*)(Parameters...)>(next_definition(name_));
            real_ = found;
        }
        return found(parameters...);
    }

    Result call(const void *caller, Parameters... parameters)
    {
        if (replacement_ == nullptr || !(is_from_library(caller) || is_of_library()))
            return real(parameters...);
        return (*replacement_)(parameters...);
    }

private:
    [[nodiscard]] bool is_of_library() const { return is_from_library(next_definition(name_)); }

    const char *name_;
    // Constant-initialised, because the functions are called before main() and before constructors.
    std::function<Result(Parameters...)> *replacement_ = nullptr;
    std::atomic<Result (*)(Parameters...)> real_ = nullptr; // found by any thread
};

// INTERPOSED_AS(symbol, result, name, parameters, arguments) for every function that can be
// replaced.
#define INTERPOSED_FUNCTIONS                                                                       \
    INTERPOSED_AS(SYMBOL_OF_OPEN, int, open, (const char *path, int flags, mode_t mode),           \
                  (path, flags, mode))                                                             \
    INTERPOSED_AS(SYMBOL_OF_IOCTL, int, ioctl, (int fd, unsigned long request, void *argument),    \
                  (fd, request, argument))                                                         \
    INTERPOSED(int, getifaddrs, (struct ifaddrs * *entries), (entries))                            \
    INTERPOSED(void, freeifaddrs, (struct ifaddrs * entries), (entries))                           \
    INTERPOSED_AS(SYMBOL_OF_TIME, time_t, time, (time_t * now), (now))                             \
    INTERPOSED_AS(SYMBOL_OF_CLOCK_GETTIME, int, clock_gettime,                                     \
                  (clockid_t clock, struct timespec * now), (clock, now))                          \
    INTERPOSED(size_t, strftime,                                                                   \
               (char *text, size_t size, const char *format, const struct tm *parts),              \
               (text, size, format, parts))                                                        \
    INTERPOSED(gchar *, g_key_file_to_data, (GKeyFile * kf, gsize * length, GError * *error),      \
               (kf, length, error))                                                                \
    INTERPOSED(char *, cJSON_Print, (const cJSON *item), (item))                                   \
    INTERPOSED(cJSON *, cJSON_GetObjectItem, (const cJSON *object, const char *key),               \
               (object, key))                                                                      \
    INTERPOSED(const char *, cJSON_GetErrorPtr, (), ())                                            \
    INTERPOSED(blkid_probe, blkid_new_probe_from_filename, (const char *path), (path))             \
    INTERPOSED(int, blkid_probe_is_wholedisk, (blkid_probe probe), (probe))                        \
    INTERPOSED(void, blkid_free_probe, (blkid_probe probe), (probe))                               \
    INTERPOSED(int, SHA256_Init, (SHA256_CTX * context), (context))                                \
    INTERPOSED(int, SHA256_Update, (SHA256_CTX * context, const void *data, size_t size),          \
               (context, data, size))                                                              \
    INTERPOSED(int, SHA256_Final, (unsigned char *digest, SHA256_CTX *context), (digest, context)) \
    INTERPOSED(int, SHA1_Init, (SHA_CTX * context), (context))                                     \
    INTERPOSED(int, SHA1_Update, (SHA_CTX * context, const void *data, size_t size),               \
               (context, data, size))                                                              \
    INTERPOSED(int, SHA1_Final, (unsigned char *digest, SHA_CTX *context), (digest, context))      \
    INTERPOSED(int, MD5_Init, (MD5_CTX * context), (context))                                      \
    INTERPOSED(int, MD5_Update, (MD5_CTX * context, const void *data, size_t size),                \
               (context, data, size))                                                              \
    INTERPOSED(int, MD5_Final, (unsigned char *digest, MD5_CTX *context), (digest, context))       \
    INTERPOSED(int, RSA_verify,                                                                    \
               (int type, const unsigned char *digest, unsigned int digest_size,                   \
                const unsigned char *signature, unsigned int signature_size, RSA *key),            \
               (type, digest, digest_size, signature, signature_size, key))                        \
    INTERPOSED(gpgme_error_t, gpgme_new, (gpgme_ctx_t * context), (context))                       \
    INTERPOSED(gpgme_error_t, gpgme_data_new, (gpgme_data_t * data), (data))                       \
    INTERPOSED(gpgme_error_t, gpgme_data_new_from_cbs,                                             \
               (gpgme_data_t * data, gpgme_data_cbs_t callbacks, void *handle),                    \
               (data, callbacks, handle))                                                          \
    INTERPOSED(off_t, gpgme_data_seek, (gpgme_data_t data, off_t offset, int whence),              \
               (data, offset, whence))                                                             \
    INTERPOSED(ssize_t, gpgme_data_read, (gpgme_data_t data, void *buffer, size_t size),           \
               (data, buffer, size))                                                               \
    INTERPOSED(gpgme_error_t, gpgme_op_decrypt_verify,                                             \
               (gpgme_ctx_t context, gpgme_data_t input, gpgme_data_t output),                     \
               (context, input, output))                                                           \
    INTERPOSED(gpgme_verify_result_t, gpgme_op_verify_result, (gpgme_ctx_t context), (context))    \
    INTERPOSED(gpgme_error_t, gpgme_get_key,                                                       \
               (gpgme_ctx_t context, const char *fingerprint, gpgme_key_t *key, int secret),       \
               (context, fingerprint, key, secret))                                                \
    INTERPOSED(gpgme_encrypt_result_t, gpgme_op_encrypt_result, (gpgme_ctx_t context), (context))  \
    INTERPOSED(unsigned char *, base64_decode_clean, (const char *text, int *size), (text, size))  \
    INTERPOSED(RSA *, load_public_key, (const char *path), (path))                                 \
    INTERPOSED(bool, compute_sha256, (const char *text, unsigned char *digest), (text, digest))    \
    INTERPOSED(int, orvane_logger_env_init, (), ())                                                \
    INTERPOSED(int, orvane_is_tracing, (), ())                                                     \
    INTERPOSED(const char *, time_string, (), ())                                                  \
    INTERPOSED(char *, root_device, (), ())                                                        \
    INTERPOSED(char *, command_line_get_root_device_name, (const char *path), (path))              \
    INTERPOSED(char *, harddisk_id, (const char *device), (device))                                \
    INTERPOSED(char *, harddisk_id_smartctl, (const char *device), (device))                       \
    INTERPOSED(int, is_logical_volume, (const char *device), (device))                             \
    INTERPOSED(char *, harddisk_id_lvm, (const char *device), (device))                            \
    INTERPOSED(char *, network_interface_get_max_mac, (), ())                                      \
    INTERPOSED(char *, system_uuid, (), ())                                                        \
    INTERPOSED(unsigned int, _os_get_version, (), ())                                              \
    INTERPOSED(char *, get_machine_info_from_sysfs, (const char *path), (path))                    \
    INTERPOSED(char *, get_machine_info_from_dmidecode, (const char *command), (command))          \
    INTERPOSED(char *, get_machine_info_simulate, (), ())                                          \
    INTERPOSED(bool, maching_machine_type_with_dmidecode,                                          \
               (const char *manufacturer, const char *pattern), (manufacturer, pattern))           \
    INTERPOSED(int, findTypeEnum, (const char *name), (name))                                      \
    INTERPOSED(void, toLowerCase, (char *text), (text))                                            \
    INTERPOSED(void, removeSpaces, (char *text), (text))                                           \
    INTERPOSED(void, removeSpacesTabs, (char *text), (text))

#define INTERPOSED(result, name, parameters, arguments)                                            \
    INTERPOSED_AS(#name, result, name, parameters, arguments)

#define INTERPOSED_AS(symbol, result, name, parameters, arguments)                                 \
    extern hook<result parameters> name;
INTERPOSED_FUNCTIONS
#undef INTERPOSED_AS

} // namespace interpose
