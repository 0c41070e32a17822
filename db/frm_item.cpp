#include "db/frm_item.h"

#include <wx/accel.h>
#include <wx/sizer.h>

#include "lib/gui/icons.h"
#include "lib/gui/placement.h"
#include "lib/gui/text.h"

namespace zelkor::db {

namespace {

wxArrayString Choices(const std::vector<std::string>& choices) {
  wxArrayString shown;
  for (const std::string& choice : choices) shown.Add(lib::ToWx(choice));
  return shown;
}

// A text that is shown already stays, and the caret in it where it is.
void SetText(wxTextCtrl& box, const wxString& text) {
  if (box.GetValue() == text) return;
  box.ChangeValue(text);
  box.SetInsertionPoint(0);
}

// A box knows LF alone between its lines.
wxString Lines(wxString text) {
  text.Replace("\r\n", "\n");
  return text;
}

}  // namespace

frmItem::frmItem(wxWindow* parent, ItemEditing& editing)
    : wxDialog(parent, wxID_ANY, "Item - []", wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER),
      editing_(editing) {
  SetIcons(lib::ProgramIcons());
  MakeControls();

  for (wxTextCtrl* box : {Desc, Code, FileName}) {
    box->Bind(wxEVT_TEXT, [this](wxCommandEvent&) { editing_.Edit(); });
  }
  for (wxChoice* list : {SyncMode, SyncTo}) {
    list->Bind(wxEVT_CHOICE, [this](wxCommandEvent&) { editing_.Edit(); });
  }
  FileName->Bind(wxEVT_KILL_FOCUS, [this](wxFocusEvent& event) {
    event.Skip();
    // A message must wait until the focus is where it goes.
    CallAfter([this] { FileName_LostFocus(); });
  });
  Apply->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { Apply_Click(); });
  List->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { List_Click(); });
  Browse->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { Browse_Click(); });
  Bind(
      wxEVT_BUTTON, [this](wxCommandEvent&) { Close_Click(); }, wxID_CLOSE);
  Bind(wxEVT_CLOSE_WINDOW, [this](wxCloseEvent& event) {
    Close_Click();
    event.Veto();
  });

  // A label has no window of its own everywhere: the dialog may get its clicks.
  Label2->Bind(wxEVT_LEFT_DCLICK, [this](wxMouseEvent&) { Label2_DblClick(); });
  Bind(wxEVT_LEFT_DCLICK, [this](wxMouseEvent& event) {
    if (Label2->GetRect().Contains(event.GetPosition())) Label2_DblClick();
  });
  const int showMemoId = wxWindow::NewControlId();
  Bind(
      wxEVT_MENU, [this](wxCommandEvent&) { Label2_DblClick(); }, showMemoId);
  const wxAcceleratorEntry key(wxACCEL_CTRL, 'I', showMemoId);
  SetAcceleratorTable(wxAcceleratorTable(1, &key));
}

