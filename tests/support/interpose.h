// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <atomic>
#include <cstdio>
#include <ctime>
#include <functional>

#include <blkid.h>
#include <cJSON.h>
#include <dirent.h>
#include <glib.h>
#include <gpgme.h>
#include <ifaddrs.h>
#include <mntent.h>
#include <openssl/bio.h>
#include <openssl/md5.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/sha.h>
#include <sys/stat.h>
#include <sys/types.h>

// Puts a test's own function in the place of one that the library calls. Only calls that come from
// liborvane.so are affected, but for the library's own functions: it may reach those by a jump,
// which leaves no trace of where it came from, so they are replaced for everyone. A replacement may
// call real() for the genuine answer, and lasts until the test ends:
//
//     interpose::strdup = [](const char *) -> char * { return nullptr; };
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

// INTERPOSED(result, name, parameters) for every function that can be replaced.
#define INTERPOSED_FUNCTIONS                                                                       \
    INTERPOSED(int, access, (const char *path, int mode), (path, mode))                            \
    INTERPOSED(int, mkdir, (const char *path, mode_t mode), (path, mode))                          \
    INTERPOSED(int, open, (const char *path, int flags, mode_t mode), (path, flags, mode))         \
    INTERPOSED(ssize_t, write, (int fd, const void *data, size_t size), (fd, data, size))          \
    INTERPOSED(int, close, (int fd), (fd))                                                         \
    INTERPOSED(int, stat, (const char *path, struct stat *status), (path, status))                 \
    INTERPOSED(int, lstat, (const char *path, struct stat *status), (path, status))                \
    INTERPOSED(int, fstat, (int fd, struct stat *status), (fd, status))                            \
    INTERPOSED(int, dup2, (int from, int to), (from, to))                                          \
    INTERPOSED(char *, realpath, (const char *path, char *room), (path, room))                     \
    INTERPOSED(ssize_t, read, (int fd, void *room, size_t size), (fd, room, size))                 \
    INTERPOSED(int, ioctl, (int fd, unsigned long request, void *argument),                        \
               (fd, request, argument))                                                            \
    INTERPOSED(int, socket, (int domain, int type, int protocol), (domain, type, protocol))        \
    INTERPOSED(int, getifaddrs, (struct ifaddrs * *entries), (entries))                            \
    INTERPOSED(void, freeifaddrs, (struct ifaddrs * entries), (entries))                           \
    INTERPOSED(char *, basename, (const char *path), (path))                                       \
    INTERPOSED(int, pipe, (int *ends), (ends))                                                     \
    INTERPOSED(pid_t, fork, (), ())                                                                \
    INTERPOSED(int, execve, (const char *path, char *const *arguments, char *const *environment),  \
               (path, arguments, environment))                                                     \
    INTERPOSED(pid_t, wait, (int *status), (status))                                               \
    INTERPOSED(DIR *, opendir, (const char *path), (path))                                         \
    INTERPOSED(struct dirent *, readdir, (DIR * directory), (directory))                           \
    INTERPOSED(int, closedir, (DIR * directory), (directory))                                      \
    INTERPOSED(std::FILE *, setmntent, (const char *path, const char *mode), (path, mode))         \
    INTERPOSED(struct mntent *, getmntent_r,                                                       \
               (std::FILE * table, struct mntent * entry, char *room, int size),                   \
               (table, entry, room, size))                                                         \
    INTERPOSED(int, endmntent, (std::FILE * table), (table))                                       \
    INTERPOSED(pid_t, getpid, (), ())                                                              \
    INTERPOSED(std::FILE *, fopen, (const char *path, const char *mode), (path, mode))             \
    INTERPOSED(char *, fgets, (char *room, int size, std::FILE *stream), (room, size, stream))     \
    INTERPOSED(size_t, fread, (void *room, size_t size, size_t count, std::FILE *stream),          \
               (room, size, count, stream))                                                        \
    INTERPOSED(int, fclose, (std::FILE * stream), (stream))                                        \
    INTERPOSED(std::FILE *, popen, (const char *command, const char *mode), (command, mode))       \
    INTERPOSED(int, pclose, (std::FILE * stream), (stream))                                        \
    INTERPOSED(char *, strdup, (const char *text), (text))                                         \
    INTERPOSED(int, tolower, (int character), (character))                                         \
    INTERPOSED(time_t, time, (time_t * now), (now))                                                \
    INTERPOSED(int, clock_gettime, (clockid_t clock, struct timespec * now), (clock, now))         \
    INTERPOSED(struct tm *, localtime, (const time_t *when), (when))                               \
    INTERPOSED(struct tm *, localtime_r, (const time_t *when, struct tm *parts), (when, parts))    \
    INTERPOSED(size_t, strftime,                                                                   \
               (char *room, size_t size, const char *format, const struct tm *parts),              \
               (room, size, format, parts))                                                        \
    INTERPOSED(gchar *, g_key_file_to_data, (GKeyFile * kf, gsize * length, GError * *error),      \
               (kf, length, error))                                                                \
    INTERPOSED(gchar *, g_key_file_get_value,                                                      \
               (GKeyFile * kf, const gchar *group, const gchar *key, GError **error),              \
               (kf, group, key, error))                                                            \
    INTERPOSED(gchar **, g_key_file_get_keys,                                                      \
               (GKeyFile * kf, const gchar *group, gsize *length, GError **error),                 \
               (kf, group, length, error))                                                         \
    INTERPOSED(gboolean, g_key_file_load_from_file,                                                \
               (GKeyFile * kf, const gchar *path, GKeyFileFlags flags, GError **error),            \
               (kf, path, flags, error))                                                           \
    INTERPOSED(gboolean, g_file_set_contents,                                                      \
               (const gchar *path, const gchar *text, gssize length, GError **error),              \
               (path, text, length, error))                                                        \
    INTERPOSED(gboolean, g_file_get_contents,                                                      \
               (const gchar *path, gchar **text, gsize *length, GError **error),                   \
               (path, text, length, error))                                                        \
    INTERPOSED(cJSON *, cJSON_Parse, (const char *text), (text))                                   \
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
    INTERPOSED(BIO *, BIO_new, (const BIO_METHOD *method), (method))                               \
    INTERPOSED(BIO *, BIO_new_mem_buf, (const void *data, int size), (data, size))                 \
    INTERPOSED(void, BIO_set_flags, (BIO * bio, int flags), (bio, flags))                          \
    INTERPOSED(BIO *, BIO_push, (BIO * bio, BIO * next), (bio, next))                              \
    INTERPOSED(int, BIO_read, (BIO * bio, void *room, int size), (bio, room, size))                \
    INTERPOSED(int, BIO_write, (BIO * bio, const void *data, int size), (bio, data, size))         \
    INTERPOSED(long, BIO_ctrl, (BIO * bio, int command, long number, void *pointer),               \
               (bio, command, number, pointer))                                                    \
    INTERPOSED(void, BIO_free_all, (BIO * bio), (bio))                                             \
    INTERPOSED(int, OPENSSL_init_crypto,                                                           \
               (uint64_t options, const OPENSSL_INIT_SETTINGS *settings), (options, settings))     \
    INTERPOSED(RSA *, PEM_read_RSAPublicKey,                                                       \
               (std::FILE * file, RSA * *key, pem_password_cb * callback, void *data),             \
               (file, key, callback, data))                                                        \
    INTERPOSED(int, RSA_verify,                                                                    \
               (int type, const unsigned char *digest, unsigned int digest_size,                   \
                const unsigned char *signature, unsigned int signature_size, RSA *key),            \
               (type, digest, digest_size, signature, signature_size, key))                        \
    INTERPOSED(void, RSA_free, (RSA * key), (key))                                                 \
    INTERPOSED(char *, setlocale, (int category, const char *locale), (category, locale))          \
    INTERPOSED(const char *, gpgme_check_version_internal, (const char *version, size_t offset),   \
               (version, offset))                                                                  \
    INTERPOSED(gpgme_error_t, gpgme_set_locale,                                                    \
               (gpgme_ctx_t context, int category, const char *value), (context, category, value)) \
    INTERPOSED(gpgme_error_t, gpgme_new, (gpgme_ctx_t * context), (context))                       \
    INTERPOSED(void, gpgme_release, (gpgme_ctx_t context), (context))                              \
    INTERPOSED(void, gpgme_set_armor, (gpgme_ctx_t context, int armored), (context, armored))      \
    INTERPOSED(gpgme_error_t, gpgme_data_new, (gpgme_data_t * data), (data))                       \
    INTERPOSED(gpgme_error_t, gpgme_data_new_from_mem,                                             \
               (gpgme_data_t * data, const char *bytes, size_t size, int copy),                    \
               (data, bytes, size, copy))                                                          \
    INTERPOSED(gpgme_error_t, gpgme_data_new_from_file,                                            \
               (gpgme_data_t * data, const char *path, int copy), (data, path, copy))              \
    INTERPOSED(void, gpgme_data_release, (gpgme_data_t data), (data))                              \
    INTERPOSED(off_t, gpgme_data_seek, (gpgme_data_t data, off_t offset, int whence),              \
               (data, offset, whence))                                                             \
    INTERPOSED(ssize_t, gpgme_data_read, (gpgme_data_t data, void *room, size_t size),             \
               (data, room, size))                                                                 \
    INTERPOSED(gpgme_error_t, gpgme_op_import, (gpgme_ctx_t context, gpgme_data_t key),            \
               (context, key))                                                                     \
    INTERPOSED(                                                                                    \
        gpgme_error_t, gpgme_op_verify,                                                            \
        (gpgme_ctx_t context, gpgme_data_t signature, gpgme_data_t text, gpgme_data_t content),    \
        (context, signature, text, content))                                                       \
    INTERPOSED(gpgme_verify_result_t, gpgme_op_verify_result, (gpgme_ctx_t context), (context))    \
    INTERPOSED(gpgme_error_t, gpgme_get_key,                                                       \
               (gpgme_ctx_t context, const char *fingerprint, gpgme_key_t *key, int secret),       \
               (context, fingerprint, key, secret))                                                \
    INTERPOSED(gpgme_error_t, gpgme_op_encrypt,                                                    \
               (gpgme_ctx_t context, gpgme_key_t * recipients, gpgme_encrypt_flags_t flags,        \
                gpgme_data_t text, gpgme_data_t message),                                          \
               (context, recipients, flags, text, message))                                        \
    INTERPOSED(gpgme_encrypt_result_t, gpgme_op_encrypt_result, (gpgme_ctx_t context), (context))  \
    INTERPOSED(unsigned char *, base64_decode_clean, (const char *text, int *size), (text, size))  \
    INTERPOSED(RSA *, load_public_key, (const char *path), (path))                                 \
    INTERPOSED(bool, compute_sha256, (const char *text, unsigned char *digest), (text, digest))    \
    INTERPOSED(int, orvane_logger_env_init, (), ())                                                \
    INTERPOSED(int, orvane_is_tracing, (), ())                                                     \
    INTERPOSED(const char *, time_string, (), ())                                                  \
    INTERPOSED(int, file_stat, (const char *path, int mask), (path, mask))                         \
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

#define INTERPOSED(result, name, parameters, arguments) extern hook<result parameters> name;
INTERPOSED_FUNCTIONS
#undef INTERPOSED

} // namespace interpose
