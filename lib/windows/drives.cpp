#include "lib/windows/drives.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <vector>

#include "lib/code_page.h"
#include "lib/paths.h"
#include "lib/settings.h"
#include "lib/text.h"
#include "lib/windows/system.h"
#include "lib/windows/wide.h"

namespace zelkor::lib::windows {
namespace {

constexpr std::string_view kSection = "Drives";

std::size_t IndexOf(char letter) { return static_cast<std::size_t>((letter | 0x20) - 'a'); }

bool IsShare(std::string_view path) { return path.substr(0, 2) == R"(\\)"; }

// How much of an absolute path is no component that ".." could take away: "c:\", or "\\server\share\".
std::size_t RootLength(std::string_view path) {
  if (!IsShare(path)) return 3;
  const std::size_t server = path.find('\\', 2);
  const std::size_t share = server == std::string_view::npos ? server : path.find('\\', server + 1);
  return share == std::string_view::npos ? path.size() : share + 1;
}

// The components of a path behind its root, without "." and empty ones; ".." goes up, never above the root.
std::vector<std::string_view> Components(std::string_view rest) {
  std::vector<std::string_view> components;
  while (!rest.empty()) {
    const std::size_t end = rest.find('\\');
    const std::string_view name = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    if (name.empty() || name == ".") continue;
    if (name != "..") {
      components.push_back(name);
    } else if (!components.empty()) {
      components.pop_back();
    }
  }
  return components;
}

std::string WithSlash(std::string path) {
  if (path.empty() || path.back() != '\\') path += '\\';
  return path;
}

bool EqualNoCaseNative(std::string_view a, std::string_view b) {
  const std::wstring wideA = ToWide(a);
  const std::wstring wideB = ToWide(b);
  return CompareStringOrdinal(wideA.c_str(), static_cast<int>(wideA.size()), wideB.c_str(),
                              static_cast<int>(wideB.size()), TRUE) == CSTR_EQUAL;
}

// Whether `native` is `directory` or lies in it.
bool LiesIn(std::string_view native, std::string_view directory) {
  if (directory.empty() || native.size() < directory.size()) return false;
  if (!EqualNoCaseNative(native.substr(0, directory.size()), directory)) return false;
  return native.size() == directory.size() || directory.back() == '\\' || native[directory.size()] == '\\';
}

Status NoDirectory(char drive, const std::string& why) {
  const std::string letter(1, static_cast<char>(drive | 0x20));
  return {Cause::Refused, "Drive " + letter + " has no directory: set the key \"" + letter +
                              "\" in the section \"Drives\" of orlim.ini" + why};
}

std::unique_ptr<const Drives>& Loaded() {
  static std::unique_ptr<const Drives> drives;
  return drives;
}

// What the program's form carries but the system does not, or would take for something else.
Status CheckSystemName(std::string_view name) {
  if (Status usable = CheckName(name); !usable.Ok()) return usable;
  const auto refused = [&](const std::string& why) {
    return Status(Cause::Refused, "The name \"" + std::string(name) + "\" can not be used: " + why);
  };
  if (name.back() == '.') return refused("it ends with a dot");
  for (const char c : std::string_view("<>|")) {
    if (name.find(c) != std::string_view::npos) return refused(std::string("it holds the character ") + c);
  }
  if (IsDeviceName(name)) return refused("it is the name of a device");
  return {};
}

}  // namespace

const Drives& Drives::Current() {
  std::unique_ptr<const Drives>& loaded = Loaded();
  if (!loaded) loaded.reset(new Drives());  // NOLINT(modernize-make-unique): the constructor is private
  return *loaded;
}

void Drives::Forget() { Loaded().reset(); }

Drives::Drives() {
  const auto set = [this](char letter, const std::string& directory) {
    if (letter < 'a' || letter > 'z' || directory.empty()) return;
    Drive& drive = drives_[IndexOf(letter)];
    drive = {};
    if (IsDrivePath(directory) || IsShare(directory)) {
      drive.directory = AbsoluteNative(directory, "");
    } else {
      drive.refused = ", which is no absolute path";
    }
  };
  // Set by who keeps several computers apart on one: "c=D:\one\home;m=D:\stick". The settings come before it.
  const std::string given = Environment("ZELKOR_DRIVES");
  for (int i = 1; i <= CountOf(given, ";") + 1; ++i) {
    const std::string_view entry = GetToken(given, ";", i);
    if (entry.size() > 2 && entry[1] == '=') set(entry[0], std::string(entry.substr(2)));
  }
  for (const std::string& key : IniKeys(kSection)) {
    if (key.size() == 1) set(key[0], GetIniPath(kSection, key));
  }
}

Result<std::string> Drives::ToNative(std::string_view path) const {
  const bool share = IsShare(path);
  if (!share && !IsDrivePath(path)) {
    return Status(Cause::Refused, "The path \"" + std::string(path) + "\" does not begin with a drive and a backslash");
  }
  std::string native(path.substr(0, RootLength(path)));
  if (share) {
    native = WithSlash(ToUtf8(native));
  } else {
    const Drive& drive = drives_[IndexOf(path[0])];
    if (!drive.refused.empty()) return NoDirectory(path[0], drive.refused);
    if (!drive.directory.empty()) {
      native = drive.directory;
    } else if ((GetLogicalDrives() >> IndexOf(path[0]) & 1U) == 0) {
      // Of what may only be taken out for now nobody shall think that it holds nothing.
      return NoDirectory(path[0], ", or connect the drive");
    }
  }
  for (const std::string_view name : Components(path.substr(RootLength(path)))) {
    if (Status usable = CheckSystemName(name); !usable.Ok()) return usable;
    native = WithSlash(std::move(native)) + ToUtf8(name);
  }
  return native;
}

Result<std::string> Drives::FromNative(std::string_view native) const {
  const std::string absolute = AbsoluteNative(native, "");
  std::optional<std::size_t> best;
  for (std::size_t i = 0; i < drives_.size(); ++i) {
    const std::string& directory = drives_[i].directory;
    if (LiesIn(absolute, directory) && (!best || directory.size() > drives_[*best].directory.size())) best = i;
  }
  std::string path;
  std::string_view rest = absolute;
  if (best) {
    path = {static_cast<char>('a' + static_cast<char>(*best)), ':', '\\'};
    rest.remove_prefix(drives_[*best].directory.size());
  } else if (IsShare(absolute)) {
    const Result<std::string> root = TextFromNative(rest.substr(0, RootLength(absolute)));
    if (!root.Ok()) return root.Failure();
    path = WithSlash(*root);
    rest.remove_prefix(RootLength(absolute));
  } else {
    const Drive* drive = IsDrivePath(absolute) ? &drives_[IndexOf(absolute[0])] : nullptr;
    if (drive == nullptr || !drive->directory.empty() || !drive->refused.empty()) {
      return Status(Cause::Refused, "\"" + FromUtf8Lossy(absolute) + "\" lies in no drive's directory");
    }
    path = {static_cast<char>(absolute[0] | 0x20), ':', '\\'};
    rest.remove_prefix(3);
  }
  bool first = true;
  for (const std::string_view component : Components(rest)) {
    const Result<std::string> name = NameFromNative(component);
    if (!name.Ok()) return name.Failure();
    if (!first) path += '\\';
    first = false;
    path += *name;
  }
  return path;
}

Result<std::wstring> ToSystem(std::string_view path) {
  const Result<std::string> native = Drives::Current().ToNative(path);
  return native.Ok() ? Result<std::wstring>(ToSystemPath(*native)) : native.Failure();
}

std::string AbsoluteNative(std::string_view path, std::string_view directory) {
  std::string whole(path);
  std::replace(whole.begin(), whole.end(), '/', '\\');
  constexpr std::string_view kLong = R"(\\?\)";
  constexpr std::string_view kLongShare = R"(\\?\UNC\)";
  if (whole.starts_with(kLongShare)) {
    whole = R"(\\)" + whole.substr(kLongShare.size());
  } else if (whole.starts_with(kLong)) {
    whole.erase(0, kLong.size());
  }
  if (!IsShare(whole) && !IsDrivePath(whole)) {
    const bool ofDrive = whole.size() >= 2 && whole[1] == ':';
    if (ofDrive || directory.empty()) {
      // The system knows each drive's current directory.
      const std::wstring wide = ToWide(whole);
      const DWORD size = GetFullPathNameW(wide.c_str(), 0, nullptr, nullptr);
      std::wstring full(size, L'\0');
      full.resize(GetFullPathNameW(wide.c_str(), size, full.data(), nullptr));
      return FromWide(full);
    }
    const std::string base = AbsoluteNative(directory, "");
    const bool fromRoot = !whole.empty() && whole.front() == '\\';
    whole = WithSlash(fromRoot ? base.substr(0, RootLength(base)) : base) + whole;
  }
  const std::size_t root = RootLength(whole);
  std::string result = whole.substr(0, root);
  for (const std::string_view name : Components(std::string_view(whole).substr(root))) {
    result = WithSlash(std::move(result));
    result += name;
  }
  return result;
}

std::string DirectoryOf(std::string_view native) {
  const std::size_t slash = native.rfind('\\');
  if (slash == std::string_view::npos) return {};
  return std::string(native.substr(0, std::max(slash, RootLength(native))));
}

}  // namespace zelkor::lib::windows
