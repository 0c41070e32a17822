// The list dialog: a small modal dialog that shows a list of short texts and lets the user edit it.
#pragma once

#include <optional>
#include <wx/dialog.h>
#include <wx/listbox.h>

#include "app/form_position.h"
#include "lib/desktop.h"
#include "lib/user.h"

namespace zelkor::app {

class frmListKt : public wxDialog {
 public:
  // `dialog` follows what the user does; when the modal loop has ended it holds the result.
  frmListKt(wxWindow* parent, lib::ListDialog& dialog, lib::User& user);

 private:
  void Add_Click();
  void Delete_Click();
  void OK_Click();
  void Cancel_Click();
  void List_DblClick();
  // The selection of `dialog_` in the list box.
  void Select();
  void EnableDelete();

  lib::ListDialog& dialog_;
  lib::User& user_;
  wxListBox* List = nullptr;
};

// Shows the dialog modally, beside the main window when its place is given, and otherwise where the window system
// likes.
void ShowListDialog(wxWindow* parent, lib::ListDialog& dialog, lib::User& user,
                    const std::optional<FormPosition>& main);

}  // namespace zelkor::app
