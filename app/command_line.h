// The words of the command line, told apart.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zelkor::app {

enum class WordKind { File, Synchronize, Select, Exclude, Ignored };

struct Word {
  WordKind kind = WordKind::Ignored;
  std::string text;      // the whole word, native bytes
  std::string argument;  // of a switch: the text between its first and second ":", in the code page
};

// At most 99 words; one more is a run-time error. A word that does not begin with "/", or names an existing native file
// (`startDirectory` is where relative names count from), is a file; names of switches are compared without regard to
// case.
[[nodiscard]] std::vector<Word> ParseCommandLine(const std::vector<std::string>& arguments,
                                                 std::string_view startDirectory);

// The codes that an argument of /select or /exclude stands for: every "," replaced by a blank.
[[nodiscard]] std::string CodesOf(std::string_view argument);

}  // namespace zelkor::app
