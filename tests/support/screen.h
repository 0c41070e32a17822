// The display as somebody sees it who sits before it: which windows there are, which one has the keyboard, keys and the
// mouse. Nothing of the program under test is linked; its windows are known by their titles.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelkor::tests {

// How long anything that must happen may take, also on a machine with much else to do.
inline constexpr auto kPatience = std::chrono::seconds(30);

// How long a key that marks a text may take to do so before it counts as lost.
inline constexpr auto kUntilMarked = std::chrono::milliseconds(500);

class Screen {
 public:
  struct Place {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    bool operator==(const Place&) const = default;
  };

  // The display of the environment; throws std::runtime_error without one.
  Screen();
  ~Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  // Looks again and again until the condition holds, every few milliseconds. False when it does not in time.
  bool Until(const std::function<bool()>& condition) const;

  // The titles of the windows on the screen, and of the one that gets the keys ("" when none does).
  [[nodiscard]] std::vector<std::string> Titles() const;
  [[nodiscard]] std::string Active() const;
  [[nodiscard]] bool Has(const std::string& title) const;
  // Waits; throws std::runtime_error, which fails the test and ends it, when it is in vain.
  void WaitUntilActive(const std::string& title) const;
  void WaitUntilGone(const std::string& title) const;
  // As WaitUntilActive, for a window that takes the place of one with the same title.
  void WaitUntilAnotherIsActive(const std::string& title, unsigned long before) const;
  [[nodiscard]] unsigned long ActiveWindow() const;
  // The window with this title, waited for when the window manager has not taken it in yet.
  [[nodiscard]] unsigned long Shown(const std::string& title) const;

  // What is inside a window's frame, and that with the frame.
  [[nodiscard]] Place PlaceOf(const std::string& title) const;
  [[nodiscard]] Place FramedPlaceOf(const std::string& title) const;
  // The whole screen.
  [[nodiscard]] Place Whole() const;
  // Makes a window the active one, as by its entry in the taskbar, and waits until it is.
  void Activate(const std::string& title) const;
  // The same with one that may be on its way out; whether it is still there, and active.
  [[nodiscard]] bool ActivateIfThere(const std::string& title) const;
  // Whether a window comes to this place and stays: one that has just been shown may have asked for another size, which
  // is on its way.
  [[nodiscard]] bool Stays(const std::string& title, const Place& place) const;
  // Moves a window and waits until it stays there; closes one as by the frame's button.
  void Move(const std::string& title, const Place& place) const;
  void Close(const std::string& title) const;
  void CloseIfThere(const std::string& title) const;
  // Cuts the program that shows this window off from the display, as when the display itself ends.
  void CutOff(const std::string& title) const;

  // Keys, for the window that gets them: "Return", "Alt+f", "Ctrl+Shift+Tab". Text in ASCII, LF is the Return key.
  void Press(const std::string& keys) const;
  void Type(const std::string& text) const;
  // A mouse button at a place inside a window, counted from its corner.
  void Click(const std::string& title, int x, int y, unsigned button = 1) const;
  void DoubleClick(const std::string& title, int x, int y) const;

  // The text that gets marked, as for copying it, after these keys; nothing when none gets marked in that time.
  [[nodiscard]] std::optional<std::string> MarkedBy(const std::string& keys,
                                                    std::chrono::milliseconds within = kUntilMarked) const;
  // The text of the active message box.
  [[nodiscard]] std::string TextOfBox(const std::string& title) const;

  // The icon of the taskbar's notification area, once there is one; false when none comes.
  [[nodiscard]] bool ClickTrayIcon(unsigned button = 1) const;
  [[nodiscard]] bool HasTrayIcon() const;

  // Saves what is on the screen as a picture "NAME.ppm" in the folder of the environment variable ZELKOR_SCREENSHOTS,
  // if it is set.
  void Picture(const std::string& name) const;

 private:
  // Whether it is found there a number of times in a row; each time that it is not, something is done about it.
  [[nodiscard]] bool Holds(const std::string& title, const Place& place,
                           const std::function<void()>& whenElsewhere) const;

  struct Connection;
  std::unique_ptr<Connection> x_;
};

}  // namespace zelkor::tests
