#include "lib/settings_file.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

#include "lib/text.h"
#include "lib/windows/handle.h"
#include "lib/windows/open_file.h"
#include "lib/windows/wide.h"

namespace zelkor::lib {
namespace {

constexpr std::string_view kName = R"(\orlim.ini)";
// No settings file is that long, so no value of one is.
constexpr std::size_t kMaxFileBytes = std::size_t{1} << 20;

std::string WindowsDirectory() {
  std::array<wchar_t, MAX_PATH + 1> directory{};
  const UINT length = GetWindowsDirectoryW(directory.data(), static_cast<UINT>(directory.size()));
  return windows::FromWide({directory.data(), std::min<std::size_t>(length, directory.size())});
}

// Whether this user may write the file, or make it.
bool CanWrite(const std::string& native, bool& exists) {
  const std::wstring path = windows::ToSystemPath(native);
  exists = GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
  if (exists) {
    return windows::OwnedHandle(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, windows::kShareAll, nullptr,
                                            OPEN_EXISTING, 0, nullptr))
        .IsOpen();
  }
  // Only trying tells; the attempt leaves nothing behind.
  const std::wstring attempt = path + L"." + std::to_wstring(GetCurrentProcessId());
  return windows::OwnedHandle(CreateFileW(attempt.c_str(), GENERIC_READ | GENERIC_WRITE | DELETE, 0, nullptr,
                                          CREATE_NEW, FILE_FLAG_DELETE_ON_CLOSE, nullptr))
      .IsOpen();
}

std::string ChoosePath() {
  // Set by who keeps the settings of several computers apart on one.
  const std::string given = windows::Environment("XDG_CONFIG_HOME");
  if (given.size() >= 3 && given[1] == ':') return given + std::string(kName);
  std::string system = WindowsDirectory() + std::string(kName);
  bool exists = false;
  if (CanWrite(system, exists)) return system;
  // There only administrators may write: each user has a file of his own then.
  const std::string own = windows::Environment("APPDATA");
  return own.empty() ? system : own + std::string(kName);
}

// The file as the profile functions take it. They know only the system's code page: what that lacks has a short name.
std::string ProfilePath() {
  const std::string native = NativeSettingsPath();
  if (std::optional<std::string> path = windows::ToSystemAnsi(native)) return *std::move(path);
  const std::size_t slash = native.rfind('\\');
  const std::wstring directory = windows::ToWide(native.substr(0, slash));
  std::array<wchar_t, MAX_PATH> shorter{};
  const DWORD length = GetShortPathNameW(directory.c_str(), shorter.data(), MAX_PATH);
  if (length == 0 || length >= shorter.size()) return {};
  const std::optional<std::string> path = windows::ToSystemAnsi(windows::FromWide(shorter.data()));
  return path ? *path + native.substr(slash) : std::string();
}

// Asks the system with buffers of growing size until the answer fits; it cuts an answer at `spare` characters before
// the end of the buffer.
template <class Ask>
std::string Grown(std::size_t spare, Ask ask) {
  for (std::size_t size = 256;; size *= 4) {
    std::string text(size, '\0');
    const DWORD length = ask(text.data(), static_cast<DWORD>(size));
    if (length < size - spare || size > kMaxFileBytes) {
      text.resize(length);
      return text;
    }
  }
}

}  // namespace

std::string NativeSettingsPath() { return ChoosePath(); }

std::optional<std::string> ReadSetting(std::string_view section, std::string_view key) {
  const std::string path = ProfilePath();
  const std::string sectionName(section);
  const std::string keyName(key);
  const auto ask = [&](const char* absent) {
    return Grown(1, [&](char* text, DWORD size) {
      return GetPrivateProfileStringA(sectionName.c_str(), keyName.c_str(), absent, text, size, path.c_str());
    });
  };
  // Two defaults tell a missing value from every other; blanks at their ends would be taken away.
  std::string value = ask("-");
  if (value == "-" && ask("+") == "+") return std::nullopt;
  return value;
}

void WriteSetting(std::string_view section, std::string_view key, std::string_view value) {
  // Cut where it could not be read back whole.
  value = value.substr(0, value.find_first_of(std::string_view("\r\n\0", 3)));
  const std::string path = ProfilePath();
  WritePrivateProfileStringA(std::string(section).c_str(), std::string(key).c_str(), std::string(value).c_str(),
                             path.c_str());
  // What the system keeps of the file in memory goes to the medium.
  WritePrivateProfileStringA(nullptr, nullptr, nullptr, path.c_str());
}

std::vector<std::string> ReadSettingKeys(std::string_view section) {
  const std::string path = ProfilePath();
  const std::string sectionName(section);
  // Each key ends with a NUL, the last one with two.
  const std::string keys = Grown(2, [&](char* text, DWORD size) {
    return GetPrivateProfileStringA(sectionName.c_str(), nullptr, "", text, size, path.c_str());
  });
  std::vector<std::string> found;
  for (std::size_t begin = 0; begin < keys.size();) {
    const std::size_t end = std::min(keys.find('\0', begin), keys.size());
    std::string key;
    for (const char c : keys.substr(begin, end - begin)) key += c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c;
    if (!key.empty() && std::find(found.begin(), found.end(), key) == found.end()) found.push_back(std::move(key));
    begin = end + 1;
  }
  return found;
}

}  // namespace zelkor::lib
