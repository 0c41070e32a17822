#include "app/edit_kt.h"

#include <optional>
#include <utility>
#include <wx/menu.h>
#include <wx/sizer.h>

#include "app/form_placement.h"
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

}  // namespace

EditKt::EditKt(wxWindow* parent, lib::User& user, const std::string& fileName,
               std::function<void(const std::string& fileName)> saved)
    : wxFrame(parent, wxID_ANY, "Edit"), user_(user), text_(fileName), saved_(std::move(saved)) {
  auto* file = new wxMenu;
  file->Append(wxID_SAVE, "&Save\tCtrl+S", "Writes the text back to its file");
  file->AppendSeparator();
  file->Append(wxID_EXIT, "E&xit\tCtrl+W", "Closes the window");
  auto* bar = new wxMenuBar;
  bar->Append(file, "&File");
  SetMenuBar(bar);

  Text = new wxTextCtrl(this, wxID_ANY, {}, wxDefaultPosition, wxDefaultSize,
                        wxTE_MULTILINE | wxTE_DONTWRAP | wxTE_PROCESS_TAB | wxTE_RICH2 | wxBORDER_NONE);
  Text->SetName("Text");
  Text->SetFont(wxFontInfo(GetFont().GetPointSize()).Family(wxFONTFAMILY_TELETYPE));
  auto* all = new wxBoxSizer(wxVERTICAL);
  all->Add(Text, wxSizerFlags(1).Expand());
  SetSizer(all);
  SetMinClientSize(FromDIP(wxSize(160, 80)));
  SetClientSize(FromDIP(wxSize(560, 420)));

  Text->Bind(wxEVT_TEXT, [this](wxCommandEvent&) { text_.Text_Change(); });
  Bind(
      wxEVT_MENU, [this](wxCommandEvent&) { File_Save(); }, wxID_SAVE);
  Bind(
      wxEVT_MENU, [this](wxCommandEvent&) { File_Exit(); }, wxID_EXIT);
  Bind(wxEVT_ACTIVATE, [this](wxActivateEvent& event) {
    if (event.GetActive()) Form_Activate();
    event.Skip();
  });
  Bind(wxEVT_CLOSE_WINDOW, [this](wxCloseEvent& event) { Form_Unload(event); });
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
  Text->ChangeValue(wxString::FromUTF8(*utf8));
  Text->SetInsertionPoint(0);
}

void EditKt::Form_Activate() {
  if (!text_.FileName().empty() && !text_.Loaded()) ShowText(text_.Load(user_));
}

void EditKt::Reload() { ShowText(text_.Reload(user_)); }

void EditKt::File_Save() {
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
