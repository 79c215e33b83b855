// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fallible_functions.h"

#include "library_slots.h"

#include <algorithm>
#include <clocale>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string_view>

#include <blkid.h>
#include <cJSON.h>
#include <dirent.h>
#include <fcntl.h>
#include <glib.h>
#include <gpgme.h>
#include <ifaddrs.h>
#include <mntent.h>
#include <openssl/bio.h>
#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/md5.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/sha.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

// The system's functions by other C++ names: with as many arguments as the library passes, or with
// the bounds that the headers tell an optimising compiler alone.
extern "C" {
int open_with_mode(const char *path, int flags, mode_t mode) __asm__("open");
int fcntl_with_number(int fd, int command, long number) __asm__("fcntl");
int ioctl_with_pointer(int fd, unsigned long request, void *argument) __asm__("ioctl");
int checked_vsnprintf(char *room, std::size_t size, int flag, std::size_t room_size,
                      const char *format, std::va_list arguments) __asm__("__vsnprintf_chk");
int checked_vfprintf(std::FILE *stream, int flag, const char *format,
                     std::va_list arguments) __asm__("__vfprintf_chk");
int checked_vdprintf(int fd, int flag, const char *format,
                     std::va_list arguments) __asm__("__vdprintf_chk");
int checked_vprintf(int flag, const char *format, std::va_list arguments) __asm__("__vprintf_chk");
char *zdk_system_get_appScene(void);
}

