// Regular expressions, apart from whoever uses them: the header of the standard library is a large one.
#pragma once

#include <string>

namespace zelkor::tests {

// Whether the whole text is as the expression (ECMAScript's) says.
[[nodiscard]] bool IsAs(const std::string& text, const std::string& expression);

}  // namespace zelkor::tests
