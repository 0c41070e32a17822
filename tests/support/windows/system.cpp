#include "tests/support/system.h"

#include <array>
#include <cstdint>
#include <fstream>
#include <random>
#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): _putenv_s
#include <string>
#include <utility>
#include <windows.h>
// It needs the system's own header before it.
#include <psapi.h>

namespace zelkor::tests {

namespace fs = std::filesystem;

void SetVariable(const char* name, const std::string& value) { _putenv_s(name, value.c_str()); }
void ClearVariable(const char* name) { _putenv_s(name, ""); }

bool MoveToZone(const char* /*zone*/) { return false; }
void LeaveZone() {}

bool NativePathsAreTheForm() { return true; }
bool HasModes() { return false; }
std::chrono::milliseconds LinkPatience() { return std::chrono::milliseconds(5000); }

// By the name of an object that lives as long as somebody holds it.
bool ReservePort(std::uint16_t port) {
  const HANDLE mark = CreateMutexA(nullptr, FALSE, ("zelkor-test-port-" + std::to_string(port)).c_str());
  if (mark == nullptr) return false;
  if (GetLastError() != ERROR_ALREADY_EXISTS) return true;
  CloseHandle(mark);
  return false;
}

unsigned ModeOf(const fs::path& /*path*/) { return 0; }

// The clock function of this system's C library counts the time of day.
std::chrono::duration<double, std::milli> ProcessorTime() {
  FILETIME begun{};
  FILETIME ended{};
  FILETIME kernel{};
  FILETIME user{};
  GetProcessTimes(GetCurrentProcess(), &begun, &ended, &kernel, &user);
  std::uint64_t ticks = 0;  // of 100 nanoseconds
  for (const FILETIME& part : {kernel, user}) {
    ticks += static_cast<std::uint64_t>(part.dwHighDateTime) << 32 | part.dwLowDateTime;
  }
  return std::chrono::duration<double, std::ratio<1, 10'000'000>>(static_cast<double>(ticks));
}

std::size_t MemoryInUse() {
  PROCESS_MEMORY_COUNTERS counters{};
  K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
  return counters.WorkingSetSize;
}

fs::path MakeFolderElsewhere() { return {}; }

fs::path MakeTemporaryFolder() {
  static const fs::path above = fs::temp_directory_path();  // before a computer of its own has another
  std::random_device random;
  for (;;) {
    fs::path folder = above / ("zelkor-test-" + std::to_string(random()));
    if (fs::create_directory(folder)) return folder;
  }
}

void MoveToComputerIn(const fs::path& root) {
  std::string drives = "c=" + (root / "home").string() + ";z=" + root.root_path().string();
  // The test program may stand elsewhere, such as on the drive that is Wine's whole system.
  std::array<wchar_t, 1024> program{};
  GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size()));
  const fs::path own = fs::path(program.data()).root_path();
  if (own != root.root_path()) drives += ";y=" + own.string();
  SetVariable("ZELKOR_DRIVES", drives);
  SetVariable("XDG_CONFIG_HOME", (root / "config").string());
  SetVariable("ZELKOR_DIR", (root / "program").string());
  SetVariable("TMP", (root / "tmp").string());
  SetVariable("LOCALAPPDATA", (root / "cache").string());
}

void LeaveComputer() { ClearVariable("ZELKOR_DRIVES"); }

void CatchOpenedDocuments(const fs::path& programs, const fs::path& opened) {
  // The system's own command interpreter writes the name that it gets; what opens web pages and addresses is the user's
  // choice.
  fs::create_directories(programs);
  const fs::path script = programs / "open.bat";
  const std::string part = opened.string() + ".part";
  std::ofstream(script) << "@<nul set /p=%~1>" << part << "\r\n@move /y " << part << " " << opened.string()
                        << " >nul\r\n";
  const std::string command = "cmd.exe /c " + script.string() + " \"%1\"";
  const char* const document = "zelkor.test";
  const auto set = [](const std::string& key, const std::string& value) {
    // What is the user's goes before what is everybody's, but Wine does not look there.
    for (const auto& [root, name] :
         {std::pair{HKEY_CURRENT_USER, "Software\\Classes\\" + key}, {HKEY_CLASSES_ROOT, key}}) {
      RegSetKeyValueA(root, name.c_str(), nullptr, REG_SZ, value.c_str(), static_cast<DWORD>(value.size() + 1));
    }
  };
  set(".doc", document);
  set(".html", "htmlfile");
  for (const char* kind : {"http", ".html", "htmlfile", document, "Folder", "Directory"}) {
    set(std::string(kind) + "\\shell\\open\\command", command);
  }
}

void PutTellingProgram(const fs::path& program) {
  // It stands above the folders of the test programs.
  std::wstring own(MAX_PATH, L'\0');
  own.resize(GetModuleFileNameW(nullptr, own.data(), MAX_PATH));
  fs::create_directories(program.parent_path());
  fs::copy_file(fs::path(own).parent_path().parent_path() / "zelkor_telling_program.exe", program,
                fs::copy_options::overwrite_existing);
}

// Somebody else has it for himself, or all that it may ever hold of it.
RefusingFile::RefusingFile(const fs::path& path, Refuses what) : path_(path) {
  std::ofstream(path, std::ios::binary) << std::string(4096, 'x');
  const DWORD shared = what == Refuses::Opening ? 0 : FILE_SHARE_READ | FILE_SHARE_WRITE;
  handle_ = CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, shared, nullptr, OPEN_EXISTING, 0, nullptr);
  if (what == Refuses::Reading) LockFile(handle_, 0, 0, MAXDWORD, 0);
}
RefusingFile::~RefusingFile() {
  CloseHandle(handle_);
  std::error_code ignored;
  fs::remove(path_, ignored);
}

}  // namespace zelkor::tests