void frmItem::MakeControls() {
  const int gap = FromDIP(8);
  const int textWidth = FromDIP(330);
  auto* grid = new wxFlexGridSizer(2, wxSize(gap, gap));
  grid->AddGrowableCol(1);
  const auto label = [&](const wxString& text, int alignment = wxALIGN_CENTRE_VERTICAL) {
    auto* caption = new wxStaticText(this, wxID_ANY, text);
    grid->Add(caption, wxSizerFlags().Align(alignment));
    return caption;
  };

  Label2 = label("&Description");
  Label2->SetToolTip("Double click, or Ctrl+I, shows the memo ID");
  Desc = new wxTextCtrl(this, wxID_ANY, {}, wxDefaultPosition, {textWidth, -1});
  Desc->SetName("Desc");
  Desc->SetMaxLength(FileRec::kDescription.width);
  Desc->SetToolTip("What the item is called in the list");
  grid->Add(Desc, wxSizerFlags().Expand());

  label("&Codes");
  Code = new wxTextCtrl(this, wxID_ANY);
  Code->SetName("Code");
  Code->SetMaxLength(FileRec::kCodes.width);
  Code->SetToolTip("Words for the filters, and marks such as +pc1 or -pc1 for targets, with blanks between them");
  grid->Add(Code, wxSizerFlags().Expand());

  label("&File selection", wxALIGN_TOP);
  FileName = new wxTextCtrl(this, wxID_ANY, {}, wxDefaultPosition, wxDefaultSize, wxTE_MULTILINE | wxTE_DONTWRAP);
  FileName->SetName("FileName");
  FileName->SetMinSize({textWidth, 5 * FileName->GetCharHeight() + gap});
  FileName->SetToolTip(
      "One file on each line; * and ? in its name stand for others, +-  before it takes the folders "
      "below in");
  grid->Add(FileName, wxSizerFlags().Expand());
  grid->AddGrowableRow(2);

  grid->AddSpacer(0);
  auto* fileButtons = new wxBoxSizer(wxHORIZONTAL);
  Browse = new wxButton(this, wxID_ANY, "&Browse...");
  Browse->SetName("Browse");
  Browse->SetToolTip("Adds a file to the selection");
  fileButtons->Add(Browse);
  List = new wxButton(this, wxID_ANY, "&List files...");
  List->SetName("List");
  List->SetToolTip("Shows the single files that the selection stands for");
  fileButtons->Add(List, wxSizerFlags().Border(wxLEFT, gap));
  grid->Add(fileButtons);

  label("&Sync method");
  SyncMode = new wxChoice(this, wxID_ANY, wxDefaultPosition, wxDefaultSize, Choices(kSyncMethodChoices));
  SyncMode->SetName("SyncMode");
  SyncMode->SetToolTip("Auto: the files changed since the last export go out; On: all of them; Off: none");
  grid->Add(SyncMode);

  label("Sync &to");
  SyncTo = new wxChoice(this, wxID_ANY, wxDefaultPosition, wxDefaultSize, Choices(kSyncToChoices));
  SyncTo->SetName("SyncTo");
  SyncTo->SetToolTip("Which targets the item goes to; the marks among the codes say which are excluded or included");
  grid->Add(SyncTo);

  label("Last update");
  FileDate = new wxStaticText(this, wxID_ANY, {});
  FileDate->SetName("FileDate");
  grid->Add(FileDate, wxSizerFlags().Expand());

  label("Last import");
  auto* lastImport = new wxBoxSizer(wxHORIZONTAL);
  FileImportUserID = new wxStaticText(this, wxID_ANY, {});
  FileImportUserID->SetName("FileImportUserID");
  lastImport->Add(FileImportUserID);
  FileImportDate = new wxStaticText(this, wxID_ANY, {});
  FileImportDate->SetName("FileImportDate");
  lastImport->Add(FileImportDate, wxSizerFlags().Border(wxLEFT, gap));
  grid->Add(lastImport, wxSizerFlags().Expand());

  auto* buttons = new wxBoxSizer(wxHORIZONTAL);
  buttons->AddStretchSpacer();
  Apply = new wxButton(this, wxID_APPLY, "&Apply");
  Apply->SetName("Apply");
  Apply->SetToolTip("Stores the changes");
  buttons->Add(Apply);
  auto* close = new wxButton(this, wxID_CLOSE, "Cl&ose");
  close->SetName("Close");
  close->SetToolTip("Stores the changes and closes the window");
  buttons->Add(close, wxSizerFlags().Border(wxLEFT, gap));
  Apply->SetDefault();
  SetEscapeId(wxID_CLOSE);

  auto* all = new wxBoxSizer(wxVERTICAL);
  all->Add(grid, wxSizerFlags(1).Expand().Border(wxALL, gap));
  all->Add(buttons, wxSizerFlags().Expand().Border(wxLEFT | wxRIGHT | wxBOTTOM, gap));
  SetSizerAndFit(all);

  Apply->Disable();
}

bool frmItem::FormShown() const { return IsShown(); }

void frmItem::ShowForm() {
  const bool wasShown = IsShown();
  lib::MoveOntoAScreen(*this);
  wxDialog::Show();
  Raise();
  if (wasShown) return;
  Desc->SetFocus();
  Desc->SelectAll();
}

void frmItem::HideForm() { Hide(); }

void frmItem::SetItem(const ItemShown& item) {
  SetTitle(lib::ToWx(item.caption));
  SetText(*Desc, lib::ToWx(item.description));
  SetText(*Code, lib::ToWx(item.codes));
  SetText(*FileName, Lines(lib::ToWx(item.fileName)));
  SyncMode->SetSelection(item.syncMethod);
  SyncTo->SetSelection(item.syncTo);
  FileDate->SetLabelText(lib::ToWx(item.fileDate));
  FileImportUserID->SetLabelText(lib::ToWx(item.importUserId));
  FileImportDate->SetLabelText(lib::ToWx(item.importDate));
  Layout();
}

ItemEdited frmItem::Edited() const {
  return {.description = lib::FromWx(Desc->GetValue()),
          .codes = lib::FromWx(Code->GetValue()),
          .fileNameUtf8 = FileName->GetValue().utf8_string(),
          .syncMethod = SyncMode->GetSelection(),
          .syncTo = SyncTo->GetSelection()};
}

void frmItem::SetFileName(const std::string& utf8) { SetText(*FileName, Lines(wxString::FromUTF8(utf8))); }

bool frmItem::ApplyEnabled() const { return Apply->IsThisEnabled(); }

void frmItem::EnableApply(bool enable) { Apply->Enable(enable); }

void frmItem::EnableFields(bool enable) {
  for (wxWindow* control : std::initializer_list<wxWindow*>{Desc, Code, FileName, SyncMode, SyncTo, Browse, List}) {
    control->Enable(enable);
  }
}

void frmItem::Apply_Click() { editing_.ApplyItem(); }

void frmItem::Close_Click() { editing_.Close(); }

void frmItem::List_Click() { editing_.ListItemFiles(); }

void frmItem::Browse_Click() { editing_.Browse(); }

void frmItem::Label2_DblClick() { editing_.ShowMemoId(); }

void frmItem::FileName_LostFocus() { editing_.LeaveFileName(); }

}  // namespace zelkor::db
