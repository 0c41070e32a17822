#include "lib/settings_file.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "lib/ini_text.h"

namespace zelkor::lib {
namespace {

// No settings file is that long: what is longer is something else, and is left alone.
constexpr std::size_t kMaxFileBytes = std::size_t{1} << 20;

constexpr mode_t kDirectoryMode = 0700;  // as the XDG base directories ask

// A file descriptor; closed when the object goes.
class Descriptor {
 public:
  explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
  ~Descriptor() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  [[nodiscard]] bool IsOpen() const { return descriptor_ >= 0; }
  [[nodiscard]] int Get() const { return descriptor_; }

 private:
  int descriptor_;
};

std::string Environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : value;
}

std::string HomeDirectory() {
  if (std::string home = Environment("HOME"); !home.empty()) return home;
  const passwd* user = getpwuid(getuid());
  return user == nullptr ? "/" : user->pw_dir;
}

std::string DirectoryOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == 0 ? "/" : path.substr(0, slash);
}

// The file that the links from `path` lead to; it need not exist. Nothing for links in a circle.
std::optional<std::string> BehindLinks(std::string path) {
  constexpr int kMaxLinks = 40;  // as many as the kernel follows
  for (int links = 0; links < kMaxLinks; ++links) {
    std::array<char, PATH_MAX> target{};
    const ssize_t length = readlink(path.c_str(), target.data(), target.size());
    if (length < 0) return path;
    const std::string next(target.data(), static_cast<std::size_t>(length));
    path = std::filesystem::path(path).parent_path() / next;  // an absolute `next` takes the place of all
  }
  return std::nullopt;
}

// The file's text. `usable` is false when a file is there that is not to be taken for settings: it cannot be read, is
// no regular file, is too long, or is in 16-bit characters. Such a file is never written.
struct FileText {
  std::string text;
  bool usable = false;
  bool readOnly = false;  // its owner may not write it
};

FileText ReadFileText(const std::string& path) {
  // Without O_NONBLOCK, opening a named pipe would wait for a writer.
  const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!file.IsOpen()) return {.text = {}, .usable = errno == ENOENT, .readOnly = false};
  struct stat info {};
  if (fstat(file.Get(), &info) != 0 || !S_ISREG(info.st_mode)) return {};
  FileText result;
  std::array<char, 16384> buffer{};
  for (;;) {
    const ssize_t count = read(file.Get(), buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return {};
    if (count == 0) break;
    result.text.append(buffer.data(), static_cast<std::size_t>(count));
    if (result.text.size() > kMaxFileBytes) return {};
  }
  const std::string_view mark = std::string_view(result.text).substr(0, 2);
  if (mark == "\xFF\xFE" || mark == "\xFE\xFF") return {};
  result.usable = true;
  result.readOnly = (info.st_mode & S_IWUSR) == 0;
  return result;
}

bool WriteAll(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = write(file, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

// Replaces a file as a whole: whoever opens the name finds the old text or the new one, also after a crash.
void ReplaceFile(const std::string& path, std::string_view text, int directory) {
  std::string temporary = path + ".XXXXXX";
  const Descriptor file(mkostemp(temporary.data(), O_CLOEXEC));  // mode 0600
  if (!file.IsOpen()) return;
  const bool whole = WriteAll(file.Get(), text) && fsync(file.Get()) == 0;
  if (!whole || rename(temporary.c_str(), path.c_str()) != 0) {
    unlink(temporary.c_str());
    return;
  }
  fsync(directory);
}

void MakeDirectories(const std::string& directory) {
  for (std::size_t slash = directory.find('/', 1);; slash = directory.find('/', slash + 1)) {
    mkdir(directory.substr(0, slash).c_str(), kDirectoryMode);
    if (slash == std::string::npos) return;
  }
}

// Keeps the other programs of the suite from writing at the same moment, so that no value of theirs is lost. One that
// hangs is waited for a short time only. The lock goes with the descriptor.
void LockForAMoment(int directory) {
  constexpr int kTries = 100;
  for (int i = 0; i < kTries && flock(directory, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

}  // namespace

// XDG_CONFIG_HOME counts only when it is absolute, as its definition says.
std::string NativeSettingsPath() {
  std::string directory = Environment("XDG_CONFIG_HOME");
  if (directory.empty() || directory.front() != '/') directory = HomeDirectory() + "/.config";
  return directory + "/orlim.ini";
}

std::optional<std::string> ReadSetting(std::string_view section, std::string_view key) {
  return IniValue(ReadFileText(NativeSettingsPath()).text, section, key);
}

void WriteSetting(std::string_view section, std::string_view key, std::string_view value) {
  const std::optional<std::string> path = BehindLinks(NativeSettingsPath());
  if (!path) return;
  const std::string directoryPath = DirectoryOf(*path);
  MakeDirectories(directoryPath);
  const Descriptor directory(open(directoryPath.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!directory.IsOpen()) return;
  LockForAMoment(directory.Get());
  const FileText old = ReadFileText(*path);
  if (!old.usable || old.readOnly) return;
  const std::string text = WithIniValue(old.text, section, key, value);
  if (text != old.text && text.size() <= kMaxFileBytes) ReplaceFile(*path, text, directory.Get());
}

std::vector<std::string> ReadSettingKeys(std::string_view section) {
  return IniSectionKeys(ReadFileText(NativeSettingsPath()).text, section);
}

}  // namespace zelkor::lib
