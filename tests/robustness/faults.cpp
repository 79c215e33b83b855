// SPDX-License-Identifier: LGPL-2.1-or-later
#include "faults.h"

#include "injection.h"
#include "library_slots.h"

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <optional>
#include <string_view>
#include <type_traits>
#include <utility>

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
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/time.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

// The system's functions by other C++ names: variadic ones with their usual arguments, and those
// that the headers declare for an optimising compiler alone.
extern "C" {
int open_with_mode(const char *path, int flags, mode_t mode) __asm__("open");
int open64_with_mode(const char *path, int flags, mode_t mode) __asm__("open64");
int openat_with_mode(int directory, const char *path, int flags, mode_t mode) __asm__("openat");
int checked_open(const char *path, int flags) __asm__("__open_2");
int checked_openat(int directory, const char *path, int flags) __asm__("__openat_2");
int fcntl_with_number(int fd, int command, long number) __asm__("fcntl");
int fcntl64_with_number(int fd, int command, long number) __asm__("fcntl64");
int ioctl_with_pointer(int fd, unsigned long request, void *argument) __asm__("ioctl");
char *checked_realpath(const char *path, char *resolved,
                       std::size_t size) __asm__("__realpath_chk");
ssize_t checked_read(int fd, void *buffer, std::size_t count,
                     std::size_t size) __asm__("__read_chk");
char *checked_fgets(char *buffer, std::size_t size, int count,
                    std::FILE *stream) __asm__("__fgets_chk");
std::size_t checked_fread(void *buffer, std::size_t buffer_size, std::size_t size,
                          std::size_t count, std::FILE *stream) __asm__("__fread_chk");
int refill(std::FILE *stream) __asm__("__uflow");
ssize_t delimited(char **line, std::size_t *size, int end, std::FILE *stream) __asm__("__getdelim");
int checked_vsnprintf(char *buffer, std::size_t count, int flag, std::size_t size,
                      const char *format, std::va_list arguments) __asm__("__vsnprintf_chk");
int checked_vasprintf(char **text, int flag, const char *format,
                      std::va_list arguments) __asm__("__vasprintf_chk");
int checked_vfprintf(std::FILE *stream, int flag, const char *format,
                     std::va_list arguments) __asm__("__vfprintf_chk");
int checked_vdprintf(int fd, int flag, const char *format,
                     std::va_list arguments) __asm__("__vdprintf_chk");
int checked_vprintf(int flag, const char *format, std::va_list arguments) __asm__("__vprintf_chk");
char *zdk_system_get_appScene(void);
}

namespace {

template <class Pointer> struct signature_of;
template <class Result, class... Parameters> struct signature_of<Result (*)(Parameters...)> {
    using type = Result(Parameters...);
};
template <class Result, class... Parameters>
struct signature_of<Result (*)(Parameters...) noexcept> {
    using type = Result(Parameters...);
};

constexpr bool fails_again = true;
constexpr bool occurs_alone = false;

template <class Parameter> bool is_at_hand(const Parameter &)
{
    return false;
}
bool is_at_hand(std::FILE *stream)
{
    return stream->_IO_read_ptr < stream->_IO_read_end;
}

// Calls the genuine function unless this call is to fail. One that reads single characters cannot
// fail while its stream holds some.
template <auto function, bool reads_character = false,
          class Signature = typename signature_of<decltype(function)>::type>
struct replacement_of;
template <auto function, bool reads_character, class Result, class... Parameters>
struct replacement_of<function, reads_character, Result(Parameters...)> {
    using genuine = Result (*)(Parameters...);

    struct fault {
        Result (*fail)(int error, genuine real, Parameters... parameters);
        int error;
        effect what = effect::failure;
        bool again = false; // the next call fails too, with the first fault
    };

    static inline int number = injection::none;
    static inline genuine real = nullptr;
    static inline std::vector<fault> faults;
    static inline bool lasts = true;

    static Result call(Parameters... parameters)
    {
        if (reads_character && (is_at_hand(parameters) || ...))
            return real(parameters...);
        const std::optional<unsigned> failing = injection::next_fault(number, lasts);
        if (!failing)
            return real(parameters...);
        const fault &chosen = faults[*failing];
        if (chosen.again)
            injection::fail_next(number);
        return chosen.fail(chosen.error, real, parameters...);
    }

