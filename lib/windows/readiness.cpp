// Everything that is waited for is a socket, so that one call waits for all. WSAPoll would be that call, but older
// systems never tell it that a connection could not be made (fixed in Windows 10, version 2004); select tells.
#include "lib/readiness.h"

#include <algorithm>
#include <thread>

#include "lib/terminal.h"
#include "lib/windows/interrupt.h"
#include "lib/windows/winsock.h"

namespace zelkor::lib {

namespace {

// The three sets of a wait; large, so they are made once.
struct Sets {
  fd_set read;
  fd_set write;
  fd_set failed;
};

void Add(fd_set& set, Handle handle) {
  if (set.fd_count < FD_SETSIZE) set.fd_array[set.fd_count++] = windows::Native(handle);
}

bool Has(const fd_set& set, Handle handle) {
  const SOCKET* const end = &set.fd_array[0] + set.fd_count;
  return std::find(&set.fd_array[0], end, windows::Native(handle)) != end;
}

}  // namespace

void WaitUntilReady(std::span<Awaited> handles, std::optional<std::chrono::milliseconds> limit) {
  windows::UseWinsock();
  const auto sets = std::make_unique<Sets>();
  for (Awaited& awaited : handles) {
    awaited.canRead = awaited.canWrite = false;
    if (awaited.handle == kNoHandle) continue;
    if (awaited.wantRead) Add(sets->read, awaited.handle);
    if (awaited.wantWrite) Add(sets->write, awaited.handle);
    if (awaited.wantRead || awaited.wantWrite) Add(sets->failed, awaited.handle);
  }
  if (const Handle interrupt = windows::InterruptHandle(); interrupt != kNoHandle) Add(sets->read, interrupt);
  if (Interrupted()) limit = std::chrono::milliseconds(0);
  // The system waits for nothing else than sockets.
  if (sets->read.fd_count == 0 && sets->write.fd_count == 0) {
    if (limit) std::this_thread::sleep_for(*limit);
    return;
  }
  timeval time{};
  if (limit) {
    const std::int64_t total = std::max<std::int64_t>(0, limit->count());
    time.tv_sec = static_cast<long>(total / 1000);
    time.tv_usec = static_cast<long>(total % 1000 * 1000);
  }
  const int found = select(0, &sets->read, &sets->write, &sets->failed, limit ? &time : nullptr);
  if (found == 0) return;
  for (Awaited& awaited : handles) {
    if (awaited.handle == kNoHandle) continue;
    // When the wait itself failed one of the handles is broken: its next read or write says so.
    const bool broken = found < 0 || Has(sets->failed, awaited.handle);
    awaited.canRead = awaited.wantRead && (broken || Has(sets->read, awaited.handle));
    awaited.canWrite = awaited.wantWrite && (broken || Has(sets->write, awaited.handle));
  }
}

void HangUp(Handle connection) { shutdown(windows::Native(connection), SD_BOTH); }

// A socket that is connected to itself: what it sends it receives, and nobody else can send to it.
struct WakeUp::State {
  SOCKET socket = INVALID_SOCKET;
};

WakeUp::WakeUp() : state_(std::make_unique<State>()) {
  windows::UseWinsock();
  const SOCKET made =
      WSASocketW(AF_INET, SOCK_DGRAM, IPPROTO_UDP, nullptr, 0, WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT);
  if (made == INVALID_SOCKET) return;
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  auto* const place = reinterpret_cast<sockaddr*>(&address);
  int size = sizeof address;
  u_long on = 1;
  const bool ready = bind(made, place, size) == 0 && getsockname(made, place, &size) == 0 &&
                     connect(made, place, size) == 0 && ioctlsocket(made, static_cast<long>(FIONBIO), &on) == 0;
  if (ready) {
    state_->socket = made;
  } else {
    closesocket(made);
  }
}

WakeUp::~WakeUp() {
  if (state_->socket != INVALID_SOCKET) closesocket(state_->socket);
}

Handle WakeUp::ReadyHandle() const { return static_cast<Handle>(state_->socket); }

void WakeUp::Signal() {
  const char one = 1;
  send(state_->socket, &one, 1, 0);
}

void WakeUp::Clear() {
  char signal = 0;
  while (recv(state_->socket, &signal, 1, 0) > 0) {
  }
}

}  // namespace zelkor::lib
