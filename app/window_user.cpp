#include "app/window_user.h"

#include <wx/app.h>
#include <wx/dialog.h>
#include <wx/evtloop.h>
#include <wx/filedlg.h>
#include <wx/filename.h>
#include <wx/textdlg.h>
#include <wx/utils.h>

#include "lib/gui/message_box.h"
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
  const lib::Button answer = lib::ShowMessageBox(Owner(), TitleOf(box.title), box);
  answered_ = std::chrono::steady_clock::now();
  return answer;
}

bool WindowUser::Retry(const lib::Box& box) {
  lib::Box withWayOut = box;
  withWayOut.buttons = lib::Buttons::OkCancel;
  return Ask(withWayOut) == lib::Button::Ok;
}

std::string WindowUser::Input(const std::string& prompt, const std::string& title, const std::string& preset) {
  wxTextEntryDialog dialog(Owner(), lib::LinesToWx(prompt), TitleOf(title), lib::ToWx(preset));
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
