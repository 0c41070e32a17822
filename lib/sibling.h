// Another program of the suite in place of this one, where the system lets a process change its program.
#pragma once

#include <string>

#include "lib/status.h"

namespace zelkor::lib {

// The program of that name beside this one goes on in this process, with the words of the command line, `arguments` as
// main got them. Returns only when it can not be started; Message() says why.
[[nodiscard]] Status GoOnAs(const std::string& name, char* const* arguments);

}  // namespace zelkor::lib
