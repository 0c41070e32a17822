#include "app/console_user.h"

#include <array>
#include <utility>
#include <vector>

#include "lib/clock.h"
#include "lib/code_page.h"
#include "lib/progress_line.h"
#include "lib/terminal.h"
#include "lib/text.h"

namespace zelkor::app {

namespace {

// The progress line is drawn at most this often, in seconds.
constexpr double kDrawEvery = 0.1;

using NamedButton = std::pair<const char*, lib::Button>;

std::vector<NamedButton> ButtonsOf(lib::Buttons buttons) {
  switch (buttons) {
    case lib::Buttons::Ok:
      return {{"OK", lib::Button::Ok}};
    case lib::Buttons::OkCancel:
      return {{"OK", lib::Button::Ok}, {"Cancel", lib::Button::Cancel}};
    case lib::Buttons::YesNo:
      return {{"Yes", lib::Button::Yes}, {"No", lib::Button::No}};
    case lib::Buttons::YesNoCancel:
      return {{"Yes", lib::Button::Yes}, {"No", lib::Button::No}, {"Cancel", lib::Button::Cancel}};
  }
  return {};
}

std::string OneLine(const std::string& text) { return lib::ReplaceAll(lib::ReplaceAll(text, "\r\n", " "), "\n", " "); }

}  // namespace

ConsoleUser::ConsoleUser()
    : terminal_(lib::StandardErrorIsTerminal()), outputShared_(terminal_ && lib::StandardOutputIsTerminal()) {}

ConsoleUser::~ConsoleUser() {
  WriteLines();
  DrawProgress({});
}

void ConsoleUser::Say(const std::string& text) {
  WriteLines();
  DrawProgress({});
  lib::WriteToStandardError("Zelkor: " + lib::ToUtf8(OneLine(text)) + "\n");
}

lib::Button ConsoleUser::Ask(const lib::Box& box) {
  inputEnded_ = false;
  if (box.buttons == lib::Buttons::Ok) {
    Say(box.text);
    return lib::Button::Ok;
  }
  const std::vector<NamedButton> buttons = ButtonsOf(box.buttons);
  std::string names;
  for (const auto& [name, button] : buttons) names += (names.empty() ? "" : "/") + std::string(name);
  for (;;) {
    Say(box.text + " [" + names + "]");
    const std::optional<std::string> answer = lib::ReadInputLine();
    if (!answer) {
      inputEnded_ = true;
      return buttons.back().second;
    }
    const std::string_view word = lib::Trim(*answer);
    for (const auto& [name, button] : buttons) {
      if (lib::EqualNoCase(word, name) || lib::EqualNoCase(word, std::string_view(name).substr(0, 1))) return button;
    }
  }
}

bool ConsoleUser::Retry(const lib::Box& box) {
  Say(box.text);
  return false;
}

std::string ConsoleUser::Input(const std::string& prompt, const std::string& /*title*/, const std::string& preset) {
  Say(preset.empty() ? prompt : prompt + " [" + preset + "]");
  const std::optional<std::string> answer = lib::ReadInputLine();
  inputEnded_ = !answer;
  return answer ? lib::FromUtf8Lossy(*answer) : std::string();
}

std::string ConsoleUser::ChooseFile(const std::string& /*title*/, const std::string& /*filter*/,
                                    const std::string& /*folder*/) {
  return {};
}

bool ConsoleUser::Cancelled() const { return lib::Interrupted(); }

bool ConsoleUser::WaitFor(const std::string& caption, const std::function<bool()>& done) {
  const std::string shown = lib::ToUtf8(OneLine(caption));
  bool isDone = done();
  while (!isDone && !Cancelled()) {
    WriteLines();
    if (terminal_) DrawProgress(shown);
    isDone = done();
  }
  WriteLines();
  DrawProgress({});
  return isDone;
}

void ConsoleUser::LogLine(const std::string& line) {
  lines_ += lib::ToUtf8(line);
  lines_ += '\n';
}

void ConsoleUser::WriteLines() {
  if (lines_.empty()) return;
  if (outputShared_) DrawProgress({});
  lib::WriteToStandardOutput(lines_);
  lines_.clear();
}

void ConsoleUser::ShowProgress(const lib::Progress& progress) {
  WriteLines();
  if (!terminal_) return;
  const double now = lib::Stopwatch();
  if (progressStarted_ == 0) progressStarted_ = now;
  if (now - progressDrawn_ < kDrawEvery) return;
  progressDrawn_ = now;
  DrawProgress(lib::ProgressLine(progress, now - progressStarted_, lib::TerminalColumns()));
}

void ConsoleUser::EndProgress() {
  DrawProgress({});
  progressStarted_ = 0;
  progressDrawn_ = 0;
}

void ConsoleUser::DrawProgress(const std::string& line) {
  if (shownProgress_ == line) return;
  std::string drawn = "\r" + line;
  // What a longer line before left on the screen is blanked out.
  if (shownProgress_.size() > line.size()) drawn += std::string(shownProgress_.size() - line.size(), ' ');
  if (line.empty()) drawn += "\r";
  lib::WriteToStandardError(drawn);
  shownProgress_ = line;
}

}  // namespace zelkor::app
