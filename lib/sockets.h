// Network connections (TCP over IPv4 and IPv6). Everything that could wait does not: a socket tells by readiness
// (readiness.h) when the next step can be taken.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "lib/readiness.h"
#include "lib/status.h"

namespace zelkor::lib {

// An open socket, closed when the object goes.
class Socket {
 public:
  Socket() = default;
  explicit Socket(Handle handle) : handle_(handle) {}
  ~Socket() { Close(); }
  Socket(Socket&& other) noexcept : handle_(std::exchange(other.handle_, kNoHandle)) {}
  Socket& operator=(Socket&& other) noexcept {
    if (this != &other) {
      Close();
      handle_ = std::exchange(other.handle_, kNoHandle);
    }
    return *this;
  }
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;

  [[nodiscard]] bool IsOpen() const { return handle_ != kNoHandle; }
  [[nodiscard]] Handle Get() const { return handle_; }
  void Close();

 private:
  Handle handle_ = kNoHandle;
};

// An IP address with a port, as the system keeps it.
class SocketAddress {
 public:
  static constexpr std::size_t kMostBytes = 28;  // an IPv6 address with its scope

  SocketAddress() = default;
  SocketAddress(const void* bytes, std::size_t size);

  // The address alone: "10.0.0.2", "fe80::1%eth0". An IPv4 address that came by way of IPv6 is shown as IPv4.
  [[nodiscard]] std::string Host() const;
  [[nodiscard]] std::uint16_t Port() const;
  [[nodiscard]] const void* Bytes() const { return bytes_.data(); }
  [[nodiscard]] std::size_t Size() const { return size_; }

 private:
  alignas(8) std::array<std::byte, kMostBytes> bytes_{};
  std::size_t size_ = 0;
};

// The address that a numeric text stands for; nothing for any other text.
[[nodiscard]] std::optional<SocketAddress> NumericAddress(const std::string& host, std::uint16_t port);
// What to listen on for every interface: IPv6 (which takes IPv4 in too), and IPv4 alone for systems without it.
[[nodiscard]] std::vector<SocketAddress> AnyAddress(std::uint16_t port);

// Looks up a name. It runs beside the program, since a lookup can take many seconds; the object may go before its end.
class HostLookup {
 public:
  HostLookup(const std::string& host, std::uint16_t port);
  ~HostLookup();
  HostLookup(const HostLookup&) = delete;
  HostLookup& operator=(const HostLookup&) = delete;

  // Readable when the lookup is over.
  [[nodiscard]] Handle Readiness() const;
  // What it found, after it is over: at least one address, or why there is none.
  [[nodiscard]] Result<std::vector<SocketAddress>> Found() const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

[[nodiscard]] Result<Socket> ListenOn(const SocketAddress& address);
// The port that a listening socket really has (when it was asked to listen on port 0).
[[nodiscard]] std::uint16_t LocalPort(const Socket& socket);

struct AcceptedConnection {
  Socket socket;
  SocketAddress from;
};
// The next connection that waits at a listening socket; nothing when none does.
[[nodiscard]] std::optional<AcceptedConnection> AcceptConnection(const Socket& listening);

// Begins to connect; the socket is writable when that is over, and ConnectOutcome says what came of it.
[[nodiscard]] Result<Socket> StartConnecting(const SocketAddress& address);
[[nodiscard]] Status ConnectOutcome(const Socket& socket);

// For libraries that read and write by themselves: what the system said, in this thread, about a socket since the last
// ForgetSocketError; empty when it said nothing.
void ForgetSocketError();
[[nodiscard]] std::string SocketErrorSaid();

// From here on a write to a connection that the other end has closed fails, and does not end the process.
void SurviveBrokenConnections();

}  // namespace zelkor::lib
