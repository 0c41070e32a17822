// Small procedures on text. Text is in the code page (code_page.h), positions and numbers count from 1 where the
// product's procedures do (GetToken, GetLine). "Blank" is the character 32 and nothing else.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace zelkor::lib {

// Blanks removed from both ends.
[[nodiscard]] std::string_view Trim(std::string_view text);
// Carriage returns and line feeds removed from both ends.
[[nodiscard]] std::string_view TrimCrLf(std::string_view text);
// The text before the first NUL; the whole text when there is none.
[[nodiscard]] std::string_view TrimAtNul(std::string_view text);
// A stored text field's value: cut at the first NUL, blanks removed from both ends.
[[nodiscard]] std::string_view FieldText(std::string_view field);

// Where the first of these characters stands in `text`, npos when none does. For a handful of characters a loop takes a
// fraction of what the library's search does, which makes a call for each character of the text.
[[nodiscard]] constexpr std::size_t FindAnyOf(std::string_view text, std::string_view characters) {
  for (std::size_t at = 0; at < text.size(); ++at) {
    for (const char c : characters) {
      if (text[at] == c) return at;
    }
  }
  return std::string_view::npos;
}

// Comparisons without regard to case, folded in the code page.
[[nodiscard]] bool EqualNoCase(std::string_view a, std::string_view b);
[[nodiscard]] bool ContainsNoCase(std::string_view text, std::string_view part);
[[nodiscard]] bool BeginsWithNoCase(std::string_view text, std::string_view beginning);

// How many times `part` occurs in `text`, searching on after each match; 0 when either is empty.
[[nodiscard]] int CountOf(std::string_view text, std::string_view part);
// The piece of that number (from 1) of `text` cut at `separator`; empty when there is no such piece. An empty
// separator cuts nothing.
[[nodiscard]] std::string_view GetToken(std::string_view text, std::string_view separator, int number);
// Every occurrence replaced, compared with regard to case, never searching inside a replacement. An empty `part`
// changes nothing.
[[nodiscard]] std::string ReplaceAll(std::string_view text, std::string_view part, std::string_view replacement);

// Cuts `text`, trimmed of blanks, into words at `separator`. `quotes` is one character, used at both ends, or two, the
// opening one and then the closing one. Inside quotes the separator does not cut; a stretch that is never closed runs
// to the end. Quotes that enclose a whole word are dropped, others stay in the word; an enclosed empty word ("") is a
// word of its own. Runs of separators make no words.
[[nodiscard]] std::vector<std::string> SplitWords(std::string_view text, char separator, std::string_view quotes);

// How many carriage-return/line-feed pairs `text` holds.
[[nodiscard]] int LineBreakCount(std::string_view text);
// The line of that number (from 1) of a text whose lines are ended by CR LF; empty when there is no such line.
[[nodiscard]] std::string_view GetLine(std::string_view text, int number);
// Takes the first line off a text, and the CR LF, bare LF or bare CR that ends it.
[[nodiscard]] std::string_view TakeLine(std::string_view& text);
// The lines of a text ended by CR LF; a bare LF or CR ends a line too. No line for the end of a final line break.
[[nodiscard]] std::vector<std::string> SplitLines(std::string_view text);

// True when the text stands for more than one file: it holds "?" or "*", or at least two line breaks.
[[nodiscard]] bool IsFileList(std::string_view fileName);

// True when all of `text` matches `pattern`, in which "*" is any run of characters and everything else is itself.
// Without regard to case.
[[nodiscard]] bool MatchesCode(std::string_view text, std::string_view pattern);
// True when a file's name matches a wildcard name: "*" any run, "?" any one character, "*.*" every name. Without
// regard to case.
[[nodiscard]] bool MatchesFileName(std::string_view name, std::string_view wildcard);

// A number at the beginning of a text: leading blanks skipped, digits with an optional sign and decimal point read up
// to the first character that cannot go on; 0 when there is none.
[[nodiscard]] double LeadingNumber(std::string_view text);

}  // namespace zelkor::lib
