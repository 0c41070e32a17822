// The list dialog: a small modal dialog that shows a list of short texts and lets the user edit it.
#pragma once

#include <wx/dialog.h>
#include <wx/listbox.h>

#include "lib/desktop.h"
#include "lib/user.h"

namespace zelkor::app {

class frmListKt : public wxDialog {
 public:
  frmListKt(wxWindow* parent, lib::ListDialog& dialog, lib::User& user);

 private:
  void Add_Click();
  void Delete_Click();
  void OK_Click();
  void Cancel_Click();
  void List_DblClick();

  lib::ListDialog& dialog_;
  lib::User& user_;
  wxListBox* List = nullptr;
};

// Shows the dialog modally; afterwards `dialog` holds the entries and the selection that the user left.
void ShowListDialog(wxWindow* parent, lib::ListDialog& dialog, lib::User& user);

}  // namespace zelkor::app
