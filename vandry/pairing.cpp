#include "vandry/pairing.h"

#include <charconv>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>

#include "lib/clock.h"
#include "lib/files.h"
#include "lib/text.h"
#include "vandry/private_files.h"

namespace zelkor::vandry {

namespace {

// Crockford's alphabet: no letter that could be taken for a digit, none that makes words.
constexpr std::string_view kAlphabet = "0123456789abcdefghjkmnpqrstvwxyz";
constexpr std::size_t kCodeLength = 10;
constexpr std::size_t kCodeGroup = 5;

// scrypt's cost: 128 * N * r bytes, here 32 MiB (RFC 7914 section 2).
constexpr std::uint64_t kScryptN = 1 << 15;
constexpr std::uint64_t kScryptR = 8;
constexpr std::uint64_t kScryptP = 1;
constexpr std::uint64_t kScryptMostMemory = 64 << 20;

constexpr std::int64_t kMostFileBytes = 1024;

void AppendPart(std::string& text, std::string_view part) {
  text += static_cast<char>(part.size());  // no part is longer than 255 bytes
  text += part;
}

std::string_view AsText(std::span<const unsigned char> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

template <class Number>
std::optional<Number> ParseNumber(std::string_view text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

}  // namespace

std::string NewPairingCode() {
  std::array<unsigned char, kCodeLength> random{};
  FillWithRandom(random);
  std::string code;
  for (std::size_t i = 0; i < kCodeLength; ++i) {
    if (i == kCodeGroup) code += '-';
    // 256 is a multiple of 32, so every letter is as likely as another.
    code += kAlphabet[random[i] % kAlphabet.size()];
  }
  return code;
}

std::optional<std::string> PairingCodeFromText(std::string_view text) {
  std::string code;
  for (char c : text) {
    if (c == '-' || c == ' ') continue;
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    if (c == 'o') c = '0';
    if (c == 'i' || c == 'l') c = '1';
    if (kAlphabet.find(c) == std::string_view::npos) return std::nullopt;
    code += c;
  }
  if (code.size() != kCodeLength) return std::nullopt;
  return code;
}

std::optional<PairingProof> ProvePairing(std::string_view code, TlsStream::Side prover, const PairingTerms& terms) {
  Digest key{};
  if (EVP_PBE_scrypt(code.data(), code.size(), terms.binding.data(), terms.binding.size(), kScryptN, kScryptR, kScryptP,
                     kScryptMostMemory, key.data(), key.size()) != 1) {
    return std::nullopt;
  }
  std::string statement;
  AppendPart(statement, prover == TlsStream::Side::Dialler ? "vandry pairing 1 dialler" : "vandry pairing 1 listener");
  AppendPart(statement, AsText(terms.dialler));
  AppendPart(statement, AsText(terms.listener));
  AppendPart(statement, terms.diallerId);
  AppendPart(statement, prover == TlsStream::Side::Dialler ? std::string_view() : terms.listenerId);
  PairingProof proof{};
  unsigned int size = 0;
  const unsigned char* made =
      HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()),
           reinterpret_cast<const unsigned char*>(statement.data()), statement.size(), proof.data(), &size);
  OPENSSL_cleanse(key.data(), key.size());
  if (made == nullptr || size != proof.size()) return std::nullopt;
  return proof;
}

bool SameProof(const PairingProof& a, const PairingProof& b) {
  return CRYPTO_memcmp(a.data(), b.data(), a.size()) == 0;
}

std::optional<std::string> PairingOffer::Path() const {
  const lib::Result<std::string> folder = PrivateFolder(programDir_);
  if (!folder.Ok()) return std::nullopt;
  return *folder + "pairing.txt";
}

std::optional<PairingOffer::Content> PairingOffer::Read() const {
  const std::optional<std::string> path = Path();
  if (!path) return std::nullopt;
  const lib::Result<std::string> text = lib::ReadSmallFile(*path, kMostFileBytes);
  if (!text.Ok()) return std::nullopt;
  const std::vector<std::string> words = lib::SplitWords(*text, ' ', "\"");
  if (words.size() != 4) return std::nullopt;
  const std::optional<std::string> code = PairingCodeFromText(words[0]);
  const auto until = ParseNumber<std::int64_t>(words[1]);
  const auto attempts = ParseNumber<int>(words[2]);
  if (!code || !until || !attempts) return std::nullopt;
  return Content{.code = *code, .until = *until, .attemptsLeft = *attempts, .pairedWith = words[3]};
}

lib::Status PairingOffer::Write(const Content& content) const {
  const std::optional<std::string> path = Path();
  if (!path) return {lib::Cause::Failed, "Can not make Vandry's folder"};
  return WritePrivateFile(*path, content.code + " " + std::to_string(content.until) + " " +
                                     std::to_string(content.attemptsLeft) + " \"" + content.pairedWith + "\"");
}

lib::Status PairingOffer::Begin(const std::string& code) const {
  const std::optional<std::string> counts = PairingCodeFromText(code);
  if (!counts) return {lib::Cause::Refused, "\"" + code + "\" is no pairing code"};
  return Write(
      {.code = *counts, .until = lib::NowUtc() + kValidSeconds, .attemptsLeft = kMostAttempts, .pairedWith = {}});
}

bool PairingOffer::IsOpen() const { return Look().open; }

PairingOffer::Outcome PairingOffer::Look() const {
  const std::optional<Content> content = Read();
  if (!content) return {};
  return {.open = content->pairedWith.empty() && content->attemptsLeft > 0 && content->until > lib::NowUtc(),
          .pairedWith = content->pairedWith,
          .attemptsLeft = content->attemptsLeft};
}

std::optional<std::string> PairingOffer::UseAttempt() const {
  std::optional<Content> content = Read();
  if (!content || !IsOpen()) return std::nullopt;
  --content->attemptsLeft;
  // Written before the attempt is judged, so that none is free.
  if (!Write(*content).Ok()) return std::nullopt;
  return content->code;
}

void PairingOffer::Succeeded(const std::string& computerId) const {
  std::optional<Content> content = Read();
  if (!content) return;
  content->attemptsLeft = 0;
  content->pairedWith = computerId;
  // Should it not be kept, the attempts still end the code.
  if (!Write(*content).Ok()) End();
}

void PairingOffer::End() const {
  if (const std::optional<std::string> path = Path()) lib::KillFile(*path);
}

}  // namespace zelkor::vandry
