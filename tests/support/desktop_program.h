// The built program with its windows, on a computer of its own and in the display of the environment, started and ended
// as its users do it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/support/computer.h"
#include "tests/support/screen.h"

namespace zelkor::tests {

class DesktopProgram {
 public:
  // `options` as for Computer::Start; the display and what the desktop sets beside it are added.
  explicit DesktopProgram(const Computer& computer, const std::vector<std::string>& arguments = {},
                          Computer::Options options = {});

  [[nodiscard]] RunningProcess& Process() { return *process_; }
  // Waits until the program has ended by itself, and says how.
  Outcome WaitForEnd() { return process_->Wait(); }

 private:
  std::unique_ptr<RunningProcess> process_;
};

// The title of a computer's main window.
[[nodiscard]] std::string MainTitle(const Computer& computer);

// Choices of the user that every test of this kind makes. Each waits for what it brings on.

// File/Exit of the main window; the program's outcome.
Outcome ExitByMenu(const Screen& screen, const Computer& computer, DesktopProgram& program);
// A path (native) in the system's file or folder choice of this title.
void ChooseNative(const Screen& screen, const std::string& title, const std::string& path);

// A text into the box that this access key leads to ("Alt+m"), in place of what is there.
void FillBox(const Screen& screen, const std::string& accessKey, const std::string& text);

// A value of the settings file; "" when it is not there. Names without regard to case, the first entry counts.
[[nodiscard]] std::string Setting(const Computer& computer, const std::string& section, const std::string& key);

}  // namespace zelkor::tests
