#include "tests/support/sockets.h"

#include <cerrno>
#include <sys/socket.h>

namespace zelkor::tests {

namespace {

int Native(const lib::Socket& socket) { return static_cast<int>(socket.Get()); }

Passed Outcome(ssize_t length) {
  if (length >= 0) return {Passed::How::Bytes, static_cast<std::size_t>(length)};
  const bool later = errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
  return {later ? Passed::How::NotNow : Passed::How::Broken, 0};
}

}  // namespace

Passed ReceiveNow(const lib::Socket& socket, std::span<char> out) {
  const Passed passed = Outcome(recv(Native(socket), out.data(), out.size(), MSG_DONTWAIT));
  return passed.how == Passed::How::Bytes && passed.bytes == 0 ? Passed{Passed::How::Ended, 0} : passed;
}

Passed SendNow(const lib::Socket& socket, std::string_view bytes) {
  return Outcome(send(Native(socket), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT));
}

void EndWriting(const lib::Socket& socket) { shutdown(Native(socket), SHUT_WR); }

void BreakWhenClosed(const lib::Socket& socket) {
  const linger atOnce{1, 0};
  setsockopt(Native(socket), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
}

void KeepLittle(const lib::Socket& socket, int bytes) {
  setsockopt(Native(socket), SOL_SOCKET, SO_SNDBUF, &bytes, sizeof bytes);
}

}  // namespace zelkor::tests
