#include "app/frm_list_kt.h"

#include <array>
#include <wx/accel.h>
#include <wx/button.h>
#include <wx/sizer.h>
#include <wx/stattext.h>

#include "app/form_placement.h"
#include "app/list_editing.h"
#include "lib/gui/icons.h"
#include "lib/gui/placement.h"
#include "lib/gui/text.h"

namespace zelkor::app {

frmListKt::frmListKt(wxWindow* parent, lib::ListDialog& dialog, lib::User& user)
    : wxDialog(parent, wxID_ANY, lib::ToWx(dialog.title), wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER),
      dialog_(dialog),
      user_(user) {
  SetIcons(lib::ProgramIcons());
  const int gap = FromDIP(8);
  auto* all = new wxBoxSizer(wxVERTICAL);
  if ((dialog_.options & lib::kListLabel) != 0 && !dialog_.label.empty()) {
    auto* label = new wxStaticText(this, wxID_ANY, {});
    label->SetLabelText(lib::ToWx(dialog_.label));
    all->Add(label, wxSizerFlags().Border(wxLEFT | wxRIGHT | wxTOP, gap));
  }
  // Paths, which are only shown, are longer than the words that are edited.
  const int width = (dialog_.options & lib::kListEdit) != 0 ? 300 : 480;
  List = new wxListBox(this, wxID_ANY, wxDefaultPosition, FromDIP(wxSize(width, 240)), 0, nullptr,
                       wxLB_SINGLE | wxLB_HSCROLL | wxLB_NEEDED_SB);
  List->SetName("List");
  wxArrayString entries;
  entries.Alloc(dialog_.entries.size());
  for (const std::string& entry : dialog_.entries) entries.Add(lib::ToWx(entry));
  if (!entries.empty()) List->Append(entries);
  all->Add(List, wxSizerFlags(1).Expand().Border(wxALL, gap));

  auto* buttons = new wxBoxSizer(wxHORIZONTAL);
  const auto add = [&](wxWindowID id, const wxString& caption, const wxString& tip) {
    auto* button = new wxButton(this, id, caption);
    button->SetToolTip(tip);
    buttons->Add(button, wxSizerFlags().Border(wxLEFT, buttons->IsEmpty() ? 0 : gap));
    return button;
  };
  const bool edits = (dialog_.options & lib::kListEdit) != 0;
  if (edits) {
    add(wxID_ADD, "&Add...", "Adds an entry at the end (Insert)");
    add(wxID_DELETE, "&Delete", "Removes the selected entry (Delete)");
    const std::array keys{wxAcceleratorEntry(wxACCEL_NORMAL, WXK_INSERT, wxID_ADD),
                          wxAcceleratorEntry(wxACCEL_NORMAL, WXK_DELETE, wxID_DELETE)};
    SetAcceleratorTable(wxAcceleratorTable(static_cast<int>(keys.size()), keys.data()));
  }
  buttons->AddStretchSpacer();
  if ((dialog_.options & lib::kListOk) != 0) {
    add(wxID_OK, "&OK", "Takes the list and the selected entry")->SetDefault();
    add(wxID_CANCEL, "&Cancel", "Leaves everything as it was");
  } else {
    add(wxID_CANCEL, "&Close", "Closes the window")->SetDefault();
  }
  all->Add(buttons, wxSizerFlags().Expand().Border(wxLEFT | wxRIGHT | wxBOTTOM, gap));
  SetSizerAndFit(all);
  Select();
  EnableDelete();
  List->SetFocus();

  const auto onCommand = [this](const wxEventTypeTag<wxCommandEvent>& type, wxWindowID id, void (frmListKt::*act)()) {
    Bind(
        type, [this, act](wxCommandEvent&) { (this->*act)(); }, id);
  };
  onCommand(wxEVT_BUTTON, wxID_ADD, &frmListKt::Add_Click);
  onCommand(wxEVT_MENU, wxID_ADD, &frmListKt::Add_Click);
  onCommand(wxEVT_BUTTON, wxID_DELETE, &frmListKt::Delete_Click);
  onCommand(wxEVT_MENU, wxID_DELETE, &frmListKt::Delete_Click);
  onCommand(wxEVT_BUTTON, wxID_OK, &frmListKt::OK_Click);
  onCommand(wxEVT_BUTTON, wxID_CANCEL, &frmListKt::Cancel_Click);
  List->Bind(wxEVT_LISTBOX, [this](wxCommandEvent&) {
    dialog_.selected = List->GetSelection();
    EnableDelete();
  });
  List->Bind(wxEVT_LISTBOX_DCLICK, [this](wxCommandEvent&) { List_DblClick(); });
}

void frmListKt::Select() {
  if (dialog_.selected >= 0 && static_cast<unsigned>(dialog_.selected) < List->GetCount()) {
    List->SetSelection(dialog_.selected);
    List->EnsureVisible(dialog_.selected);
  } else {
    List->SetSelection(wxNOT_FOUND);
  }
}

void frmListKt::EnableDelete() {
  if (wxWindow* button = FindWindow(wxID_DELETE)) button->Enable(dialog_.selected >= 0);
}

void frmListKt::Add_Click() {
  if (!AddEntry(dialog_, user_)) return;
  List->Append(lib::ToWx(dialog_.entries.back()));
  Select();
  EnableDelete();
}

void frmListKt::Delete_Click() {
  const int deleted = dialog_.selected;
  if (!DeleteEntry(dialog_)) return;
  List->Delete(static_cast<unsigned>(deleted));
  Select();
  EnableDelete();
  List->SetFocus();
}

void frmListKt::OK_Click() { EndModal(wxID_OK); }

void frmListKt::Cancel_Click() {
  dialog_.selected = wxNOT_FOUND;
  EndModal(wxID_CANCEL);
}

void frmListKt::List_DblClick() {
  if ((dialog_.options & lib::kListOk) != 0) OK_Click();
}

void ShowListDialog(wxWindow* parent, lib::ListDialog& dialog, lib::User& user,
                    const std::optional<FormPosition>& main) {
  frmListKt form(parent, dialog, user);
  if (main) PlaceForm(form, BesideMain(PositionOf(form), *main));
  lib::MoveOntoAScreen(form);
  form.ShowModal();
}

}  // namespace zelkor::app
