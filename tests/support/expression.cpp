#include "tests/support/expression.h"

#include <regex>

namespace zelkor::tests {

bool IsAs(const std::string& text, const std::string& expression) {
  return std::regex_match(text, std::regex(expression));
}

}  // namespace zelkor::tests
