// From the program's entry to its windows.
#pragma once

#include <string>
#include <vector>

#include "app/command_line.h"

namespace zelkor::app {

// The command line of a run with windows.
struct WindowsRun {
  char* const* arguments;  // as main got them
  const std::vector<Word>& words;
  const std::string& startDirectory;  // native
};

// Runs the program with windows and returns its exit status. Run-time errors that nothing catches end here: a message
// names them.
//
// Of the two programs that Zelkor consists of where processes can change their program, `zelkor` goes on as
// `zelkor-windows`, so that a run without windows does not load all that windows need.
int RunWithWindows(const WindowsRun& run);

}  // namespace zelkor::app
