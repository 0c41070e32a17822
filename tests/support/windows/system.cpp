#include "tests/support/system.h"

#include <fstream>
#include <random>
#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): _putenv_s
#include <string>
#include <windows.h>

namespace zelkor::tests {

namespace fs = std::filesystem;

void SetVariable(const char* name, const std::string& value) { _putenv_s(name, value.c_str()); }
void ClearVariable(const char* name) { _putenv_s(name, ""); }

bool MoveToZone(const char* /*zone*/) { return false; }

bool NativePathsAreTheForm() { return true; }
bool HasModes() { return false; }

fs::path MakeTemporaryFolder() {
  static const fs::path above = fs::temp_directory_path();  // before a computer of its own has another
  std::random_device random;
  for (;;) {
    fs::path folder = above / ("zelkor-test-" + std::to_string(random()));
    if (fs::create_directory(folder)) return folder;
  }
}

void MoveToComputerIn(const fs::path& root) {
  const std::string drives = "c=" + (root / "home").string() + ";z=" + root.root_path().string();
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
  for (const char* kind : {"http", ".html", "htmlfile"}) {
    const std::string key = std::string("Software\\Classes\\") + kind + "\\shell\\open\\command";
    RegSetKeyValueA(HKEY_CURRENT_USER, key.c_str(), nullptr, REG_SZ, command.c_str(),
                    static_cast<DWORD>(command.size() + 1));
  }
}

}  // namespace zelkor::tests
