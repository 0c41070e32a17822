#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <random>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "lib/posix/file_info.h"
#include "lib/posix/name_lookup.h"
#include "lib/posix/open_file.h"
#include "lib/posix/system_error.h"
#include "lib/posix/unnamed_file.h"

namespace zelkor::lib {
namespace {

using posix::Descriptor;
using posix::SystemFailure;
using posix::Uninterrupted;

constexpr mode_t kPrivate = 0600;
constexpr mode_t kPermissions = 0777;

// What the user lets new files be: 0666 without the bits of the umask. Only setting it tells the umask.
mode_t NewFileMode() {
  static const mode_t mode = [] {
    const mode_t mask = umask(077);
    umask(mask);
    return static_cast<mode_t>(posix::kAskedFor & ~mask);
  }();
  return mode;
}

// A name that nothing else uses; whoever meets one after a crash sees whose it was.
std::string TemporaryName(const std::string& directory) {
  static std::mt19937_64 random{std::random_device{}()};
  std::array<char, 32> name{};
  std::snprintf(name.data(), name.size(), "~zelkor-%012llx.tmp",
                static_cast<unsigned long long>(random() & 0xFFFFFFFFFFFFU));
  return (directory == "/" ? std::string() : directory) + "/" + name.data();
}

// Gives an open file a first or further name; 0 or an errno.
int Link(int file, const std::string& path) {
  // The shorter road is not for everybody; whoever may not take it is told that there is no such file.
  static const bool direct = geteuid() == 0;
  if (direct && linkat(file, "", AT_FDCWD, path.c_str(), AT_EMPTY_PATH) == 0) return 0;
  if (direct && errno != ENOENT) return errno;
  std::array<char, 32> source{};
  std::snprintf(source.data(), source.size(), "/proc/self/fd/%d", file);
  return linkat(AT_FDCWD, source.data(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0 ? 0 : errno;
}

// Calls `make` with temporary names until one is free; 0 or an errno, and the name.
template <class Make>
int WithTemporaryName(const std::string& directory, std::string& name, Make make) {
  constexpr int kTries = 100;
  int error = EEXIST;
  for (int i = 0; i < kTries && error == EEXIST; ++i) {
    name = TemporaryName(directory);
    error = make(name);
  }
  return error;
}

// Renames, unless the new name is taken; 0 or an errno.
int RenameToFreeName(const std::string& from, const std::string& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return errno;
  if (link(from.c_str(), to.c_str()) == 0) {
    unlink(from.c_str());
    return 0;
  }
  if (errno == EEXIST || errno == ENOSPC || errno == EDQUOT) return errno;
  // Neither is known here, as on FAT of old kernels: a look before is all that is left.
  struct stat info {};
  if (lstat(to.c_str(), &info) == 0) return EEXIST;
  return rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

// What a replaced file hands on.
struct Old {
  mode_t mode = 0;
  uid_t user = 0;
  gid_t group = 0;
};

// The file of that name, if there is one; fails when it may not be replaced.
Result<std::optional<Old>> LookAtOld(const std::string& native, std::string_view path) {
  struct stat info {};
  if (lstat(native.c_str(), &info) != 0) {
    if (errno == ENOENT) return std::optional<Old>();
    return SystemFailure(errno, path);
  }
  if (S_ISLNK(info.st_mode)) {
    // The link itself gives way; what it leads to says what may be done.
    if (stat(native.c_str(), &info) != 0) return std::optional<Old>();
  }
  if (S_ISDIR(info.st_mode)) return SystemFailure(EISDIR, path);
  if (!S_ISREG(info.st_mode)) return posix::Failure(Cause::AccessDenied, path, "it is no ordinary file");
  if (posix::IsReadOnly(info.st_mode)) return posix::Failure(Cause::ReadOnly, path, "it is read-only");
  return std::optional<Old>({.mode = info.st_mode & kPermissions, .user = info.st_uid, .group = info.st_gid});
}

}  // namespace

struct NewFile::State {
  State() = default;
  State(const State&) = delete;
  State& operator=(const State&) = delete;
  ~State() {
    if (!temporary.empty()) unlink(temporary.c_str());
  }

  [[nodiscard]] int Handle() const { return content.state_->file.Get(); }
  [[nodiscard]] const std::string& Path() const { return content.state_->path; }
  // Takes over the old file's owner and mode, or the mode of a new one.
  void TakeOver(const std::optional<Old>& replaced) const;
  [[nodiscard]] Status TakeNewName();
  [[nodiscard]] Status TakeOldName();

  File content;
  std::string target;     // the native path that it will have
  std::string temporary;  // the native path that it has until then; empty for an unnamed file
  bool unnamed = false;
  bool ownerOnly = false;
  std::optional<Old> old;
};

NewFile::NewFile(std::unique_ptr<State> state) : state_(std::move(state)) {}
NewFile::NewFile(NewFile&&) noexcept = default;
NewFile& NewFile::operator=(NewFile&&) noexcept = default;
NewFile::~NewFile() = default;

Result<std::unique_ptr<NewFile::State>> NewFile::Prepare(std::string_view path, Access access) {
  const Result<posix::WrittenPath> written = posix::Drives::Current().ToWritten(path);
  if (!written.Ok()) return written.Failure();
  auto state = std::make_unique<State>();
  state->ownerOnly = access == Access::OwnerOnly;
  posix::NameLookup& lookup = posix::NameLookup::Shared();
  state->target = written->native;

  // In a directory whose listing is at hand that is asked first: most new files are new there.
  const bool listed = lookup.HasListing(posix::DirectoryOf(written->native));
  if (!listed) {
    const Result<std::optional<Old>> old = LookAtOld(state->target, path);
    if (!old.Ok() && old.Why() != Cause::PathNotFound) return old.Failure();
    if (old.Ok()) state->old = *old;
  }
  if (!state->old) {
    const posix::NameLookup::Found found = lookup.Find(*written);
    if (!found.directoryExists) return SystemFailure(ENOTDIR, path);
    state->target = found.path;
    if (found.exists) {
      const Result<std::optional<Old>> old = LookAtOld(state->target, path);
      if (!old.Ok()) return old.Failure();
      state->old = *old;
    }
  }
  return state;
}

Result<NewFile> NewFile::Create(std::string_view path, UnnamedFile& content) {
  Result<std::unique_ptr<State>> prepared = Prepare(path, Access::Usual);
  if (!prepared.Ok()) return prepared.Failure();
  std::unique_ptr<State> state = std::move(*prepared);
  if (!content.state_->place->TakesNamesIn(posix::DirectoryOf(state->target))) return SystemFailure(EXDEV, path);
  state->unnamed = true;
  state->content = std::move(content.state_->content);
  return NewFile(std::move(state));
}

Result<NewFile> NewFile::Create(std::string_view path, Access access) {
  Result<std::unique_ptr<State>> prepared = Prepare(path, access);
  if (!prepared.Ok()) return prepared.Failure();
  std::unique_ptr<State> state = std::move(*prepared);
  const std::string directory = posix::DirectoryOf(state->target);
  Descriptor file;
  int error = EOPNOTSUPP;
  if (posix::UnnamedFilesCanBeNamed()) {
    std::optional<Descriptor> unnamed =
        posix::OpenUnnamed(AT_FDCWD, directory.c_str(), state->old || state->ownerOnly ? kPrivate : NewFileMode());
    error = unnamed ? 0 : errno;
    state->unnamed = unnamed.has_value();
    if (unnamed) file = *std::move(unnamed);
  }
  if (error == EOPNOTSUPP || error == EISDIR || error == ENOENT || error == EINVAL) {
    std::string name;
    error = WithTemporaryName(directory, name, [&](const std::string& free) {
      file = Descriptor(Uninterrupted(
          [&] { return open(free.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kPrivate); }));
      return file.IsOpen() ? 0 : errno;
    });
    if (error == 0) state->temporary = name;
  }
  if (error != 0) return SystemFailure(error == ENOENT ? ENOTDIR : error, path);
  state->content.state_ = std::make_unique<File::State>(std::move(file), std::string(path));
  return NewFile(std::move(state));
}

File& NewFile::Content() { return state_->content; }

void NewFile::State::TakeOver(const std::optional<Old>& replaced) const {
  if (ownerOnly) return;  // it was made so
  const int file = Handle();
  if (!replaced) {
    if (!unnamed) fchmod(file, NewFileMode());  // where modes are not kept there is nothing to set
    return;
  }
  if (replaced->user != geteuid() || replaced->group != getegid()) {
    if (fchown(file, replaced->user, replaced->group) != 0 &&
        fchown(file, static_cast<uid_t>(-1), replaced->group) != 0) {
      // It stays ours, as the files of an editor do that may not give them away.
    }
  }
  fchmod(file, replaced->mode);
}

// A name that nothing had; Exists when something has it by now.
Status NewFile::State::TakeNewName() {
  const int error = unnamed ? Link(Handle(), target) : RenameToFreeName(temporary, target);
  if (error == ENOENT) return SystemFailure(ENOTDIR, Path());
  if (error != 0) return SystemFailure(error, Path());
  temporary.clear();
  posix::NameLookup::Shared().Added(target);
  return {};
}

Status NewFile::State::TakeOldName() {
  if (unnamed) {
    std::string name;
    const int error = WithTemporaryName(posix::DirectoryOf(target), name,
                                        [&](const std::string& free) { return Link(Handle(), free); });
    if (error != 0) return SystemFailure(error == ENOENT ? ENOTDIR : error, Path());
    temporary = name;
    unnamed = false;
  }
  if (rename(temporary.c_str(), target.c_str()) != 0) return SystemFailure(errno, Path());
  temporary.clear();
  posix::NameLookup::Shared().Added(target);
  return {};
}

Status NewFile::Replace() {
  State& state = *state_;
  state.TakeOver(state.old);
  if (!state.old) {
    if (Status taken = state.TakeNewName(); taken.Ok() || taken.Why() != Cause::Exists) return taken;
    // Somebody made the name meanwhile, or it is a link to nothing.
    const Result<std::optional<Old>> old = LookAtOld(state.target, state.Path());
    if (!old.Ok()) return old.Failure();
    if (*old) state.TakeOver(*old);
  }
  return state.TakeOldName();
}

Status NewFile::TakeFreeName() {
  State& state = *state_;
  if (state.old) return SystemFailure(EEXIST, state.Path());
  state.TakeOver(std::nullopt);
  return state.TakeNewName();
}

Status MoveToFreeName(File& file, std::string_view path) {
  const Result<posix::WrittenPath> target = posix::Drives::Current().ToWritten(path);
  if (!target.Ok()) return target.Failure();
  const Result<posix::WrittenPath> source = posix::Drives::Current().ToWritten(file.Path());
  if (!source.Ok()) return source.Failure();
  posix::NameLookup& lookup = posix::NameLookup::Shared();
  const posix::NameLookup::Found found = lookup.Find(*target);
  if (!found.directoryExists) return SystemFailure(ENOTDIR, path);
  if (found.exists) return SystemFailure(EEXIST, path);

  const int descriptor = file.state_->file.Get();
  const std::string directory = posix::DirectoryOf(found.path);
  struct stat place {};
  struct stat open {};
  struct stat named {};
  if (stat(directory.c_str(), &place) != 0 || fstat(descriptor, &open) != 0) return SystemFailure(errno, path);
  if (place.st_dev != open.st_dev || posix::HandsOn(directory, place)) return SystemFailure(EXDEV, path);
  // What has the file's name by now must still be the file.
  if (lstat(source->native.c_str(), &named) != 0) return SystemFailure(errno, file.Path());
  if (named.st_dev != open.st_dev || named.st_ino != open.st_ino) return SystemFailure(ENOENT, file.Path());
  if (Status flushed = file.Flush(); !flushed.Ok()) return flushed;
  if (const int error = RenameToFreeName(source->native, found.path); error != 0) return SystemFailure(error, path);
  // Only now: under its old name, which may be in a directory of everybody's, it was for nobody else.
  fchmod(descriptor, NewFileMode());
  lookup.Removed(source->native);
  lookup.Added(found.path);
  return {};
}

}  // namespace zelkor::lib
