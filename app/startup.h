// The start of the program, and its end.
#pragma once

#include <string>
#include <vector>

#include "lib/user.h"

namespace zelkor::app {

// Runs the program with these arguments (native bytes, without the program's name) and returns its exit status.
int Main(const std::vector<std::string>& arguments, lib::User& user);

}  // namespace zelkor::app
