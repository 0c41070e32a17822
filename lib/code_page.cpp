#include "lib/code_page.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "lib/code_page_table.h"

namespace zelkor::lib {
namespace {

// Lower-case letters of the scripts that single-byte code pages hold: runs of capitals whose small letters stand
// `distance` further on, every `step`-th character being a capital. Source: the Unicode Character Database, simple
// case mappings. Letters whose small and capital forms are no pair (dotless i, long s, final sigma …) do not fold.
struct CapitalRun {
  char32_t first;
  char32_t last;
  char32_t distance;
  char32_t step;
};
constexpr auto kCapitalRuns = std::to_array<CapitalRun>({
    {0x41, 0x5A, 32, 1},     // basic Latin
    {0xC0, 0xD6, 32, 1},     // Latin-1
    {0xD8, 0xDE, 32, 1},     //
    {0x100, 0x12E, 1, 2},    // Latin Extended-A
    {0x132, 0x136, 1, 2},    //
    {0x139, 0x147, 1, 2},    //
    {0x14A, 0x176, 1, 2},    //
    {0x179, 0x17D, 1, 2},    //
    {0x18F, 0x18F, 202, 1},  // schwa
    {0x19F, 0x19F, 214, 1},  // barred O
    {0x1A0, 0x1A0, 1, 1},    // horned O
    {0x1AF, 0x1AF, 1, 1},    // horned U
    {0x1B7, 0x1B7, 219, 1},  // ezh
    {0x1CD, 0x1DB, 1, 2},    // letters with caron
    {0x1DE, 0x1EE, 1, 2},    //
    {0x1F8, 0x21E, 1, 2},    // S and T with comma below
    {0x386, 0x386, 38, 1},   // Greek
    {0x388, 0x38A, 37, 1},   //
    {0x38C, 0x38C, 64, 1},   //
    {0x38E, 0x38F, 63, 1},   //
    {0x391, 0x3A1, 32, 1},   //
    {0x3A3, 0x3AB, 32, 1},   //
    {0x400, 0x40F, 80, 1},   // Cyrillic
    {0x410, 0x42F, 32, 1},   //
    {0x48A, 0x4BE, 1, 2},    //
    {0x4D0, 0x52E, 1, 2},    //
    {0x1E00, 0x1E94, 1, 2},  // Latin Extended Additional
    {0x1EA0, 0x1EFE, 1, 2},  // Vietnamese
});

char32_t LowerCharacter(char32_t character) {
  if (character == 0x178) return 0xFF;  // y with diaeresis
  for (const CapitalRun& run : kCapitalRuns) {
    if (character >= run.first && character <= run.last && (character - run.first) % run.step == 0) {
      return character + run.distance;
    }
  }
  return character;
}

constexpr char32_t kLastOfC1 = 0x9F;         // the control characters U+0080 to U+009F
constexpr char32_t kPrivateOffset = 0xF700;  // the private characters that stand for undefined bytes above them
constexpr char32_t kReplacement = 0xFFFD;

// Appends the UTF-8 of a character.
void AppendUtf8(std::string& out, char32_t c) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | c >> 6);
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | c >> 12);
    out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | c >> 18);
    out += static_cast<char>(0x80 | (c >> 12 & 0x3F));
    out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

// The character at the start of `text`, which is not empty, and how many bytes it takes. For bytes that are no UTF-8
// (overlong forms and surrogates included) nothing, and the number of bytes to skip.
struct Decoded {
  std::optional<char32_t> character;
  std::size_t length = 1;
};
Decoded DecodeUtf8(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(0);
  if (lead < 0x80) return {lead, 1};
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4) return {};
  char32_t character = lead & (0xFF >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    if (i == text.size() || (byte(i) & 0xC0) != 0x80) return {std::nullopt, i};
    character = character << 6 | (byte(i) & 0x3F);
  }
  constexpr auto kSmallest = std::to_array<char32_t>({0, 0, 0x80, 0x800, 0x10000});
  const bool surrogate = character >= 0xD800 && character <= 0xDFFF;
  if (character < kSmallest[length] || character > 0x10FFFF || surrogate) return {std::nullopt, length};
  return {character, length};
}

// One code page with everything that is asked of it.
class CodePage {
 public:
  // Nothing when the lower half is not ASCII or two bytes would have the same character.
  static std::optional<CodePage> Make(CodePageTable characters) {
    for (std::size_t byte = 0; byte < characters.size(); ++byte) {
      if (byte < 0x80 ? characters[byte] != byte : characters[byte] != 0 && characters[byte] < 0x80) {
        return std::nullopt;
      }
      if (byte != 0 && characters[byte] == 0) {
        characters[byte] = static_cast<char32_t>(byte <= kLastOfC1 ? byte : kPrivateOffset + byte);
      }
    }
    CodePage page;
    page.characters_ = characters;
    for (std::size_t byte = 0; byte < characters.size(); ++byte) {
      page.bytes_[byte] = {characters[byte], static_cast<char>(byte)};
    }
    std::sort(page.bytes_.begin(), page.bytes_.end());
    const auto same = [](const auto& a, const auto& b) { return a.first == b.first; };
    if (std::adjacent_find(page.bytes_.begin(), page.bytes_.end(), same) != page.bytes_.end()) return std::nullopt;
    page.FillCases();
    return page;
  }

