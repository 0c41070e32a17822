// The system's own box for messages and questions.
#pragma once

#include <string>
#include <wx/window.h>

#include "lib/user.h"

namespace zelkor::lib {

// Shows the box over `owner` (null: none) under `title` until it is answered, with the program's other windows out of
// use; box.title is not looked at. Closed by its frame, the answer is Cancel, else No, else OK.
[[nodiscard]] Button ShowMessageBox(wxWindow* owner, const wxString& title, const Box& box);

}  // namespace zelkor::lib
