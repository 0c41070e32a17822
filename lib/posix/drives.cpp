#include "lib/posix/drives.h"

#include <cstdlib>
#include <memory>
#include <optional>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "lib/code_page.h"
#include "lib/paths.h"
#include "lib/settings.h"

namespace zelkor::lib::posix {
namespace {

constexpr std::string_view kSection = "Drives";

std::size_t IndexOf(char letter) { return static_cast<std::size_t>((letter | 0x20) - 'a'); }

std::string Resolved(const std::string& directory) {
  const std::unique_ptr<char, decltype(&std::free)> real(realpath(directory.c_str(), nullptr), &std::free);
  return real ? std::string(real.get()) : directory;
}

// Whether `native` is `directory` or lies in it; "" is the root.
bool LiesIn(std::string_view native, std::string_view directory) {
  return native.substr(0, directory.size()) == directory &&
         (native.size() == directory.size() || native[directory.size()] == '/');
}

std::unique_ptr<const Drives>& Loaded() {
  static std::unique_ptr<const Drives> drives;
  return drives;
}

}  // namespace

std::string Environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : value;
}

std::string HomeDirectory() {
  if (std::string home = Environment("HOME"); !home.empty() && home.front() == '/') return home;
  const passwd* user = getpwuid(getuid());
  return user == nullptr || user->pw_dir == nullptr || *user->pw_dir != '/' ? "/" : user->pw_dir;
}

std::string AbsoluteNative(std::string_view path, std::string_view directory) {
  std::string whole = !path.empty() && path.front() == '/' ? std::string() : std::string(directory) + "/";
  whole += path;
  std::string result;
  for (std::size_t begin = 0; begin < whole.size();) {
    std::size_t end = whole.find('/', begin);
    if (end == std::string::npos) end = whole.size();
    const std::string_view component = std::string_view(whole).substr(begin, end - begin);
    begin = end + 1;
    if (component.empty() || component == ".") continue;
    if (component != "..") {
      result += '/';
      result += component;
      continue;
    }
    struct stat info {};
    if (!result.empty() && lstat(result.c_str(), &info) == 0 && S_ISLNK(info.st_mode)) result = Resolved(result);
    const std::size_t slash = result.rfind('/');
    result.erase(slash == std::string::npos ? 0 : slash);
  }
  return result.empty() ? "/" : result;
}

const Drives& Drives::Current() {
  std::unique_ptr<const Drives>& loaded = Loaded();
  if (!loaded) loaded.reset(new Drives());  // NOLINT(modernize-make-unique): the constructor is private
  return *loaded;
}

void Drives::Forget() { Loaded().reset(); }

Drives::Drives() {
  const auto set = [this](char letter, const std::string& directory) {
    Drive& drive = drives_[IndexOf(letter)];
    drive.given = true;
    drive.directory = AbsoluteNative(directory, "/");
    drive.resolved = Resolved(drive.directory);
    for (std::string* form : {&drive.directory, &drive.resolved}) {
      if (*form == "/") form->clear();
    }
  };
  set('c', HomeDirectory());
  set('z', "/");
  for (const std::string& key : IniKeys(kSection)) {
    if (key.size() != 1 || key[0] < 'a' || key[0] > 'z') continue;
    const std::string directory = GetIniPath(kSection, key);
    if (directory.empty()) continue;
    if (directory.front() == '/') {
      set(key[0], directory);
      continue;
    }
    Drive& drive = drives_[IndexOf(key[0])];
    drive.given = false;
    drive.refused = ", which is no absolute path";
  }
}

Result<WrittenPath> Drives::ToWritten(std::string_view path) const {
  if (!IsDrivePath(path)) {
    return Status(Cause::Refused, "The path \"" + std::string(path) + "\" does not begin with a drive and a backslash");
  }
  const Drive& drive = drives_[IndexOf(path[0])];
  if (!drive.given) {
    const std::string letter(1, static_cast<char>(path[0] | 0x20));
    return Status(Cause::Refused, "Drive " + letter + " has no directory: set the key \"" + letter +
                                      "\" in the section \"Drives\" of orlim.ini" + drive.refused);
  }
  WrittenPath written{.native = drive.directory, .root = drive.directory.size()};
  std::string_view rest = path.substr(3);
  while (!rest.empty()) {
    const std::size_t end = rest.find('\\');
    const std::string_view name = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    if (name.empty() || name == ".") continue;
    if (name == "..") {  // never above the drive's directory
      const std::size_t slash = written.native.rfind('/');
      if (slash != std::string::npos && slash >= written.root) written.native.erase(slash);
      continue;
    }
    if (Status usable = CheckName(name); !usable.Ok()) return usable;
    written.native += '/';
    written.native += ToUtf8(name);
  }
  if (written.native.empty()) written.native = "/";
  return written;
}

Result<std::string> Drives::FromNative(std::string_view native) const {
  const std::string absolute = native == "/" ? std::string() : AbsoluteNative(native, "/");
  std::optional<std::size_t> best;
  std::size_t bestLength = 0;
  for (std::size_t i = 0; i < drives_.size(); ++i) {
    if (!drives_[i].given) continue;
    for (const std::string* form : {&drives_[i].directory, &drives_[i].resolved}) {
      if (!LiesIn(absolute, *form) || (best && form->size() <= bestLength)) continue;
      best = i;
      bestLength = form->size();
    }
  }
  const std::string shown = FromUtf8Lossy(absolute);
  if (!best) return Status(Cause::Refused, "\"" + shown + "\" lies in no drive's directory");
  std::string path = {static_cast<char>('a' + static_cast<char>(*best)), ':', '\\'};
  std::string_view rest = std::string_view(absolute).substr(bestLength);
  bool first = true;
  while (!rest.empty()) {
    rest.remove_prefix(1);
    const std::size_t end = std::min(rest.find('/'), rest.size());
    const std::string_view component = rest.substr(0, end);
    rest.remove_prefix(end);
    if (component.empty()) continue;
    const Result<std::string> name = NameFromNative(component);
    if (!name.Ok()) return name.Failure();
    if (!first) path += '\\';
    first = false;
    path += *name;
  }
  return path;
}

}  // namespace zelkor::lib::posix
