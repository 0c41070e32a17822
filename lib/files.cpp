// What needs nothing of the system but the procedures beside it.
#include "lib/files.h"

#include <utility>

#include "lib/paths.h"
#include "lib/user.h"

namespace zelkor::lib {
namespace {

constexpr int kBadFileMode = 54;  // the run-time error "Bad file mode"

int OpenByMode(std::string_view path, char mode, File& file) {
  OpenMode openMode = OpenMode::Read;
  switch (mode) {
    case 'b':
    case 'B':
    case 'r':
    case 'R':
      openMode = OpenMode::ReadWrite;
      break;
    case 'i':
    case 'I':
      break;
    case 'o':
    case 'O':
      openMode = OpenMode::Truncate;
      break;
    default:
      return kBadFileMode;
  }
  Result<File> opened = File::Open(path, openMode);
  if (!opened.Ok()) return ErrorNumber(opened.Why());
  file = std::move(*opened);
  return 0;
}

}  // namespace

void KillFile(std::string_view path) {
  if (const Status deleted = DeleteFile(path); !deleted.Ok()) return;  // every error is ignored
}

int OpenFileSafe(std::string_view path, char mode, File& file, int options, User& user) {
  if ((options & kDeleteFirst) != 0) KillFile(path);
  const int error = OpenByMode(path, mode, file);
  if (error != 0 && (options & kShowError) != 0) user.Message("Can not open " + std::string(path), Icon::Critical);
  return error;
}

Status CopyFileData(const File& source, File& destination) {
  const Result<std::int64_t> length = source.Length();
  if (!length.Ok()) return length.Failure();
  const Result<std::int64_t> end = destination.Length();
  if (!end.Ok()) return end.Failure();
  return CopyRange(source, 0, destination, *end, *length).status;
}

std::string TempFileName(std::string_view directory, std::string_view prefix, std::string_view extension) {
  std::string beginning = SlashPath(directory);
  beginning += prefix.empty() ? "~" : prefix;
  for (int counter = 0;; ++counter) {
    std::string name = beginning;
    if (counter < 10) name += '0';
    name += std::to_string(counter);
    name += '.';
    name += extension.empty() ? "tmp" : extension;
    if (!FileExists(name)) return name;
  }
}

Result<std::string> ReadSmallFile(std::string_view path, std::int64_t limit) {
  const Result<File> file = File::Open(path, OpenMode::Read);
  if (!file.Ok()) return file.Failure();
  const Result<std::int64_t> length = file->Length();
  if (!length.Ok()) return length.Failure();
  if (*length > limit) {
    return Status(Cause::Damaged,
                  "\"" + std::string(path) + "\": the file is longer than " + std::to_string(limit) + " bytes");
  }
  std::string content(static_cast<std::size_t>(*length), '\0');
  const Result<std::size_t> read = file->ReadAt(0, content);
  if (!read.Ok()) return read.Failure();
  content.resize(*read);
  return content;
}

}  // namespace zelkor::lib