  [[nodiscard]] char32_t Character(char byte) const { return characters_[static_cast<unsigned char>(byte)]; }
  [[nodiscard]] std::optional<char> Byte(char32_t character) const {
    const auto found = std::lower_bound(bytes_.begin(), bytes_.end(), std::pair(character, '\0'),
                                        [](const auto& a, const auto& b) { return a.first < b.first; });
    if (found == bytes_.end() || found->first != character) return std::nullopt;
    return found->second;
  }
  [[nodiscard]] char Lower(char byte) const { return lower_[static_cast<unsigned char>(byte)]; }
  [[nodiscard]] char Upper(char byte) const { return upper_[static_cast<unsigned char>(byte)]; }

 private:
  // A letter folds only when the code page holds both its forms.
  void FillCases() {
    for (std::size_t byte = 0; byte < characters_.size(); ++byte) {
      lower_[byte] = upper_[byte] = static_cast<char>(byte);
    }
    for (std::size_t byte = 0; byte < characters_.size(); ++byte) {
      const char32_t small = LowerCharacter(characters_[byte]);
      if (small == characters_[byte]) continue;
      if (const std::optional<char> smallByte = Byte(small)) {
        lower_[byte] = *smallByte;
        upper_[static_cast<unsigned char>(*smallByte)] = static_cast<char>(byte);
      }
    }
  }

  CodePageTable characters_{};
  std::array<std::pair<char32_t, char>, 256> bytes_{};  // sorted by character
  std::array<char, 256> lower_{};
  std::array<char, 256> upper_{};
};

// Windows-1252, upper half; 0 where it is undefined. Source: the Unicode Consortium's CP1252.TXT. Written out so that
// the program always has a code page, whatever the system's conversions are.
CodePage DefaultCodePage() {
  constexpr auto kC1 = std::to_array<char32_t>({
      0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
      0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
      0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178,
  });
  static_assert(kC1.size() == 32);
  CodePageTable table{};
  for (std::size_t byte = 0; byte < table.size(); ++byte) table[byte] = static_cast<char32_t>(byte);
  std::copy(kC1.begin(), kC1.end(), table.begin() + 0x80);
  return *CodePage::Make(table);
}

// The code page in force.
CodePage& Current() {
  static CodePage page = DefaultCodePage();
  return page;
}

}  // namespace

bool SetCodePage(const std::string& name) {
  const std::optional<CodePageTable> table = ReadCodePage(name);
  if (!table) return false;
  const std::optional<CodePage> page = CodePage::Make(*table);
  if (!page) return false;
  Current() = *page;
  return true;
}

std::string ToUtf8(std::string_view text) {
  const CodePage& page = Current();
  // ASCII, which nearly every text begins with, is the same in both.
  const auto other =
      std::find_if(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
  std::string utf8(text.begin(), other);
  for (const char c : std::string_view(other, text.end())) AppendUtf8(utf8, page.Character(c));
  return utf8;
}

std::optional<std::string> FromUtf8(std::string_view utf8) {
  const CodePage& page = Current();
  std::string text;
  text.reserve(utf8.size());
  while (!utf8.empty()) {
    const Decoded decoded = DecodeUtf8(utf8);
    const std::optional<char> byte = decoded.character ? page.Byte(*decoded.character) : std::nullopt;
    if (!byte) return std::nullopt;
    text += *byte;
    utf8.remove_prefix(decoded.length);
  }
  return text;
}

std::string FromUtf8Lossy(std::string_view utf8) {
  const CodePage& page = Current();
  std::string text;
  text.reserve(utf8.size());
  while (!utf8.empty()) {
    const Decoded decoded = DecodeUtf8(utf8);
    text += page.Byte(decoded.character.value_or(kReplacement)).value_or('?');
    utf8.remove_prefix(decoded.length);
  }
  return text;
}

char LowerChar(char c) { return Current().Lower(c); }

std::string Lower(std::string_view text) {
  std::string result(text);
  const CodePage& page = Current();
  for (char& c : result) c = page.Lower(c);
  return result;
}

std::string Upper(std::string_view text) {
  std::string result(text);
  const CodePage& page = Current();
  for (char& c : result) c = page.Upper(c);
  return result;
}

}  // namespace zelkor::lib
