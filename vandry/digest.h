// SHA-256, and numbers as hexadecimal text.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

struct evp_md_ctx_st;

namespace zelkor::vandry {

inline constexpr std::size_t kDigestBytes = 32;
using Digest = std::array<unsigned char, kDigestBytes>;

// The checksum of bytes that come piece by piece.
class Sha256 {
 public:
  Sha256();
  ~Sha256();
  Sha256(Sha256&&) noexcept;
  Sha256& operator=(Sha256&&) noexcept;
  Sha256(const Sha256&) = delete;
  Sha256& operator=(const Sha256&) = delete;

  void Add(std::span<const char> bytes);
  // Of everything added so far; more may follow.
  [[nodiscard]] Digest Value() const;

 private:
  struct Free {
    void operator()(evp_md_ctx_st* context) const;
  };
  std::unique_ptr<evp_md_ctx_st, Free> context_;
};

[[nodiscard]] std::string ToHex(std::span<const unsigned char> bytes);
// Nothing when the text is not exactly the hexadecimal digits of a digest, in either case.
[[nodiscard]] std::optional<Digest> DigestFromHex(std::string_view text);

// Bytes that nobody can guess; for tickets and codes. Ends the process when the system has none to give.
void FillWithRandom(std::span<unsigned char> bytes);
// A new ticket: 32 hexadecimal digits.
[[nodiscard]] std::string NewTicket();

}  // namespace zelkor::vandry
