// The two lists of file types: which items open in the text editor, which by the program that the system has for them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "db/database.h"
#include "lib/desktop.h"

namespace zelkor::app {

// The entries of the File menu's settings, by their numbers there.
enum class FileTypes { View = 1, Run = 2 };

// The pieces of `text` cut at `separator`, as the list dialog takes them; none of an empty text.
[[nodiscard]] std::vector<std::string> FillListFromText(std::string_view text, std::string_view separator);

// Lets the user edit one of the two lists and writes the configuration when it was accepted.
void File_Extensions(FileTypes which, db::Database& database, lib::Desktop& desktop);

}  // namespace zelkor::app
