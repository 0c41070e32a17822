// The words that a program was started with.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zelkor::lib {

// The words behind the program's name, in native bytes (UTF-8). Where the system hands over words, those are given to
// `main` as `argc` and `argv`; where it hands over one line, that line is split.
[[nodiscard]] std::vector<std::string> CommandLineWords(int argc, const char* const* argv);

// The words of such a line, the program's name left out. It is split at blanks as the user typed it: a pair of quotes
// keeps blanks inside a word, quotes that enclose a whole word are dropped, and others stay. Programs that start others
// put a backslash before a quote that is to stay: a line that holds such a one outside of quotes is read by the rules
// of the C run-time library, so that both ways give the same words.
[[nodiscard]] std::vector<std::string> SplitCommandLine(std::string_view line);
// What of a whole line follows the program's name.
[[nodiscard]] std::string_view BehindProgramName(std::string_view line);

}  // namespace zelkor::lib
