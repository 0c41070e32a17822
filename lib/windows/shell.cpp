#include "lib/shell.h"

#include <filesystem>

#include "lib/code_page.h"
#include "lib/native_path.h"
#include "lib/paths.h"
#include "lib/viewing.h"
#include "lib/windows/handle.h"
#include "lib/windows/system_error.h"
#include "lib/windows/wide.h"

// It needs the system's own header before it.
#include <shellapi.h>

namespace zelkor::lib {
namespace {

constexpr const char* kDirectory = "c:\\";

// A word as a program reads it back from its command line: quoted, with the backslashes before a quote doubled.
// Source: Microsoft's "Parsing C command-line arguments".
std::wstring Quoted(const std::string& word) {
  std::wstring quoted = L"\"";
  std::size_t backslashes = 0;
  for (const wchar_t unit : windows::ToWide(word)) {
    if (unit == L'"') quoted.append(backslashes + 1, L'\\');
    backslashes = unit == L'\\' ? backslashes + 1 : 0;
    quoted += unit;
  }
  quoted.append(backslashes, L'\\');
  return quoted + L"\"";
}

// This process's environment with `settings` over it, as a new process takes it: texts that end with a NUL, and one
// more NUL.
std::wstring EnvironmentWith(const std::vector<std::string>& settings) {
  const auto nameOf = [](std::wstring_view entry) { return entry.substr(0, entry.find(L'=', 1)); };
  std::vector<std::wstring> given;
  given.reserve(settings.size());
  for (const std::string& setting : settings) given.push_back(windows::ToWide(setting));
  std::wstring block;
  wchar_t* const present = GetEnvironmentStringsW();
  for (const wchar_t* entry = present; entry != nullptr && *entry != L'\0';) {
    const std::wstring_view have(entry);
    bool replaced = false;
    for (const std::wstring& setting : given) {
      const std::wstring_view name = nameOf(setting);
      replaced = replaced || CompareStringOrdinal(nameOf(have).data(), static_cast<int>(nameOf(have).size()),
                                                  name.data(), static_cast<int>(name.size()), TRUE) == CSTR_EQUAL;
    }
    if (!replaced) block.append(have).push_back(L'\0');
    entry += have.size() + 1;
  }
  if (present != nullptr) FreeEnvironmentStringsW(present);
  for (const std::wstring& setting : given) block.append(setting).push_back(L'\0');
  block.push_back(L'\0');
  return block;
}

}  // namespace

void ShellOpen(std::string_view document, ShowMode mode) {
  std::string target = ToUtf8(document);
  if (IsDrivePath(document)) {
    const Result<std::string> native = ToNative(document);
    if (!native.Ok()) return;
    // The system knows a web page by the end of its name, too, and its own help files no longer.
    const wchar_t* folder = _wgetenv(L"LOCALAPPDATA");
    target = folder == nullptr ? *native : NameForViewer(*native, std::filesystem::path(folder) / "zelkor");
  }
  if (target.empty()) return;
  // Wide only for what the system's code page lacks.
  if (const std::optional<std::string> name = windows::ToSystemAnsi(target)) {
    ShellExecuteA(GetActiveWindow(), nullptr, name->c_str(), nullptr, kDirectory, static_cast<int>(mode));
  } else {
    ShellExecuteW(GetActiveWindow(), nullptr, windows::ToWide(target).c_str(), nullptr,
                  windows::ToWide(kDirectory).c_str(), static_cast<int>(mode));
  }
}

Status StartProgram(const std::string& nativePath, const std::vector<std::string>& arguments,
                    const std::vector<std::string>& settings) {
  std::string program = nativePath;
  // The name of a program may leave its end out.
  if (GetFileAttributesW(windows::ToSystemPath(program).c_str()) == INVALID_FILE_ATTRIBUTES) program += ".exe";
  std::wstring words = Quoted(program);
  for (const std::string& argument : arguments) words += L" " + Quoted(argument);
  std::wstring environment = EnvironmentWith(settings);
  STARTUPINFOW start{};
  start.cb = sizeof start;
  PROCESS_INFORMATION made{};
  if (CreateProcessW(windows::ToWide(program).c_str(), words.data(), nullptr, nullptr, FALSE,
                     DETACHED_PROCESS | CREATE_UNICODE_ENVIRONMENT | CREATE_NEW_PROCESS_GROUP, environment.data(),
                     windows::ToWide(kDirectory).c_str(), &start, &made) == 0) {
    return windows::SystemFailure(GetLastError(), FromUtf8Lossy(nativePath));
  }
  const windows::OwnedHandle process(made.hProcess);
  const windows::OwnedHandle thread(made.hThread);
  return {};
}

}  // namespace zelkor::lib
