#include "tests/support/gui_testing.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <deque>
#include <memory>
#include <utility>
#include <wx/app.h>
#include <wx/bitmap.h>
#include <wx/control.h>
#include <wx/dcmemory.h>
#include <wx/dcscreen.h>
#include <wx/evtloop.h>
#include <wx/image.h>
#include <wx/timer.h>

#include "tests/support/native_windows.h"

namespace zelkor::tests {

namespace {

constexpr auto kPatience = std::chrono::seconds(20);

// Whether keys are on their way into a menu, which nobody has served yet.
bool inMenu = false;  // NOLINT(cppcoreguidelines-avoid-non-const-global-variables): one test at a time

// Serves the next events, or returns after some milliseconds without any.
void ServeEvents() {
  inMenu = false;
  wxEventLoopBase* loop = wxEventLoopBase::GetActive();
  loop->DispatchTimeout(10);
  wxTheApp->ProcessPendingEvents();
  native::ServeIdle();
}

// Serves every event that is on its way.
void ServeAll() {
  // Our events go to the X server and come back; what they cause may cause more.
  for (int round = 0; round < 5; ++round) {
    native::ServerRoundTrip();
    do ServeEvents();
    while (wxEventLoopBase::GetActive()->Pending());
  }
}

// Keys that move through a menu and leave it open.
bool Moves(int key) {
  constexpr std::array kKeys{WXK_UP, WXK_DOWN, WXK_LEFT, WXK_RIGHT, WXK_HOME, WXK_END};
  return std::find(kKeys.begin(), kKeys.end(), key) != kKeys.end();
}

// Clicks once, also where the last click was: soon after that the system would take both for a double click.
void ClickOnce(const wxPoint& place, int button = wxMOUSE_BTN_LEFT) {
  static wxPoint last(-1, -1);
  static std::chrono::steady_clock::time_point when;
  constexpr int kNear = 8;
  const bool again = std::abs(place.x - last.x) < kNear && std::abs(place.y - last.y) < kNear;
  while (again && std::chrono::steady_clock::now() - when < native::DoubleClickTime()) ServeEvents();
  wxUIActionSimulator().MouseClick(button);
  last = place;
  when = std::chrono::steady_clock::now();
}

// Watches for modal windows and lets the test answer them; lives as long as a test.
class ModalWatch : public wxTimer {
 public:
  ModalWatch() { Again(); }

  std::deque<std::function<void(ShownModal&)>> expected;

  void Notify() override {
    // Each look has a timer of its own: within an answer, which runs inside this one, the system would hold it back.
    Again();
    const auto now = std::chrono::steady_clock::now();
    if (!native::MenuIsOpen()) {
      menuSince_ = now;
    } else if (now - menuSince_ >= kPatience) {
      ADD_FAILURE() << "a menu stayed open";
      wxUIActionSimulator().Char(WXK_ESCAPE);
      menuSince_ = now;
    }
    for (void* window : native::ModalWindows()) {
      // The window keeps its own state: another one may come later under the same handle.
      native::Watched& watched = native::WatchedState(window);
      if (!watched.since) watched.since = now;
      const bool patient = now - *watched.since < kPatience;
      if (watched.answering) continue;  // this very call came from inside its answer
      if (watched.answered) {
        if (!patient) Close(window, "was still there after its answer");
      } else if (native::IsActive(window)) {
        Answer(window, watched);
        return;  // anything may have changed
      } else if (!patient) {
        Close(window, "never became active");
      }
    }
  }

 private:
  void Again() { StartOnce(10); }

  void Answer(void* window, native::Watched& watched) {
    if (expected.empty()) {
      Close(window, "was not expected");
      watched.answered = true;
      return;
    }
    const auto answer = std::move(expected.front());
    expected.pop_front();
    const native::KeepAlive alive(window);
    watched.answering = true;
    ShownModal modal(window);
    answer(modal);
    watched.answering = false;
    watched.answered = true;
    watched.since = std::chrono::steady_clock::now();
  }

  static void Close(void* window, const std::string& why) {
    const ShownModal modal(window);
    ADD_FAILURE() << "a modal window " << why << ": [" << modal.Title() << "] " << modal.Text();
    native::Close(window);
  }

  std::chrono::steady_clock::time_point menuSince_ = std::chrono::steady_clock::now();
};

std::unique_ptr<ModalWatch> watch;  // NOLINT(cppcoreguidelines-avoid-non-const-global-variables): one test at a time

}  // namespace

std::string ShownModal::Title() const { return native::Title(native_); }
std::string ShownModal::Text() const { return native::MessageText(native_); }
std::string ShownModal::Icon() const { return native::MessageIcon(native_); }
std::string ShownModal::DefaultButton() const { return native::DefaultButton(native_); }

std::vector<std::string> ShownModal::Buttons() const {
  std::vector<std::string> captions;
  for (const native::Button& button : native::Buttons(native_)) captions.push_back(button.caption);
  return captions;
}

wxTopLevelWindow* ShownModal::Window() const {
  for (wxWindow* window : wxTopLevelWindows) {
    if (window->GetHandle() == native_) return wxDynamicCast(window, wxTopLevelWindow);
  }
  return nullptr;
}

void ShownModal::Click(const std::string& button) const {
  ServeAll();  // the window manager may still be placing it
  for (const native::Button& shown : native::Buttons(native_)) {
    if (shown.caption != button) continue;
    wxUIActionSimulator().MouseMove(shown.centre);
    ServeAll();
    ClickOnce(shown.centre);
    return;
  }
  ADD_FAILURE() << "no button \"" << button << "\" in [" << Title() << "] " << Text();
  native::Close(native_);
}

GuiTest::GuiTest() { watch = std::make_unique<ModalWatch>(); }

GuiTest::~GuiTest() {
  for (wxWindow* window : wxWindowList(wxTopLevelWindows)) window->Destroy();
  Settle();
  watch.reset();
}

bool GuiTest::Until(const std::function<bool()>& condition, const std::string& what) {
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) {
      ADD_FAILURE() << "in vain waited for " << (what.empty() ? "a condition" : what);
      Screenshot("in-vain");
      return false;
    }
    ServeEvents();
  }
  return true;
}

