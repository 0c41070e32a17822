// A list dialog and an editor that a test has told what to do, and that remember what they were asked.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "lib/desktop.h"

namespace zelkor::tests {

class ScriptedDesktop : public lib::Desktop {
 public:
  // What the user does with the list dialog; Cancel unless a test says otherwise.
  std::function<void(lib::ListDialog&)> useList = [](lib::ListDialog& dialog) { dialog.selected = -1; };

  std::vector<lib::ListDialog> lists;  // as they were asked for
  std::vector<std::string> edited;     // paths

  void ShowList(lib::ListDialog& dialog) override {
    lists.push_back(dialog);
    useList(dialog);
  }
  void EditFile(const std::string& path) override { edited.push_back(path); }
};

}  // namespace zelkor::tests
