// A file selection as the user types it into the item dialog, turned into one that a record can hold.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "lib/status.h"

namespace zelkor::db {

struct TypedSelection {
  std::string selection;  // in the code page, lines ended by CR LF, as a record stores it
  std::string utf8;       // the same lines for the text box, those that the selection had to leave out among them
  // What could not be taken as a path of the program's form, and why. Such a line stays in the selection as typed,
  // and names nothing; one with characters that the code page lacks is not in the selection.
  std::vector<lib::Status> refused;
};

// `utf8`: lines with any line ends. A native path, absolute and with or without wildcards in its last component,
// becomes one in the program's form.
[[nodiscard]] TypedSelection TakeTyped(std::string_view utf8);

}  // namespace zelkor::db