void GuiTest::Settle() { ServeAll(); }

void GuiTest::Expect(std::function<void(ShownModal&)> answer) { watch->expected.push_back(std::move(answer)); }
std::size_t GuiTest::StillExpected() { return watch->expected.size(); }

void GuiTest::ShowActive(wxTopLevelWindow& window) {
  window.Show();
  window.Raise();
  UntilActive(window);
}

void GuiTest::UntilActive(wxTopLevelWindow& window) {
  Until([&] { return window.IsShownOnScreen() && native::IsActive(window.GetHandle()); }, "the window to be active");
  Settle();
}

void GuiTest::Type(const char* ascii) {
  wxUIActionSimulator().Text(ascii);
  Settle();
}

void GuiTest::Press(int key, int modifiers) {
  inMenu = native::OpensMenuOfItsOwn(key, modifiers) || (inMenu && modifiers == wxMOD_NONE && Moves(key));
  wxUIActionSimulator().Char(key, modifiers);
  // A menu that takes keys in a loop of its own gives nothing back before it closes: the key that closes it has to be
  // there already.
  if (inMenu) return;
  Settle();
  native::FinishKey(key, modifiers);
}

void GuiTest::Menu(char accessKey, const std::string& keys) {
  Press(accessKey, wxMOD_ALT);
  for (std::size_t i = 0; i < keys.size(); ++i) {
    if (inMenu && i + 1 < keys.size()) {
      wxUIActionSimulator().Char(keys[i]);  // opens a menu below
    } else {
      Press(keys[i]);
    }
  }
}

void GuiTest::TypePath(const std::filesystem::path& path) {
  const std::string text = path.string();
  Type(text.substr(0, 1).c_str());
  Type(text.substr(1).c_str());
}

void GuiTest::Click(const wxWindow& window) {
  const wxRect place = window.GetScreenRect();
  Click(wxPoint(place.x + place.width / 2, place.y + place.height / 2));
}

void GuiTest::DoubleClick(const wxWindow& window) {
  const wxRect place = window.GetScreenRect();
  DoubleClick(wxPoint(place.x + place.width / 2, place.y + place.height / 2));
}

void GuiTest::Click(const wxPoint& place, int button) {
  wxUIActionSimulator().MouseMove(place);
  Settle();
  ClickOnce(place, button);
  Settle();
}

void GuiTest::DoubleClick(const wxPoint& place) {
  wxUIActionSimulator mouse;
  mouse.MouseMove(place);
  Settle();
  mouse.MouseDblClick();
  Settle();
}

void GuiTest::ClickTool(const wxTopLevelWindow& window, const std::string& caption) {
  for (const native::Button& button : native::ToolButtons(window.GetHandle())) {
    if (button.caption == caption) return Click(button.centre);
  }
  ADD_FAILURE() << "no toolbar button \"" << caption << "\"";
}

void GuiTest::Drag(const wxPoint& from, const wxPoint& to) {
  wxUIActionSimulator mouse;
  mouse.MouseMove(from);
  Settle();
  mouse.MouseDown();
  Settle();
  // In steps: the first ones only begin the drag.
  constexpr int kSteps = 10;
  for (int step = 1; step <= kSteps; ++step) {
    mouse.MouseMove(from.x + (to.x - from.x) * step / kSteps, from.y + (to.y - from.y) * step / kSteps);
    Settle();
  }
  mouse.MouseUp();
  Settle();
}

wxWindow* GuiTest::Child(const wxWindow& window, const wxString& nameOrLabel) {
  std::deque<wxWindow*> rest(window.GetChildren().begin(), window.GetChildren().end());
  while (!rest.empty()) {
    wxWindow* child = rest.front();
    rest.pop_front();
    if (child->GetName() == nameOrLabel || wxControl::GetLabelText(child->GetLabel()) == nameOrLabel) return child;
    rest.insert(rest.end(), child->GetChildren().begin(), child->GetChildren().end());
  }
  ADD_FAILURE() << "no child \"" << nameOrLabel << "\"";
  return nullptr;
}

void GuiTest::Screenshot(const std::string& name) {
  const char* folder = std::getenv("ZELKOR_SCREENSHOTS");
  if (folder == nullptr) return;
  Settle();
  // The window system draws when it likes, and fades from one look to the next.
  constexpr auto kDrawn = std::chrono::milliseconds(400);
  for (const auto end = std::chrono::steady_clock::now() + kDrawn; std::chrono::steady_clock::now() < end;)
    ServeEvents();
  native::ForgetScreen();
  wxScreenDC screen;
  const wxSize size = screen.GetSize();
  wxBitmap picture;
  picture.Create(size.x, size.y);
  wxMemoryDC memory(picture);
  memory.Blit(wxPoint(), size, &screen, wxPoint());
  memory.SelectObject(wxNullBitmap);
  // The one kind of picture that the toolkit can save without another library.
  picture.SaveFile(wxString(folder) + "/" + name + ".bmp", wxBITMAP_TYPE_BMP);
}

}  // namespace zelkor::tests
