// What the system says about a failed call, in the program's causes and words.
#pragma once

#include <string_view>

#include "lib/status.h"

namespace zelkor::lib::windows {

// `error` is one of the system's error numbers (GetLastError); `path` is in the program's form.
[[nodiscard]] Status SystemFailure(unsigned long error, std::string_view path);
// The same with a cause and words of the caller's.
[[nodiscard]] Status Failure(Cause cause, std::string_view path, std::string_view why);

}  // namespace zelkor::lib::windows
