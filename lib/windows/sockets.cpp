#include "lib/sockets.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <system_error>
#include <thread>

#include "lib/windows/winsock.h"

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

using windows::Native;
using windows::UseWinsock;

// Connections that may wait to be accepted.
constexpr int kBacklog = 32;

// The system's own words come in its language: the common errors in those that other systems have for them.
std::string Words(int error) {
  const auto common = [error]() -> std::errc {
    switch (error) {
      case WSAECONNREFUSED:
        return std::errc::connection_refused;
      case WSAETIMEDOUT:
        return std::errc::timed_out;
      case WSAENETUNREACH:
        return std::errc::network_unreachable;
      case WSAEHOSTUNREACH:
        return std::errc::host_unreachable;
      case WSAEADDRINUSE:
        return std::errc::address_in_use;
      case WSAEADDRNOTAVAIL:
        return std::errc::address_not_available;
      case WSAEACCES:
        return std::errc::permission_denied;
      case WSAECONNRESET:
        return std::errc::connection_reset;
      case WSAECONNABORTED:
        return std::errc::connection_aborted;
      case WSAENETDOWN:
        return std::errc::network_down;
      case WSAEAFNOSUPPORT:
        return std::errc::address_family_not_supported;
      default:
        return {};
    }
  }();
  if (common == std::errc()) return "error " + std::to_string(error);
  return std::generic_category().message(static_cast<int>(common));
}

Status NetworkFailure(const std::string& what, int error) { return {Cause::Failed, what + ": " + Words(error)}; }

struct AddressList {
  AddressList() = default;
  ~AddressList() {
    if (first != nullptr) freeaddrinfo(first);
  }
  AddressList(const AddressList&) = delete;
  AddressList& operator=(const AddressList&) = delete;

  addrinfo* first = nullptr;
};

int LookUp(const std::string& host, std::uint16_t port, int flags, std::vector<SocketAddress>& found) {
  UseWinsock();
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = flags | AI_NUMERICSERV;
  AddressList list;
  const int error = getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &list.first);
  if (error != 0) return error;
  for (const addrinfo* each = list.first; each != nullptr; each = each->ai_next) {
    if (each->ai_addrlen <= SocketAddress::kMostBytes) found.emplace_back(each->ai_addr, each->ai_addrlen);
  }
  return found.empty() ? EAI_NONAME : 0;
}

void DoNotBlock(SOCKET socket) {
  u_long on = 1;
  ioctlsocket(socket, static_cast<long>(FIONBIO), &on);
}

Socket NewSocket(int family) {
  UseWinsock();
  const SOCKET made =
      WSASocketW(family, SOCK_STREAM, IPPROTO_TCP, nullptr, 0, WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT);
  if (made == INVALID_SOCKET) return {};
  DoNotBlock(made);
  return Socket(static_cast<Handle>(made));
}

void SetOption(const Socket& socket, int level, int option, int value) {
  setsockopt(Native(socket.Get()), level, option, reinterpret_cast<const char*>(&value), sizeof value);
}

// Small frames go out at once.
void SendAtOnce(const Socket& socket) { SetOption(socket, IPPROTO_TCP, TCP_NODELAY, 1); }

}  // namespace

void Socket::Close() {
  if (handle_ != kNoHandle) closesocket(Native(std::exchange(handle_, kNoHandle)));
}

SocketAddress::SocketAddress(const void* bytes, std::size_t size) : size_(std::min(size, kMostBytes)) {
  static_assert(sizeof(sockaddr_in6) <= kMostBytes);
  std::memcpy(bytes_.data(), bytes, size_);
}

std::string SocketAddress::Host() const {
  UseWinsock();
  sockaddr_storage address{};
  std::memcpy(&address, bytes_.data(), size_);
  auto size = static_cast<socklen_t>(size_);
  if (address.ss_family == AF_INET6) {
    sockaddr_in6 six{};
    std::memcpy(&six, bytes_.data(), sizeof six);
    if (IN6_IS_ADDR_V4MAPPED(&six.sin6_addr)) {
      sockaddr_in four{};
      four.sin_family = AF_INET;
      std::memcpy(&four.sin_addr, &six.sin6_addr.s6_addr[12], sizeof four.sin_addr);
      std::memcpy(&address, &four, sizeof four);
      size = sizeof four;
    }
  }
  std::array<char, NI_MAXHOST> host{};
  if (getnameinfo(reinterpret_cast<const sockaddr*>(&address), size, host.data(), static_cast<DWORD>(host.size()),
                  nullptr, 0, NI_NUMERICHOST) != 0) {
    return {};
  }
  return host.data();
}

std::uint16_t SocketAddress::Port() const {
  sockaddr_storage address{};
  std::memcpy(&address, bytes_.data(), size_);
  if (address.ss_family == AF_INET6) return ntohs(reinterpret_cast<const sockaddr_in6&>(address).sin6_port);
  if (address.ss_family == AF_INET) return ntohs(reinterpret_cast<const sockaddr_in&>(address).sin_port);
  return 0;
}

std::optional<SocketAddress> NumericAddress(const std::string& host, std::uint16_t port) {
  std::vector<SocketAddress> found;
  if (LookUp(host, port, AI_NUMERICHOST, found) != 0) return std::nullopt;
  return found.front();
}

