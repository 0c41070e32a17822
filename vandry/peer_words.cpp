#include "vandry/peer_words.h"

#include <algorithm>
#include <charconv>

#include "lib/text.h"
#include "vandry/pairings.h"

namespace zelkor::vandry {

namespace {

constexpr std::size_t kLongestTicket = 32;
constexpr std::size_t kLongestText = 500;
// What a file may have at most here; leaves room for arithmetic.
constexpr std::int64_t kLargestFile = std::int64_t{1} << 60;

// Words of a content, one after the other. Blanks separate them, one each; every word has a character.
class WordReader {
 public:
  explicit WordReader(std::string_view content) : rest_(content) {
    fine_ = std::none_of(content.begin(), content.end(),
                         [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; });
  }

  std::string_view Word() {
    if (begun_ && !TakeBlank()) return {};
    begun_ = true;
    const std::string_view word = rest_.substr(0, rest_.find(' '));
    rest_.remove_prefix(word.size());
    fine_ = fine_ && !word.empty();
    return word;
  }
  // Everything behind the blank that follows the last word; may be empty.
  std::string_view Rest() {
    if (!TakeBlank()) return {};
    return std::exchange(rest_, {});
  }
  template <class Number>
  Number WordAsNumber(Number least, Number most) {
    const std::string_view word = Word();
    Number number{};
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    fine_ = fine_ && error == std::errc() && end == word.data() + word.size() && number >= least && number <= most;
    return number;
  }
  std::string WordAsTicket() { return Checked(Word(), IsTicket); }
  std::string WordAsId() { return Checked(Word(), IsComputerId); }
  Digest WordAsDigest() {
    const std::optional<Digest> digest = DigestFromHex(Word());
    fine_ = fine_ && digest.has_value();
    return digest.value_or(Digest{});
  }
  [[nodiscard]] bool FineSoFar() const { return fine_; }
  // Nothing was wrong, and nothing is left.
  [[nodiscard]] bool Fine() const { return fine_ && rest_.empty(); }

 private:
  bool TakeBlank() {
    fine_ = fine_ && rest_.starts_with(' ');
    if (!fine_) return false;
    rest_.remove_prefix(1);
    return true;
  }
  std::string Checked(std::string_view word, bool (*check)(std::string_view)) {
    fine_ = fine_ && check(word);
    return std::string(word);
  }

  std::string_view rest_;
  bool begun_ = false;
  bool fine_ = true;
};

template <class Words>
std::optional<Words> IfFine(const WordReader& reader, Words words) {
  if (!reader.Fine()) return std::nullopt;
  return words;
}

}  // namespace

bool IsTicket(std::string_view text) {
  return !text.empty() && text.size() <= kLongestTicket &&
         std::all_of(text.begin(), text.end(), [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z'); });
}

std::string HarmlessText(std::string_view text) {
  std::string harmless(text.substr(0, kLongestText));
  for (char& c : harmless) {
    if (static_cast<unsigned char>(c) < ' ' || c == '\x7f') c = '?';
  }
  return lib::ReplaceAll(lib::ReplaceAll(harmless, "OK", "ok"), "Error", "error");
}

std::string WriteWords(const HelloWords& words) {
  return std::to_string(words.version) + " " + words.computerId + " " + std::to_string(words.port);
}
std::string WriteWords(const PairWords& words) {
  return std::to_string(words.version) + " " + words.computerId + " " + ToHex(words.proof);
}
std::string WriteWords(const AskWords& words) { return words.ticket + " " + words.text; }
std::string WriteWords(const AnswerWords& words) {
  const std::string ticket = words.ticket.empty() ? std::string() : words.ticket + " ";
  return ticket + std::to_string(static_cast<int>(words.error)) + (words.worthRepeating ? " 1 " : " 0 ") +
         HarmlessText(words.text);
}
std::string WriteWords(const OfferWords& words) {
  return words.ticket + " " + words.senderId + " " + words.targetId + " " + std::to_string(words.size);
}
std::string WriteWords(const TakeWords& words) {
  return words.ticket + " " + std::to_string(words.offset) + " " + ToHex(words.digest);
}
std::string WriteWords(const EndWords& words) { return words.ticket + " " + ToHex(words.digest); }

std::optional<HelloWords> ReadHello(std::string_view content) {
  WordReader reader(content);
  HelloWords words;
  words.version = reader.WordAsNumber(0, 1000);
  if (!reader.FineSoFar()) return std::nullopt;
  // What a later version says behind its number is not ours to judge.
  if (words.version != kProtocolVersion) return words;
  words.computerId = reader.WordAsId();
  words.port = reader.WordAsNumber<std::uint16_t>(1, UINT16_MAX);
  return IfFine(reader, words);
}

std::optional<PairWords> ReadPair(std::string_view content) {
  WordReader reader(content);
  PairWords words;
  words.version = reader.WordAsNumber(0, 1000);
  if (!reader.FineSoFar()) return std::nullopt;
  if (words.version != kProtocolVersion) return words;
  words.computerId = reader.WordAsId();
  words.proof = reader.WordAsDigest();
  return IfFine(reader, words);
}

std::optional<AskWords> ReadAsk(std::string_view content) {
  WordReader reader(content);
  AskWords words;
  words.ticket = reader.WordAsTicket();
  words.text = reader.Rest();
  return IfFine(reader, words);
}

std::optional<AnswerWords> ReadAnswer(std::string_view content) {
  WordReader reader(content);
  AnswerWords words;
  words.ticket = reader.WordAsTicket();
  words.error = static_cast<PeerError>(reader.WordAsNumber(0, static_cast<int>(PeerError::Damaged)));
  words.worthRepeating = reader.WordAsNumber(0, 1) == 1;
  words.text = HarmlessText(reader.Rest());
  return IfFine(reader, words);
}

std::optional<OfferWords> ReadOffer(std::string_view content) {
  WordReader reader(content);
  OfferWords words;
  words.ticket = reader.WordAsTicket();
  words.senderId = reader.WordAsId();
  words.targetId = reader.WordAsId();
  words.size = reader.WordAsNumber<std::int64_t>(0, kLargestFile);
  return IfFine(reader, words);
}

std::optional<TakeWords> ReadTake(std::string_view content) {
  WordReader reader(content);
  TakeWords words;
  words.ticket = reader.WordAsTicket();
  words.offset = reader.WordAsNumber<std::int64_t>(0, kLargestFile);
  words.digest = reader.WordAsDigest();
  return IfFine(reader, words);
}

std::optional<EndWords> ReadEnd(std::string_view content) {
  WordReader reader(content);
  EndWords words;
  words.ticket = reader.WordAsTicket();
  words.digest = reader.WordAsDigest();
  return IfFine(reader, words);
}

std::optional<std::string> ReadTicket(std::string_view content) {
  if (!IsTicket(content)) return std::nullopt;
  return std::string(content);
}

}  // namespace zelkor::vandry
