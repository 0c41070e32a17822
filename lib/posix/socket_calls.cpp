#include "lib/posix/socket_calls.h"

#include <cerrno>
#include <csignal>
#include <system_error>
#include <unistd.h>

#include "lib/posix/descriptor.h"

namespace zelkor::lib {

int LastSocketError() { return errno; }
void SetSocketError(int error) { errno = error; }

std::string SocketErrorWords(int error) { return std::generic_category().message(error); }

bool GoesOn(int error) { return error == EINPROGRESS || error == EINTR; }

Socket NewSocket(int family) { return Socket(socket(family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, IPPROTO_TCP)); }

Socket AcceptSocket(Handle listening, sockaddr* from, socklen_t* size) {
  return Socket(
      posix::Uninterrupted([&] { return accept4(NativeSocket(listening), from, size, SOCK_NONBLOCK | SOCK_CLOEXEC); }));
}

void CloseSocket(Handle handle) { close(NativeSocket(handle)); }

void SurviveBrokenConnections() {
  struct sigaction action {};
  action.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &action, nullptr);
}

}  // namespace zelkor::lib
