#include "app/window_user.h"

#include <wx/app.h>
#include <wx/dialog.h>
#include <wx/evtloop.h>
#include <wx/filedlg.h>
#include <wx/filename.h>
#include <wx/msgdlg.h>
#include <wx/textdlg.h>
#include <wx/utils.h>

#include "lib/gui/text.h"
#include "lib/native_path.h"
#include "net/frm_msg.h"

namespace zelkor::app {

namespace {

constexpr const char* kTitle = "Zelkor";
// Long loops give the windows a turn after each step; more often than this is only slower.
constexpr auto kBetweenTurns = std::chrono::milliseconds(15);
// A box so soon after another goes on with the same matter.
constexpr auto kBetweenBoxes = std::chrono::milliseconds(500);

long IconStyle(lib::Icon icon) {
  switch (icon) {
    case lib::Icon::Critical:
      return wxICON_ERROR;
    case lib::Icon::Question:
      return wxICON_QUESTION;
    case lib::Icon::Exclamation:
      return wxICON_EXCLAMATION;
    case lib::Icon::Information:
      return wxICON_INFORMATION;
    case lib::Icon::None:
      break;
  }
  return wxICON_NONE;
}

long ButtonStyle(lib::Buttons buttons, lib::Button preselected) {
  switch (buttons) {
    case lib::Buttons::OkCancel:
      return wxOK | wxCANCEL | (preselected == lib::Button::Cancel ? wxCANCEL_DEFAULT : 0);
    case lib::Buttons::YesNo:
      return wxYES_NO | (preselected == lib::Button::No ? wxNO_DEFAULT : 0);
    case lib::Buttons::YesNoCancel:
      return wxYES_NO | wxCANCEL | (preselected == lib::Button::No ? wxNO_DEFAULT : 0) |
             (preselected == lib::Button::Cancel ? wxCANCEL_DEFAULT : 0);
    case lib::Buttons::Ok:
      break;
  }
  return wxOK;
}

// Windows break lines at LF; a paragraph of an edit box or a log would not know CR LF either.
wxString Lines(const std::string& text) {
  wxString shown = lib::ToWx(text);
  shown.Replace("\r\n", "\n");
  return shown;
}

wxString TitleOf(const std::string& title) { return title.empty() ? wxString(kTitle) : lib::ToWx(title); }

}  // namespace

wxWindow* WindowUser::Owner() {
  if (owner_ && owner_->IsShown() && std::chrono::steady_clock::now() - answered_ < kBetweenBoxes) return owner_;
  wxWindow* active = wxGetActiveWindow();
  owner_ = active != nullptr ? wxGetTopLevelParent(active) : wxTheApp->GetTopWindow();
  return owner_;
}

int WindowUser::Show(wxDialog& dialog) {
  const int answer = dialog.ShowModal();
  answered_ = std::chrono::steady_clock::now();
  return answer;
}

lib::Button WindowUser::Ask(const lib::Box& box) {
  wxMessageDialog dialog(Owner(), Lines(box.text), TitleOf(box.title),
                         ButtonStyle(box.buttons, box.preselected) | IconStyle(box.icon) | wxCENTRE);
  // The answers to a question are words of the program, not of the system's language.
  if (box.buttons == lib::Buttons::YesNo) dialog.SetYesNoLabels("&Yes", "&No");
  if (box.buttons == lib::Buttons::YesNoCancel) dialog.SetYesNoCancelLabels("&Yes", "&No", "&Cancel");
  if (box.buttons == lib::Buttons::OkCancel) dialog.SetOKCancelLabels("&OK", "&Cancel");
  if (box.buttons == lib::Buttons::Ok) dialog.SetOKLabel("&OK");
  switch (Show(dialog)) {
    case wxID_YES:
      return lib::Button::Yes;
    case wxID_NO:
      return lib::Button::No;
    case wxID_CANCEL:
      // Closing a question by its frame is the safe answer.
      if (box.buttons == lib::Buttons::YesNo) return lib::Button::No;
      return box.buttons == lib::Buttons::Ok ? lib::Button::Ok : lib::Button::Cancel;
    default:
      return lib::Button::Ok;
  }
}

bool WindowUser::Retry(const lib::Box& box) {
  lib::Box withWayOut = box;
  withWayOut.buttons = lib::Buttons::OkCancel;
  return Ask(withWayOut) == lib::Button::Ok;
}

std::string WindowUser::Input(const std::string& prompt, const std::string& title, const std::string& preset) {
  wxTextEntryDialog dialog(Owner(), Lines(prompt), TitleOf(title), lib::ToWx(preset));
  return Show(dialog) == wxID_OK ? lib::FromWx(dialog.GetValue()) : std::string();
}

std::string WindowUser::ChooseFile(const std::string& title, const std::string& filter, const std::string& folder) {
  // Without a folder the system would begin with a list of files that other programs used.
  wxString start = wxFileName::GetHomeDir();
  const lib::Result<std::string> native = lib::ToNative(folder);
  if (!folder.empty() && native.Ok()) start = wxString::FromUTF8(*native);
  const wxString shown = lib::ToWx(filter);
  // Not everywhere does the system's pattern for all files need a dot in their names.
  const wxString choice = filter.empty() || filter == "*.*"
                              ? wxString("All files (*.*)|") + wxFileSelectorDefaultWildcardStr
                              : shown + "|" + shown;
  wxFileDialog dialog(Owner(), TitleOf(title), start, wxString(), choice, wxFD_OPEN | wxFD_FILE_MUST_EXIST);
  if (Show(dialog) != wxID_OK) return {};
  const lib::Result<std::string> path = lib::FromNative(dialog.GetPath().utf8_string());
  if (path.Ok()) return *path;
  Message(path.Failure().Message(), lib::Icon::Critical);
  return {};
}

void WindowUser::PendingEvents() {
  const auto now = std::chrono::steady_clock::now();
  if (now - eventsServed_ < kBetweenTurns) return;
  wxEventLoopBase* loop = wxEventLoopBase::GetActive();
  if (loop != nullptr && !loop->IsYielding()) loop->YieldFor(wxEVT_CATEGORY_ALL);
  eventsServed_ = std::chrono::steady_clock::now();
}

bool WindowUser::Cancelled() const { return runView_ && runView_().Cancelled(); }

bool WindowUser::WaitFor(const std::string& caption, const std::function<bool()>& done) {
  if (done()) return true;
  const bool isDone = net::frmMsg(Owner(), lib::ToWx(caption), done).Wait();
  answered_ = std::chrono::steady_clock::now();
  return isDone;
}

void WindowUser::SetStatus(const std::string& text, bool busy) {
  if (runView_) runView_().SetStatus(text, busy);
  eventsServed_ = {};
  PendingEvents();
}

void WindowUser::ShowLog(const std::string& caption) {
  if (runView_) runView_().ShowLog(caption);
}

void WindowUser::LogLine(const std::string& line) {
  if (runView_) runView_().LogLine(line);
}

void WindowUser::ShowProgress(const lib::Progress& progress) {
  if (runView_) runView_().ShowProgress(progress);
  PendingEvents();
}

void WindowUser::EndProgress() {
  if (runView_) runView_().EndProgress();
}

}  // namespace zelkor::app
