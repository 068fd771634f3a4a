#include "platform/tick_timer.h"

#include <errno.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace platform {
namespace {

// Blocks until at least one of `fds` is readable.
void wait_readable(pollfd* fds, nfds_t count) {
    while (::poll(fds, count, -1) < 0 && errno == EINTR) {
    }
}

// Reading resets the count: that makes the event auto-reset, and coalesces timer expiries that
// came while the thread was busy into one wake-up, as a signalled waitable timer does.
void consume(int fd) {
    std::uint64_t count = 0;
    while (::read(fd, &count, sizeof count) < 0 && errno == EINTR) {
    }
}

void set_timer(int fd, const itimerspec& setting) {
    ::timerfd_settime(fd, 0, &setting, nullptr);
}

}  // namespace

// Non-blocking, so that a read the poll did not promise can never hang the thread.
TickTimer::TickTimer()
    : timer_fd_(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)),
      event_fd_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

TickTimer::~TickTimer() {
    if (timer_fd_ >= 0) ::close(timer_fd_);
    if (event_fd_ >= 0) ::close(event_fd_);
}

bool TickTimer::ready() const {
    return timer_fd_ >= 0 && event_fd_ >= 0;
}

void TickTimer::arm(std::int32_t period_ms) {
    const std::int32_t ms = period_ms < 1 ? 1 : period_ms;
    const timespec period{ms / 1000, (ms % 1000) * 1'000'000L};
    // Setting the timer resets its expiry count, so an expiry of the old arming wakes no one.
    set_timer(timer_fd_, itimerspec{period, period});
}

void TickTimer::cancel() {
    set_timer(timer_fd_, itimerspec{});
}

void TickTimer::wait_timer_or_event() {
    pollfd fds[] = {{timer_fd_, POLLIN, 0}, {event_fd_, POLLIN, 0}};
    wait_readable(fds, 2);
    consume(fds[0].revents != 0 ? timer_fd_ : event_fd_);
}

void TickTimer::wait_event() {
    pollfd fd{event_fd_, POLLIN, 0};
    wait_readable(&fd, 1);
    consume(event_fd_);
}

void TickTimer::set_event() {
    const std::uint64_t one = 1;
    // Only a count at its limit refuses the write, and then the event is set already.
    while (::write(event_fd_, &one, sizeof one) < 0 && errno == EINTR) {
    }
}

}  // namespace platform
