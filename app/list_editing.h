// What the buttons of the list dialog do to its list.
#pragma once

#include "lib/desktop.h"
#include "lib/user.h"

namespace zelkor::app {

// Asks for an entry and puts it at the end of the list, selected; an empty answer adds nothing. True when the list has
// changed.
bool AddEntry(lib::ListDialog& dialog, lib::User& user);
// Removes the selected entry and selects the one that takes its place, or the last one. False when none is selected.
bool DeleteEntry(lib::ListDialog& dialog);

}  // namespace zelkor::app
