// What the system says about a failed call, in the program's causes and words.
#pragma once

#include <string_view>

#include "lib/status.h"

namespace zelkor::lib::posix {

// `error` is an errno. ENOTDIR stands for a directory that is missing on the way to `path`, which is a path in the
// program's form.
[[nodiscard]] Status SystemFailure(int error, std::string_view path);
// The same with a cause and words of the caller's.
[[nodiscard]] Status Failure(Cause cause, std::string_view path, std::string_view why);

}  // namespace zelkor::lib::posix