std::vector<SocketAddress> AnyAddress(std::uint16_t port) {
  UseWinsock();
  sockaddr_in6 six{};
  six.sin6_family = AF_INET6;
  six.sin6_port = htons(port);
  sockaddr_in four{};
  four.sin_family = AF_INET;
  four.sin_port = htons(port);
  return {{&six, sizeof six}, {&four, sizeof four}};
}

struct HostLookup::State {
  WakeUp over;
  mutable std::mutex mutex;  // guards what follows
  int error = EAI_AGAIN;
  std::vector<SocketAddress> found;
  std::string host;
};

HostLookup::HostLookup(const std::string& host, std::uint16_t port) : state_(std::make_shared<State>()) {
  state_->host = host;
  const auto look = [state = state_, host, port] {
    std::vector<SocketAddress> found;
    const int error = LookUp(host, port, AI_ADDRCONFIG, found);
    {
      const std::lock_guard lock(state->mutex);
      state->error = error;
      state->found = std::move(found);
    }
    state->over.Signal();
  };
  try {
    std::thread(look).detach();
  } catch (const std::system_error&) {
    look();
  }
}

HostLookup::~HostLookup() = default;

Handle HostLookup::Readiness() const { return state_->over.ReadyHandle(); }

Result<std::vector<SocketAddress>> HostLookup::Found() const {
  const std::lock_guard lock(state_->mutex);
  if (state_->error == 0) return state_->found;
  return Status(Cause::NotFound, "No computer is known under the name \"" + state_->host + "\"");
}

Result<Socket> ListenOn(const SocketAddress& address) {
  sockaddr_storage native{};
  std::memcpy(&native, address.Bytes(), address.Size());
  const std::string what = "Can not listen on " + address.Host() + " port " + std::to_string(address.Port());
  Socket made = NewSocket(native.ss_family);
  if (!made.IsOpen()) return NetworkFailure(what, WSAGetLastError());
  // After a restart the port can be taken again anyway; nobody else shall be able to take it meanwhile.
  SetOption(made, SOL_SOCKET, SO_EXCLUSIVEADDRUSE, 1);
  if (native.ss_family == AF_INET6) {
    // Every interface means IPv4 too; an IPv6 address that was named means itself.
    const int only = IN6_IS_ADDR_UNSPECIFIED(&reinterpret_cast<const sockaddr_in6&>(native).sin6_addr) ? 0 : 1;
    SetOption(made, IPPROTO_IPV6, IPV6_V6ONLY, only);
  }
  if (bind(Native(made.Get()), reinterpret_cast<const sockaddr*>(&native), static_cast<int>(address.Size())) != 0 ||
      listen(Native(made.Get()), kBacklog) != 0) {
    return NetworkFailure(what, WSAGetLastError());
  }
  return made;
}

std::uint16_t LocalPort(const Socket& socket) {
  sockaddr_storage native{};
  int size = sizeof native;
  if (getsockname(Native(socket.Get()), reinterpret_cast<sockaddr*>(&native), &size) != 0) return 0;
  return SocketAddress(&native, static_cast<std::size_t>(size)).Port();
}

std::optional<AcceptedConnection> AcceptConnection(const Socket& listening) {
  sockaddr_storage native{};
  int size = sizeof native;
  const SOCKET accepted = accept(Native(listening.Get()), reinterpret_cast<sockaddr*>(&native), &size);
  if (accepted == INVALID_SOCKET) return std::nullopt;
  DoNotBlock(accepted);
  // A socket is a handle in the type of a number.
  // NOLINTNEXTLINE(performance-no-int-to-ptr)
  SetHandleInformation(reinterpret_cast<HANDLE>(accepted), HANDLE_FLAG_INHERIT, 0);
  AcceptedConnection connection{.socket = Socket(static_cast<Handle>(accepted)),
                                .from = SocketAddress(&native, static_cast<std::size_t>(size))};
  SendAtOnce(connection.socket);
  return connection;
}

Result<Socket> StartConnecting(const SocketAddress& address) {
  sockaddr_storage native{};
  std::memcpy(&native, address.Bytes(), address.Size());
  const std::string what = "Can not connect to " + address.Host() + " port " + std::to_string(address.Port());
  Socket made = NewSocket(native.ss_family);
  if (!made.IsOpen()) return NetworkFailure(what, WSAGetLastError());
  SendAtOnce(made);
  if (connect(Native(made.Get()), reinterpret_cast<const sockaddr*>(&native), static_cast<int>(address.Size())) != 0) {
    const int error = WSAGetLastError();
    if (error != WSAEWOULDBLOCK && error != WSAEINPROGRESS) return NetworkFailure(what, error);
  }
  return made;
}

Status ConnectOutcome(const Socket& socket) {
  int error = 0;
  int size = sizeof error;
  if (getsockopt(Native(socket.Get()), SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&error), &size) != 0) {
    error = WSAGetLastError();
  }
  if (error == 0) return {};
  return NetworkFailure("Can not connect", error);
}

// Here such a write fails anyway.
void SurviveBrokenConnections() {}

}  // namespace zelkor::lib
