#include "lib/ini_text.h"

#include <algorithm>
#include <cstddef>

#include "lib/code_page.h"
#include "lib/text.h"

namespace zelkor::lib {
namespace {

// A carriage return counts where it is not part of a line end, as at the end of a text that was cut.
constexpr std::string_view kBlanks = " \t\r";
// Some editors put it in front of a text that they take for UTF-8.
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// `text` without blanks at its ends; a view into `text`, also when empty.
std::string_view Stripped(std::string_view text) {
  const std::size_t first = std::min(text.find_first_not_of(kBlanks), text.size());
  text.remove_prefix(first);
  return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

// One line of the text and what it means. Everything is a view into the text.
struct Line {
  std::string_view content;  // without its line end
  std::string_view end;      // its line end; empty only for a last line without one
  std::optional<std::string_view> section;
  std::optional<std::string_view> key;
  std::string_view value;  // with its quotes
};

Line ReadLine(std::string_view rest) {
  Line line;
  const std::size_t feed = rest.find('\n');
  line.content = rest.substr(0, feed);
  if (feed != std::string_view::npos) {
    if (!line.content.empty() && line.content.back() == '\r') line.content.remove_suffix(1);
    line.end = rest.substr(line.content.size(), feed + 1 - line.content.size());
  }
  const std::string_view text = Stripped(line.content);
  if (text.empty() || text.front() == ';') return line;
  if (text.front() == '[') {
    const std::size_t bracket = text.find(']');
    if (bracket != std::string_view::npos) line.section = Stripped(text.substr(1, bracket - 1));
    return line;
  }
  const std::size_t equals = line.content.find('=');
  if (equals == std::string_view::npos) return line;
  line.key = Stripped(line.content.substr(0, equals));
  line.value = Stripped(line.content.substr(equals + 1));
  return line;
}

// Calls `take` for each line of the text with whether it belongs to the section, its heading included, until `take`
// returns false.
template <class Take>
void ForEachLine(std::string_view text, std::string_view section, const Take& take) {
  if (text.substr(0, kByteOrderMark.size()) == kByteOrderMark) text.remove_prefix(kByteOrderMark.size());
  bool inside = false;
  while (!text.empty()) {
    const Line line = ReadLine(text);
    text.remove_prefix(line.content.size() + line.end.size());
    if (line.section) inside = EqualNoCase(*line.section, section);
    if (!take(line, inside)) return;
  }
}

std::string_view WithoutQuotes(std::string_view value) {
  const bool quoted =
      value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.back() == value.front();
  return quoted ? value.substr(1, value.size() - 2) : value;
}

std::size_t OffsetOf(std::string_view part, std::string_view text) {
  return static_cast<std::size_t>(part.data() - text.data());
}

}  // namespace

std::optional<std::string> IniValue(std::string_view text, std::string_view section, std::string_view key) {
  std::optional<std::string> value;
  ForEachLine(text, section, [&](const Line& line, bool inside) {
    if (inside && line.key && EqualNoCase(*line.key, key)) value = WithoutQuotes(line.value);
    return !value;
  });
  return value;
}

std::vector<std::string> IniSectionKeys(std::string_view text, std::string_view section) {
  std::vector<std::string> keys;
  ForEachLine(text, section, [&](const Line& line, bool inside) {
    if (!inside || !line.key || line.key->empty()) return true;
    std::string key = Lower(*line.key);
    if (std::find(keys.begin(), keys.end(), key) == keys.end()) keys.push_back(std::move(key));
    return true;
  });
  return keys;
}

std::string WithIniValue(std::string_view text, std::string_view section, std::string_view key,
                         std::string_view value) {
  value = value.substr(0, value.find_first_of(std::string_view("\r\n\0", 3)));
  std::optional<std::string_view> old;
  std::optional<Line> last;  // the last line of the first such section that is not empty
  std::string_view lineEnd;  // the first of the text
  bool sectionEnded = false;
  ForEachLine(text, section, [&](const Line& line, bool inside) {
    if (lineEnd.empty()) lineEnd = line.end;
    if (inside && line.key && EqualNoCase(*line.key, key)) old = line.value;
    if (last && !inside) sectionEnded = true;
    if (inside && !sectionEnded && !Stripped(line.content).empty()) last = line;
    return !old;
  });

  std::string result(text);
  if (old) return result.replace(OffsetOf(*old, text), old->size(), value);

  if (lineEnd.empty()) lineEnd = "\r\n";
  std::string entry = std::string(key) + "=" + std::string(value);
  if (last) {
    const std::string_view end = last->end.empty() ? lineEnd : last->end;
    const std::size_t behind = OffsetOf(last->content, text) + last->content.size() + last->end.size();
    entry = (last->end.empty() ? std::string(end) : std::string()) + entry + std::string(end);
    return result.insert(behind, entry);
  }
  if (!result.empty() && result.back() != '\n') result += lineEnd;
  return result + "[" + std::string(section) + "]" + std::string(lineEnd) + entry + std::string(lineEnd);
}

}  // namespace zelkor::lib
