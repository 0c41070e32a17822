#include "lib/sockets.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <system_error>
#include <thread>

#include "socket_calls.h"

namespace zelkor::lib {

namespace {

// Connections that may wait to be accepted.
constexpr int kBacklog = 32;

Status NetworkFailure(const std::string& what, int error) {
  return {Cause::Failed, what + ": " + SocketErrorWords(error)};
}

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
  PrepareSockets();
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

template <class Value>
void SetOption(const Socket& socket, int level, int option, const Value& value) {
  setsockopt(NativeSocket(socket.Get()), level, option, reinterpret_cast<const char*>(&value), sizeof value);
}

// Small frames go out at once.
void SendAtOnce(const Socket& socket) { SetOption(socket, IPPROTO_TCP, TCP_NODELAY, 1); }

// An address as the system's calls take it.
struct NativeAddress {
  explicit NativeAddress(const SocketAddress& address) : size(static_cast<socklen_t>(address.Size())) {
    std::memcpy(&storage, address.Bytes(), address.Size());
  }
  [[nodiscard]] const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&storage); }

  sockaddr_storage storage{};
  socklen_t size;
};

}  // namespace

void Socket::Close() {
  if (handle_ != kNoHandle) CloseSocket(std::exchange(handle_, kNoHandle));
}

SocketAddress::SocketAddress(const void* bytes, std::size_t size) : size_(std::min(size, kMostBytes)) {
  static_assert(sizeof(sockaddr_in6) <= kMostBytes);
  std::memcpy(bytes_.data(), bytes, size_);
}

std::string SocketAddress::Host() const {
  PrepareSockets();
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
  if (getnameinfo(reinterpret_cast<const sockaddr*>(&address), size, host.data(), host.size(), nullptr, 0,
                  NI_NUMERICHOST) != 0) {
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
  PrepareSockets();
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
    const SignalsAside aside;
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
  const NativeAddress native(address);
  const std::string what = "Can not listen on " + address.Host() + " port " + std::to_string(address.Port());
  Socket made = NewSocket(native.storage.ss_family);
  if (!made.IsOpen()) return NetworkFailure(what, LastSocketError());
  SetOption(made, SOL_SOCKET, kTakePort, 1);
  if (native.storage.ss_family == AF_INET6) {
    // Every interface means IPv4 too; an IPv6 address that was named means itself.
    const in6_addr& interface6 = reinterpret_cast<const sockaddr_in6&>(native.storage).sin6_addr;
    SetOption(made, IPPROTO_IPV6, IPV6_V6ONLY, IN6_IS_ADDR_UNSPECIFIED(&interface6) ? 0 : 1);
  }
  if (bind(NativeSocket(made.Get()), native.Get(), native.size) != 0 ||
      listen(NativeSocket(made.Get()), kBacklog) != 0) {
    return NetworkFailure(what, LastSocketError());
  }
  return made;
}

std::uint16_t LocalPort(const Socket& socket) {
  sockaddr_storage native{};
  socklen_t size = sizeof native;
  if (getsockname(NativeSocket(socket.Get()), reinterpret_cast<sockaddr*>(&native), &size) != 0) return 0;
  return SocketAddress(&native, static_cast<std::size_t>(size)).Port();
}

std::optional<AcceptedConnection> AcceptConnection(const Socket& listening) {
  sockaddr_storage native{};
  socklen_t size = sizeof native;
  Socket accepted = AcceptSocket(listening.Get(), reinterpret_cast<sockaddr*>(&native), &size);
  if (!accepted.IsOpen()) return std::nullopt;
  SendAtOnce(accepted);
  return AcceptedConnection{.socket = std::move(accepted),
                            .from = SocketAddress(&native, static_cast<std::size_t>(size))};
}

Result<Socket> StartConnecting(const SocketAddress& address) {
  const NativeAddress native(address);
  const std::string what = "Can not connect to " + address.Host() + " port " + std::to_string(address.Port());
  Socket made = NewSocket(native.storage.ss_family);
  if (!made.IsOpen()) return NetworkFailure(what, LastSocketError());
  SendAtOnce(made);
  if (connect(NativeSocket(made.Get()), native.Get(), native.size) != 0) {
    if (const int error = LastSocketError(); !GoesOn(error)) return NetworkFailure(what, error);
  }
  return made;
}

void ForgetSocketError() { SetSocketError(0); }

std::string SocketErrorSaid() {
  const int error = LastSocketError();
  return IsSocketError(error) ? SocketErrorWords(error) : std::string();
}

Status ConnectOutcome(const Socket& socket) {
  int error = 0;
  socklen_t size = sizeof error;
  if (getsockopt(NativeSocket(socket.Get()), SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&error), &size) != 0) {
    error = LastSocketError();
  }
  if (error == 0) return {};
  return NetworkFailure("Can not connect", error);
}

}  // namespace zelkor::lib
