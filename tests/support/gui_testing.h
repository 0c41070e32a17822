// Tests of windows: real keys and clicks through the X server, and what the windows then show. Each test runs in a
// display of its own (tests/gui/in_display.sh) and in a folder of its own.
#pragma once

#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>
#include <wx/toplevel.h>
#include <wx/uiaction.h>

#include "tests/support/sandbox.h"

namespace zelkor::tests {

// A modal window that is on the screen: a message box of the system, or one of our dialogs.
class ShownModal {
 public:
  // `native` is the system's handle of the window.
  explicit ShownModal(void* native) : native_(native) {}

  [[nodiscard]] std::string Title() const;
  // Of a message box: its text, its icon ("error", "question", "warning", "info", ""), its buttons from left to right
  // without access keys, and the default one.
  [[nodiscard]] std::string Text() const;
  [[nodiscard]] std::string Icon() const;
  [[nodiscard]] std::vector<std::string> Buttons() const;
  [[nodiscard]] std::string DefaultButton() const;
  // Of one of our dialogs: the dialog; nullptr for a message box.
  [[nodiscard]] wxTopLevelWindow* Window() const;

  // Clicks a message box's button of this caption with the mouse; a missing one fails the test.
  void Click(const std::string& button) const;

  [[nodiscard]] void* Native() const { return native_; }

 private:
  void* native_;
};

class GuiTest : public Sandbox {
 protected:
  GuiTest();
  ~GuiTest() override;

  // Serves events until the condition holds; fails the test, and returns false, when it does not within 20 seconds.
  static bool Until(const std::function<bool()>& condition, const std::string& what = {});
  // Serves every event that is on its way: for tests that something did not happen.
  static void Settle();

  // Calls `act`, which opens a modal window, and lets `answer` deal with it once it is on the screen and active. The
  // window must be gone soon after `answer` returns. A modal window that nobody answers fails the test and is closed.
  // Calls nest: an answer may itself expect a further window.
  static void Expect(std::function<void(ShownModal&)> answer);
  // How many expected modal windows have not come yet.
  [[nodiscard]] static std::size_t StillExpected();

  // Shows a window and waits until it is active, so that keys reach it.
  static void ShowActive(wxTopLevelWindow& window);
  // Waits until the window manager has given it the keyboard.
  static void UntilActive(wxTopLevelWindow& window);
  static void Type(const char* ascii);
  static void Press(int key, int modifiers = wxMOD_NONE);
  // Opens a menu of the bar by its access key and presses the keys after it, of which the last one chooses.
  static void Menu(char accessKey, const std::string& keys);
  // Types a path into the system's choice of a file or folder, some of which open a box for it at the first character.
  static void TypePath(const std::filesystem::path& path);
  static void Click(const wxWindow& window);
  static void DoubleClick(const wxWindow& window);
  // At a place of the screen.
  static void Click(const wxPoint& place, int button = wxMOUSE_BTN_LEFT);
  static void DoubleClick(const wxPoint& place);
  // The toolbar button of this caption; a missing one fails the test.
  static void ClickTool(const wxTopLevelWindow& window, const std::string& caption);
  // From one place to another with the left button held.
  static void Drag(const wxPoint& from, const wxPoint& to);

  // The window's child with this name or label (access keys left out), any depth; fails the test when there is none.
  static wxWindow* Child(const wxWindow& window, const wxString& nameOrLabel);

  // Saves the screen as a picture "NAME.bmp" in the folder of the environment variable ZELKOR_SCREENSHOTS, if set.
  static void Screenshot(const std::string& name);
};

}  // namespace zelkor::tests
