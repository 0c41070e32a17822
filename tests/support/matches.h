// Regular expressions that mean the same on every system; those of the test framework are few on some.
#pragma once

#include <gmock/gmock.h>
#include <regex>
#include <string>

namespace zelkor::tests {

// The whole text is as the expression (ECMAScript's) says.
MATCHER_P(Matches, expression, "matches \"" + std::string(expression) + "\"") {
  return std::regex_match(arg, std::regex(std::string(expression)));
}

}  // namespace zelkor::tests
