#include "lib/windows/socket_calls.h"

namespace zelkor::lib {

namespace windows {

void UseWinsock() {
  static const int failed = [] {
    WSADATA told{};
    return WSAStartup(MAKEWORD(2, 2), &told);
  }();
  static_cast<void>(failed);  // what is called then fails by itself
}

}  // namespace windows

namespace {

void DoNotBlock(SOCKET socket) {
  u_long on = 1;
  ioctlsocket(socket, static_cast<long>(FIONBIO), &on);
}

}  // namespace

int LastSocketError() { return WSAGetLastError(); }
void SetSocketError(int error) { WSASetLastError(error); }

// The system's own words come in its language, and the library has none for these numbers: the common ones in the words
// that other systems have for them.
std::string SocketErrorWords(int error) {
  switch (error) {
    case WSAECONNREFUSED:
      return "Connection refused";
    case WSAETIMEDOUT:
      return "Connection timed out";
    case WSAENETUNREACH:
      return "Network is unreachable";
    case WSAEHOSTUNREACH:
      return "No route to host";
    case WSAEADDRINUSE:
      return "Address already in use";
    case WSAEADDRNOTAVAIL:
      return "Cannot assign requested address";
    case WSAEACCES:
      return "Permission denied";
    case WSAECONNRESET:
      return "Connection reset by peer";
    case WSAECONNABORTED:
      return "Software caused connection abort";
    case WSAENETDOWN:
      return "Network is down";
    case WSAEAFNOSUPPORT:
      return "Address family not supported by protocol";
    default:
      return "error " + std::to_string(error);
  }
}

bool GoesOn(int error) { return error == WSAEWOULDBLOCK || error == WSAEINPROGRESS; }

Socket NewSocket(int family) {
  windows::UseWinsock();
  const SOCKET made =
      WSASocketW(family, SOCK_STREAM, IPPROTO_TCP, nullptr, 0, WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT);
  if (made == INVALID_SOCKET) return {};
  DoNotBlock(made);
  return Socket(static_cast<Handle>(made));
}

Socket AcceptSocket(Handle listening, sockaddr* from, socklen_t* size) {
  const SOCKET accepted = accept(NativeSocket(listening), from, size);
  if (accepted == INVALID_SOCKET) return {};
  DoNotBlock(accepted);
  // A socket is a handle in the type of a number.
  // NOLINTNEXTLINE(performance-no-int-to-ptr)
  SetHandleInformation(reinterpret_cast<HANDLE>(accepted), HANDLE_FLAG_INHERIT, 0);
  return Socket(static_cast<Handle>(accepted));
}

void CloseSocket(Handle handle) { closesocket(NativeSocket(handle)); }

// Here such a write fails anyway.
void SurviveBrokenConnections() {}

}  // namespace zelkor::lib
