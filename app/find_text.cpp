#include "app/find_text.h"

#include <algorithm>
#include <string>
#include <unordered_map>

#include "lib/code_page.h"

namespace zelkor::app {

namespace {

// The character of one byte of the code page, all of which lie in the basic plane: one to three bytes of UTF-8.
wchar_t CharacterOf(char byte) {
  const std::string utf8 = lib::ToUtf8(std::string_view(&byte, 1));
  constexpr unsigned kTail = 0x3F;
  constexpr unsigned kTailBits = 6;
  // By the number of bytes: what of the first one is the character's.
  constexpr unsigned kHeads[] = {0, 0x7F, 0x1F, 0x0F};  // NOLINT(modernize-avoid-c-arrays)
  unsigned character = static_cast<unsigned char>(utf8[0]) & kHeads[utf8.size()];
  for (std::size_t i = 1; i < utf8.size(); ++i) {
    character = character << kTailBits | (static_cast<unsigned char>(utf8[i]) & kTail);
  }
  return static_cast<wchar_t>(character);
}

std::wstring Folded(std::wstring_view text) {
  constexpr int kBytes = 256;
  std::unordered_map<wchar_t, wchar_t> lower;
  for (int byte = 0; byte < kBytes; ++byte) {
    const char upper = static_cast<char>(byte);
    if (lib::LowerChar(upper) != upper) lower.emplace(CharacterOf(upper), CharacterOf(lib::LowerChar(upper)));
  }
  std::wstring folded(text);
  for (wchar_t& character : folded) {
    if (const auto found = lower.find(character); found != lower.end()) character = found->second;
  }
  return folded;
}

std::optional<Found> Find(std::wstring_view text, std::wstring_view wanted, std::size_t begin, std::size_t end,
                          bool backwards) {
  constexpr std::size_t kNone = std::wstring_view::npos;
  const std::size_t near = !backwards ? text.find(wanted, end) : begin == 0 ? kNone : text.rfind(wanted, begin - 1);
  if (near != kNone) return Found{.at = near, .wrapped = false};
  const std::size_t far = backwards ? text.rfind(wanted) : text.find(wanted);
  if (far == kNone) return std::nullopt;
  return Found{.at = far, .wrapped = true};
}

}  // namespace

std::optional<Found> FindText(std::wstring_view text, std::wstring_view wanted, std::size_t begin, std::size_t end,
                              FindOptions options) {
  if (wanted.empty()) return std::nullopt;
  if (options.matchCase) return Find(text, wanted, begin, end, options.backwards);
  return Find(Folded(text), Folded(wanted), begin, end, options.backwards);
}

}  // namespace zelkor::app
