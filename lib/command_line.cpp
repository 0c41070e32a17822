#include "lib/command_line.h"

#include <algorithm>
#include <cstddef>

#include "lib/text.h"

namespace zelkor::lib {

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

// Whether somebody put backslashes before quotes. A path may end with a backslash before its closing quote, but nothing
// typed has one before an opening quote.
bool HasEscapedQuotes(std::string_view line) {
  bool quoted = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (line[i] != '"') continue;
    if (!quoted && i > 0 && line[i - 1] == '\\') return true;
    quoted = !quoted;
  }
  return false;
}

// The rules of the C run-time library: backslashes are themselves but before a quote, where each two are one, and one
// that is left over makes the quote a character of the word. Two quotes inside quotes are one too.
std::vector<std::string> SplitByRunTimeRules(std::string_view line) {
  std::vector<std::string> words;
  std::string word;
  bool inWord = false;
  bool quoted = false;
  for (std::size_t i = 0; i < line.size();) {
    if (!quoted && IsBlank(line[i])) {
      if (inWord) words.push_back(std::move(word));
      word.clear();
      inWord = false;
      ++i;
      continue;
    }
    inWord = true;
    const std::size_t backslashes = std::min(line.find_first_not_of('\\', i), line.size()) - i;
    i += backslashes;
    if (i == line.size() || line[i] != '"') {
      word.append(backslashes, '\\');
      if (backslashes == 0) word.push_back(line[i++]);
      continue;
    }
    word.append(backslashes / 2, '\\');
    if (backslashes % 2 == 1) {
      word.push_back('"');
    } else if (quoted && line.substr(i).starts_with("\"\"")) {
      word.push_back('"');
      ++i;
    } else {
      quoted = !quoted;
    }
    ++i;
  }
  if (inWord) words.push_back(std::move(word));
  return words;
}

}  // namespace

std::vector<std::string> SplitCommandLine(std::string_view line) {
  if (HasEscapedQuotes(line)) return SplitByRunTimeRules(line);
  return SplitWords(line, ' ', "\"");
}

std::string_view BehindProgramName(std::string_view line) {
  const bool quoted = line.starts_with('"');
  const std::size_t end = quoted ? line.find('"', 1) : line.find_first_of(" \t");
  if (end == std::string_view::npos) return {};
  line.remove_prefix(quoted ? end + 1 : end);
  line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
  return line;
}

}  // namespace zelkor::lib
