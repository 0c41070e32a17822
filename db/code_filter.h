// The filter on items' codes.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zelkor::db {

// Every selection code must stand among the codes as a whole word, no exclusion code may be the end of a word. "*" in
// a code is any run of characters; letters match in either case.
class CodeFilter {
 public:
  // Codes separated by blanks.
  CodeFilter(std::string_view selection, std::string_view exclusion);
  // `codes` is the field as stored, padding included: the padding is what ends the last word.
  [[nodiscard]] bool Keeps(std::string_view codes) const;

 private:
  std::vector<std::string> selection_;  // patterns
  std::vector<std::string> exclusion_;
};

}  // namespace zelkor::db
