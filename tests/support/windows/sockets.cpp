#include "tests/support/sockets.h"

#include <winsock2.h>

namespace zelkor::tests {

namespace {

SOCKET Native(const lib::Socket& socket) { return static_cast<SOCKET>(socket.Get()); }

Passed Outcome(int length) {
  if (length != SOCKET_ERROR) return {Passed::How::Bytes, static_cast<std::size_t>(length)};
  return {WSAGetLastError() == WSAEWOULDBLOCK ? Passed::How::NotNow : Passed::How::Broken, 0};
}

}  // namespace

Passed ReceiveNow(const lib::Socket& socket, std::span<char> out) {
  const Passed passed = Outcome(recv(Native(socket), out.data(), static_cast<int>(out.size()), 0));
  return passed.how == Passed::How::Bytes && passed.bytes == 0 ? Passed{Passed::How::Ended, 0} : passed;
}

Passed SendNow(const lib::Socket& socket, std::string_view bytes) {
  return Outcome(send(Native(socket), bytes.data(), static_cast<int>(bytes.size()), 0));
}

void EndWriting(const lib::Socket& socket) { shutdown(Native(socket), SD_SEND); }

void BreakWhenClosed(const lib::Socket& socket) {
  const linger atOnce{1, 0};
  setsockopt(Native(socket), SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&atOnce), sizeof atOnce);
}

void KeepLittle(const lib::Socket& socket, int bytes) {
  setsockopt(Native(socket), SOL_SOCKET, SO_SNDBUF, reinterpret_cast<const char*>(&bytes), sizeof bytes);
}

}  // namespace zelkor::tests
