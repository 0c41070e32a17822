// This computer's long-term key: what other computers know it by.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "lib/status.h"
#include "vandry/digest.h"

struct evp_pkey_st;
struct x509_st;

namespace zelkor::vandry {

// SHA-256 of a public key as certificates carry it (SubjectPublicKeyInfo, RFC 5280 section 4.1).
using Fingerprint = Digest;

// In groups of four digits, for people: "3f2a-91c0-…".
[[nodiscard]] std::string FingerprintText(const Fingerprint& fingerprint);
// Accepts the digits with any blanks, dashes and colons between them; nothing for any other text.
[[nodiscard]] std::optional<Fingerprint> FingerprintFromText(std::string_view text);

[[nodiscard]] std::optional<Fingerprint> FingerprintOf(const x509_st* certificate);

// An Ed25519 key, and a certificate that it signed for itself. Only the key is kept, in the file "key.pem" with mode
// 0600; what else a certificate says is looked at by nobody, so a new one is made at each start.
class Identity {
 public:
  // Reads the key of a program directory, or makes one. A key that is there but can not be read is never replaced: the
  // other computers would no longer know this one.
  [[nodiscard]] static lib::Result<std::shared_ptr<const Identity>> Load(const std::string& programDir);

  Identity(const Identity&) = delete;
  Identity& operator=(const Identity&) = delete;
  ~Identity();

  [[nodiscard]] const Fingerprint& OwnFingerprint() const { return fingerprint_; }
  [[nodiscard]] evp_pkey_st* Key() const { return key_.get(); }
  [[nodiscard]] x509_st* Certificate() const { return certificate_.get(); }

 private:
  struct Free {
    void operator()(evp_pkey_st* key) const;
    void operator()(x509_st* certificate) const;
  };
  Identity() = default;

  std::unique_ptr<evp_pkey_st, Free> key_;
  std::unique_ptr<x509_st, Free> certificate_;
  Fingerprint fingerprint_{};
};

}  // namespace zelkor::vandry
