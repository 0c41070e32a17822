#include "lib/paths.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "lib/code_page.h"
#include "lib/native_path.h"
#include "lib/text.h"

namespace zelkor::lib {
namespace {

bool IsAsciiLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

std::size_t NameStart(std::string_view path) {
  std::size_t start = path.size();
  while (start > 0 && path[start - 1] != '\\' && path[start - 1] != ':') --start;
  return start;
}

bool IsControl(char c) { return static_cast<unsigned char>(c) < 32 || c == 127; }

// Which characters no name may hold, the control characters too.
constexpr std::array<bool, 256> kRefused = [] {
  std::array<bool, 256> refused{};
  for (std::size_t c = 0; c < 32; ++c) refused[c] = true;
  refused[127] = true;
  // The slash ends a name on systems where native paths are cut at it.
  for (const char c : std::string_view("\\/:*?\"")) refused[static_cast<unsigned char>(c)] = true;
  return refused;
}();

// Control characters as "?", so that a message stays one line.
std::string Shown(std::string_view name) {
  std::string text(name);
  std::replace_if(text.begin(), text.end(), IsControl, '?');
  return text;
}

Status RefusedName(std::string_view name, const std::string& why) {
  return {Cause::Refused, "The name \"" + Shown(name) + "\" can not be used: " + why};
}

Status RefusedPath(std::string_view path) {
  return {Cause::Refused, "The path \"" + Shown(path) + "\" does not begin with a drive and a backslash"};
}

}  // namespace

Result<std::string> TextFromNative(std::string_view utf8) {
  if (std::optional<std::string> text = FromUtf8(utf8)) return *std::move(text);
  return RefusedName(FromUtf8Lossy(utf8), "it holds a character outside the code page");
}

Result<std::string> NameFromNative(std::string_view utf8) {
  Result<std::string> name = TextFromNative(utf8);
  if (!name.Ok()) return name;
  if (Status usable = CheckName(*name); !usable.Ok()) return usable;
  return name;
}

std::string SlashPath(std::string_view path, bool remove) {
  const bool slash = !path.empty() && path.back() == '\\';
  if (remove) return std::string(slash ? path.substr(0, path.size() - 1) : path);
  std::string result(path);
  if (!slash) result += '\\';
  return result;
}

std::string FileNamePart(std::string_view path) { return std::string(path.substr(NameStart(path))); }

std::string DirectoryPart(std::string_view path) { return std::string(path.substr(0, NameStart(path))); }

std::string FileExtension(std::string_view fileName) {
  const std::string_view name = fileName.substr(NameStart(fileName));
  const std::size_t dot = name.find('.');
  return dot == std::string_view::npos ? std::string() : std::string(name.substr(dot + 1));
}

std::string FileBaseName(std::string_view name) { return std::string(name.substr(0, name.find('.'))); }

bool IsDrivePath(std::string_view path) {
  return path.size() >= 3 && IsAsciiLetter(path[0]) && path[1] == ':' && path[2] == '\\';
}

std::size_t RootLength(std::string_view path) {
  if (IsDrivePath(path)) return 3;
  if (!HasShares() || path.substr(0, 2) != "\\\\") return 0;
  const std::size_t server = path.find('\\', 2);
  const std::size_t share = server == std::string_view::npos ? server : path.find('\\', server + 1);
  if (share == std::string_view::npos) return 0;
  const auto usable = [&](std::size_t from, std::size_t to) {
    const std::string_view name = path.substr(from, to - from);
    return CheckName(name).Ok() && name.find_first_not_of('.') != std::string_view::npos;
  };
  return usable(2, server) && usable(server + 1, share) ? share + 1 : 0;
}

Status CheckName(std::string_view name) {
  if (name.empty()) return {Cause::Refused, "A name in the path is empty"};
  const auto refused =
      std::find_if(name.begin(), name.end(), [](char c) { return kRefused[static_cast<unsigned char>(c)]; });
  if (refused != name.end()) {
    return RefusedName(
        name, IsControl(*refused) ? "it holds a control character" : std::string("it holds the character ") + *refused);
  }
  if (name.front() == ' ' || name.back() == ' ') return RefusedName(name, "it begins or ends with a blank");
  return {};
}

// In every directory and with any extension. Source: Microsoft's "Naming Files,
// Paths, and Namespaces"; the superscript digits 1 to 3 of Windows-1252 count as digits there.
bool IsDeviceName(std::string_view name) {
  const std::string_view base = Trim(name.substr(0, name.find('.')));
  constexpr auto kDevices =
      std::to_array<std::string_view>({"con", "prn", "aux", "nul", "conin$", "conout$", "clock$"});
  if (std::any_of(kDevices.begin(), kDevices.end(), [&](std::string_view d) { return EqualNoCase(base, d); })) {
    return true;
  }
  constexpr std::string_view kPorts = "123456789\xB9\xB2\xB3";
  return base.size() == 4 && (BeginsWithNoCase(base, "com") || BeginsWithNoCase(base, "lpt")) &&
         kPorts.find(base[3]) != std::string_view::npos;
}

Status CheckPath(std::string_view path) {
  const std::size_t root = RootLength(path);
  if (root == 0) return RefusedPath(path);
  std::string_view rest = path.substr(root);
  while (!rest.empty()) {
    const std::size_t end = rest.find('\\');
    if (Status status = CheckName(rest.substr(0, end)); !status.Ok()) return status;
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
  }
  return {};
}

Status CheckReceivedPath(std::string_view path) {
  const std::size_t root = RootLength(path);
  if (root == 0) return RefusedPath(path);
  std::string_view rest = path.substr(root);
  for (;;) {
    const std::size_t end = rest.find('\\');
    const std::string_view name = rest.substr(0, end);
    if (Status status = CheckName(name); !status.Ok()) return status;
    if (name.find_first_not_of('.') == std::string_view::npos)
      return RefusedName(name, "it leads out of its directory");
    if (IsDeviceName(name)) return RefusedName(name, "it is the name of a device");
    if (end == std::string_view::npos) return {};
    rest.remove_prefix(end + 1);
  }
}

}  // namespace zelkor::lib
