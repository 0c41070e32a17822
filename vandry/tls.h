// TLS 1.3 over a socket that never waits. Both ends show a certificate; which keys are welcome is not decided here but
// by whoever reads PeerFingerprint, before a word is exchanged. The handshake proves that the other end holds that key.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "lib/sockets.h"
#include "lib/status.h"
#include "vandry/identity.h"

struct ssl_ctx_st;
struct ssl_st;

namespace zelkor::vandry {

// What both ends and every connection share.
class TlsContext {
 public:
  [[nodiscard]] static lib::Result<std::shared_ptr<const TlsContext>> Make(std::shared_ptr<const Identity> identity);
  ~TlsContext();
  TlsContext(const TlsContext&) = delete;
  TlsContext& operator=(const TlsContext&) = delete;

  [[nodiscard]] const Identity& Own() const { return *identity_; }

 private:
  friend class TlsStream;
  TlsContext() = default;

  std::shared_ptr<const Identity> identity_;
  ssl_ctx_st* context_ = nullptr;
};

class TlsStream {
 public:
  enum class Side { Dialler, Listener };
  enum class Outcome {
    Done,
    WantsRead,   // again when the socket is readable
    WantsWrite,  // again when it is writable
    Closed,      // the other end has ended the connection in an orderly way
    Failed,
  };
  struct Moved {
    Outcome outcome = Outcome::Done;
    std::size_t bytes = 0;  // with Done
  };

  // Length of a secret that both ends of one connection, and nobody else, can make.
  static constexpr std::size_t kBindingBytes = 32;

  TlsStream(const TlsContext& context, lib::Socket socket, Side side);
  ~TlsStream();
  TlsStream(const TlsStream&) = delete;
  TlsStream& operator=(const TlsStream&) = delete;

  [[nodiscard]] Outcome Handshake();
  // After the handshake. At least one byte when Done.
  [[nodiscard]] Moved Read(std::span<char> out);
  // Bytes that were read from the socket and wait for Read: no readiness tells of them.
  [[nodiscard]] bool HasUnread() const;
  // Perhaps a part. After WantsRead or WantsWrite the next call must bring the same bytes again, perhaps elsewhere and
  // with more behind them.
  [[nodiscard]] Moved Write(std::span<const char> bytes);
  // Tells the other end that nothing more comes; without waiting, so perhaps in vain.
  void Close();

  [[nodiscard]] const lib::Socket& GetSocket() const { return socket_; }
  // After the handshake: the key that the other end has proved to hold.
  [[nodiscard]] std::optional<Fingerprint> PeerFingerprint() const;
  // After the handshake: the secret of this connection for one purpose (RFC 8446 section 7.5).
  [[nodiscard]] std::optional<std::array<unsigned char, kBindingBytes>> Binding(std::string_view purpose) const;
  // Why the last call failed.
  [[nodiscard]] const std::string& Failure() const { return failure_; }

 private:
  [[nodiscard]] Outcome Judge(int result);

  lib::Socket socket_;
  ssl_st* ssl_ = nullptr;
  std::string failure_;
};

}  // namespace zelkor::vandry
