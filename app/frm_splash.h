// The about box.
#pragma once

#include <wx/dialog.h>

namespace zelkor::app {

class frmSplash : public wxDialog {
 public:
  explicit frmSplash(wxWindow* parent);
};

}  // namespace zelkor::app
