// Regular expressions that mean the same on every system, as a matcher; those of the test framework are few on some.
#pragma once

#include <gmock/gmock.h>
#include <string>

#include "tests/support/expression.h"

namespace zelkor::tests {

MATCHER_P(Matches, expression, "matches \"" + std::string(expression) + "\"") { return IsAs(arg, expression); }

}  // namespace zelkor::tests
