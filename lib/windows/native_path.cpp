#include "lib/native_path.h"

#include <algorithm>
#include <utility>

#include "lib/paths.h"
#include "lib/windows/drives.h"
#include "lib/windows/system.h"
#include "lib/windows/system_error.h"
#include "lib/windows/wide.h"

namespace zelkor::lib {
namespace {

using windows::AbsoluteNative;
using windows::Drives;
using windows::ToSystemPath;

Result<std::string> DirectoryFromNative(const std::string& native) {
  Result<std::string> path = Drives::Current().FromNative(native);
  return path.Ok() ? Result<std::string>(SlashPath(*path)) : path;
}

bool IsDirectory(const std::string& native) {
  const DWORD attributes = GetFileAttributesW(ToSystemPath(native).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// Makes the missing directories of an absolute path; 0 or the system's error.
DWORD MakeDirectories(const std::string& native) {
  if (IsDirectory(native)) return 0;
  if (const std::string above = windows::DirectoryOf(native); above.size() < native.size()) {
    if (const DWORD error = MakeDirectories(above); error != 0) return error;
  }
  return CreateDirectoryW(ToSystemPath(native).c_str(), nullptr) != 0 ? 0 : GetLastError();
}

// The system's answers that may be longer than any fixed buffer. `ask` gets a buffer and its size, and returns the
// length, or the size that it needs.
template <class Ask>
std::wstring Asked(Ask ask) {
  std::wstring text(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = ask(text.data(), static_cast<DWORD>(text.size()));
    if (length < text.size()) {
      text.resize(length);
      return text;
    }
    text.resize(std::max<std::size_t>(2 * text.size(), length + 1));
  }
}

std::string NativeExecutablePath() {
  return windows::FromWide(Asked([](wchar_t* text, DWORD size) { return GetModuleFileNameW(nullptr, text, size); }));
}

std::string NativeProgramDir() {
  if (const std::string given = windows::Environment("ZELKOR_DIR"); !given.empty()) {
    return AbsoluteNative(given, StartDirectory());
  }
  return windows::DirectoryOf(NativeExecutablePath());
}

}  // namespace

Result<std::string> ToNative(std::string_view path) { return Drives::Current().ToNative(path); }

Result<std::string> FromNative(std::string_view nativePath) { return Drives::Current().FromNative(nativePath); }

Result<std::string> FromCommandLine(std::string_view word, std::string_view startDirectory) {
  return IsDrivePath(word) ? TextFromNative(word) : FromNative(AbsoluteNative(word, startDirectory));
}

bool NamesNativeFile(std::string_view word, std::string_view startDirectory) {
  if (word.empty()) return false;
  const std::wstring path = ToSystemPath(AbsoluteNative(word, startDirectory));
  return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::string StartDirectory() {
  return windows::FromWide(Asked([](wchar_t* text, DWORD size) { return GetCurrentDirectoryW(size, text); }));
}

Result<std::string> TemporaryDirectory() {
  return DirectoryFromNative(
      windows::FromWide(Asked([](wchar_t* text, DWORD size) { return GetTempPathW(size, text); })));
}

Result<std::string> FindProgramDir() {
  const std::string native = NativeProgramDir();
  Result<std::string> path = DirectoryFromNative(native);
  if (!path.Ok()) return path;
  if (const DWORD error = MakeDirectories(native); error != 0) return windows::SystemFailure(error, *path);
  return path;
}

Result<std::string> ExecutablePath() { return FromNative(NativeExecutablePath()); }

Status EnterDirectory(std::string_view directory) {
  const Result<std::string> native = ToNative(directory);
  if (!native.Ok()) return native.Failure();
  if (SetCurrentDirectoryW(windows::ToWide(*native).c_str()) != 0) return {};
  const Status why = windows::SystemFailure(GetLastError(), directory);
  return {Cause::Failed, "Can not enter [" + std::string(directory) + "]: " + why.Message()};
}

bool HasShares() { return true; }

bool IsRemovable(std::string_view path) {
  if (IsDrivePath(path) && std::string_view("abAB").find(path[0]) != std::string_view::npos) return true;
  const Result<std::string> native = ToNative(path);
  if (!native.Ok() || !IsDrivePath(*native)) return false;
  return GetDriveTypeW(windows::ToWide(native->substr(0, 3)).c_str()) == DRIVE_REMOVABLE;
}

void ForgetDrives() { Drives::Forget(); }

}  // namespace zelkor::lib
