// Which computers this one is paired with: an ID and the key that it belongs to. Kept in the file "paired.txt" of
// Vandry's folder, one line each: ID, blank, fingerprint in hexadecimal.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lib/status.h"
#include "vandry/identity.h"

namespace zelkor::vandry {

struct Pairing {
  std::string computerId;
  Fingerprint fingerprint{};
};

// Whether a text can be the ID of a computer: 1 to 6 characters, in lower case, none a blank or one that a file name
// can not have.
[[nodiscard]] bool IsComputerId(std::string_view text);

// Every call looks at the file as it is now, since the command line changes it beside a running Vandry.
class Pairings {
 public:
  explicit Pairings(std::string programDir) : programDir_(std::move(programDir)) {}

  // Damaged when a line is none; then nobody is paired until somebody looks at it.
  [[nodiscard]] lib::Result<std::vector<Pairing>> All() const;
  // The ID of the computer with that key; nothing when there is none, or when the file can not be read.
  [[nodiscard]] std::optional<std::string> IdOf(const Fingerprint& fingerprint) const;
  // An ID has one key and a key one ID: earlier pairings of either end.
  [[nodiscard]] lib::Status Add(const Pairing& pairing) const;
  // NotFound when no such computer is paired.
  [[nodiscard]] lib::Status Remove(const std::string& computerId) const;

 private:
  [[nodiscard]] lib::Result<std::string> Path() const;
  [[nodiscard]] lib::Status Write(const std::vector<Pairing>& pairings) const;

  std::string programDir_;
};

}  // namespace zelkor::vandry
