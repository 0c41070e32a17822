#include "app/edit_text.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "lib/code_page.h"
#include "lib/files.h"
#include "lib/text.h"

namespace zelkor::app {

namespace {

// The control pictures of NUL, LF and CR (Unicode, block "Control Pictures"), in UTF-8. No single-byte code page has
// them, so none of them can stand in a file.
constexpr std::string_view kNulPicture = "\xE2\x90\x80";
constexpr std::string_view kLfPicture = "\xE2\x90\x8A";
constexpr std::string_view kCrPicture = "\xE2\x90\x8D";
constexpr std::size_t kPictureBytes = 3;

std::string_view Bytes(LineEnd end) {
  switch (end) {
    case LineEnd::CrLf:
      return "\r\n";
    case LineEnd::Lf:
      return "\n";
    case LineEnd::Cr:
      return "\r";
  }
  return {};
}

// The line end at the beginning of a text that begins with CR or LF.
LineEnd LineEndAt(std::string_view text) {
  if (text.front() == '\n') return LineEnd::Lf;
  return text.substr(0, 2) == Bytes(LineEnd::CrLf) ? LineEnd::CrLf : LineEnd::Cr;
}

std::string_view Pictures(LineEnd end) {
  switch (end) {
    case LineEnd::CrLf:
      return "\xE2\x90\x8D\xE2\x90\x8A";
    case LineEnd::Lf:
      return kLfPicture;
    case LineEnd::Cr:
      return kCrPicture;
  }
  return {};
}

// Calls `text` for every stretch without one of these and `special` for every line end and NUL.
template <class Text, class Special>
void Walk(std::string_view bytes, Text text, Special special) {
  constexpr std::string_view kSpecial("\r\n\0", 3);
  while (!bytes.empty()) {
    const std::size_t end = std::min(bytes.find_first_of(kSpecial), bytes.size());
    if (end > 0) text(bytes.substr(0, end));
    bytes.remove_prefix(end);
    if (bytes.empty()) return;
    const std::size_t length = bytes.front() == '\0' ? 1 : Bytes(LineEndAt(bytes)).size();
    special(bytes.substr(0, length));
    bytes.remove_prefix(length);
  }
}

LineEnd MostOf(std::string_view bytes) {
  std::array<std::size_t, 3> counts{};
  Walk(
      bytes, [](std::string_view) {},
      [&counts](std::string_view special) {
        if (special.front() != '\0') ++counts[static_cast<std::size_t>(LineEndAt(special))];
      });
  return static_cast<LineEnd>(std::max_element(counts.begin(), counts.end()) - counts.begin());
}

}  // namespace

ShownText ToShown(std::string_view bytes) {
  ShownText shown{.utf8 = {}, .lineEnd = MostOf(bytes)};
  Walk(
      bytes, [&shown](std::string_view text) { shown.utf8 += lib::ToUtf8(text); },
      [&shown](std::string_view special) {
        if (special.front() == '\0') {
          shown.utf8 += kNulPicture;
          return;
        }
        const LineEnd end = LineEndAt(special);
        if (end != shown.lineEnd) shown.utf8 += Pictures(end);
        shown.utf8 += '\n';
      });
  return shown;
}

FileBytes FromShown(std::string_view utf8, LineEnd lineEnd) {
  // What was pasted may have line ends of its own.
  const std::string shown = lib::ReplaceAll(lib::ReplaceAll(utf8, "\r\n", "\n"), "\r", "\n");
  FileBytes file;
  int number = 0;
  for (std::size_t begin = 0; begin <= shown.size(); ++number) {
    const std::size_t end = std::min(shown.find('\n', begin), shown.size());
    std::string line = shown.substr(begin, end - begin);
    line = lib::ReplaceAll(line, kNulPicture, std::string_view("\0", 1));
    line = lib::ReplaceAll(line, kLfPicture, "\n");
    line = lib::ReplaceAll(line, kCrPicture, "\r");
    const std::optional<std::string> bytes = lib::FromUtf8(line);
    if (!bytes) return {.bytes = {}, .badLine = number + 1};
    file.bytes += *bytes;
    // A picture at the end is the line's end.
    const bool hasEnd = line.ends_with('\n') || line.ends_with('\r');
    if (end < shown.size() && !hasEnd) file.bytes += Bytes(lineEnd);
    begin = end + 1;
  }
  return file;
}

namespace {

// Writes the file in place of the old one, which is deleted before a byte is written: a text that can not be saved
// leaves no file. Making the new one ready first keeps the old one's mode and owner.
lib::Status WriteInPlace(const std::string& fileName, std::string_view bytes) {
  lib::Result<lib::NewFile> file = lib::NewFile::Create(fileName);
  // An old file that may not be written, or is no file, may not be deleted either.
  if (file.Why() == lib::Cause::DiskFull || file.Why() == lib::Cause::Failed || file.Ok()) lib::KillFile(fileName);
  if (!file.Ok()) file = lib::NewFile::Create(fileName);
  if (!file.Ok()) return file.Failure();
  if (lib::Status written = file->Content().WriteAt(0, bytes); !written.Ok()) return written;
  if (lib::Status flushed = file->Content().Flush(); !flushed.Ok()) return flushed;
  return file->Replace();
}

}  // namespace

std::optional<std::string> EditText::Load(lib::User& user) {
  if (fileName_.empty() || loaded_) return std::nullopt;
  loaded_ = true;
  modified_ = false;
  unreadable_ = false;
  lineEnd_ = LineEnd::CrLf;
  const lib::Result<std::string> bytes = lib::ReadSmallFile(fileName_, kLargestText);
  if (bytes.Ok()) {
    ShownText shown = ToShown(*bytes);
    lineEnd_ = shown.lineEnd;
    return std::move(shown.utf8);
  }
  const bool missing = bytes.Why() == lib::Cause::NotFound || bytes.Why() == lib::Cause::PathNotFound;
  unreadable_ = !missing || lib::GetFileInfo(fileName_).Ok();  // a directory is no file that could be missing
  if (unreadable_) user.Message("Can not open " + fileName_, lib::Icon::Critical);
  return std::string();
}

std::optional<std::string> EditText::Reload(lib::User& user) {
  if (modified_) return std::nullopt;
  loaded_ = false;
  return Load(user);
}

bool EditText::SaveText(std::string_view shownUtf8, lib::User& user) {
  if (fileName_.empty()) return false;
  std::string message = "Cannot save " + fileName_;
  if (unreadable_) {
    message += "\r\nIt could not be read, so it is not replaced.";
  } else if (const FileBytes file = FromShown(shownUtf8, lineEnd_); file.badLine > 0) {
    message += "\r\nLine " + std::to_string(file.badLine) + " has a character that the code page lacks.";
  } else if (WriteInPlace(fileName_, file.bytes).Ok()) {
    modified_ = false;
    return true;
  }
  user.Message(message, lib::Icon::Critical);
  return false;
}

bool EditText::MayClose(std::string_view shownUtf8, lib::User& user) {
  if (fileName_.empty() || !modified_) return true;
  const lib::Button answer = user.Ask({.text = "Save changes?",
                                       .icon = lib::Icon::Question,
                                       .buttons = lib::Buttons::YesNoCancel,
                                       .preselected = lib::Button::Yes,
                                       .title = "Edit"});
  if (answer == lib::Button::Cancel) return false;
  // A text that could not be saved stays on the screen, the only place where it is.
  return answer == lib::Button::No || SaveText(shownUtf8, user);
}

}  // namespace zelkor::app
