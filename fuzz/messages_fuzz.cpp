// Feeds messages of any text, one a line, to a program whose Vandry takes no command, and puts a sync file in place
// whenever one is announced. Whatever they say, nothing but the item's one file and the program's own folder changes,
// and no export date that no run has noted.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "db/catalogue.h"
#include "db/memory_rows.h"
#include "db/remap.h"
#include "lib/native_path.h"
#include "lib/text.h"
#include "net/link.h"
#include "net/messages.h"
#include "net/run_notes.h"
#include "net/targets.h"
#include "sync/context.h"
#include "sync/damaged.h"
#include "sync/export.h"
#include "sync/sync_log.h"
#include "tests/support/scripted_user.h"

namespace {

namespace fs = std::filesystem;
namespace db = zelkor::db;
namespace lib = zelkor::lib;
namespace net = zelkor::net;
namespace sync = zelkor::sync;

constexpr lib::Date kNoted = 46000.5;

// A folder for the whole run of the fuzzer, with a computer "office" in it whose target is "lap".
class World {
 public:
  World() {
    std::string pattern = (fs::temp_directory_path() / "zelkor-fuzz-XXXXXX").string();
    root_ = mkdtemp(pattern.data());
    for (const char* name : {"HOME", "XDG_CONFIG_HOME", "XDG_RUNTIME_DIR", "ZELKOR_DIR", "TMPDIR"}) {
      setenv(name, (root_ / "tmp").c_str(), 1);
    }
    for (const char* name : {"tmp", "files", "program", "made"}) fs::create_directory(root_ / name);
    std::ofstream(root_ / "tmp" / "orlim.ini")
        << "[Drives]\nc=" << (root_ / "files").string() << "\nz=" << root_.string()
        << "\n[Zelkor]\nLogToFile=0\nAcceptNetConn=1\n";
    lib::ForgetDrives();
    Begin();
    std::ofstream(root_ / "files" / "a.txt") << "content";
    data_->catalogue.AddItem("a", "c:\\a.txt");
    // What the laptop would send.
    const std::string lap = "lap";
    data_->targets.NewTarget("office");
    sync::Context made = data_->context;
    // A context names its computer by reference.
    sync::Context context{.catalogue = made.catalogue,
                          .targets = made.targets,
                          .remap = made.remap,
                          .log = made.log,
                          .user = made.user,
                          .computerId = lap};
    sync::ExportToTarget(context, "office", {.word = (root_ / "made").string(), .startDirectory = "/"});
    std::ifstream in(root_ / "made" / "office.cas", std::ios::binary);
    syncFile_.assign(std::istreambuf_iterator<char>(in), {});
    if (syncFile_.empty()) std::abort();
  }
  ~World() {
    std::error_code ignored;
    fs::remove_all(root_, ignored);
  }
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  void Run(const std::string& text) {
    Begin();
    data_->targets.NewTarget("lap");
    if (!net::RunNotes("z:\\program\\").Add("lap", 0, kNoted, "10.0.0.2").Ok()) std::abort();
    net::Messages messages(data_->context);
    for (const std::string& line : lib::SplitLines(text)) {
      try {
        messages.ProcessMessage(line);
      } catch (const sync::DamagedSyncFile&) {
        std::abort();  // the file that comes is a good one
      }
      if (line.find("FileSendReq") != std::string::npos) {
        std::ofstream(root_ / "program" / "office.cas", std::ios::binary) << syncFile_;
      }
    }
    Check();
  }

 private:
  struct Data {
    explicit Data(lib::User& theUser) : user(theUser) {}
    lib::User& user;
    db::MemoryRows rows;
    db::Database database{"z:\\program\\", user};
    db::Catalogue catalogue{database, rows, user};
    net::Targets targets{database, user};
    db::RemapTable remap;
    sync::SyncLog log{"z:\\program\\", user};
    const std::string computerId = "office";
    net::Link link{user, catalogue.Occupied(), Means()};
    sync::Context context{.catalogue = catalogue,
                          .targets = targets,
                          .remap = remap,
                          .log = log,
                          .user = user,
                          .computerId = computerId,
                          .link = &link};
    static net::LinkMeans Means() {
      return {.connect = [](std::chrono::milliseconds) -> lib::Result<std::unique_ptr<lib::ChannelClient>> {
                return lib::Status(lib::Cause::NotFound, "nobody");
              },
              .launch = [] { return 1; },
              .waitASecond = [] {}};
    }
  };

  // An empty database.
  void Begin() {
    data_.reset();
    fs::remove_all(root_ / "program");
    fs::create_directory(root_ / "program");
    user_ = std::make_unique<zelkor::tests::ScriptedUser>();
    data_ = std::make_unique<Data>(*user_);
    if (data_->database.OpenDatabase() != db::Database::Opened::Yes) std::abort();
    data_->catalogue.FillItemList(db::kLiveItems);
  }
  void Check() const {
    std::size_t files = 0;
    for (const auto& entry : fs::directory_iterator(root_ / "files")) {
      files += entry.path().filename() == "a.txt" ? 1 : 2;
    }
    if (files != 1) std::abort();
    if (std::distance(fs::directory_iterator(root_), fs::directory_iterator()) != 4) std::abort();
    if (std::distance(fs::directory_iterator(root_ / "tmp"), fs::directory_iterator()) != 1) std::abort();
    data_->targets.FindTarget("lap", false);
    const lib::Date date = data_->targets.Current().Date(net::TargetRec::kLastExport);
    if (date != 0 && date != kNoted) std::abort();
  }

  fs::path root_;
  std::string syncFile_;
  std::unique_ptr<zelkor::tests::ScriptedUser> user_;
  std::unique_ptr<Data> data_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static World world;
  world.Run(std::string(reinterpret_cast<const char*>(data), size));
  return 0;
}
