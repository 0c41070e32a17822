#include "tests/support/system.h"

#include <random>
#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): _putenv_s

namespace zelkor::tests {

namespace fs = std::filesystem;

void SetVariable(const char* name, const std::string& value) { _putenv_s(name, value.c_str()); }
void ClearVariable(const char* name) { _putenv_s(name, ""); }

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
}

void LeaveComputer() { ClearVariable("ZELKOR_DRIVES"); }

}  // namespace zelkor::tests