    static fallible_function entry(const char *name, std::vector<fault> each, bool goes_on = true)
    {
        faults = std::move(each);
        lasts = goes_on;
        std::vector<effect> effects;
        for (const fault &one : faults)
            effects.push_back(one.what);
        return {name, effects, reinterpret_cast<void *>(&call), [](int its, void *found) {
                    number = its;
                    real = reinterpret_cast<genuine>(found);
                }};
    }

    static fallible_function entry(const char *name, Result (*with)(int, genuine, Parameters...),
                                   const std::vector<int> &errors)
    {
        std::vector<fault> each;
        for (const int error : errors)
            each.push_back({with, error});
        return entry(name, std::move(each));
    }
};

// As printf(), by the function that takes a list. `Head` is what comes before the format.
template <auto print, class... Head> struct printing {
    static inline int number = injection::none;
    static inline int error = 0;
    static inline bool lasts = true;

    static int call(Head... head, const char *format, ...)
    {
        if (injection::next_fault(number, lasts)) {
            errno = error;
            return -1;
        }
        std::va_list arguments;
        va_start(arguments, format);
        const int printed = print(head..., format, arguments);
        va_end(arguments);
        return printed;
    }

    static fallible_function entry(const char *name, int with = EIO, effect what = effect::failure,
                                   bool goes_on = true)
    {
        error = with;
        lasts = goes_on;
        return {
            name, {what}, reinterpret_cast<void *>(&call), [](int its, void *) { number = its; }};
    }
};

// What a call does that fails: each stands for the function with the error it is given.

template <auto value, class Result, class Real, class... Parameters>
Result fails(int error, Real, Parameters...)
{
    errno = error;
    return static_cast<Result>(value);
}

template <class Real, class... Parameters> int returns_error(int error, Real, Parameters...)
{
    return error;
}

// What is released is gone also when the last write to it failed, and so is a child that was
// waited for.
template <auto value, class Result, class Real, class... Parameters>
Result succeeds_and_fails(int error, Real real, Parameters... parameters)
{
    static_cast<void>(real(parameters...));
    errno = error;
    return static_cast<Result>(value);
}

template <class Parameter> void mark_failed(const Parameter &) {}
void mark_failed(std::FILE *stream)
{
    stream->_flags |= _IO_ERR_SEEN;
}

// The error indicator of a stream is how its user distinguishes a failure from the end.
template <auto value, class Result, class Real, class... Parameters>
Result fails_in_stream(int error, Real, Parameters... parameters)
{
    if (error != ENOMEM)
        (mark_failed(parameters), ...);
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

// The line without its last character and without a terminator, as the C library leaves it in the
// buffer when the stream fails there. What was not stored is read next.
char *fails_in_line(int error, char *(*real)(char *, int, std::FILE *), char *buffer, int size,
                    std::FILE *stream)
{
    const std::string_view ready = at_hand(stream);
    const std::size_t line = std::min(ready.find('\n'), ready.size());
    const std::size_t part = std::min(line, static_cast<std::size_t>(size - 1));
    if (part > 1) {
        const char behind = buffer[part - 1];
        real(buffer, static_cast<int>(part), stream);
        buffer[part - 1] = behind;
    }
    return fails_in_stream<nullptr, char *>(error, real, buffer, size, stream);
}

// Half of what is ready. What was not stored is read next.
std::size_t fails_in_content(int error,
                             std::size_t (*real)(void *, std::size_t, std::size_t, std::FILE *),
                             void *buffer, std::size_t size, std::size_t count, std::FILE *stream)
{
    const std::size_t part =
        real(buffer, size, std::min(at_hand(stream).size() / size, count) / 2, stream);
    mark_failed(stream);
    errno = error;
    return part;
}

using getdelim_function = ssize_t(char **, std::size_t *, int, std::FILE *);

// The buffer is there, and the caller's to release.
ssize_t allocates_and_fails(int error, getdelim_function *real, char **buffer, std::size_t *size,
                            int end, std::FILE *stream)
{
    constexpr std::size_t first_size = 120; // as the C library has
    if (*buffer == nullptr) {
        *buffer = static_cast<char *>(std::malloc(first_size));
        *size = first_size;
    }
    return fails_in_stream<-1, ssize_t>(error, real, buffer, size, end, stream);
}

// That it is only a part, the stream alone reports.
ssize_t fails_in_text(int error, getdelim_function *real, char **buffer, std::size_t *size, int end,
                      std::FILE *stream)
{
    const ssize_t length = real(buffer, size, end, stream) / 2;
    if (length > 0)
        (*buffer)[length] = '\0';
    mark_failed(stream);
    errno = error;
    return length > 0 ? length : -1;
}

// Half of what is ready, as a pipe or a disk may give it.
ssize_t reads_part(int, ssize_t (*real)(int, void *, std::size_t), int fd, void *buffer,
                   std::size_t size)
{
    pollfd something = {fd, POLLIN, 0};
    int ready = 0;
    if (::poll(&something, 1, -1) != 1 || ::ioctl(fd, FIONREAD, &ready) != 0 || ready < 2)
        return real(fd, buffer, size);
    return real(fd, buffer, std::min(size, static_cast<std::size_t>(ready)) / 2);
}

// What the kernel does at RLIMIT_FSIZE, and where nobody reads.
template <int signal, class Real, class... Parameters>
ssize_t fails_with_signal(int error, Real, Parameters...)
{
    ::raise(signal);
    errno = error;
    return -1;
}

// As where the disk is full after it.
ssize_t writes_half(int, ssize_t (*real)(int, const void *, std::size_t), int fd,
                    const void *content, std::size_t size)
{
    return real(fd, content, size / 2);
}

ssize_t gives_half(int, ssize_t (*real)(gpgme_data_t, void *, std::size_t), gpgme_data_t data,
                   void *buffer, std::size_t size)
{
    return real(data, buffer, (size + 1) / 2);
}

// Another part of the caller took the child, as one that ignores its children does; or a signal
// came. A child that stays for ever would be the kernel's fault and not the library's.
template <auto value, class Result, class Real, class... Parameters>
Result wait_fails(int error, Real real, Parameters... parameters)
{
    if (error == ECHILD)
        static_cast<void>(real(parameters...));
    errno = error;
    return static_cast<Result>(value);
}

// Another part of the caller takes the child also where the call would have left it.
int wait_for_one_fails(int error, int (*real)(idtype_t, id_t, siginfo_t *, int), idtype_t kind,
                       id_t child, siginfo_t *end, int options)
{
    return wait_fails<-1, int>(error, real, kind, child, end, options & ~WNOWAIT);
}

template <class Real, class... Parameters> gpgme_error_t gpg_fails(int code, Real, Parameters...)
{
    return gpgme_err_make(GPG_ERR_SOURCE_GPGME, static_cast<gpgme_err_code_t>(code));
}

template <class Parameter> void set_error(int, const Parameter &) {}
void set_error(int error, GError **where)
{
    ::g_set_error_literal(where, G_FILE_ERROR, ::g_file_error_from_errno(error),
                          std::strerror(error));
}

template <auto value, class Result, class Real, class... Parameters>
Result fails_with_gerror(int error, Real, Parameters... parameters)
{
    (set_error(error, parameters), ...);
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

// The attributes that a template does not see are for the callers of the function.
#pragma GCC diagnostic ignored "-Wignored-attributes"
#define FALLIBLE(name, ...) replacement_of<::name>::entry(#name, __VA_ARGS__)
#define FALLIBLE_BY(name, declared, ...) replacement_of<declared>::entry(name, __VA_ARGS__)
#define FALLIBLE_READ_OF_CHARACTER(name, declared)                                                 \
    replacement_of<declared, true>::entry(name, fails_in_stream<EOF>, {EIO, EINTR})

constexpr int no_errno = 0;

std::vector<fallible_function> memory_functions()
{
    return {
        FALLIBLE(malloc, fails<nullptr>, {ENOMEM}),
        FALLIBLE(calloc, fails<nullptr>, {ENOMEM}),
        FALLIBLE(realloc, fails<nullptr>, {ENOMEM}),
        FALLIBLE(reallocarray, fails<nullptr>, {ENOMEM}),
        FALLIBLE(aligned_alloc, fails<nullptr>, {ENOMEM}),
        FALLIBLE(strdup, fails<nullptr>, {ENOMEM}),
        FALLIBLE(strndup, fails<nullptr>, {ENOMEM}),
        printing<::vasprintf, char **>::entry("asprintf", ENOMEM),
        printing<checked_vasprintf, char **, int>::entry("__asprintf_chk", ENOMEM),
        FALLIBLE(vasprintf, fails<-1>, {ENOMEM}),
        FALLIBLE(open_memstream, fails<nullptr>, {ENOMEM}),
    };
}

std::vector<fallible_function> file_functions()
{
    return {
        FALLIBLE_BY("open", open_with_mode, fails<-1>, {EMFILE}),
        FALLIBLE_BY("open64", open64_with_mode, fails<-1>, {EMFILE}),
        FALLIBLE_BY("openat", openat_with_mode, fails<-1>, {EMFILE}),
        FALLIBLE_BY("__open_2", checked_open, fails<-1>, {EMFILE}),
        FALLIBLE_BY("__openat_2", checked_openat, fails<-1>, {EMFILE}),
        FALLIBLE(read, {{fails<-1>, EIO},
                        {fails<-1>, EINTR},
                        {reads_part, no_errno, effect::part},
                        {reads_part, no_errno, effect::failure, fails_again}}),
        FALLIBLE_BY("__read_chk", checked_read, fails<-1>, {EIO, EINTR}),
        FALLIBLE(pread, fails<-1>, {EIO, EINTR}),
        FALLIBLE(write, {{fails<-1>, ENOSPC},
                         {fails<-1>, EINTR},
                         {writes_half, no_errno, effect::truncation},
                         {fails_with_signal<SIGXFSZ>, EFBIG},
                         {fails_with_signal<SIGPIPE>, EPIPE}}),
        FALLIBLE(pwrite,
                 {{fails<-1>, ENOSPC}, {fails<-1>, EINTR}, {fails_with_signal<SIGXFSZ>, EFBIG}}),
        FALLIBLE(writev,
                 {{fails<-1>, ENOSPC}, {fails<-1>, EINTR}, {fails_with_signal<SIGXFSZ>, EFBIG}}),
        FALLIBLE(close, succeeds_and_fails<-1>, {EIO}),
        FALLIBLE(lseek, fails<-1>, {EINVAL}),
        FALLIBLE(access, fails<-1>, {EACCES}),
        FALLIBLE(faccessat, fails<-1>, {EACCES}),
        FALLIBLE(euidaccess, fails<-1>, {EACCES}),
        FALLIBLE(stat, fails<-1>, {EACCES}),
        FALLIBLE(lstat, fails<-1>, {EACCES}),
        FALLIBLE(fstat, fails<-1>, {EIO}),
        FALLIBLE(fstatat, fails<-1>, {EACCES}),
        FALLIBLE(statx, fails<-1>, {EACCES}),
        FALLIBLE(statvfs, fails<-1>, {EACCES}),
        FALLIBLE(mkdir, fails<-1>, {ENOSPC}),
        FALLIBLE(mkdirat, fails<-1>, {ENOSPC}),
        FALLIBLE(realpath, fails<nullptr>, {EACCES}),
        FALLIBLE_BY("__realpath_chk", checked_realpath, fails<nullptr>, {EACCES}),
        FALLIBLE(readlink, fails<-1>, {EACCES}),
        FALLIBLE(readlinkat, fails<-1>, {EACCES}),
        FALLIBLE(opendir, fails<nullptr>, {EMFILE}),
        FALLIBLE(fdopendir, fails<nullptr>, {ENOMEM}),
        FALLIBLE(readdir, fails<nullptr>, {EIO}),
        FALLIBLE(closedir, succeeds_and_fails<-1>, {EIO}),
        FALLIBLE(scandir, fails<-1>, {EMFILE}),
        FALLIBLE(scandirat, fails<-1>, {EMFILE}),
        FALLIBLE(setmntent, fails<nullptr>, {EMFILE}),
        FALLIBLE(getmntent_r, fails_in_stream<nullptr>, {EIO}),
        FALLIBLE(endmntent, succeeds_and_fails<0>, {EIO}),
        FALLIBLE_BY("fcntl", fcntl_with_number, fails<-1>, {EPERM}),
        FALLIBLE_BY("fcntl64", fcntl64_with_number, fails<-1>, {EPERM}),
    };
}

std::vector<fallible_function> stream_functions()
{
    return {
        FALLIBLE(fopen, fails<nullptr>, {EMFILE}),
        FALLIBLE(fdopen, fails<nullptr>, {ENOMEM}),
        FALLIBLE(fread, {{fails_in_stream<0>, EIO},
                         {fails_in_stream<0>, EINTR},
                         {fails_in_content, EIO},
                         {fails_in_content, EINTR}}),
        FALLIBLE(fread_unlocked, fails_in_stream<0>, {EIO, EINTR}),
        FALLIBLE_BY("__fread_chk", checked_fread, fails_in_stream<0>, {EIO, EINTR}),
        FALLIBLE(fgets, {{fails_in_stream<nullptr>, EIO},
                         {fails_in_stream<nullptr>, EINTR},
                         {fails_in_line, EIO},
                         {fails_in_line, EINTR},
                         {fails_in_line, EINTR, effect::failure, fails_again}}),
        FALLIBLE(fgets_unlocked, fails_in_stream<nullptr>, {EIO, EINTR}),
        FALLIBLE_BY("__fgets_chk", checked_fgets, fails_in_stream<nullptr>, {EIO, EINTR}),
        FALLIBLE_READ_OF_CHARACTER("fgetc", ::fgetc),
        FALLIBLE_READ_OF_CHARACTER("getc", ::getc),
        FALLIBLE_READ_OF_CHARACTER("fgetc_unlocked", ::fgetc_unlocked),
        FALLIBLE_READ_OF_CHARACTER("getc_unlocked", ::getc_unlocked),
        FALLIBLE_READ_OF_CHARACTER("__uflow", refill),
        FALLIBLE(getdelim, {{fails_in_stream<-1>, EIO},
                            {fails_in_stream<-1>, ENOMEM},
                            {allocates_and_fails, EIO},
                            {allocates_and_fails, EINTR},
                            {fails_in_text, EIO}}),
        FALLIBLE_BY("__getdelim", delimited, fails_in_stream<-1>, {EIO, ENOMEM, EINTR}),
        FALLIBLE(getline, fails_in_stream<-1>, {EIO, ENOMEM, EINTR}),
        FALLIBLE(fwrite, fails_in_stream<0>, {EIO}),
        FALLIBLE(fputc, fails_in_stream<EOF>, {EIO}),
        FALLIBLE(puts, fails<EOF>, {EIO}),
        FALLIBLE(fflush, fails_in_stream<EOF>, {EIO}),
        FALLIBLE(fclose, succeeds_and_fails<EOF>, {EIO}),
        printing<::vprintf>::entry("printf"),
        printing<::vfprintf, std::FILE *>::entry("fprintf"),
        printing<::vdprintf, int>::entry("dprintf"),
        printing<checked_vprintf, int>::entry("__printf_chk"),
        printing<checked_vfprintf, std::FILE *, int>::entry("__fprintf_chk"),
        printing<checked_vdprintf, int, int>::entry("__dprintf_chk"),
        FALLIBLE(vdprintf, fails<-1>, {EIO}),
        FALLIBLE(vfprintf, fails_in_stream<-1>, {EIO}),
        FALLIBLE_BY("__vfprintf_chk", checked_vfprintf, fails_in_stream<-1>, {EIO}),
    };
}

// What the library formats cannot fail for want of anything: a text beyond what an int counts, or a
// caller's invalid wide characters, concern one call.
std::vector<fallible_function> formatting_functions()
{
    constexpr effect truncated = effect::truncation;
    return {
        FALLIBLE(vsnprintf, {{fails<-1>, EOVERFLOW, truncated}}, occurs_alone),
        FALLIBLE_BY("__vsnprintf_chk", checked_vsnprintf, {{fails<-1>, EOVERFLOW, truncated}},
                    occurs_alone),
        printing<::vsnprintf, char *, std::size_t>::entry("snprintf", EOVERFLOW, truncated,
                                                          occurs_alone),
        printing<checked_vsnprintf, char *, std::size_t, int, std::size_t>::entry(
            "__snprintf_chk", EOVERFLOW, truncated, occurs_alone),
        FALLIBLE(strftime, {{fails<0>, ERANGE, truncated}}, occurs_alone),
    };
}

pid_t forked()
{
    return ::fork();
}

// The child of a vfork() must not return from a function that stands in its place.
fallible_function vfork_as_fork()
{
    fallible_function entry = FALLIBLE_BY("vfork", forked, fails<-1>, {EAGAIN});
    entry.keep = [](int its, void *) {
        replacement_of<forked>::number = its;
        replacement_of<forked>::real = forked;
    };
    return entry;
}

std::vector<fallible_function> process_functions()
{
    return {
        FALLIBLE(pipe, fails<-1>, {EMFILE}),
        FALLIBLE(pipe2, fails<-1>, {EMFILE}),
        FALLIBLE(fork, fails<-1>, {EAGAIN}),
        vfork_as_fork(),
        FALLIBLE(posix_spawn, returns_error, {EAGAIN}),
        FALLIBLE(posix_spawnp, returns_error, {EAGAIN}),
        FALLIBLE(posix_spawn_file_actions_init, returns_error, {ENOMEM}),
        FALLIBLE(posix_spawn_file_actions_addopen, returns_error, {ENOMEM}),
        FALLIBLE(posix_spawn_file_actions_addclose, returns_error, {ENOMEM}),
        FALLIBLE(posix_spawn_file_actions_adddup2, returns_error, {ENOMEM}),
        FALLIBLE(posix_spawnattr_init, returns_error, {ENOMEM}),
        FALLIBLE(execve, fails<-1>, {EACCES}),
        FALLIBLE(execv, fails<-1>, {EACCES}),
        FALLIBLE(execvp, fails<-1>, {EACCES}),
        FALLIBLE(dup, fails<-1>, {EMFILE}),
        FALLIBLE(dup2, fails<-1>, {EBUSY}),
        FALLIBLE(dup3, fails<-1>, {EBUSY}),
        FALLIBLE(wait, wait_fails<-1>, {ECHILD, EINTR}),
        FALLIBLE(waitpid, wait_fails<-1>, {ECHILD, EINTR}),
        FALLIBLE(waitid, wait_for_one_fails, {ECHILD, EINTR}),
        FALLIBLE(popen, fails<nullptr>, {EMFILE}),
        FALLIBLE(pclose, succeeds_and_fails<-1>, {ECHILD}),
        FALLIBLE(socket, fails<-1>, {EMFILE}),
        FALLIBLE_BY("ioctl", ioctl_with_pointer, fails<-1>, {EIO}),
        FALLIBLE(getifaddrs, fails<-1>, {ENOBUFS}),
        FALLIBLE(time, fails<-1>, {EOVERFLOW}),
        FALLIBLE(clock_gettime, fails<-1>, {EINVAL}),
        FALLIBLE(gettimeofday, fails<-1>, {EINVAL}),
        FALLIBLE(localtime, fails<nullptr>, {EOVERFLOW}),
        FALLIBLE(localtime_r, fails<nullptr>, {EOVERFLOW}),
        FALLIBLE(gmtime_r, fails<nullptr>, {EOVERFLOW}),
        FALLIBLE(setlocale, fails<nullptr>, {ENOENT}),
        // An error that has no description.
        FALLIBLE(strerrordesc_np, fails<nullptr>, {no_errno}),
    };
}

std::vector<fallible_function> crypto_functions()
{
    const std::vector<int> no_memory = {ERR_R_MALLOC_FAILURE};
    return {
        FALLIBLE(OPENSSL_init_crypto, raises<0>, no_memory),
        FALLIBLE(BIO_new, raises<nullptr>, no_memory),
        FALLIBLE(BIO_new_mem_buf, raises<nullptr>, no_memory),
        // It only reports the head of the chain that it made.
        FALLIBLE(BIO_push, succeeds_and_fails<nullptr>, {no_errno}),
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
        FALLIBLE(gpgme_check_version_internal, fails<nullptr>, {no_errno}),
        FALLIBLE(gpgme_set_locale, gpg_fails, {GPG_ERR_ENOMEM}),
        FALLIBLE(gpgme_new, gpg_fails, {GPG_ERR_ENOMEM}),
        FALLIBLE(gpgme_data_new, gpg_fails, {GPG_ERR_ENOMEM}),
        FALLIBLE(gpgme_data_new_from_cbs, gpg_fails, {GPG_ERR_ENOMEM}),
        FALLIBLE(gpgme_data_new_from_filepart, gpg_fails, {GPG_ERR_EIO}),
        FALLIBLE(gpgme_data_new_from_mem, gpg_fails, {GPG_ERR_ENOMEM}),
        FALLIBLE(gpgme_data_seek, fails<-1>, {EINVAL}),
        FALLIBLE(gpgme_data_read, {{fails_or_ends, EIO},
                                   {fails_or_ends, no_errno},
                                   {gives_half, no_errno, effect::part}}),
        FALLIBLE(gpgme_op_import, gpg_fails, {GPG_ERR_GENERAL}),
        FALLIBLE(gpgme_op_verify, gpg_fails, {GPG_ERR_NO_DATA}),
        FALLIBLE(gpgme_op_verify_start, gpg_fails, {GPG_ERR_NO_DATA}),
        FALLIBLE(gpgme_op_decrypt_verify, gpg_fails, {GPG_ERR_NO_DATA}),
        FALLIBLE(gpgme_op_decrypt_verify_start, gpg_fails, {GPG_ERR_NO_DATA}),
        FALLIBLE(gpgme_op_verify_result, fails<nullptr>, {no_errno}),
        FALLIBLE(gpgme_get_key, gpg_fails, {GPG_ERR_EOF}),
        FALLIBLE(gpgme_op_encrypt, gpg_fails, {GPG_ERR_UNUSABLE_PUBKEY}),
        FALLIBLE(gpgme_op_encrypt_start, gpg_fails, {GPG_ERR_UNUSABLE_PUBKEY}),
        FALLIBLE(gpgme_op_encrypt_result, fails<nullptr>, {no_errno}),
    };
}

std::vector<fallible_function> other_functions()
{
    return {
        FALLIBLE(cJSON_Parse, fails<nullptr>, {ENOMEM}),
        FALLIBLE(cJSON_Print, fails<nullptr>, {ENOMEM}),
        FALLIBLE(cJSON_GetObjectItem, fails<nullptr>, {no_errno}),
        FALLIBLE(cJSON_GetArrayItem, fails<nullptr>, {no_errno}),
        FALLIBLE(cJSON_GetArraySize, fails<0>, {no_errno}),
        FALLIBLE(cJSON_IsArray, fails<0>, {no_errno}),
        FALLIBLE(cJSON_IsString, fails<0>, {no_errno}),
        FALLIBLE(cJSON_GetErrorPtr, fails<nullptr>, {no_errno}),
        FALLIBLE(g_file_set_contents, fails_with_gerror<FALSE>, {ENOSPC}),
        FALLIBLE(g_key_file_load_from_data, fails_with_gerror<FALSE>, {EINVAL}),
        FALLIBLE(g_key_file_get_value, fails_with_gerror<nullptr>, {EINVAL}),
        FALLIBLE(g_key_file_get_keys, fails_with_gerror<nullptr>, {EINVAL}),
        FALLIBLE(g_key_file_to_data, fails_with_gerror<nullptr>, {EINVAL}),
        FALLIBLE(g_shell_unquote, fails_with_gerror<nullptr>, {EINVAL}),
        FALLIBLE(blkid_new_probe_from_filename, fails<nullptr>, {EACCES}),
        FALLIBLE(blkid_probe_is_wholedisk, fails<0>, {no_errno}),
        FALLIBLE(zdk_system_get_appScene, fails<nullptr>, {no_errno}),
    };
}

#undef FALLIBLE

const std::set<std::string> infallible_functions = {
    // Work on what is in memory.
    "__ctype_b_loc", "__ctype_tolower_loc", "__ctype_toupper_loc", "__errno_location",
    "__isoc23_sscanf", "__isoc23_strtol", "__isoc99_sscanf", "__memcpy_chk", "__memmove_chk",
    "__memset_chk", "__snprintf", "__strcpy_chk", "__strncpy_chk", "__xpg_basename", "alphasort",
    "basename", "bsearch", "clearerr", "clearerr_unlocked", "feof", "feof_unlocked", "ferror",
    "ferror_unlocked", "fileno", "fileno_unlocked", "flockfile", "funlockfile", "fwide",
    "getauxval", "getenv", "geteuid", "getpid", "getuid", "isalnum", "isalpha", "isdigit",
    "isgraph", "isprint", "isspace", "isupper", "memchr", "memcmp", "memcpy", "memmem", "memmove",
    "mempcpy", "memrchr", "memset", "posix_spawnattr_setflags", "posix_spawnattr_setsigdefault",
    "posix_spawnattr_setsigmask", "pthread_sigmask", "qsort", "rawmemchr", "sigaction", "sigaddset",
    "sigdelset", "sigemptyset", "sigfillset", "sigismember", "signal", "sigpending", "sigprocmask",
    "sigtimedwait", "stpcpy", "strcasecmp", "strcasestr", "strchr", "strchrnul", "strcmp", "strcpy",
    "strcspn", "strerror", "strlen", "strncasecmp", "strncmp", "strncpy", "strnlen", "strpbrk",
    "strrchr", "strsep", "strspn", "strstr", "strtok_r", "strtol", "strtoul", "tolower", "toupper",
    "ungetc", "versionsort", "g_key_file_has_group", "g_key_file_has_key", "g_strrstr",
    "g_unichar_to_utf8", "g_utf8_get_char_validated", "BIO_f_base64", "BIO_s_mem", "BIO_set_flags",
    "ERR_pop_to_mark", "ERR_set_mark", "gpgme_set_armor", "gpgme_set_ctx_flag", "gpgme_set_io_cbs",
    "gpgme_set_status_cb",
    // Is called as often as gpg reads and writes, which is different each time.
    "poll",
    // A signal that is blocked can always be raised.
    "raise",
    // Print to a standard error that the program has used, which no case has done.
    "__swprintf_chk", "swprintf", "fputs", "fputws",
    // Release it.
    "free", "freeifaddrs", "posix_spawn_file_actions_destroy", "posix_spawnattr_destroy",
    "blkid_free_probe", "cJSON_Delete", "cJSON_free", "g_clear_error", "g_free", "g_key_file_free",
    "g_list_free", "g_list_foreach", "g_strfreev", "g_string_free", "BIO_free_all", "RSA_free",
    "gpgme_data_release", "gpgme_release",
    // End the process where there is no memory.
    "g_key_file_new", "g_key_file_set_value", "g_list_append", "g_list_concat", "g_list_sort",
    "g_string_new", "g_string_set_size", "g_string_truncate", "g_strsplit",
    // Report a failure, or end the process.
    "__fortify_fail", "__stack_chk_fail", "_exit", "abort", "fwprintf", "__fwprintf_chk", "g_log",
    // The compiler's and the linker's own.
    "_ITM_deregisterTMCloneTable", "_ITM_registerTMCloneTable", "__cxa_finalize", "__gmon_start__",
    "counters_are_written_now"};

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

const imported_names &replace_fallible_functions()
{
    static const imported_names names = [] {
        const std::vector<fallible_function> &fallible = fallible_functions();
        imported_names sorted;
        for (const imported_function &imported : imported_functions()) {
            const auto found = std::ranges::find(fallible, imported.name, &fallible_function::name);
            if (found == fallible.end()) {
                if (!infallible_functions.contains(imported.name) &&
                    !is_of_a_sanitizer(imported.name))
                    sorted.unknown.insert(imported.name);
                continue;
            }
            // First, because it is called from the moment that it is in the slots.
            found->keep(static_cast<int>(found - fallible.begin()), *imported.slots.front());
            replace(imported, found->replacement);
            sorted.fallible.insert(imported.name);
        }
        return sorted;
    }();
    return names;
}
