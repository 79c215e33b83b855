// SPDX-License-Identifier: LGPL-2.1-or-later
//
// How long an operation of GPGME's is waited for.
#pragma once

#include <climits>
#include <cstddef>

#include <gpgme.h>
#include <poll.h>

namespace orvane {

// What every pipe holds. GPGME's own loop does not end where gpg does and leaves a pipe that is
// full: it takes POLLOUT alone for a reason to write, and polls again at once after POLLERR. An
// input of no more than this fills no pipe.
constexpr std::size_t least_pipe_bytes = PIPE_BUF;

// Serves the pipes between GPGME and gpg until an operation on a larger input ends.
class gpg_operation {
public:
    gpg_operation() noexcept;
    gpg_operation(const gpg_operation &) = delete;
    gpg_operation &operator=(const gpg_operation &) = delete;
    ~gpg_operation() = default;

    // The operations that are started on the context from now on are this one's.
    void attach_to(gpgme_ctx_t context) noexcept;

    // Takes what starting the operation returned, and returns what running it would have.
    gpgme_error_t wait(gpgme_error_t started) noexcept;

private:
    // Content, signed file or text, status, commands, messages: more than an operation has.
    static constexpr int most_pipes = 8;

    struct handler {
        gpg_operation *owner;
        gpgme_io_cb_t serve;
        void *data;
    };

    static gpgme_error_t add_pipe(void *self, int fd, int is_input, gpgme_io_cb_t serve, void *data,
                                  void **tag) noexcept;
    static void remove_pipe(void *tag) noexcept;
    static void take_event(void *self, gpgme_event_io_t type, void *data) noexcept;
    void serve_pipes() noexcept;

    pollfd pipes_[most_pipes] = {};
    handler handlers_[most_pipes] = {};
    bool is_done_ = false;
    gpgme_error_t error_ = 0;
};

} // namespace orvane
