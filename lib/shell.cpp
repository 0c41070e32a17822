#include "lib/shell.h"

namespace zelkor::lib {

std::string WebAddress(std::string_view address) {
  constexpr std::string_view kScheme = "http://";
  if (address.substr(0, kScheme.size()) == kScheme) return std::string(address);
  return std::string(kScheme) + std::string(address);
}

void OpenWebPage(std::string_view address) { ShellOpen(WebAddress(address)); }

}  // namespace zelkor::lib
