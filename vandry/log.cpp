#include "vandry/log.h"

#include <algorithm>
#include <cstdint>

#include "lib/clock.h"
#include "lib/files.h"
#include "lib/format.h"

namespace zelkor::vandry {

namespace {

// Beyond this the file becomes "Vandry.old", in place of the one before.
constexpr std::int64_t kLimit = std::int64_t{1024} * 1024;
constexpr std::size_t kLineLimit = 1000;

bool IsControl(char c) { return (c >= 0 && c < ' ') || c == '\x7f'; }

}  // namespace

Log::Log(std::string_view programDir)
    : path_(std::string(programDir) + "Vandry.log"), oldPath_(std::string(programDir) + "Vandry.old") {}

void Log::Line(std::string_view text) const {
  std::string line = lib::GeneralDate(lib::Now()) + " " + std::string(text.substr(0, kLineLimit));
  std::replace_if(line.begin(), line.end(), IsControl, '?');
  line += "\r\n";
  const lib::Result<lib::FileInfo> info = lib::GetFileInfo(path_);
  if (info.Ok() && info->size > kLimit) (void)lib::RenameFile(path_, oldPath_);
  lib::Result<lib::File> file = lib::File::Open(path_, lib::OpenMode::ReadWrite);
  if (file.Ok()) (void)file->Append(line);
}

}  // namespace zelkor::vandry
