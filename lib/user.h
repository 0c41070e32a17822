// The one way from the procedures to the person in front of the program: windows, the console of an unattended run and
// the tests each implement it. All calls come on the main thread. Text is in the code page.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace zelkor::lib {

enum class Icon { None, Critical, Question, Exclamation, Information };
enum class Buttons { Ok, OkCancel, YesNo, YesNoCancel };
enum class Button { Ok, Cancel, Yes, No };

// A message box. Line breaks in `text` are CR LF. `title` empty: the program's name.
struct Box {
  std::string text;
  Icon icon = Icon::None;
  Buttons buttons = Buttons::Ok;
  Button preselected = Button::Ok;  // the default button; Ok stands for the first
  std::string title;
};

// How far a run has come.
struct Progress {
  std::string_view doing;  // "Exporting", "Importing", "Copying" …
  std::int64_t items = 0;
  std::int64_t itemsTotal = 0;  // 0: unknown
  std::int64_t bytes = 0;
  std::int64_t bytesTotal = 0;  // 0: unknown
};

class User {
 public:
  User() = default;
  User(const User&) = delete;
  User& operator=(const User&) = delete;
  virtual ~User() = default;

  // Shows the box and returns the button pressed. An unattended run takes the safe answer at the end of its input:
  // Cancel, else No.
  virtual Button Ask(const Box& box) = 0;
  // True when the last answer was not a person's: the input had ended.
  [[nodiscard]] virtual bool InputEnded() const = 0;
  // Shows a message that will come again until something outside the program changes. False when nobody is there to
  // change it: the caller gives up.
  virtual bool Retry(const Box& box) = 0;
  // An input box; an empty answer is also Cancel.
  virtual std::string Input(const std::string& prompt, const std::string& title, const std::string& preset) = 0;
  // Whether a file can be chosen at all, and the choice: a path in the program's form, empty for Cancel. `filter` is
  // a wildcard such as "*.cas"; the choice begins in `folder`, in the user's own one when it is empty.
  [[nodiscard]] virtual bool CanChooseFile() const = 0;
  virtual std::string ChooseFile(const std::string& title, const std::string& filter, const std::string& folder) = 0;

  // Lets the window system have its turn; called between the steps of long loops, so it returns at once.
  virtual void PendingEvents() = 0;
  // True once the person asked to stop: the run finishes the file in hand and ends.
  [[nodiscard]] virtual bool Cancelled() const = 0;

  // Shows the caption and a Cancel button until `done` is true, which may take a few hundredths of a second to tell
  // and is asked over and over. False on Cancel.
  virtual bool WaitFor(const std::string& caption, const std::function<bool()>& done) = 0;

  // The status text of a run; `busy` shows the hourglass.
  virtual void SetStatus(const std::string& text, bool busy) = 0;
  // A run's log under this caption, and its lines.
  virtual void ShowLog(const std::string& caption) = 0;
  virtual void LogLine(const std::string& line) = 0;
  // Whether progress is shown at all (totals need not be counted when not), and the progress; called often.
  [[nodiscard]] virtual bool ShowsProgress() const = 0;
  virtual void ShowProgress(const Progress& progress) = 0;
  virtual void EndProgress() = 0;

  // A plain message with an OK button.
  void Message(const std::string& text, Icon icon = Icon::None) { Ask({.text = text, .icon = icon, .title = {}}); }
  // A Yes/No question; true for Yes.
  bool Confirm(const std::string& text, const std::string& title = {}) {
    return Ask({.text = text, .icon = Icon::Question, .buttons = Buttons::YesNo, .title = title}) == Button::Yes;
  }
};

}  // namespace zelkor::lib
