#include "vandry/digest.h"

#include <cstdlib>
#include <openssl/evp.h>
#include <openssl/rand.h>

namespace zelkor::vandry {

namespace {

constexpr std::size_t kTicketBytes = 16;

// The library fails here only when it has no memory left or was built without the algorithm.
void Require(bool done) {
  if (!done) std::abort();
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

void Sha256::Free::operator()(evp_md_ctx_st* context) const { EVP_MD_CTX_free(context); }

Sha256::Sha256() : context_(EVP_MD_CTX_new()) {
  Require(context_ != nullptr && EVP_DigestInit_ex(context_.get(), EVP_sha256(), nullptr) == 1);
}
Sha256::~Sha256() = default;
Sha256::Sha256(Sha256&&) noexcept = default;
Sha256& Sha256::operator=(Sha256&&) noexcept = default;

void Sha256::Add(std::span<const char> bytes) {
  Require(EVP_DigestUpdate(context_.get(), bytes.data(), bytes.size()) == 1);
}

Digest Sha256::Value() const {
  const std::unique_ptr<evp_md_ctx_st, Free> copy(EVP_MD_CTX_new());
  Digest digest{};
  Require(copy != nullptr && EVP_MD_CTX_copy_ex(copy.get(), context_.get()) == 1 &&
          EVP_DigestFinal_ex(copy.get(), digest.data(), nullptr) == 1);
  return digest;
}

std::string ToHex(std::span<const unsigned char> bytes) {
  static constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  text.reserve(2 * bytes.size());
  for (const unsigned char byte : bytes) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

std::optional<Digest> DigestFromHex(std::string_view text) {
  if (text.size() != 2 * kDigestBytes) return std::nullopt;
  Digest digest{};
  for (std::size_t i = 0; i < kDigestBytes; ++i) {
    const int high = HexDigit(text[2 * i]);
    const int low = HexDigit(text[2 * i + 1]);
    if (high < 0 || low < 0) return std::nullopt;
    digest[i] = static_cast<unsigned char>(high << 4 | low);
  }
  return digest;
}

void FillWithRandom(std::span<unsigned char> bytes) {
  Require(RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) == 1);
}

std::string NewTicket() {
  std::array<unsigned char, kTicketBytes> bytes{};
  FillWithRandom(bytes);
  return ToHex(bytes);
}

}  // namespace zelkor::vandry
