#include "lib/posix/unnamed_file.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <utility>

#include "lib/posix/name_lookup.h"
#include "lib/posix/open_file.h"
#include "lib/posix/system_error.h"

namespace zelkor::lib {

namespace posix {
namespace {

// The nearest directory at or above this one that is there.
std::string ExistingDirectory(std::string directory) {
  while (directory != "/" && access(directory.c_str(), F_OK) != 0) directory = DirectoryOf(directory);
  return directory;
}

}  // namespace

bool UnnamedFilesCanBeNamed() {
  static const bool can = access("/proc/self/fd", X_OK) == 0;
  return can;
}

std::optional<Descriptor> OpenUnnamed(int at, const char* directory, mode_t mode) {
  Descriptor file(Uninterrupted([&] { return openat(at, directory, O_TMPFILE | O_RDWR | O_CLOEXEC, mode); }));
  return file.IsOpen() ? std::optional(std::move(file)) : std::nullopt;
}

bool HandsOn(const std::string& directory, const struct stat& info) {
  return (info.st_mode & S_ISGID) != 0 || getxattr(directory.c_str(), "system.posix_acl_default", nullptr, 0) > 0;
}

Result<std::unique_ptr<UnnamedPlace>> UnnamedPlace::For(const std::string& directory, std::string_view path) {
  if (!UnnamedFilesCanBeNamed()) return SystemFailure(EOPNOTSUPP, path);
  auto place = std::make_unique<UnnamedPlace>();
  place->directory_ = directory;
  const std::string existing = ExistingDirectory(directory);
  place->isAbove_ = existing != directory;
  place->opened_ = Descriptor(Uninterrupted([&] { return open(existing.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC); }));
  struct stat info {};
  if (!place->opened_.IsOpen() || fstat(place->opened_.Get(), &info) != 0) return SystemFailure(errno, path);
  if (place->isAbove_ && HandsOn(existing, info)) return SystemFailure(EXDEV, path);
  place->device_ = info.st_dev;
  return place;
}

bool UnnamedPlace::TakesNamesIn(const std::string& directory) const {
  if (directory != directory_) return false;
  if (!fits_) {
    struct stat info {};
    if (isAbove_ && stat(directory.c_str(), &info) != 0) return false;
    fits_ = !isAbove_ || (info.st_dev == device_ && !HandsOn(directory, info));
  }
  return *fits_;
}

}  // namespace posix

UnnamedFile::UnnamedFile(std::unique_ptr<State> state) : state_(std::move(state)) {}
UnnamedFile::UnnamedFile(UnnamedFile&&) noexcept = default;
UnnamedFile& UnnamedFile::operator=(UnnamedFile&&) noexcept = default;
UnnamedFile::~UnnamedFile() = default;

File& UnnamedFile::Content() { return state_->content; }

struct UnnamedFileMaker::State {
  std::shared_ptr<const posix::UnnamedPlace> place;  // of the last file
};

UnnamedFileMaker::UnnamedFileMaker() : state_(std::make_unique<State>()) {}
UnnamedFileMaker::~UnnamedFileMaker() = default;

bool UnnamedFileMaker::Works() { return posix::UnnamedFilesCanBeNamed(); }

Result<UnnamedFile> UnnamedFileMaker::Make(std::string_view path) {
  const Result<posix::WrittenPath> written = posix::Drives::Current().ToWritten(path);
  if (!written.Ok()) return written.Failure();
  const std::string directory = posix::DirectoryOf(written->native);
  if (!state_->place || state_->place->Directory() != directory) {
    state_->place.reset();
    Result<std::unique_ptr<posix::UnnamedPlace>> place = posix::UnnamedPlace::For(directory, path);
    if (!place.Ok()) return place.Failure();
    state_->place = std::move(*place);
  }
  std::optional<posix::Descriptor> file = state_->place->Open();
  if (!file) {
    const int error = errno;
    state_->place.reset();  // it may be there again for the next one
    return posix::SystemFailure(error, path);
  }
  auto made = std::make_unique<UnnamedFile::State>();
  made->content.state_ = std::make_unique<File::State>(*std::move(file), std::string(path));
  made->place = state_->place;
  return UnnamedFile(std::move(made));
}

}  // namespace zelkor::lib