namespace {

// How a call fails: each stands for the function with the error it is given.

template <auto value, class Result, class Real, class... Parameters>
Result says(int error, Real, Parameters...)
{
    errno = error;
    return static_cast<Result>(value);
}

// What is released is gone also when the last write to it failed, and so is a child that was
// waited for.
template <auto value, class Result, class Real, class... Parameters>
Result does_it_and_says(int error, Real real, Parameters... parameters)
{
    static_cast<void>(real(parameters...));
    errno = error;
    return static_cast<Result>(value);
}

template <class Parameter> void break_off(const Parameter &) {}
void break_off(std::FILE *stream)
{
    stream->_flags |= _IO_ERR_SEEN;
}

// A stream remembers that it failed, which is how its user tells a failure from the end.
template <auto value, class Result, class Real, class... Parameters>
Result breaks_off(int error, Real, Parameters... parameters)
{
    if (error != ENOMEM)
        (break_off(parameters), ...);
    errno = error;
    return static_cast<Result>(value);
}

// What a stream holds ready, once it has looked for something.
std::string_view at_hand(std::FILE *stream)
{
    if (const int next = std::getc(stream); next != EOF)
        std::ungetc(next, stream);
    return {stream->_IO_read_ptr, stream->_IO_read_end};
}

// The line all but its last character, and no end behind it, as the C library leaves it in the room
// when the stream fails there. What was not stored is read next.
char *breaks_off_in_line(int error, char *(*real)(char *, int, std::FILE *), char *room, int size,
                         std::FILE *stream)
{
    const std::string_view ready = at_hand(stream);
    const std::size_t line = std::min(ready.find('\n'), ready.size());
    const std::size_t part = std::min(line, static_cast<std::size_t>(size - 1));
    if (part > 1) {
        const char behind = room[part - 1];
        real(room, static_cast<int>(part), stream);
        room[part - 1] = behind;
    }
    return breaks_off<nullptr, char *>(error, real, room, size, stream);
}

// Half of what could be had. What was not stored is read next.
std::size_t
breaks_off_in_content(int error, std::size_t (*real)(void *, std::size_t, std::size_t, std::FILE *),
                      void *room, std::size_t size, std::size_t count, std::FILE *stream)
{
    const std::size_t part =
        real(room, size, std::min(at_hand(stream).size() / size, count) / 2, stream);
    break_off(stream);
    errno = error;
    return part;
}

using getdelim_function = ssize_t(char **, std::size_t *, int, std::FILE *);

// The room is there, and the caller's to release.
ssize_t makes_room_and_breaks_off(int error, getdelim_function *real, char **room,
                                  std::size_t *size, int end, std::FILE *stream)
{
    constexpr std::size_t first_room = 120; // as the C library has
    if (*room == nullptr) {
        *room = static_cast<char *>(std::malloc(first_room));
        *size = first_room;
    }
    return breaks_off<-1, ssize_t>(error, real, room, size, end, stream);
}

// That it is only a part, the stream alone knows.
ssize_t breaks_off_in_room(int error, getdelim_function *real, char **room, std::size_t *size,
                           int end, std::FILE *stream)
{
    const ssize_t length = real(room, size, end, stream) / 2;
    if (length > 0)
        (*room)[length] = '\0';
    break_off(stream);
    errno = error;
    return length > 0 ? length : -1;
}

// Half of what stands ready, as a pipe or a disk may give it.
ssize_t reads_part(int, ssize_t (*real)(int, void *, std::size_t), int fd, void *room,
                   std::size_t size)
{
    pollfd something = {fd, POLLIN, 0};
    int ready = 0;
    if (::poll(&something, 1, -1) != 1 || ::ioctl(fd, FIONREAD, &ready) != 0 || ready < 2)
        return real(fd, room, size);
    return real(fd, room, std::min(size, static_cast<std::size_t>(ready)) / 2);
}

// What the kernel does to whoever writes more than a file of this process may hold.
template <class... Parameters> ssize_t is_beyond_the_limit(int error, Parameters...)
{
    ::raise(SIGXFSZ);
    errno = error;
    return -1;
}

// As where the disk is full behind it.
ssize_t writes_half(int, ssize_t (*real)(int, const void *, std::size_t), int fd,
                    const void *content, std::size_t size)
{
    return real(fd, content, size / 2);
}

ssize_t gives_half(int, ssize_t (*real)(gpgme_data_t, void *, std::size_t), gpgme_data_t data,
                   void *room, std::size_t size)
{
    return real(data, room, (size + 1) / 2);
}

// Another part of the caller took the child, as one that ignores its children does; or a signal
// came. The child that stays for ever would be the kernel's fault and not the library's.
pid_t wait_fails(int error, pid_t (*real)(int *), int *status)
{
    if (error == ECHILD)
        real(status);
    errno = error;
    return -1;
}

template <class Real, class... Parameters> gpgme_error_t gpg_says(int code, Real, Parameters...)
{
    return gpgme_err_make(GPG_ERR_SOURCE_GPGME, static_cast<gpgme_err_code_t>(code));
}

template <class Parameter> void tell(int, const Parameter &) {}
void tell(int error, GError **told)
{
    ::g_set_error_literal(told, G_FILE_ERROR, ::g_file_error_from_errno(error),
                          std::strerror(error));
}

template <auto value, class Result, class Real, class... Parameters>
Result tells(int error, Real, Parameters... parameters)
{
    (tell(error, parameters), ...);
    return static_cast<Result>(value);
}

// The content cannot be read, or ends before its size was reached.
template <class Real, class... Parameters> ssize_t fails_or_ends(int error, Real, Parameters...)
{
    errno = error;
    return error == 0 ? 0 : -1;
}

template <auto value, class Result, class Real, class... Parameters>
Result raises(int reason, Real, Parameters...)
{
    ERR_raise(ERR_LIB_CRYPTO, reason);
    return static_cast<Result>(value);
}

// As printf(), by the function that takes a list. `Head` is what stands before the format.
template <auto print, class... Head> struct printing {
    static inline int number = injection::none;

    static int call(Head... head, const char *format, ...)
    {
        if (injection::next_failure(number, true)) {
            errno = EIO;
            return -1;
        }
        std::va_list arguments;
        va_start(arguments, format);
        const int printed = print(head..., format, arguments);
        va_end(arguments);
        return printed;
    }

    static fallible_function entry(const char *name)
    {
        return {
            name, {effect::failure}, true, reinterpret_cast<void *>(&call), [](int its, void *) {
                number = its;
            }};
    }
};

// The attributes that a template does not see are for the callers of the function.
#pragma GCC diagnostic ignored "-Wignored-attributes"
#define FALLIBLE(name, ...) replacement_of<::name>::entry(#name, __VA_ARGS__)

constexpr int no_errno = 0;
constexpr bool fails_again = true;

std::vector<fallible_function> memory_functions()
{
    return {
        FALLIBLE(malloc, says<nullptr>, {ENOMEM}),
        FALLIBLE(calloc, says<nullptr>, {ENOMEM}),
        FALLIBLE(strdup, says<nullptr>, {ENOMEM}),
    };
}

std::vector<fallible_function> file_functions()
{
    return {
        replacement_of<open_with_mode>::entry("open", says<-1>, {EMFILE}),
        FALLIBLE(read, {{says<-1>, EIO},
                        {says<-1>, EINTR},
                        {reads_part, no_errno, effect::part},
                        {reads_part, no_errno, effect::failure, fails_again}}),
        FALLIBLE(write, {{says<-1>, ENOSPC},
                         {says<-1>, EINTR},
                         {writes_half, no_errno, effect::cut_text},
                         {is_beyond_the_limit, EFBIG}}),
        FALLIBLE(close, does_it_and_says<-1>, {EIO}),
        FALLIBLE(access, says<-1>, {EACCES}),
        FALLIBLE(stat, says<-1>, {EACCES}),
        FALLIBLE(lstat, says<-1>, {EACCES}),
        FALLIBLE(fstat, says<-1>, {EIO}),
        FALLIBLE(mkdir, says<-1>, {ENOSPC}),
        FALLIBLE(realpath, says<nullptr>, {EACCES}),
        FALLIBLE(opendir, says<nullptr>, {EMFILE}),
        FALLIBLE(readdir, says<nullptr>, {EIO}),
        FALLIBLE(closedir, does_it_and_says<-1>, {EIO}),
        FALLIBLE(setmntent, says<nullptr>, {EMFILE}),
        FALLIBLE(getmntent_r, breaks_off<nullptr>, {EIO}),
        FALLIBLE(endmntent, does_it_and_says<0>, {EIO}),
        replacement_of<fcntl_with_number>::entry("fcntl", says<-1>, {EPERM}),
    };
}

std::vector<fallible_function> stream_functions()
{
    return {
        FALLIBLE(fopen, says<nullptr>, {EMFILE}),
        FALLIBLE(fread, {{breaks_off<0>, EIO},
                         {breaks_off<0>, EINTR},
                         {breaks_off_in_content, EIO},
                         {breaks_off_in_content, EINTR}}),
        FALLIBLE(fgets, {{breaks_off<nullptr>, EIO},
                         {breaks_off<nullptr>, EINTR},
                         {breaks_off_in_line, EIO},
                         {breaks_off_in_line, EINTR},
                         {breaks_off_in_line, EINTR, effect::failure, fails_again}}),
        FALLIBLE(getdelim, {{breaks_off<-1>, EIO},
                            {breaks_off<-1>, ENOMEM},
                            {makes_room_and_breaks_off, EIO},
                            {makes_room_and_breaks_off, EINTR},
                            {breaks_off_in_room, EIO}}),
        FALLIBLE(fwrite, breaks_off<0>, {EIO}),
        FALLIBLE(fputs, breaks_off<EOF>, {EIO}),
        FALLIBLE(fclose, does_it_and_says<EOF>, {EIO}),
        printing<::vprintf>::entry("printf"),
        printing<::vfprintf, std::FILE *>::entry("fprintf"),
        printing<::vdprintf, int>::entry("dprintf"),
        printing<checked_vprintf, int>::entry("__printf_chk"),
        printing<checked_vfprintf, std::FILE *, int>::entry("__fprintf_chk"),
        printing<checked_vdprintf, int, int>::entry("__dprintf_chk"),
    };
}

// What the library formats cannot fail for want of anything: a text beyond what an int counts, or a
// caller's wide characters that are none, concern one call.
std::vector<fallible_function> formatting_functions()
{
    constexpr bool goes_on = false;
    return {
        FALLIBLE(vsnprintf, {{says<-1>, EOVERFLOW, effect::cut_text}}, goes_on),
        replacement_of<checked_vsnprintf>::entry(
            "__vsnprintf_chk", {{says<-1>, EOVERFLOW, effect::cut_text}}, goes_on),
        FALLIBLE(strftime, {{says<0>, ERANGE, effect::cut_text}}, goes_on),
    };
}

std::vector<fallible_function> process_functions()
{
    return {
        FALLIBLE(pipe, says<-1>, {EMFILE}),
        FALLIBLE(fork, says<-1>, {EAGAIN}),
        FALLIBLE(execve, says<-1>, {EACCES}),
        FALLIBLE(dup2, says<-1>, {EBUSY}),
        FALLIBLE(wait, wait_fails, {ECHILD, EINTR}),
        FALLIBLE(popen, says<nullptr>, {EMFILE}),
        FALLIBLE(pclose, does_it_and_says<-1>, {ECHILD}),
        FALLIBLE(sigtimedwait, says<-1>, {EAGAIN, EINTR}),
        FALLIBLE(socket, says<-1>, {EMFILE}),
        replacement_of<ioctl_with_pointer>::entry("ioctl", says<-1>, {EIO}),
        FALLIBLE(getifaddrs, says<-1>, {ENOBUFS}),
        FALLIBLE(time, says<-1>, {EOVERFLOW}),
        FALLIBLE(clock_gettime, says<-1>, {EINVAL}),
        FALLIBLE(localtime, says<nullptr>, {EOVERFLOW}),
        FALLIBLE(localtime_r, says<nullptr>, {EOVERFLOW}),
        FALLIBLE(setlocale, says<nullptr>, {ENOENT}),
        // An error that has no description.
        FALLIBLE(strerrordesc_np, says<nullptr>, {no_errno}),
    };
}

std::vector<fallible_function> crypto_functions()
{
    const std::vector<int> no_memory = {ERR_R_MALLOC_FAILURE};
    return {
        FALLIBLE(OPENSSL_init_crypto, raises<0>, no_memory),
        FALLIBLE(BIO_new, raises<nullptr>, no_memory),
        FALLIBLE(BIO_new_mem_buf, raises<nullptr>, no_memory),
        // It only tells the head of the chain that it made.
        FALLIBLE(BIO_push, does_it_and_says<nullptr>, {no_errno}),
        FALLIBLE(BIO_read, raises<-1>, no_memory),
        FALLIBLE(BIO_write, raises<-1>, no_memory),
        FALLIBLE(BIO_ctrl, raises<0>, no_memory),
        FALLIBLE(PEM_read_RSAPublicKey, raises<nullptr>, no_memory),
        FALLIBLE(RSA_verify,
                 {{raises<0>, ERR_R_MALLOC_FAILURE}, {raises<-1>, ERR_R_MALLOC_FAILURE}}),
        FALLIBLE(SHA256_Init, raises<0>, no_memory),
        FALLIBLE(SHA256_Update, raises<0>, no_memory),
        FALLIBLE(SHA256_Final, raises<0>, no_memory),
        FALLIBLE(SHA1_Init, raises<0>, no_memory),
        FALLIBLE(SHA1_Update, raises<0>, no_memory),
        FALLIBLE(SHA1_Final, raises<0>, no_memory),
        FALLIBLE(MD5_Init, raises<0>, no_memory),
        FALLIBLE(MD5_Update, raises<0>, no_memory),
        FALLIBLE(MD5_Final, raises<0>, no_memory),
    };
}

std::vector<fallible_function> gpg_functions()
{
    return {
        FALLIBLE(gpgme_check_version_internal, says<nullptr>, {no_errno}),
        FALLIBLE(gpgme_set_locale, gpg_says, {GPG_ERR_ENOMEM}),
        FALLIBLE(gpgme_new, gpg_says, {GPG_ERR_ENOMEM}),
        FALLIBLE(gpgme_data_new, gpg_says, {GPG_ERR_ENOMEM}),
        FALLIBLE(gpgme_data_new_from_mem, gpg_says, {GPG_ERR_ENOMEM}),
        FALLIBLE(gpgme_data_new_from_file, gpg_says, {GPG_ERR_EIO}),
        FALLIBLE(gpgme_data_seek, says<-1>, {EINVAL}),
        FALLIBLE(gpgme_data_read, {{fails_or_ends, EIO},
                                   {fails_or_ends, no_errno},
                                   {gives_half, no_errno, effect::part}}),
        FALLIBLE(gpgme_op_import, gpg_says, {GPG_ERR_GENERAL}),
        FALLIBLE(gpgme_op_verify, gpg_says, {GPG_ERR_NO_DATA}),
        FALLIBLE(gpgme_op_verify_result, says<nullptr>, {no_errno}),
        FALLIBLE(gpgme_get_key, gpg_says, {GPG_ERR_EOF}),
        FALLIBLE(gpgme_op_encrypt, gpg_says, {GPG_ERR_UNUSABLE_PUBKEY}),
        FALLIBLE(gpgme_op_encrypt_result, says<nullptr>, {no_errno}),
    };
}

std::vector<fallible_function> other_functions()
{
    return {
        FALLIBLE(cJSON_Parse, says<nullptr>, {ENOMEM}),
        FALLIBLE(cJSON_Print, says<nullptr>, {ENOMEM}),
        FALLIBLE(cJSON_GetObjectItem, says<nullptr>, {no_errno}),
        FALLIBLE(cJSON_GetArrayItem, says<nullptr>, {no_errno}),
        FALLIBLE(cJSON_GetArraySize, says<0>, {no_errno}),
        FALLIBLE(cJSON_IsArray, says<0>, {no_errno}),
        FALLIBLE(cJSON_IsString, says<0>, {no_errno}),
        FALLIBLE(cJSON_GetErrorPtr, says<nullptr>, {no_errno}),
        FALLIBLE(g_get_os_info, says<nullptr>, {no_errno}),
        FALLIBLE(g_file_set_contents, tells<FALSE>, {ENOSPC}),
        FALLIBLE(g_key_file_load_from_file, tells<FALSE>, {EACCES}),
        FALLIBLE(g_key_file_get_value, tells<nullptr>, {EINVAL}),
        FALLIBLE(g_key_file_get_keys, tells<nullptr>, {EINVAL}),
        FALLIBLE(g_key_file_to_data, tells<nullptr>, {EINVAL}),
        FALLIBLE(blkid_new_probe_from_filename, says<nullptr>, {EACCES}),
        FALLIBLE(blkid_probe_is_wholedisk, says<0>, {no_errno}),
        FALLIBLE(zdk_system_get_appScene, says<nullptr>, {no_errno}),
    };
}

#undef FALLIBLE

const std::set<std::string> infallible_functions = {
    // Work on what is in memory.
    "__errno_location", "__isoc99_sscanf", "__memcpy_chk", "basename", "clearerr", "feof", "ferror",
    "getpid", "isgraph", "isupper", "memchr", "memcmp", "memcpy", "memmove", "memset",
    "pthread_sigmask", "sigaddset", "sigemptyset", "sigismember", "sigpending", "strcasecmp",
    "strchr", "strcmp", "strcspn", "strerror", "strlen", "strncasecmp", "strncmp", "strncpy",
    "strrchr", "strstr", "strtok_r", "tolower", "g_key_file_has_group", "g_key_file_has_key",
    "g_strrstr", "BIO_f_base64", "BIO_s_mem", "BIO_set_flags", "ERR_pop_to_mark", "ERR_set_mark",
    "gpgme_set_armor",
    // Release it.
    "free", "freeifaddrs", "blkid_free_probe", "cJSON_Delete", "cJSON_free", "g_clear_error",
    "g_free", "g_key_file_free", "g_list_free", "g_list_foreach", "g_strfreev", "BIO_free_all",
    "RSA_free", "gpgme_data_release", "gpgme_release",
    // End the process where there is no memory.
    "g_key_file_new", "g_key_file_set_value", "g_list_append", "g_list_concat", "g_list_sort",
    "g_strsplit",
    // Say that something failed, or end the process.
    "__stack_chk_fail", "_exit", "abort", "g_log", "perror",
    // The compiler's and the linker's own.
    "_ITM_deregisterTMCloneTable", "_ITM_registerTMCloneTable", "__cxa_finalize", "__gmon_start__"};

bool is_of_a_sanitizer(std::string_view name)
{
    return name.starts_with("__asan_") || name.starts_with("__ubsan_") ||
           name.starts_with("__tsan_");
}

} // namespace

const std::vector<fallible_function> &fallible_functions()
{
    static const std::vector<fallible_function> all = [] {
        std::vector<fallible_function> joined;
        for (const auto part :
             {memory_functions, file_functions, stream_functions, formatting_functions,
              process_functions, crypto_functions, gpg_functions, other_functions})
            std::ranges::move(part(), std::back_inserter(joined));
        return joined;
    }();
    return all;
}

bool is_infallible(const std::string &name)
{
    return infallible_functions.contains(name) || is_of_a_sanitizer(name);
}

const imported_names &replace_fallible_functions()
{
    static const imported_names names = [] {
        const std::vector<fallible_function> &fallible = fallible_functions();
        imported_names sorted;
        for (const imported_function &imported : imported_functions()) {
            const auto found = std::ranges::find(fallible, imported.name, &fallible_function::name);
            if (found == fallible.end()) {
                if (!is_infallible(imported.name))
                    sorted.unknown.insert(imported.name);
                continue;
            }
            // It works from the moment that it stands in the library's slots.
            found->keep(static_cast<int>(found - fallible.begin()), *imported.slots.front());
            replace(imported, found->replacement);
            sorted.fallible.insert(imported.name);
        }
        return sorted;
    }();
    return names;
}
