// The wait dialog: a caption and a Cancel button while something is on its way.
#pragma once

#include <functional>
#include <wx/dialog.h>
#include <wx/timer.h>

namespace zelkor::net {

class frmMsg : public wxDialog {
 public:
  frmMsg(wxWindow* parent, const wxString& caption, std::function<bool()> done);

  // Shows the dialog modally, in the middle of the screen, until `done` is true, which it then returns; false on
  // Cancel. `done` may show windows of its own and is not asked again meanwhile.
  bool Wait();

 private:
  void Ask();

  std::function<bool()> done_;
  wxTimer timer_;
  bool asking_ = false;
};

}  // namespace zelkor::net
