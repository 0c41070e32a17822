#include "sync/own_files.h"

#include <algorithm>

#include "lib/files.h"
#include "lib/native_path.h"
#include "lib/paths.h"
#include "lib/settings.h"
#include "lib/text.h"

namespace zelkor::sync {

OwnFiles::OwnFiles(std::string_view programDir) {
  Add(programDir, "");
  if (const lib::Result<std::string> settings = lib::SettingsPath(); settings.Ok()) {
    Add(lib::DirectoryPart(*settings), lib::FileNamePart(*settings));
  }
  if (const lib::Result<std::string> program = lib::ExecutablePath(); program.Ok()) {
    Add(lib::DirectoryPart(*program), lib::FileNamePart(*program));
    for (const char* other : {"zelkor", "zelkor-windows", "vandry", "vandry.exe"}) {
      Add(lib::DirectoryPart(*program), other);
    }
  }
}

void OwnFiles::Add(std::string_view directory, std::string_view name) {
  const lib::Result<lib::FileInfo> info = lib::GetFileInfo(directory);
  if (info.Ok()) own_.push_back({{info->device, info->index}, std::string(name)});
}

bool OwnFiles::Contains(std::string_view path) {
  std::string directory = lib::DirectoryPart(path);
  if (directory != lastDirectory_) {
    const lib::Result<lib::FileInfo> info = lib::GetFileInfo(directory);
    if (!info.Ok()) return false;  // a directory that does not exist holds none of our files
    lastDirectory_ = std::move(directory);
    lastIndex_ = {info->device, info->index};
  }
  const std::string name = lib::FileNamePart(path);
  return std::any_of(own_.begin(), own_.end(), [&](const Own& own) {
    return own.directory == lastIndex_ && (own.name.empty() || lib::EqualNoCase(own.name, name));
  });
}

}  // namespace zelkor::sync
