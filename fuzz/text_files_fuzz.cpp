// Feeds any bytes to the readers of the small text files, "orlim.ini" and "ReMap.txt", and to what is made of their
// lines.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "db/remap.h"
#include "lib/ini_text.h"
#include "lib/native_path.h"
#include "lib/run_time_error.h"
#include "lib/selection.h"
#include "lib/text.h"
#include "tests/support/scripted_user.h"

namespace {

namespace fs = std::filesystem;

fs::path MakeRoot() {
  std::string pattern = (fs::temp_directory_path() / "zelkor-fuzz-XXXXXX").string();
  fs::path root = mkdtemp(pattern.data());
  for (const char* name : {"HOME", "XDG_CONFIG_HOME", "ZELKOR_DIR"}) setenv(name, root.c_str(), 1);
  std::ofstream(root / "orlim.ini") << "[Drives]\nz=" << root.string() << "\n";
  zelkor::lib::ForgetDrives();
  return root;
}

void Check(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fs::path kRoot = MakeRoot();
  const std::string text(reinterpret_cast<const char*>(data), size);

  // A value written is the value read, and writing it twice changes nothing more.
  const std::string once = zelkor::lib::WithIniValue(text, "Zelkor", "LastTarget", "lap");
  Check(zelkor::lib::IniValue(once, "ZELKOR", "lasttarget") == "lap");
  Check(zelkor::lib::WithIniValue(once, "Zelkor", "LastTarget", "lap") == once);
  (void)zelkor::lib::IniSectionKeys(text, "Drives");

  std::ofstream(kRoot / "ReMap.txt", std::ios::binary) << text;
  zelkor::tests::ScriptedUser user;
  zelkor::db::RemapTable remap;
  try {
    remap.LoadRemapTable("z:\\", user);
  } catch (const zelkor::lib::RunTimeError&) {
    return 0;  // more entries than the table holds
  }
  const std::string_view head = std::string_view(text).substr(0, 2048);
  (void)remap.RemapPath(head, true);
  (void)zelkor::lib::SplitWords(head, ' ', "\"");
  (void)zelkor::lib::SelectionLines(head);
  (void)zelkor::lib::MatchesFileName(head, zelkor::lib::GetLine(text, 1));
  return 0;
}
