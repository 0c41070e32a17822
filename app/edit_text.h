// A text file between the disk and the editor's text box: read, shown, edited and saved, every byte and line end that
// was not edited staying as it was.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "lib/status.h"
#include "lib/user.h"

namespace zelkor::app {

// The largest text that the editor takes.
inline constexpr std::int64_t kLargestText = 64 * 1024 * 1024;

enum class LineEnd { CrLf, Lf, Cr };

// A text as the box shows it, in UTF-8: every line ends with LF. `lineEnd` is the line end that the file has most, and
// that such an LF stands for; another one is shown by a control picture (U+240D, U+240A) before the LF. A NUL, which no
// box takes, is shown as U+2400.
struct ShownText {
  std::string utf8;
  LineEnd lineEnd = LineEnd::CrLf;  // also of a text without line ends
};
[[nodiscard]] ShownText ToShown(std::string_view bytes);
// The bytes that a text from the box stands for; the line (from 1) of the first character that the code page lacks
// when there is one.
struct FileBytes {
  std::string bytes;
  int badLine = 0;
};
[[nodiscard]] FileBytes FromShown(std::string_view utf8, LineEnd lineEnd);

// One file in the editor: what the window has to remember about it.
class EditText {
 public:
  explicit EditText(std::string fileName) : fileName_(std::move(fileName)) {}

  [[nodiscard]] const std::string& FileName() const { return fileName_; }
  // "Edit - " and the file's name.
  [[nodiscard]] std::string Caption() const { return "Edit - " + fileName_; }
  [[nodiscard]] bool Modified() const { return modified_; }
  [[nodiscard]] bool Loaded() const { return loaded_; }
  // The text box was changed.
  void Text_Change() { modified_ = true; }

  // Reads the file, the first time only, and returns the text for the box; nothing when there is none to put there. A
  // file that does not exist is empty; one that can not be read is reported, shown empty, and never written.
  [[nodiscard]] std::optional<std::string> Load(lib::User& user);
  // Reads the file again unless the text has been modified.
  [[nodiscard]] std::optional<std::string> Reload(lib::User& user);
  // Writes the text of the box. The old file is deleted first, on purpose, so a save that fails leaves no file. False
  // after a message.
  bool SaveText(std::string_view shownUtf8, lib::User& user);
  // The question on closing. False: the window stays open.
  [[nodiscard]] bool MayClose(std::string_view shownUtf8, lib::User& user);

 private:
  std::string fileName_;
  LineEnd lineEnd_ = LineEnd::CrLf;
  bool loaded_ = false;
  bool modified_ = false;
  bool unreadable_ = false;
};

}  // namespace zelkor::app
