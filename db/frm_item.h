// The item dialog: shows and edits one item's record beside the main window, without being modal. What its buttons do
// is in item_editing.h.
#pragma once

#include <wx/button.h>
#include <wx/choice.h>
#include <wx/dialog.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>

#include "db/item_editing.h"

namespace zelkor::db {

class frmItem : public wxDialog, public ItemForm {
 public:
  // `editing` must outlive the dialog. Attach the dialog to it before it is shown.
  frmItem(wxWindow* parent, ItemEditing& editing);

  [[nodiscard]] bool FormShown() const override;
  void ShowForm() override;
  void HideForm() override;
  void SetItem(const ItemShown& item) override;
  [[nodiscard]] ItemEdited Edited() const override;
  void SetFileName(const std::string& utf8) override;
  [[nodiscard]] bool ApplyEnabled() const override;
  void EnableApply(bool enable) override;
  void EnableFields(bool enable) override;

 private:
  void MakeControls();
  void Apply_Click();
  void Close_Click();
  void List_Click();
  void Browse_Click();
  void Label2_DblClick();
  void FileName_LostFocus();

  ItemEditing& editing_;
  wxStaticText* Label2 = nullptr;  // the caption "Description"
  wxTextCtrl* Desc = nullptr;
  wxTextCtrl* Code = nullptr;
  wxTextCtrl* FileName = nullptr;
  wxChoice* SyncMode = nullptr;
  wxChoice* SyncTo = nullptr;
  wxStaticText* FileDate = nullptr;
  wxStaticText* FileImportUserID = nullptr;
  wxStaticText* FileImportDate = nullptr;
  wxButton* Apply = nullptr;
  wxButton* List = nullptr;
  wxButton* Browse = nullptr;
};

}  // namespace zelkor::db
