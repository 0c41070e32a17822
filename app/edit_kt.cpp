#include "app/edit_kt.h"

#include <functional>
#include <optional>
#include <utility>
#include <wx/accel.h>
#include <wx/menu.h>
#include <wx/sizer.h>

#include "app/find_text.h"
#include "app/form_placement.h"
#include "lib/gui/icons.h"
#include "lib/gui/placement.h"
#include "lib/gui/text.h"
#include "lib/settings.h"

namespace zelkor::app {

namespace {

constexpr const char* kSection = "ZELKOR";
constexpr const char* kLeft = "editKtFormLeft";
constexpr const char* kTop = "editKtFormTop";
constexpr const char* kWidth = "editKtFormWidth";
constexpr const char* kHeight = "editKtFormHeight";

constexpr int kFindNext = wxID_HIGHEST + 1;
constexpr int kFindPrevious = wxID_HIGHEST + 2;

}  // namespace

EditKt::EditKt(wxWindow* parent, lib::User& user, const std::string& fileName,
               std::function<void(const std::string& fileName)> saved)
    : wxFrame(parent, wxID_ANY, "Edit"), user_(user), text_(fileName), saved_(std::move(saved)) {
  SetIcons(lib::ProgramIcons());
  MakeMenus();
  Text = new wxTextCtrl(this, wxID_ANY, {}, wxDefaultPosition, wxDefaultSize,
                        wxTE_MULTILINE | wxTE_DONTWRAP | wxTE_PROCESS_TAB | wxTE_RICH2 | wxBORDER_NONE);
  Text->SetName("Text");
  Text->SetFont(wxFontInfo(GetFont().GetPointSize()).Family(wxFONTFAMILY_TELETYPE));
  auto* all = new wxBoxSizer(wxVERTICAL);
  all->Add(Text, wxSizerFlags(1).Expand());
  find_ = new FindBar(
      this, [this](bool backwards) { Edit_FindNext(backwards); }, [this] { Text->SetFocus(); });
  all->Add(find_, wxSizerFlags().Expand());
  SetSizer(all);
  SetMinClientSize(FromDIP(wxSize(160, 80)));
  SetClientSize(FromDIP(wxSize(560, 420)));

  Text->Bind(wxEVT_TEXT, [this](wxCommandEvent&) { Text_Change(); });
  const auto on = [this](int id, std::function<void()> command) {
    Bind(
        wxEVT_MENU, [command = std::move(command)](wxCommandEvent&) { command(); }, id);
  };
  on(wxID_SAVE, [this] { File_Save(); });
  on(wxID_EXIT, [this] { File_Exit(); });
  on(wxID_UNDO, [this] { Edit_Undo(); });
  on(wxID_REDO, [this] { Edit_Redo(); });
  on(wxID_FIND, [this] { Edit_Find(); });
  on(kFindNext, [this] { Edit_FindNext(false); });
  on(kFindPrevious, [this] { Edit_FindNext(true); });
  Bind(wxEVT_UPDATE_UI, &EditKt::OnUpdateUi, this, wxID_UNDO, wxID_REDO);
  Bind(wxEVT_ACTIVATE, [this](wxActivateEvent& event) {
    if (event.GetActive()) Form_Activate();
    event.Skip();
  });
  Bind(wxEVT_CLOSE_WINDOW, [this](wxCloseEvent& event) { Form_Unload(event); });
}

void EditKt::MakeMenus() {
  auto* file = new wxMenu;
  file->Append(wxID_SAVE, "&Save\tCtrl+S", "Writes the text back to its file");
  file->AppendSeparator();
  file->Append(wxID_EXIT, "E&xit\tCtrl+W", "Closes the window");
  auto* edit = new wxMenu;
  edit->Append(wxID_UNDO, "&Undo\tCtrl+Z", "Takes the last change back");
  edit->Append(wxID_REDO, "&Redo\tCtrl+Y", "Does again what was taken back");
  edit->AppendSeparator();
  edit->Append(wxID_FIND, "&Find...\tCtrl+F", "Looks for a text");
  edit->Append(kFindNext, "Find &next\tF3", "The next place of the text looked for");
  edit->Append(kFindPrevious, "Find &previous\tShift+F3", "The place before");
  auto* bar = new wxMenuBar;
  bar->Append(file, "&File");
  bar->Append(edit, "&Edit");
  SetMenuBar(bar);
  // The other key by which many know it.
  wxAcceleratorEntry redo(wxACCEL_CTRL | wxACCEL_SHIFT, 'Z', wxID_REDO);
  SetAcceleratorTable(wxAcceleratorTable(1, &redo));
}

void EditKt::Form_Load(const FormPosition& design) {
  PlaceForm(*this, {.left = lib::GetIniNumber(kSection, kLeft, design.left),
                    .top = lib::GetIniNumber(kSection, kTop, design.top),
                    .width = lib::GetIniNumber(kSection, kWidth, design.width),
                    .height = lib::GetIniNumber(kSection, kHeight, design.height)});
  lib::MoveOntoAScreen(*this);
  lib::KeepSizeWhenFramed(*this);
}

void EditKt::ShowText(const std::optional<std::string>& utf8) {
  SetTitle(lib::ToWx(text_.Caption()));
  if (!utf8) return;
  const wxString shown = wxString::FromUTF8(*utf8);
  Text->ChangeValue(shown);
  Text->SetInsertionPoint(0);
  history_.Reset(shown.length() > kLongestWithHistory ? std::wstring() : shown.ToStdWstring());
}

void EditKt::Text_Change() {
  text_.Text_Change();
  if (static_cast<std::size_t>(Text->GetLastPosition()) > kLongestWithHistory) {
    history_.Reset({});
  } else {
    history_.Record(Text->GetValue().ToStdWstring(), static_cast<std::size_t>(Text->GetInsertionPoint()));
  }
}

void EditKt::Take(const std::optional<EditStep>& step) {
  if (!step) return;
  const auto at = static_cast<long>(step->at);
  Text->Replace(at, at + static_cast<long>(step->length), wxString(step->text));
  const auto end = at + static_cast<long>(step->text.size());
  Text->SetInsertionPoint(end);
  Text->ShowPosition(end);
}

void EditKt::OnUpdateUi(wxUpdateUIEvent& event) {
  if (event.GetId() == wxID_UNDO) event.Enable(history_.CanUndo());
  if (event.GetId() == wxID_REDO) event.Enable(history_.CanRedo());
}

void EditKt::Edit_Find() {
  // What is selected is what one looks for, unless it is a whole passage.
  const wxString selected = Text->GetStringSelection();
  find_->Open(selected.Contains("\n") ? wxString() : selected);
}

void EditKt::Edit_FindNext(bool backwards) {
  const wxString wanted = find_->Wanted();
  if (wanted.empty()) {
    Edit_Find();
    return;
  }
  long begin = 0;
  long end = 0;
  Text->GetSelection(&begin, &end);
  const std::optional<Found> found =
      FindText(Text->GetValue().ToStdWstring(), wanted.ToStdWstring(), static_cast<std::size_t>(begin),
               static_cast<std::size_t>(end), {.matchCase = find_->MatchCase(), .backwards = backwards});
  if (!found) {
    find_->Open({});
    find_->Say("Not found");
    return;
  }
  const auto at = static_cast<long>(found->at);
  Text->SetSelection(at, at + static_cast<long>(wanted.length()));
  Text->ShowPosition(at);
  find_->Say(!found->wrapped ? "" : backwards ? "From the end" : "From the top");
}

void EditKt::Form_Activate() {
  if (!text_.FileName().empty() && !text_.Loaded()) ShowText(text_.Load(user_));
}

void EditKt::Reload() { ShowText(text_.Reload(user_)); }

void EditKt::File_Save() {
  history_.EndStep();
  if (text_.SaveText(Text->GetValue().utf8_string(), user_) && saved_) saved_(text_.FileName());
}

void EditKt::File_Exit() { Close(); }

void EditKt::Form_Unload(wxCloseEvent& event) {
  if (text_.FileName().empty()) {
    Destroy();
    return;
  }
  const bool wasModified = text_.Modified();
  if (!text_.MayClose(Text->GetValue().utf8_string(), user_) && event.CanVeto()) {
    event.Veto();
    return;
  }
  const bool savedNow = wasModified && !text_.Modified();
  const FormPosition place = PositionOf(*this);
  lib::PutIniValue(kSection, kLeft, place.left);
  lib::PutIniValue(kSection, kTop, place.top);
  lib::PutIniValue(kSection, kWidth, place.width);
  lib::PutIniValue(kSection, kHeight, place.height);
  Destroy();
  if (savedNow && saved_) saved_(text_.FileName());
}

}  // namespace zelkor::app
