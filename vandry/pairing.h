// Pairing by a short code that one side shows and somebody types on the other.
//
// Both sides make a key of the code and of a secret that only the two ends of their one connection share (scrypt,
// RFC 7914), and prove with it (HMAC-SHA-256) that they know the code, for both fingerprints and both IDs. Somebody in
// the middle has two connections with two secrets, so no proof for the one is worth anything on the other. He could
// only try codes: against the listener five times, then the code is void; or against the dialler's proof by computing,
// 2^50 codes with 32 MiB and a tenth of a second each, in the ten minutes that a code is valid.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "lib/status.h"
#include "vandry/identity.h"
#include "vandry/tls.h"

namespace zelkor::vandry {

// A new code, 50 random bits: "k7m2q-9xwpd".
[[nodiscard]] std::string NewPairingCode();
// The code as it counts, however it was typed (capitals, blanks, dashes; o is 0, i and l are 1); nothing when the text
// can be no code.
[[nodiscard]] std::optional<std::string> PairingCodeFromText(std::string_view text);

// What a proof is about.
struct PairingTerms {
  Fingerprint dialler{};
  Fingerprint listener{};
  std::string diallerId;
  std::string listenerId;  // empty in the dialler's proof, who does not know it yet
  std::array<unsigned char, TlsStream::kBindingBytes> binding{};
};
inline constexpr std::string_view kPairingBinding = "EXPORTER-vandry-pairing";

using PairingProof = Digest;
// Takes about a tenth of a second and 32 MiB. Nothing when the memory is not there.
[[nodiscard]] std::optional<PairingProof> ProvePairing(std::string_view code, TlsStream::Side prover,
                                                       const PairingTerms& terms);
// In the same time whatever differs.
[[nodiscard]] bool SameProof(const PairingProof& a, const PairingProof& b);

// The code that this computer shows now. It is a file, since the command line that shows it and the Vandry that listens
// can be two processes.
class PairingOffer {
 public:
  static constexpr std::int64_t kValidSeconds = 600;
  static constexpr int kMostAttempts = 5;

  explicit PairingOffer(std::string programDir) : programDir_(std::move(programDir)) {}

  [[nodiscard]] lib::Status Begin(const std::string& code) const;
  // The code, while it is valid; each call uses one attempt up.
  [[nodiscard]] std::optional<std::string> UseAttempt() const;
  [[nodiscard]] bool IsOpen() const;
  // Somebody proved to know the code. It is void from here on.
  void Succeeded(const std::string& computerId) const;
  void End() const;

  struct Outcome {
    bool open = false;
    std::string pairedWith;  // an ID, after success
    int attemptsLeft = 0;
  };
  [[nodiscard]] Outcome Look() const;

 private:
  struct Content {
    std::string code;
    std::int64_t until = 0;  // UTC seconds
    int attemptsLeft = 0;
    std::string pairedWith;
  };
  [[nodiscard]] std::optional<std::string> Path() const;
  [[nodiscard]] std::optional<Content> Read() const;
  [[nodiscard]] lib::Status Write(const Content& content) const;

  std::string programDir_;
};

}  // namespace zelkor::vandry
