// SPDX-License-Identifier: LGPL-2.1-or-later
#include "integrity/gpg_operation.h"

#include "support/guards.h"

namespace orvane {

namespace {

constexpr int no_pipe = -1; // poll() passes over it
constexpr int no_time_limit = -1;

} // namespace

gpg_operation::gpg_operation() noexcept
{
    for (pollfd &pipe : pipes_)
        pipe = {no_pipe, 0, 0};
}

void gpg_operation::attach_to(gpgme_ctx_t context) noexcept
{
    gpgme_io_cbs callbacks = {add_pipe, this, remove_pipe, take_event, this};
    ::gpgme_set_io_cbs(context, &callbacks);
    is_done_ = false;
}

gpgme_error_t gpg_operation::wait(gpgme_error_t started) noexcept
{
    if (started != 0)
        return started;
    while (!is_done_ &&
           retry_on_eintr([this] { return ::poll(pipes_, most_pipes, no_time_limit); }) >= 0)
        serve_pipes();
    return is_done_ ? error_ : gpgme_error(GPG_ERR_GENERAL);
}

// To serve one may remove others, or add some.
void gpg_operation::serve_pipes() noexcept
{
    for (int at = 0; at < most_pipes && !is_done_; ++at) {
        if (pipes_[at].fd != no_pipe && pipes_[at].revents != 0)
            handlers_[at].serve(handlers_[at].data, pipes_[at].fd);
    }
}

gpgme_error_t gpg_operation::add_pipe(void *self, int fd, int is_input, gpgme_io_cb_t serve,
                                      void *data, void **tag) noexcept
{
    auto &operation = *static_cast<gpg_operation *>(self);
    int at = 0;
    while (at < most_pipes && operation.pipes_[at].fd != no_pipe)
        ++at;
    if (at < most_pipes) {
        operation.pipes_[at] = {fd, static_cast<short>(is_input != 0 ? POLLIN : POLLOUT), 0};
        operation.handlers_[at] = {&operation, serve, data};
        *tag = &operation.handlers_[at];
    }
    return at < most_pipes ? 0 : gpgme_error(GPG_ERR_ENOMEM);
}

void gpg_operation::remove_pipe(void *tag) noexcept
{
    auto *const removed = static_cast<handler *>(tag);
    gpg_operation &operation = *removed->owner;
    operation.pipes_[removed - operation.handlers_].fd = no_pipe;
}

void gpg_operation::take_event(void *self, gpgme_event_io_t type, void *data) noexcept
{
    if (type != GPGME_EVENT_DONE)
        return;
    auto &operation = *static_cast<gpg_operation *>(self);
    operation.is_done_ = true;
    operation.error_ = static_cast<gpgme_io_event_done_data_t>(data)->err;
}

} // namespace orvane
