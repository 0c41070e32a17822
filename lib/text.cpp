#include "lib/text.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <system_error>

#include "lib/code_page.h"

namespace zelkor::lib {
namespace {

// Loops of its own: stored fields are hundreds of blanks wide, and the library's searches for a set of characters take
// a call for each of them.
template <class IsDropped>
std::string_view TrimOf(std::string_view text, IsDropped isDropped) {
  while (!text.empty() && isDropped(text.back())) text.remove_suffix(1);
  while (!text.empty() && isDropped(text.front())) text.remove_prefix(1);
  return text;
}

bool EqualChars(char a, char b) { return a == b || LowerChar(a) == LowerChar(b); }

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

constexpr char kAnyOne = '?';

// Matches with "*", and with "?" when `anyOne`. On a mismatch only the last "*" is extended by one character, so the
// work is at most text times pattern.
bool Matches(std::string_view text, std::string_view pattern, bool anyOne) {
  std::size_t at = 0;
  std::size_t inPattern = 0;
  std::size_t star = std::string_view::npos;
  std::size_t starEnd = 0;  // where in the text the run of the last "*" ends
  while (at < text.size()) {
    if (inPattern < pattern.size() && pattern[inPattern] == '*') {
      star = inPattern++;
      starEnd = at;
    } else if (inPattern < pattern.size() &&
               ((anyOne && pattern[inPattern] == kAnyOne) || EqualChars(text[at], pattern[inPattern]))) {
      ++at;
      ++inPattern;
    } else if (star != std::string_view::npos) {
      inPattern = star + 1;
      at = ++starEnd;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', inPattern) == std::string_view::npos;
}

// `word` without its quotes when the first opening quote is closed by the last character.
std::string_view WithoutEnclosingQuotes(std::string_view word, char opening, char closing) {
  if (word.size() < 2 || word.front() != opening || word.find(closing, 1) != word.size() - 1) return word;
  return word.substr(1, word.size() - 2);
}

}  // namespace

std::string_view Trim(std::string_view text) {
  return TrimOf(text, [](char c) { return c == ' '; });
}

std::string_view TrimCrLf(std::string_view text) {
  return TrimOf(text, [](char c) { return c == '\r' || c == '\n'; });
}

std::string_view TrimAtNul(std::string_view text) { return text.substr(0, text.find('\0')); }

std::string_view FieldText(std::string_view field) {
  // Most of a field is padding, passed over in stretches.
  constexpr std::string_view kManyBlanks = "                                                                ";
  while (field.ends_with(kManyBlanks)) field.remove_suffix(kManyBlanks.size());
  constexpr std::string_view kBlanks = "        ";
  while (field.ends_with(kBlanks)) field.remove_suffix(kBlanks.size());
  return Trim(TrimAtNul(field));
}

bool EqualNoCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), EqualChars);
}

bool ContainsNoCase(std::string_view text, std::string_view part) {
  return std::search(text.begin(), text.end(), part.begin(), part.end(), EqualChars) != text.end() || part.empty();
}

bool BeginsWithNoCase(std::string_view text, std::string_view beginning) {
  return EqualNoCase(text.substr(0, beginning.size()), beginning);
}

int CountOf(std::string_view text, std::string_view part) {
  if (part.empty()) return 0;
  int count = 0;
  for (std::size_t at = text.find(part); at != std::string_view::npos; at = text.find(part, at + part.size())) ++count;
  return count;
}

std::string_view GetToken(std::string_view text, std::string_view separator, int number) {
  if (number < 1) return {};
  if (separator.empty()) return number == 1 ? text : std::string_view();
  for (; number > 1; --number) {
    const std::size_t end = text.find(separator);
    if (end == std::string_view::npos) return {};
    text.remove_prefix(end + separator.size());
  }
  return text.substr(0, text.find(separator));
}

std::string ReplaceAll(std::string_view text, std::string_view part, std::string_view replacement) {
  std::string result;
  if (part.empty()) return std::string(text);
  result.reserve(text.size());
  for (;;) {
    const std::size_t at = text.find(part);
    result += text.substr(0, at);
    if (at == std::string_view::npos) return result;
    result += replacement;
    text.remove_prefix(at + part.size());
  }
}

std::vector<std::string> SplitWords(std::string_view text, char separator, std::string_view quotes) {
  text = Trim(text);
  const char opening = quotes.empty() ? '\0' : quotes.front();
  const char closing = quotes.size() > 1 ? quotes[1] : opening;
  std::vector<std::string> words;
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t end = start;
    while (end < text.size() && text[end] != separator) {
      if (!quotes.empty() && text[end] == opening) end = std::min(text.find(closing, end + 1), text.size() - 1);
      ++end;
    }
    if (end > start) {
      const std::string_view word = text.substr(start, end - start);
      words.emplace_back(quotes.empty() ? word : WithoutEnclosingQuotes(word, opening, closing));
    }
    start = end + 1;
  }
  return words;
}

int LineBreakCount(std::string_view text) { return CountOf(text, "\r\n"); }

std::string_view GetLine(std::string_view text, int number) { return GetToken(text, "\r\n", number); }

std::string_view TakeLine(std::string_view& text) {
  const std::size_t end = std::min(FindAnyOf(text, "\r\n"), text.size());
  const std::string_view line = text.substr(0, end);
  const std::size_t lineBreak = text.substr(end, 2) == "\r\n" ? 2 : 1;
  text.remove_prefix(std::min(end + lineBreak, text.size()));
  return line;
}

std::vector<std::string> SplitLines(std::string_view text) {
  std::vector<std::string> lines;
  while (!text.empty()) lines.emplace_back(TakeLine(text));
  return lines;
}

bool IsFileList(std::string_view fileName) {
  return fileName.find_first_of("?*") != std::string_view::npos || LineBreakCount(fileName) >= 2;
}

bool MatchesCode(std::string_view text, std::string_view pattern) { return Matches(text, pattern, false); }

bool MatchesFileName(std::string_view name, std::string_view wildcard) {
  return wildcard == "*.*" || Matches(name, wildcard, true);
}

double LeadingNumber(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  const bool negative = !text.empty() && text.front() == '-';
  if (negative || (!text.empty() && text.front() == '+')) text.remove_prefix(1);
  std::size_t length = 0;
  bool point = false;
  bool digits = false;
  for (; length < text.size(); ++length) {
    if (IsDigit(text[length])) {
      digits = true;
    } else if (text[length] == '.' && !point) {
      point = true;
    } else {
      break;
    }
  }
  if (!digits) return 0;
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + length, value, std::chars_format::fixed);
  // Too many digits before the point; too small a fraction is 0.
  if (error == std::errc::result_out_of_range) {
    const std::string_view whole = text.substr(0, std::min(text.find('.'), length));
    const bool huge = whole.find_first_not_of('0') != std::string_view::npos;
    value = huge ? std::numeric_limits<double>::infinity() : 0;
  }
  return negative ? -value : value;
}

}  // namespace zelkor::lib
