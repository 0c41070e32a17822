#include "net/sync_window.h"

#include <utility>
#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/dirdlg.h>
#include <wx/listbox.h>
#include <wx/menu.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>
#include <wx/toolbar.h>
#include <wx/utils.h>

#include "lib/clock.h"
#include "lib/gui/icons.h"
#include "lib/gui/placement.h"
#include "lib/gui/text.h"

namespace zelkor::net {

namespace {

// The captions that are shown, with the key that leads to their boxes.
wxString WithAccessKey(const std::string& caption) {
  static constexpr std::array<std::pair<std::string_view, const char*>, 6> kKeys{{{"Media", "&Media"},
                                                                                  {"IP address", "&IP address"},
                                                                                  {"Server", "Se&rver"},
                                                                                  {"Username", "&Username"},
                                                                                  {"Password", "&Password"},
                                                                                  {"Directory", "&Directory"}}};
  for (const auto& [plain, withKey] : kKeys) {
    if (plain == caption) return withKey;
  }
  return wxControl::EscapeMnemonics(lib::ToWx(caption));
}

constexpr const char* kNoTargets =
    "There are no targets yet.\n\n"
    "A target is another computer that this one keeps in step with.\n"
    "Choose New, and type the ID of that computer.";
constexpr const char* kNoneSelected = "Select a target in the list.";

}  // namespace

Sync::Sync(wxWindow* parent, sync::Context& context, lib::Desktop& desktop, SyncHooks hooks)
    : wxFrame(parent, wxID_ANY, "Synchronisation"),
      context_(context),
      commands_(context, desktop, *this, std::move(hooks)) {
  SetIcons(lib::ProgramIcons());
  MakeMenus();
  MakeToolBar();
  MakeControls();
  log_ = new LogWindow(*this, [this] { CancelRun(); });
  BindEvents();
  commands_.Load();
  HideRows();
  ShowFtpDirCommand(false);
  UpdateCommands();
}

Sync::~Sync() {
  // The controls go first: what they still say on their way is heard by what is gone later.
  delete log_;
  delete panel_;
  if (busy_) wxEndBusyCursor();
  if (ftpDir_->GetMenu() == nullptr) delete ftpDir_;
}

void Sync::On(Command command, std::function<void()> handler) {
  const auto run = [this, command, handler = std::move(handler)](wxCommandEvent&) {
    // A key reaches a command also while its menu entry is out of date.
    if (CanRun(command)) handler();
  };
  Bind(wxEVT_MENU, run, command);
  Bind(wxEVT_BUTTON, run, command);
}

void Sync::BindEvents() {
  On(Target_New, [this] { commands_.Target_New(); });
  On(Target_Delete, [this] { commands_.Target_Delete(); });
  On(Target_Save, [this] { commands_.Target_Save(); });
  On(Target_Clear, [this] { commands_.Target_Clear(); });
  On(Target_DateImport, [this] { commands_.Target_Date(1); });
  On(Target_DateExport, [this] { commands_.Target_Date(2); });
  On(Target_TestConn, [this] { commands_.Target_TestConn(); });
  On(Target_FtpDir, [this] { commands_.Target_FtpDir(); });
  On(Sync_Import, [this] { commands_.Sync_Import(); });
  On(Sync_Export, [this] { commands_.Sync_Export(); });
  On(Sync_View, [this] { commands_.Sync_View(); });
  On(Sync_Close, [this] { commands_.Sync_Close(); });
  On(Log_View, [this] { commands_.Log_View(); });
  On(Log_History, [this] { commands_.Log_History(); });
  On(Log_Delete, [this] { commands_.Log_Delete(); });
  On(Options_AcceptNetConn, [this] { commands_.Options_AcceptNetConn(); });
  On(Options_Confirm, [this] { commands_.Options_Confirm(); });
  On(Media_Browse, [this] { Media_Browse_Click(); });

  list_->Bind(wxEVT_LISTBOX, [this](wxCommandEvent&) { List_Click(); });
  list_->Bind(wxEVT_KEY_DOWN, &Sync::List_KeyDown, this);
  connection_->Bind(wxEVT_CHOICE, [this](wxCommandEvent&) { commands_.Editing().Connection_Click(); });
  defaultExclude_->Bind(wxEVT_CHECKBOX, [this](wxCommandEvent&) { commands_.Editing().DefaultExclude_Click(); });
  for (int index = 1; index <= kConnectionRows; ++index) {
    wxTextCtrl* text = RowAt(index).text;
    text->Bind(wxEVT_TEXT, [this, index](wxCommandEvent&) { ConPar_Change(index); });
    text->Bind(wxEVT_TEXT_ENTER, [this](wxCommandEvent&) { commands_.Target_Save(); });
    text->Bind(wxEVT_KILL_FOCUS, [this, index](wxFocusEvent& event) {
      event.Skip();
      if (!IsBeingDeleted()) commands_.Editing().ConPar_LostFocus(index);
    });
  }
  Bind(wxEVT_CHAR_HOOK, &Sync::Form_KeyDown, this);
  Bind(wxEVT_CLOSE_WINDOW, &Sync::Form_Unload, this);
}

// Commands --------------------------------------------------------------------------------------------------------

bool Sync::CanRun(Command command) const {
  const bool free = !context_.catalogue.Occupied().InHand();
  const TargetEditing& editing = commands_.Editing();
  const bool target = free && editing.SelectedSlot() != 0;
  switch (command) {
    case Target_New:
    case Options_AcceptNetConn:
      return free;
    case Target_Save:
      return free && editing.Unsaved();
    case Target_Delete:
    case Target_Clear:
    case Target_DateImport:
    case Target_DateExport:
    case Target_TestConn:
    case Sync_Import:
    case Sync_Export:
    case Media_Browse:
      return target;
    case Target_FtpDir:
      return target && GetMenuBar()->FindItem(Target_FtpDir) != nullptr;
    case Sync_View:
      return target && viewEnabled_;
    case Sync_Close:
    case Log_View:
    case Log_History:
    case Log_Delete:
    case Options_Confirm:
      return true;
  }
  return true;
}

void Sync::UpdateCommands() {
  for (int id = Target_New; id <= Options_Confirm; ++id) {
    const bool enabled = CanRun(static_cast<Command>(id));
    if (wxMenuItem* item = GetMenuBar()->FindItem(id); item != nullptr && item->IsEnabled() != enabled) {
      item->Enable(enabled);
    }
    if (GetToolBar()->FindById(id) != nullptr) GetToolBar()->EnableTool(id, enabled);
  }
  save_->Enable(CanRun(Target_Save));
}

void Sync::List_Click() { commands_.Editing().List_Click(list_->GetSelection()); }

void Sync::ConPar_Change(int index) {
  Row& row = RowAt(index);
  // What was put back below comes here once more.
  if (row.text->GetValue() == row.last) return;
  if (const wxString text = row.text->GetValue(); lib::TextFits(text)) {
    row.last = text;
    commands_.Editing().ConPar_Change();
    return;
  }
  // A password with another character in its place would be another password.
  row.text->ChangeValue(row.last);
  row.text->SetInsertionPointEnd();
  SetStatus("This character can not be stored.", busy_);
}

void Sync::List_KeyDown(wxKeyEvent& event) {
  if (event.GetKeyCode() == WXK_DELETE && CanRun(Target_Delete)) {
    commands_.Target_Delete();
  } else {
    event.Skip();
  }
}

void Sync::Form_KeyDown(wxKeyEvent& event) {
  const bool escape = event.GetKeyCode() == WXK_ESCAPE && !event.HasAnyModifiers();
  if (escape && running_) {
    CancelRun();
  } else if (escape) {
    commands_.Sync_Close();
  } else if (event.GetKeyCode() == 'N' && event.GetModifiers() == wxMOD_CONTROL) {
    // A list may take this key for a way to the next entry before the menu sees it.
    if (CanRun(Target_New)) commands_.Target_New();
  } else if (event.GetKeyCode() == 'G' && event.GetModifiers() == wxMOD_ALT) {
    // The access key of its caption would reach only the list's frame.
    list_->SetFocus();
  } else {
    event.Skip();
  }
}

void Sync::Media_Browse_Click() {
  wxDirDialog dialog(this, "Folder or medium for the sync files");
  if (dialog.ShowModal() != wxID_OK || !CanRun(Media_Browse)) return;
  commands_.Editing().TakeMediaFolder(dialog.GetPath().utf8_string());
}

void Sync::Form_Unload(wxCloseEvent& event) {
  if (!event.CanVeto()) {
    event.Skip();
    return;
  }
  event.Veto();
  if (commands_.Closing()) Hide();
}

void Sync::ShowWindow() {
  if (IsIconized()) Restore();
  if (!IsShown()) {
    Show();
    // What menus and toolbar take is known only now.
    if (!fitted_) GetSizer()->SetSizeHints(this);
    fitted_ = true;
    lib::MoveOntoAScreen(*this);
    list_->SetFocus();
  }
  Raise();
}

// Runs ------------------------------------------------------------------------------------------------------------

void Sync::OccupationChanged() {
  if (!context_.catalogue.Occupied().InHand()) EndRun();
  UpdateCommands();
}

void Sync::BeginRun() {
  if (running_) return;
  running_ = true;
  cancelled_ = false;
  wxWindow* focus = FindFocus();
  focusBeforeRun_ = focus != nullptr && wxGetTopLevelParent(focus) == this ? focus : nullptr;
  progressPanel_->Begin();
  log_->Progress().Begin();
  EnableControls(false);
  // A disabled control would keep the keyboard from the whole window.
  if (focusBeforeRun_) progressPanel_->CancelButton().SetFocus();
}

void Sync::EndRun() {
  if (!running_) return;
  running_ = false;
  progress_.End();
  progressPanel_->End();
  log_->EndRun();
  EnableControls(true);
  if (focusBeforeRun_) focusBeforeRun_->SetFocus();
  focusBeforeRun_ = nullptr;
}

void Sync::EnableControls(bool enabled) {
  list_->Enable(enabled);
  connection_->Enable(enabled);
  for (const Row& row : conPar_) row.text->Enable(enabled);
  browse_->Enable(enabled);
  defaultExclude_->Enable(enabled);
}

void Sync::CancelRun() {
  if (!running_ || cancelled_) return;
  cancelled_ = true;
  progressPanel_->ShowCancelled();
  log_->Progress().ShowCancelled();
}

void Sync::SetStatus(const std::string& text, bool busy) {
  const wxString shown = lib::ToWx(text);
  if (status_->GetLabelText() != shown) {
    status_->SetLabelText(shown);
    // The whole of a text that the window is too narrow for.
    status_->SetToolTip(shown);
  }
  if (busy == busy_) return;
  busy_ = busy;
  if (busy) {
    wxBeginBusyCursor();
  } else {
    wxEndBusyCursor();
  }
}

void Sync::ShowLog(const std::string& caption) {
  log_->Open(caption);
  if (context_.catalogue.Occupied().InHand()) BeginRun();
}

void Sync::LogLine(const std::string& line) { log_->LogLine(line); }

void Sync::ShowProgress(const lib::Progress& progress) {
  // A run that is to end says so until it has.
  if (cancelled_) return;
  const std::optional<RunProgress::Shown> shown = progress_.Tell(progress, lib::Stopwatch());
  if (!shown) return;
  progressPanel_->Draw(*shown);
  log_->Progress().Draw(*shown);
}

void Sync::EndProgress() {
  progress_.End();
  if (cancelled_) return;
  progressPanel_->Rest();
  log_->Progress().Rest();
}

// What the procedures show ----------------------------------------------------------------------------------------

void Sync::ShowTargets(const std::vector<std::string>& entries, int selected) {
  wxArrayString texts;
  for (const std::string& entry : entries) texts.push_back(lib::ToWx(entry));
  // Only what differs is drawn, and a list is never rebuilt from within its own event.
  if (list_->GetStrings() != texts) list_->Set(texts);
  list_->SetSelection(selected);

  const bool any = selected >= 0;
  hint_->SetLabel(entries.empty() ? kNoTargets : kNoneSelected);
  hint_->Show(!any);
  connectionCaption_->Show(any);
  connection_->Show(any);
  defaultExclude_->Show(any);
  save_->Show(any);
  UpdateCommands();
  panel_->Layout();
}

int Sync::Connection() const { return connection_->GetSelection(); }

void Sync::SelectConnection(int index) { connection_->SetSelection(index); }

void Sync::HideRows() {
  for (const Row& row : conPar_) {
    row.caption->Hide();
    row.text->Hide();
  }
  browse_->Hide();
}

void Sync::ShowRow(int index, const ConnectionRow& row) {
  Row& shown = RowAt(index);
  shown.caption->SetLabel(WithAccessKey(row.caption));
  shown.caption->Show();
  // The limit first, so that no longer text is ever shown; neither is an edit.
  shown.text->SetMaxLength(static_cast<unsigned long>(row.maxLength));
  shown.last = lib::ToWx(row.value);
  shown.text->ChangeValue(shown.last);
  shown.text->SetName(lib::ToWx(row.caption));
  shown.text->Show();
  if (Connection() == static_cast<int>(ConnectionType::File)) browse_->Show();
  panel_->Layout();
}

std::string Sync::RowText(int index) const { return lib::FromWx(RowAt(index).text->GetValue()); }

void Sync::SetRowText(int index, const std::string& text) {
  Row& row = RowAt(index);
  row.last = lib::ToWx(text);
  row.text->ChangeValue(row.last);
}

bool Sync::DefaultExclude() const { return defaultExclude_->GetValue(); }

void Sync::SetDefaultExclude(bool excluded) { defaultExclude_->SetValue(excluded); }

void Sync::EnableView(bool enabled) {
  viewEnabled_ = enabled;
  UpdateCommands();
}

void Sync::ShowFtpDirCommand(bool shown) {
  wxMenu* const target = GetMenuBar()->GetMenu(0);
  const bool there = target->FindItem(Target_FtpDir) != nullptr;
  if (shown && !there) target->Append(ftpDir_);
  if (!shown && there) target->Remove(ftpDir_);
  UpdateCommands();
}

void Sync::EnableSave(bool /*enabled*/) { UpdateCommands(); }

void Sync::CheckAcceptNetConn(bool checked) { GetMenuBar()->Check(Options_AcceptNetConn, checked); }

void Sync::CheckConfirm(bool checked) { GetMenuBar()->Check(Options_Confirm, checked); }

void Sync::CloseLogWindow() {
  if (log_->IsShown()) log_->Close();
}

void Sync::CloseWindow() { Close(); }

}  // namespace zelkor::net
