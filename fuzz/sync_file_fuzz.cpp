// Feeds a sync file of any content through an import, files and records written, in a folder of its own to which both
// drives lead. Whatever the bytes say, the only ways out are a finished import and DamagedSyncFile.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "db/catalogue.h"
#include "db/memory_rows.h"
#include "db/remap.h"
#include "lib/native_path.h"
#include "lib/run_time_error.h"
#include "net/targets.h"
#include "sync/context.h"
#include "sync/damaged.h"
#include "sync/import.h"
#include "sync/sync_log.h"
#include "tests/support/scripted_user.h"

namespace {

namespace fs = std::filesystem;

// One folder for the whole run of the fuzzer.
class Home {
 public:
  Home() {
    std::string pattern = (fs::temp_directory_path() / "zelkor-fuzz-XXXXXX").string();
    root_ = mkdtemp(pattern.data());
    for (const char* name : {"HOME", "XDG_CONFIG_HOME", "ZELKOR_DIR", "TMPDIR"}) setenv(name, root_.c_str(), 1);
    std::ofstream(root_ / "orlim.ini") << "[Drives]\nc=" << (root_ / "files").string() << "\nz=" << root_.string()
                                       << "\n[Zelkor]\nLogToFile=0\n";
    zelkor::lib::ForgetDrives();
  }
  ~Home() {
    std::error_code ignored;
    fs::remove_all(root_, ignored);
  }
  Home(const Home&) = delete;
  Home& operator=(const Home&) = delete;

  // An empty database and no files but the sync file.
  void Fill(const std::uint8_t* data, std::size_t size) const {
    fs::remove_all(root_ / "files");
    fs::create_directories(root_ / "files");
    fs::create_directories(root_ / "program");
    fs::remove(root_ / "program" / "zelkor.ind");
    fs::remove(root_ / "program" / "zelkor.cfg");
    std::ofstream(root_ / "in.cas", std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  }

 private:
  fs::path root_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Home home;
  home.Fill(data, size);
  zelkor::tests::ScriptedUser user;
  for (int i = 0; i < 4; ++i) user.answers.push_back(zelkor::lib::Button::Yes);
  zelkor::db::Database database("z:\\program\\", user);
  zelkor::db::MemoryRows rows;
  zelkor::db::Catalogue catalogue(database, rows, user);
  zelkor::net::Targets targets(database, user);
  const zelkor::db::RemapTable remap;
  zelkor::sync::SyncLog log("z:\\program\\", user);
  const std::string computerId = "lap";
  zelkor::sync::Context context{
      .catalogue = catalogue, .targets = targets, .remap = remap, .log = log, .user = user, .computerId = computerId};
  if (database.OpenDatabase() != zelkor::db::Database::Opened::Yes) std::abort();
  targets.NewTarget("office");
  try {
    zelkor::sync::ImportFromTarget(context,
                                   {.targetId = "office", .place = {.word = "z:\\in.cas", .startDirectory = "/"}});
  } catch (const zelkor::sync::DamagedSyncFile&) {
    // The answer to a damaged file.
  }
  return 0;
}
