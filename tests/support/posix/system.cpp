#include "tests/support/system.h"

#include <fstream>
#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): setenv, mkdtemp
#include <time.h>    // NOLINT(modernize-deprecated-headers): tzset

namespace zelkor::tests {

void SetVariable(const char* name, const std::string& value) { setenv(name, value.c_str(), 1); }
void ClearVariable(const char* name) { unsetenv(name); }

bool MoveToZone(const char* zone) {
  SetVariable("TZ", zone);
  tzset();
  return true;
}

bool NativePathsAreTheForm() { return false; }
bool HasModes() { return true; }

std::filesystem::path MakeTemporaryFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "zelkor-test-XXXXXX").string();
  return mkdtemp(pattern.data());
}

void MoveToComputerIn(const std::filesystem::path& root) {
  SetVariable("HOME", root / "home");
  SetVariable("XDG_CONFIG_HOME", root / "config");
  SetVariable("ZELKOR_DIR", root / "program");
  SetVariable("TMPDIR", root / "tmp");
  SetVariable("XDG_RUNTIME_DIR", root / "run");
  SetVariable("XDG_CACHE_HOME", root / "cache");
}

void LeaveComputer() {
  for (const char* name : {"TMPDIR", "XDG_RUNTIME_DIR", "XDG_CACHE_HOME"}) ClearVariable(name);
}

void CatchOpenedDocuments(const std::filesystem::path& programs, const std::filesystem::path& opened) {
  namespace fs = std::filesystem;
  fs::create_directories(programs);
  const std::string part = opened.string() + ".part";
  std::ofstream(programs / "xdg-open") << "#!/bin/sh\nprintf %s \"$1\" >" << part << "\nmv " << part << " "
                                       << opened.string() << "\n";
  fs::permissions(programs / "xdg-open", fs::perms::owner_all);
  SetVariable("PATH", programs.string() + ":" + std::getenv("PATH"));
}

}  // namespace zelkor::tests
