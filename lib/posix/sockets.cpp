#include "lib/sockets.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <mutex>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <system_error>
#include <thread>
#include <unistd.h>

#include "lib/posix/descriptor.h"

namespace zelkor::lib {

namespace {

using posix::Uninterrupted;

// Connections that may wait to be accepted.
constexpr int kBacklog = 32;

Status NetworkFailure(const std::string& what, int error) {
  return {Cause::Failed, what + ": " + std::generic_category().message(error)};
}

int Native(const Socket& socket) { return static_cast<int>(socket.Get()); }

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

Socket NewSocket(int family) { return Socket(socket(family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, IPPROTO_TCP)); }

// Keeps every signal away from a thread that is started while this lives: they are for the thread that waits for them.
class WithoutSignals {
 public:
  WithoutSignals() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &usual_);
  }
  ~WithoutSignals() { pthread_sigmask(SIG_SETMASK, &usual_, nullptr); }
  WithoutSignals(const WithoutSignals&) = delete;
  WithoutSignals& operator=(const WithoutSignals&) = delete;

 private:
  sigset_t usual_{};
};

// Small frames go out at once.
void SendAtOnce(const Socket& socket) {
  const int on = 1;
  setsockopt(Native(socket), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

}  // namespace

void Socket::Close() {
  if (handle_ != kNoHandle) close(static_cast<int>(std::exchange(handle_, kNoHandle)));
}

SocketAddress::SocketAddress(const void* bytes, std::size_t size) : size_(std::min(size, kMostBytes)) {
  static_assert(sizeof(sockaddr_in6) <= kMostBytes);
  std::memcpy(bytes_.data(), bytes, size_);
}

std::string SocketAddress::Host() const {
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
  sockaddr_in6 six{};
  six.sin6_family = AF_INET6;
  six.sin6_port = htons(port);
  sockaddr_in four{};
  four.sin_family = AF_INET;
  four.sin_port = htons(port);
  return {{&six, sizeof six}, {&four, sizeof four}};
}

struct HostLookup::State {
  State() : over(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

  posix::Descriptor over;
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
    const std::uint64_t one = 1;
    // It can not fail: the counter is at zero.
    [[maybe_unused]] const ssize_t written = write(state->over.Get(), &one, sizeof one);
  };
  try {
    const WithoutSignals without;
    std::thread(look).detach();
  } catch (const std::system_error&) {
    look();
  }
}

HostLookup::~HostLookup() = default;

Handle HostLookup::Readiness() const { return state_->over.Get(); }

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
  if (!made.IsOpen()) return NetworkFailure(what, errno);
  const int on = 1;
  // After a restart the port can be taken again although old connections to it are still fading.
  setsockopt(Native(made), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  if (native.ss_family == AF_INET6) {
    // Every interface means IPv4 too; an IPv6 address that was named means itself.
    const int only = IN6_IS_ADDR_UNSPECIFIED(&reinterpret_cast<const sockaddr_in6&>(native).sin6_addr) ? 0 : 1;
    setsockopt(Native(made), IPPROTO_IPV6, IPV6_V6ONLY, &only, sizeof only);
  }
  if (bind(Native(made), reinterpret_cast<const sockaddr*>(&native), static_cast<socklen_t>(address.Size())) != 0 ||
      listen(Native(made), kBacklog) != 0) {
    return NetworkFailure(what, errno);
  }
  return made;
}

std::uint16_t LocalPort(const Socket& socket) {
  sockaddr_storage native{};
  socklen_t size = sizeof native;
  if (getsockname(Native(socket), reinterpret_cast<sockaddr*>(&native), &size) != 0) return 0;
  return SocketAddress(&native, size).Port();
}

std::optional<AcceptedConnection> AcceptConnection(const Socket& listening) {
  sockaddr_storage native{};
  socklen_t size = sizeof native;
  const int accepted = Uninterrupted([&] {
    return accept4(Native(listening), reinterpret_cast<sockaddr*>(&native), &size, SOCK_NONBLOCK | SOCK_CLOEXEC);
  });
  if (accepted < 0) return std::nullopt;
  AcceptedConnection connection{.socket = Socket(accepted), .from = SocketAddress(&native, size)};
  SendAtOnce(connection.socket);
  return connection;
}

Result<Socket> StartConnecting(const SocketAddress& address) {
  sockaddr_storage native{};
  std::memcpy(&native, address.Bytes(), address.Size());
  const std::string what = "Can not connect to " + address.Host() + " port " + std::to_string(address.Port());
  Socket made = NewSocket(native.ss_family);
  if (!made.IsOpen()) return NetworkFailure(what, errno);
  SendAtOnce(made);
  // An interrupted connect goes on by itself, as one in progress does.
  if (connect(Native(made), reinterpret_cast<const sockaddr*>(&native), static_cast<socklen_t>(address.Size())) != 0 &&
      errno != EINPROGRESS && errno != EINTR) {
    return NetworkFailure(what, errno);
  }
  return made;
}

Status ConnectOutcome(const Socket& socket) {
  int error = 0;
  socklen_t size = sizeof error;
  if (getsockopt(Native(socket), SOL_SOCKET, SO_ERROR, &error, &size) != 0) error = errno;
  if (error == 0) return {};
  return NetworkFailure("Can not connect", error);
}

void SurviveBrokenConnections() {
  struct sigaction action {};
  action.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &action, nullptr);
}

}  // namespace zelkor::lib
