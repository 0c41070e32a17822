#include "lib/native_path.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include "lib/paths.h"
#include "lib/posix/descriptor.h"
#include "lib/posix/drives.h"
#include "lib/posix/name_lookup.h"
#include "lib/posix/system_error.h"

namespace zelkor::lib {
namespace {

using posix::AbsoluteNative;
using posix::Drives;
using posix::Environment;

constexpr mode_t kPrivateDirectory = 0700;

Result<std::string> DirectoryFromNative(const std::string& native) {
  Result<std::string> path = Drives::Current().FromNative(native);
  return path.Ok() ? Result<std::string>(SlashPath(*path)) : path;
}

// Makes the missing directories of an absolute path; 0 or an errno.
int MakePrivateDirectories(const std::string& native) {
  for (std::size_t slash = native.find('/', 1);; slash = native.find('/', slash + 1)) {
    const std::string level = native.substr(0, slash);
    struct stat info {};
    if (mkdir(level.c_str(), kPrivateDirectory) != 0) {
      const int error = errno;
      if (stat(level.c_str(), &info) != 0) return error;
      if (!S_ISDIR(info.st_mode)) return EEXIST;
    }
    if (slash == std::string::npos) return 0;
  }
}

// The directory of the running program when Zelkor's files are in it; empty otherwise.
std::string DirectoryBesideProgram() {
  std::array<char, 4096> program{};
  const ssize_t length = readlink("/proc/self/exe", program.data(), program.size());
  if (length <= 0) return {};
  const std::string directory = posix::DirectoryOf(std::string_view(program.data(), static_cast<std::size_t>(length)));
  const std::string configuration = directory + "/zelkor.cfg";
  return access(configuration.c_str(), F_OK) == 0 ? directory : std::string();
}

std::string NativeProgramDir() {
  if (const std::string given = Environment("ZELKOR_DIR"); !given.empty()) {
    return AbsoluteNative(given, StartDirectory());
  }
  if (std::string beside = DirectoryBesideProgram(); !beside.empty()) return beside;
  std::string data = Environment("XDG_DATA_HOME");
  // A relative one does not count, as its definition says.
  if (data.empty() || data.front() != '/') data = posix::HomeDirectory() + "/.local/share";
  return AbsoluteNative("zelkor", data);
}

// The number in a file of the system's; nothing when there is no such file.
bool HoldsOne(const std::string& path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "re"), &std::fclose);
  return file && std::fgetc(file.get()) == '1';
}

}  // namespace

Result<std::string> ToNative(std::string_view path) {
  const Result<posix::WrittenPath> written = Drives::Current().ToWritten(path);
  if (!written.Ok()) return written.Failure();
  return posix::OnExisting(*written,
                           [](const std::string& native) {
                             struct stat info {};
                             return lstat(native.c_str(), &info) == 0 ? 0 : errno;
                           })
      .path;
}

Result<std::string> FromNative(std::string_view nativePath) { return Drives::Current().FromNative(nativePath); }

Result<std::string> FromCommandLine(std::string_view word, std::string_view startDirectory) {
  return IsDrivePath(word) ? TextFromNative(word) : FromNative(AbsoluteNative(word, startDirectory));
}

bool NamesNativeFile(std::string_view word, std::string_view startDirectory) {
  if (word.empty()) return false;
  struct stat info {};
  return stat(AbsoluteNative(word, startDirectory).c_str(), &info) == 0;
}

std::string StartDirectory() {
  const std::unique_ptr<char, decltype(&std::free)> directory(getcwd(nullptr, 0), &std::free);
  return directory ? directory.get() : "/";
}

Result<std::string> TemporaryDirectory() {
  const std::string given = Environment("TMPDIR");
  return DirectoryFromNative(!given.empty() && given.front() == '/' ? given : "/tmp");
}

Result<std::string> FindProgramDir() {
  const std::string native = NativeProgramDir();
  Result<std::string> path = DirectoryFromNative(native);
  if (!path.Ok()) return path;
  if (const int error = MakePrivateDirectories(native); error != 0) return posix::SystemFailure(error, *path);
  return path;
}

bool HasShares() { return false; }

bool IsRemovable(std::string_view path) {
  if (IsDrivePath(path) && std::string_view("abAB").find(path[0]) != std::string_view::npos) return true;
  const Result<std::string> native = ToNative(path);
  if (!native.Ok()) return false;
  struct stat info {};
  std::string place = *native;
  while (stat(place.c_str(), &info) != 0) {
    if (place == "/") return false;
    place = posix::DirectoryOf(place);
  }
  // A disk has the attribute itself; a partition stands in its disk's directory.
  const std::string device =
      "/sys/dev/block/" + std::to_string(major(info.st_dev)) + ":" + std::to_string(minor(info.st_dev));
  return HoldsOne(device + "/removable") || HoldsOne(device + "/../removable");
}

void ForgetDrives() {
  Drives::Forget();
  posix::NameLookup::Shared().Forget();
}

}  // namespace zelkor::lib
