// Waiting for sockets and the like to become readable or writable.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

namespace zelkor::lib {

// What the system calls such a thing: a file descriptor, or a socket handle.
using Handle = std::intptr_t;
inline constexpr Handle kNoHandle = -1;

// One handle to wait for, and what the wait found. A handle that failed, or whose other end is gone, is ready for both:
// the next read or write says what happened.
struct Awaited {
  Handle handle = kNoHandle;
  bool wantRead = false;
  bool wantWrite = false;
  bool canRead = false;
  bool canWrite = false;
};

// Waits until one of `handles` is ready or the time is over (without one: for ever). An interrupt, also one that came
// before (terminal.h), ends the wait at once.
void WaitUntilReady(std::span<Awaited> handles, std::optional<std::chrono::milliseconds> limit);

// A connection is over in both directions: who still reads from it or writes to it is told so. It stays open until its
// owner closes it.
void HangUp(Handle connection);

// Ends a wait of another thread.
class WakeUp {
 public:
  WakeUp();
  ~WakeUp();
  WakeUp(const WakeUp&) = delete;
  WakeUp& operator=(const WakeUp&) = delete;

  // Can be read from after a Signal, until the next Clear.
  [[nodiscard]] Handle ReadyHandle() const;
  // From any thread.
  void Signal();
  void Clear();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace zelkor::lib
