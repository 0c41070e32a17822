#include "lib/command_line.h"

#include <windows.h>

namespace zelkor::lib {

// Not the words of `main`: they have gone through the system's code page and have lost their quotes.
std::vector<std::string> CommandLineWords(int /*argc*/, const char* const* /*argv*/) {
  const wchar_t* line = GetCommandLineW();
  const int bytes = WideCharToMultiByte(CP_UTF8, 0, line, -1, nullptr, 0, nullptr, nullptr);
  if (bytes <= 1) return {};
  std::string text(static_cast<std::size_t>(bytes), '\0');
  WideCharToMultiByte(CP_UTF8, 0, line, -1, text.data(), bytes, nullptr, nullptr);
  text.pop_back();  // the terminating zero
  return SplitCommandLine(BehindProgramName(text));
}

}  // namespace zelkor::lib
