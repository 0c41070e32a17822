#include "app/help_file.h"

#include <cstdint>

#include "lib/files.h"
#include "lib/native_path.h"
#include "lib/paths.h"
#include "lib/shell.h"

namespace zelkor::app {
namespace {

constexpr std::string_view kHelpFileName = "zelkor.hlp";
// More than any help file has.
constexpr std::int64_t kMaxLength = 4 << 20;

// The text of the help file that came with the program; the reason when there is none.
lib::Result<std::string> InstalledHelp(std::string_view executableDir) {
  const std::string above = lib::DirectoryPart(lib::SlashPath(executableDir, true));
  lib::Result<std::string> text = lib::Status(lib::Cause::NotFound, "Can not find the help file zelkor.hlp");
  for (const std::string& folder : {above + "share\\zelkor\\", std::string(executableDir)}) {
    text = lib::ReadSmallFile(folder + std::string(kHelpFileName), kMaxLength);
    if (text.Ok()) break;
  }
  return text;
}

lib::Status Store(const std::string& text, const std::string& path) {
  lib::Result<lib::NewFile> file = lib::NewFile::Create(path);
  if (!file.Ok()) return file.Failure();
  if (lib::Status written = file->Content().Append(text); !written.Ok()) return written;
  return file->Replace();
}

}  // namespace

std::string HelpFile(std::string_view programDir) { return lib::SlashPath(programDir) + std::string(kHelpFileName); }

lib::Status PlaceHelpFile(std::string_view programDir, std::string_view executableDir) {
  const std::string path = HelpFile(programDir);
  const lib::Result<std::string> installed = InstalledHelp(executableDir);
  if (!installed.Ok()) return lib::FileExists(path) ? lib::Status() : installed.Failure();
  const lib::Result<std::string> present = lib::ReadSmallFile(path, kMaxLength);
  if (present.Ok() && *present == *installed) return {};
  const lib::Status stored = Store(*installed, path);
  return stored.Ok() || lib::FileExists(path) ? lib::Status() : stored;
}

bool OpenHelp(std::string_view programDir, lib::User& user) {
  const lib::Result<std::string> executable = lib::ExecutablePath();
  const std::string executableDir = executable.Ok() ? lib::DirectoryPart(*executable) : std::string(programDir);
  if (const lib::Status placed = PlaceHelpFile(programDir, executableDir); !placed.Ok()) {
    user.Message(placed.Message(), lib::Icon::Critical);
    return false;
  }
  lib::ShellOpen(HelpFile(programDir));
  return true;
}

}  // namespace zelkor::app
