#include "lib/gui/later.h"

#include <utility>
#include <wx/app.h>
#include <wx/evtloop.h>

namespace zelkor::lib {

void Later(wxEvtHandler& handler, std::function<void()> work) {
  handler.CallAfter([work = std::move(work)] {
    try {
      work();
    } catch (...) {
      // The toolkit guards its event handlers so, but not such calls, and the window system's own code must not be
      // unwound.
      if (!wxTheApp->StoreCurrentException()) throw;
      wxEventLoopBase* loop = wxEventLoopBase::GetActive();
      if (loop != nullptr && !loop->IsYielding()) loop->Exit(-1);
    }
  });
}

}  // namespace zelkor::lib
