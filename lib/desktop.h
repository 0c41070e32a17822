// What only a program with windows has: a list to edit, a text editor. Procedures that are reached from windows alone
// take it beside the narrower lib::User; an unattended run has none.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zelkor::lib {

// What the list dialog offers; the options are bits.
enum ListOptions : std::uint32_t {
  kListOk = 1,     // OK and Cancel; without it the dialog only shows, with Close
  kListEdit = 2,   // Add and Delete
  kListLabel = 4,  // the line of text above the list
  kListFileTypes = kListOk | kListEdit | kListLabel,
};

struct ListDialog {
  std::string title;
  std::string label;
  std::uint32_t options = 0;
  std::vector<std::string> entries;
  // The selected entry, from 0. After the dialog -1 means Cancel, and so does OK without a selected entry, on purpose.
  int selected = -1;
};

class Desktop {
 public:
  Desktop() = default;
  Desktop(const Desktop&) = delete;
  Desktop& operator=(const Desktop&) = delete;
  virtual ~Desktop() = default;

  // Shows the list dialog modally; afterwards `dialog` holds the entries and the selection that the user left.
  virtual void ShowList(ListDialog& dialog) = 0;
  // Opens a text file (a path in the program's form) in the editor window, without waiting for it.
  virtual void EditFile(const std::string& path) = 0;
};

}  // namespace zelkor::lib
