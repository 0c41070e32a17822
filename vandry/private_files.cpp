#include "vandry/private_files.h"

#include "lib/files.h"
#include "lib/paths.h"
#include "vandry/places.h"

namespace zelkor::vandry {

namespace {

lib::Status WriteFile(const std::string& path, std::string_view content, lib::Status (lib::NewFile::*takeName)()) {
  lib::Result<lib::NewFile> file = lib::NewFile::Create(path, lib::NewFile::Access::OwnerOnly);
  if (!file.Ok()) return file.Failure();
  lib::Status done = file->Content().WriteAt(0, content);
  if (done.Ok()) done = file->Content().Flush();
  if (done.Ok()) done = ((*file).*takeName)();
  if (done.Ok()) done = lib::FlushDirectory(lib::DirectoryPart(path));
  return done;
}

}  // namespace

lib::Result<std::string> PrivateFolder(const std::string& programDir) {
  std::string folder = DataFolder(programDir);
  if (!lib::DirectoryExists(folder) && !lib::MakePath(folder)) {
    return lib::Status(lib::Cause::Failed, "Can not make the folder " + folder);
  }
  return folder;
}

lib::Status WritePrivateFile(const std::string& path, std::string_view content) {
  return WriteFile(path, content, &lib::NewFile::Replace);
}

lib::Status MakePrivateFile(const std::string& path, std::string_view content) {
  return WriteFile(path, content, &lib::NewFile::TakeFreeName);
}

}  // namespace zelkor::vandry
