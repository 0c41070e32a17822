#include "lib/files.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "lib/code_page.h"
#include "lib/paths.h"
#include "lib/posix/descriptor.h"
#include "lib/posix/file_info.h"
#include "lib/posix/name_lookup.h"
#include "lib/posix/system_error.h"
#include "lib/text.h"

namespace zelkor::lib {
namespace {

using posix::Descriptor;
using posix::Drives;
using posix::NameLookup;
using posix::SystemFailure;
using posix::Uninterrupted;
using posix::WrittenPath;

constexpr mode_t kUserDirectory = 0777;  // the umask takes its part

// The facts of the file or directory that a path names.
Status ReadPathFacts(std::string_view path, struct statx& facts) {
  const Result<WrittenPath> written = Drives::Current().ToWritten(path);
  if (!written.Ok()) return written.Failure();
  const posix::Attempted attempted = posix::OnExisting(
      *written, [&](const std::string& name) { return posix::ReadFacts({.path = name.c_str()}, facts); });
  return attempted.error == 0 ? Status() : SystemFailure(attempted.error, path);
}

// An open directory for flushing what is in it, or the file system it is on.
Result<Descriptor> OpenDirectory(std::string_view directory) {
  const Result<WrittenPath> written = Drives::Current().ToWritten(directory);
  if (!written.Ok()) return written.Failure();
  Descriptor opened;
  const posix::Attempted attempted = posix::OnExisting(*written, [&](const std::string& native) {
    opened = Descriptor(Uninterrupted([&] { return open(native.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    return opened.IsOpen() ? 0 : errno;
  });
  if (attempted.error != 0) return SystemFailure(attempted.error == ENOENT ? ENOTDIR : attempted.error, directory);
  return opened;
}

// Whether what has the name may be taken away or replaced.
Status CheckGivesWay(const struct stat& info, std::string_view path) {
  if (S_ISDIR(info.st_mode)) return SystemFailure(EISDIR, path);
  if (posix::IsReadOnly(info.st_mode)) return posix::Failure(Cause::ReadOnly, path, "it is read-only");
  return {};
}

DirectoryEntry ToEntry(int directory, const dirent& found) {
  DirectoryEntry entry;
  const std::string_view native = found.d_name;
  bool file = found.d_type == DT_REG;
  entry.directory = found.d_type == DT_DIR;
  entry.link = found.d_type == DT_LNK;
  if (found.d_type == DT_LNK || found.d_type == DT_UNKNOWN) {
    struct stat info {};
    if (found.d_type == DT_UNKNOWN && fstatat(directory, found.d_name, &info, AT_SYMLINK_NOFOLLOW) == 0) {
      entry.link = S_ISLNK(info.st_mode);
    }
    if (fstatat(directory, found.d_name, &info, 0) == 0) {
      file = S_ISREG(info.st_mode);
      entry.directory = S_ISDIR(info.st_mode);
    }
  }
  entry.other = !file && !entry.directory;
  if (Result<std::string> name = NameFromNative(native); name.Ok()) {
    entry.name = *std::move(name);
  } else {
    entry.name = FromUtf8Lossy(native);
    entry.refused = name.Failure();
  }
  return entry;
}

}  // namespace

Result<FileInfo> GetFileInfo(std::string_view path) {
  struct statx facts {};
  if (Status read = ReadPathFacts(path, facts); !read.Ok()) return read;
  // Reading the creation time that we keep beside the system's own would cost every look a second system call.
  return posix::ToFileInfo(facts, std::nullopt);
}

Result<FileInfo> GetInfoAsSpelled(std::string_view path) {
  const Result<WrittenPath> written = Drives::Current().ToWritten(path);
  if (!written.Ok()) return written.Failure();
  struct statx facts {};
  if (const int error = posix::ReadFacts({.path = written->native.c_str()}, facts); error != 0) {
    return SystemFailure(error, path);
  }
  return posix::ToFileInfo(facts, std::nullopt);
}

bool FileExists(std::string_view path) {
  const std::string_view name = Trim(path);
  if (name.empty() || name.back() == '\\') return false;
  struct statx facts {};
  return ReadPathFacts(name, facts).Ok() && !S_ISDIR(facts.stx_mode);
}

bool DirectoryExists(std::string_view path) {
  struct statx facts {};
  return ReadPathFacts(path, facts).Ok() && S_ISDIR(facts.stx_mode);
}

Status RenameFile(std::string_view from, std::string_view to) {
  const Result<WrittenPath> source = Drives::Current().ToWritten(from);
  if (!source.Ok()) return source.Failure();
  const Result<WrittenPath> destination = Drives::Current().ToWritten(to);
  if (!destination.Ok()) return destination.Failure();

  struct stat info {};
  const posix::Attempted old = posix::OnExisting(
      *source, [&](const std::string& native) { return lstat(native.c_str(), &info) == 0 ? 0 : errno; });
  if (old.error != 0) return SystemFailure(old.error, from);

  NameLookup& lookup = NameLookup::Shared();
  const NameLookup::Found found = lookup.Find(*destination);
  if (!found.directoryExists) return SystemFailure(ENOTDIR, to);
  std::string target = found.path;
  if (found.path == old.path) {
    // The file itself has the new name, but for its case, which is what changes then.
    const std::string directory = posix::DirectoryOf(old.path);
    target = (directory == "/" ? "" : directory) + "/" + std::string(posix::NameOf(destination->native));
    if (target == old.path) return {};
  } else if (found.exists && lstat(target.c_str(), &info) == 0) {
    if (Status replaceable = CheckGivesWay(info, to); !replaceable.Ok()) return replaceable;
  }
  if (rename(old.path.c_str(), target.c_str()) != 0) return SystemFailure(errno, errno == ENOENT ? from : to);
  lookup.Removed(old.path);
  lookup.Added(target);
  return {};
}

Status DeleteFile(std::string_view path) {
  const Result<WrittenPath> written = Drives::Current().ToWritten(path);
  if (!written.Ok()) return written.Failure();
  Status refused;
  const posix::Attempted attempted = posix::OnExisting(*written, [&](const std::string& native) {
    struct stat info {};
    if (lstat(native.c_str(), &info) != 0) return errno;
    refused = CheckGivesWay(info, path);
    if (!refused.Ok()) return 0;
    return unlink(native.c_str()) == 0 ? 0 : errno;
  });
  if (attempted.error != 0) return SystemFailure(attempted.error, path);
  if (refused.Ok()) NameLookup::Shared().Removed(attempted.path);
  return refused;
}

bool MakePath(std::string_view path) {
  if (!IsDrivePath(path)) return false;
  if (DirectoryExists(path)) return true;
  const std::string whole = SlashPath(path, true);
  for (std::size_t end = whole.find('\\', 3);; end = whole.find('\\', end + 1)) {
    const std::string_view level = std::string_view(whole).substr(0, end);
    if (!DirectoryExists(level)) {
      const Result<WrittenPath> written = Drives::Current().ToWritten(level);
      if (!written.Ok()) return false;
      NameLookup& lookup = NameLookup::Shared();
      const NameLookup::Found found = lookup.Find(*written);
      if (!found.directoryExists || mkdir(found.path.c_str(), kUserDirectory) != 0) return false;
      lookup.Added(found.path);
    }
    if (end == std::string::npos) return true;
  }
}

Result<std::vector<DirectoryEntry>> ListDirectory(std::string_view directory) {
  Result<Descriptor> opened = OpenDirectory(directory);
  if (!opened.Ok()) return opened.Failure();
  // The stream gets a descriptor of its own, which it closes.
  const int own = fcntl(opened->Get(), F_DUPFD_CLOEXEC, 0);
  if (own < 0) return SystemFailure(errno, directory);
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(fdopendir(own), &closedir);
  if (!stream) {
    close(own);
    return SystemFailure(errno, directory);
  }
  std::vector<DirectoryEntry> entries;
  for (;;) {
    errno = 0;
    const dirent* found = readdir(stream.get());
    if (found == nullptr) break;
    const std::string_view name = found->d_name;
    if (name != "." && name != "..") entries.push_back(ToEntry(opened->Get(), *found));
  }
  if (errno != 0) return SystemFailure(errno, directory);
  std::sort(entries.begin(), entries.end(),
            [](const DirectoryEntry& a, const DirectoryEntry& b) { return a.name < b.name; });
  return entries;
}

struct Volume::State {
  Descriptor directory;
  std::string path;  // in the program's form
};

Volume::Volume(std::unique_ptr<State> state) : state_(std::move(state)) {}
Volume::Volume(Volume&&) noexcept = default;
Volume& Volume::operator=(Volume&&) noexcept = default;
Volume::~Volume() = default;

Result<Volume> Volume::Of(std::string_view path) {
  // A file's directory is on the same file system, but for a link or a directory on which another one is mounted.
  std::string place(path);
  if (!DirectoryExists(path)) place = DirectoryPart(path);
  Result<Descriptor> directory = OpenDirectory(place);
  if (!directory.Ok()) return directory.Failure();
  return Volume(std::make_unique<State>(State{.directory = std::move(*directory), .path = std::move(place)}));
}

Status Volume::Flush() const {
  return syncfs(state_->directory.Get()) == 0 ? Status() : SystemFailure(errno, state_->path);
}

Status FlushDirectory(std::string_view directory) {
  const Result<Descriptor> opened = OpenDirectory(directory);
  if (!opened.Ok()) return opened.Failure();
  return Uninterrupted([&] { return fsync(opened->Get()); }) == 0 ? Status() : SystemFailure(errno, directory);
}

}  // namespace zelkor::lib
