// Work put off until the events in hand have been dealt with.
#pragma once

#include <functional>
#include <wx/event.h>

namespace zelkor::lib {

// Calls `work` from the event loop while `handler` lives. What it throws ends the loop and comes out of it, as what an
// event handler throws does.
void Later(wxEvtHandler& handler, std::function<void()> work);

}  // namespace zelkor::lib
