#include "vandry/tls.h"

#include <algorithm>
#include <climits>
#include <openssl/err.h>
#include <openssl/ssl.h>

namespace zelkor::vandry {

namespace {

// The fastest first where the processor helps with AES; all are sound.
constexpr const char* kCiphers = "TLS_AES_128_GCM_SHA256:TLS_AES_256_GCM_SHA384:TLS_CHACHA20_POLY1305_SHA256";
// Ours has some 250 bytes. What an unknown computer may make us keep is little.
constexpr long kMostCertificateBytes = 4096;
// Several records are taken from the socket at once.
constexpr std::size_t kReadBuffer = 128 * 1024;

// Any certificate will do for the library: it is the key that is looked at.
int AcceptAnyCertificate(X509_STORE_CTX* /*store*/, void* /*argument*/) { return 1; }

std::string LastFailure() {
  const unsigned long error = ERR_peek_last_error();
  if (error == 0) return "the connection broke";
  const char* reason = ERR_reason_error_string(error);
  return reason == nullptr ? "the secure connection failed" : reason;
}

}  // namespace

lib::Result<std::shared_ptr<const TlsContext>> TlsContext::Make(std::shared_ptr<const Identity> identity) {
  const std::shared_ptr<TlsContext> made(new TlsContext);
  made->identity_ = std::move(identity);
  SSL_CTX* context = made->context_ = SSL_CTX_new(TLS_method());
  if (context == nullptr || SSL_CTX_set_min_proto_version(context, TLS1_3_VERSION) != 1 ||
      SSL_CTX_set_max_proto_version(context, TLS1_3_VERSION) != 1 || SSL_CTX_set_ciphersuites(context, kCiphers) != 1 ||
      SSL_CTX_use_certificate(context, made->identity_->Certificate()) != 1 ||
      SSL_CTX_use_PrivateKey(context, made->identity_->Key()) != 1) {
    ERR_clear_error();
    return lib::Status(lib::Cause::Failed, "The secure connection can not be set up");
  }
  SSL_CTX_set_verify(context, SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT, nullptr);
  SSL_CTX_set_cert_verify_callback(context, AcceptAnyCertificate, nullptr);
  // Every connection proves both keys anew: nothing is resumed, and there is no early data that could be replayed.
  SSL_CTX_set_session_cache_mode(context, SSL_SESS_CACHE_OFF);
  SSL_CTX_set_options(context, SSL_OP_NO_TICKET | SSL_OP_NO_COMPRESSION | SSL_OP_NO_RENEGOTIATION);
  SSL_CTX_set_num_tickets(context, 0);
  SSL_CTX_set_max_early_data(context, 0);
  SSL_CTX_set_max_cert_list(context, kMostCertificateBytes);
  SSL_CTX_set_read_ahead(context, 1);
  SSL_CTX_set_default_read_buffer_len(context, kReadBuffer);
  SSL_CTX_set_mode(context, SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER | SSL_MODE_AUTO_RETRY);
  return std::shared_ptr<const TlsContext>(made);
}

TlsContext::~TlsContext() { SSL_CTX_free(context_); }

TlsStream::TlsStream(const TlsContext& context, lib::Socket socket, Side side)
    : socket_(std::move(socket)), ssl_(SSL_new(context.context_)) {
  if (ssl_ == nullptr || SSL_set_fd(ssl_, static_cast<int>(socket_.Get())) != 1) return;
  if (side == Side::Dialler) {
    SSL_set_connect_state(ssl_);
  } else {
    SSL_set_accept_state(ssl_);
  }
}

TlsStream::~TlsStream() { SSL_free(ssl_); }

TlsStream::Outcome TlsStream::Judge(int result) {
  if (result > 0) return Outcome::Done;
  switch (SSL_get_error(ssl_, result)) {
    case SSL_ERROR_WANT_READ:
      return Outcome::WantsRead;
    case SSL_ERROR_WANT_WRITE:
      return Outcome::WantsWrite;
    case SSL_ERROR_ZERO_RETURN:
      return Outcome::Closed;
    case SSL_ERROR_SYSCALL:
      failure_ = lib::SocketErrorSaid();
      if (failure_.empty()) failure_ = "the connection broke";
      break;
    default:
      failure_ = LastFailure();
      break;
  }
  ERR_clear_error();
  return Outcome::Failed;
}

TlsStream::Outcome TlsStream::Handshake() {
  if (ssl_ == nullptr) {
    failure_ = "out of memory";
    return Outcome::Failed;
  }
  ERR_clear_error();
  lib::ForgetSocketError();
  return Judge(SSL_do_handshake(ssl_));
}

TlsStream::Moved TlsStream::Read(std::span<char> out) {
  ERR_clear_error();
  lib::ForgetSocketError();
  std::size_t bytes = 0;
  const int result = SSL_read_ex(ssl_, out.data(), out.size(), &bytes);
  return {.outcome = Judge(result), .bytes = bytes};
}

bool TlsStream::HasUnread() const { return SSL_has_pending(ssl_) == 1; }

TlsStream::Moved TlsStream::Write(std::span<const char> bytes) {
  if (bytes.empty()) return {};
  ERR_clear_error();
  lib::ForgetSocketError();
  std::size_t written = 0;
  const int result = SSL_write_ex(ssl_, bytes.data(), bytes.size(), &written);
  return {.outcome = Judge(result), .bytes = written};
}

void TlsStream::Close() {
  if (ssl_ == nullptr || SSL_is_init_finished(ssl_) != 1) return;
  ERR_clear_error();
  SSL_shutdown(ssl_);
  ERR_clear_error();
}

std::optional<Fingerprint> TlsStream::PeerFingerprint() const {
  return SSL_is_init_finished(ssl_) == 1 ? FingerprintOf(SSL_get0_peer_certificate(ssl_)) : std::nullopt;
}

std::optional<std::array<unsigned char, TlsStream::kBindingBytes>> TlsStream::Binding(std::string_view purpose) const {
  std::array<unsigned char, kBindingBytes> binding{};
  if (SSL_is_init_finished(ssl_) != 1 ||
      SSL_export_keying_material(ssl_, binding.data(), binding.size(), purpose.data(), purpose.size(), nullptr, 0, 0) !=
          1) {
    ERR_clear_error();
    return std::nullopt;
  }
  return binding;
}

}  // namespace zelkor::vandry
