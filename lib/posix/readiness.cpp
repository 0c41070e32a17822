#include "lib/readiness.h"

#include <algorithm>
#include <csignal>
#include <ctime>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <vector>

#include "lib/posix/descriptor.h"
#include "lib/terminal.h"

namespace zelkor::lib {

namespace {

// Everything that ends the process is held back while this lives, so that none comes between a look at Interrupted and
// the wait.
class SignalsHeldBack {
 public:
  SignalsHeldBack() {
    sigset_t watched;
    sigemptyset(&watched);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&watched, signal);
    pthread_sigmask(SIG_BLOCK, &watched, &usual_);
  }
  ~SignalsHeldBack() { pthread_sigmask(SIG_SETMASK, &usual_, nullptr); }
  SignalsHeldBack(const SignalsHeldBack&) = delete;
  SignalsHeldBack& operator=(const SignalsHeldBack&) = delete;
  [[nodiscard]] const sigset_t* Usual() const { return &usual_; }

 private:
  sigset_t usual_{};
};

}  // namespace

void WaitUntilReady(std::span<Awaited> handles, std::optional<std::chrono::milliseconds> limit) {
  std::vector<pollfd> polled;
  polled.reserve(handles.size());
  for (Awaited& awaited : handles) {
    awaited.canRead = awaited.canWrite = false;
    short events = 0;
    if (awaited.wantRead) events = static_cast<short>(events | POLLIN);
    if (awaited.wantWrite) events = static_cast<short>(events | POLLOUT);
    // Without an event the system would still report a hang-up, again and again, to somebody who waits for nothing.
    const int descriptor = events == 0 ? -1 : static_cast<int>(awaited.handle);
    polled.push_back({.fd = descriptor, .events = events, .revents = 0});
  }
  const SignalsHeldBack heldBack;
  std::optional<timespec> time;
  if (limit || Interrupted()) {
    const std::int64_t total = Interrupted() ? 0 : std::max<std::int64_t>(0, limit->count());
    time = timespec{.tv_sec = static_cast<std::time_t>(total / 1000), .tv_nsec = total % 1000 * 1'000'000};
  }
  if (ppoll(polled.data(), polled.size(), time ? &*time : nullptr, heldBack.Usual()) <= 0) return;
  for (std::size_t i = 0; i < handles.size(); ++i) {
    const int found = polled[i].revents;
    const bool broken = (found & (POLLERR | POLLHUP | POLLNVAL)) != 0;
    handles[i].canRead = handles[i].wantRead && (broken || (found & POLLIN) != 0);
    handles[i].canWrite = handles[i].wantWrite && (broken || (found & POLLOUT) != 0);
  }
}

void HangUp(Handle connection) { shutdown(static_cast<int>(connection), SHUT_RDWR); }

struct WakeUp::State {
  posix::Descriptor event{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
};

WakeUp::WakeUp() : state_(std::make_unique<State>()) {}
WakeUp::~WakeUp() = default;

Handle WakeUp::ReadyHandle() const { return state_->event.Get(); }
void WakeUp::Signal() { (void)eventfd_write(state_->event.Get(), 1); }
void WakeUp::Clear() {
  eventfd_t signals = 0;
  (void)eventfd_read(state_->event.Get(), &signals);
}

}  // namespace zelkor::lib
