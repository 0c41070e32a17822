// Frames of words: what each kind carries, written and read. Readers take nothing on trust: a frame whose words are too
// few, too long or of the wrong form is none.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "vandry/digest.h"
#include "vandry/peer.h"

namespace zelkor::vandry {

// The only version so far; a computer that speaks another one says so in its refusal.
inline constexpr int kProtocolVersion = 1;

struct HelloWords {
  int version = kProtocolVersion;
  std::string computerId;
  std::uint16_t port = 0;  // on which it would listen
};
struct PairWords {
  int version = kProtocolVersion;
  std::string computerId;
  Digest proof{};
};
struct AskWords {
  std::string ticket;
  std::string text;
};
// Also the content of Stop, and with an empty ticket of Refusal.
struct AnswerWords {
  std::string ticket;
  PeerError error = PeerError::None;
  bool worthRepeating = false;
  std::string text;
};
struct OfferWords {
  std::string ticket;
  std::string senderId;
  std::string targetId;
  std::int64_t size = 0;
};
struct TakeWords {
  std::string ticket;
  std::int64_t offset = 0;  // bytes that are there already
  Digest digest{};          // of these
};
struct EndWords {
  std::string ticket;
  Digest digest{};
};

[[nodiscard]] std::string WriteWords(const HelloWords& words);
[[nodiscard]] std::string WriteWords(const PairWords& words);
[[nodiscard]] std::string WriteWords(const AskWords& words);
[[nodiscard]] std::string WriteWords(const AnswerWords& words);
[[nodiscard]] std::string WriteWords(const OfferWords& words);
[[nodiscard]] std::string WriteWords(const TakeWords& words);
[[nodiscard]] std::string WriteWords(const EndWords& words);

[[nodiscard]] std::optional<HelloWords> ReadHello(std::string_view content);
[[nodiscard]] std::optional<PairWords> ReadPair(std::string_view content);
[[nodiscard]] std::optional<AskWords> ReadAsk(std::string_view content);
[[nodiscard]] std::optional<AnswerWords> ReadAnswer(std::string_view content);
[[nodiscard]] std::optional<OfferWords> ReadOffer(std::string_view content);
[[nodiscard]] std::optional<TakeWords> ReadTake(std::string_view content);
[[nodiscard]] std::optional<EndWords> ReadEnd(std::string_view content);
// The content of Whole: a ticket alone.
[[nodiscard]] std::optional<std::string> ReadTicket(std::string_view content);

// 1 to 32 lower-case letters and digits.
[[nodiscard]] bool IsTicket(std::string_view text);
// A text for a reply or a push: one line, not too long, and with neither "OK" nor "Error" in it, since replies are told
// by these.
[[nodiscard]] std::string HarmlessText(std::string_view text);

}  // namespace zelkor::vandry
