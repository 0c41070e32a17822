#include "lib/command_line.h"

namespace zelkor::lib {

std::vector<std::string> CommandLineWords(int argc, const char* const* argv) {
  return {argv + (argc > 0 ? 1 : 0), argv + argc};
}

}  // namespace zelkor::lib
