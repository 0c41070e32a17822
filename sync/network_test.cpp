// Exports and imports over the network: what is said to Vandry, and what becomes of the dates.

#include "lib/clock.h"
#include "net/run_notes.h"
#include "sync/export.h"
#include "sync/import.h"
#include "sync/synchronize.h"
#include "tests/support/matches.h"
#include "tests/support/networked.h"

namespace zelkor::sync {
namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using tests::FakeVandry;

// Vandry moves each file that it is to send to the folder "sent", as the real one does into its queue.
class Network : public tests::Networked {
 protected:
  Network() {
    fs::create_directory(Root() / "sent");
    StartVandry([this](FakeVandry&, const std::string& command) -> std::string {
      constexpr std::string_view kSend = "NetFileSend 10.0.0.2 office lap ";
      if (command.starts_with(kSend)) {
        fs::rename(NativePath(command.substr(kSend.size())), Root() / "sent" / "file");
      }
      return {};
    });
  }
  ExportResult Export(const Place& place = {}) { return ExportToTarget(context_, "lap", place); }
  ImportResult Import(ImportMode mode = ImportMode::Import, const Place& place = {}) {
    return ImportFromTarget(context_, {.targetId = "lap", .place = place, .mode = mode});
  }
  [[nodiscard]] std::string Sent() const { return ReadNative(Root() / "sent" / "file"); }
  std::optional<lib::Date> Noted() { return net::RunNotes(ProgramDir()).Take("lap", LastExport("lap")); }
  void DieAtOnce() {
    ASSERT_EQ(link_.StartLink(), 0);
    vandry_->DieOfNextCommand();
  }
};

TEST_F(Network, HandsTheFileToVandryAndStoresNoDate) {
  AddItem("a.txt", "content");
  EXPECT_EQ(Export(), ExportResult::Sent);
  EXPECT_THAT(vandry_->Commands(), ElementsAre(tests::Matches("NetFileSend 10\\.0\\.0\\.2 office lap z:.*~sync.*")));
  EXPECT_THAT(Sent(), HasSubstr("content"));
  EXPECT_EQ(LastExport("lap"), kOld);
  EXPECT_TRUE(fs::is_empty(Root() / "tmp") || !fs::exists(Root() / "tmp"));
}

TEST_F(Network, LogsWhereTheFileGoesAndItsSize) {
  AddItem("a.txt", std::string(5000, 'x'));
  Export();
  // Header, block header, record, file header and the file: 256 + 256 + 1024 + 256 + 5000 bytes and the byte behind it.
  EXPECT_THAT(user_.log, Contains("Sending file to [lap] at 10.0.0.2 7 kb"));
  EXPECT_THAT(user_.log, Contains(StartsWith("Export completed. (")));
}

TEST_F(Network, NotesTheDateOfTheRunForTheConfirmation) {
  AddItem("a.txt", "content");
  const lib::Date before = lib::Now();
  Export();
  const std::optional<lib::Date> noted = Noted();
  ASSERT_TRUE(noted.has_value());
  EXPECT_GE(lib::DateToSeconds(*noted), lib::DateToSeconds(before) - 2);
  EXPECT_LE(lib::DateToSeconds(*noted), lib::DateToSeconds(lib::Now()) - 2);
}

TEST_F(Network, NotesTheStartOfTheRunWhenAFileChangedDuringIt) {
  const lib::Date before = lib::Now();
  AddItem("a.txt", "content");
  bool changed = false;
  // The run takes a while, and at its end the file is written again.
  user_.onPendingEvents = [&] {
    if (changed || user_.log.empty() || !user_.log.back().starts_with("a.txt")) return;
    changed = true;
    const double started = lib::Stopwatch();
    while (lib::Stopwatch() - started < 2.1) std::this_thread::sleep_for(std::chrono::milliseconds(20));
    WriteNative(Home() / "a.txt", "changed");
  };
  Export();
  ASSERT_TRUE(changed);
  const std::optional<lib::Date> noted = Noted();
  ASSERT_TRUE(noted.has_value());
  EXPECT_LE(lib::DateToSeconds(*noted), lib::DateToSeconds(before));
}

TEST_F(Network, NotesNothingWhenAFileThatWasDueStayedBehind) {
  ASSERT_TRUE(net::RunNotes(ProgramDir()).Add("lap", kOld, kNew, "10.0.0.2").Ok());
  const std::int32_t recno = AddItem("a.txt", "content");
  catalogue_.ChooseExportState(recno, 2);  // "Off", for this run only
  EXPECT_EQ(Export(), ExportResult::Sent);
  EXPECT_THAT(user_.log, Contains(StartsWith("Export date kept: ")));
  // Neither a note of this run, nor one of an earlier run that this one's confirmation would be taken for.
  EXPECT_EQ(Noted(), std::nullopt);
}

TEST_F(Network, FailsWhenVandryDoesNotTakeTheFile) {
  AddItem("a.txt", "content");
  DieAtOnce();
  EXPECT_EQ(Export(), ExportResult::Failed);
  EXPECT_THAT(user_.Messages(), ElementsAre("Sync export failed!"));
  EXPECT_THAT(user_.log, Contains("Error: Vandry has gone"));
  EXPECT_EQ(LastExport("lap"), kOld);
  EXPECT_EQ(Noted(), std::nullopt);
}

TEST_F(Network, FailsWithoutVandry) {
  AddItem("a.txt", "content");
  vandry_.reset();
  EXPECT_EQ(Export(), ExportResult::Failed);
  EXPECT_THAT(user_.Messages(), ElementsAre("DDE Init error!", "Sync export failed!"));
  EXPECT_EQ(Import(), ImportResult::TransferFailed);
}

TEST_F(Network, TakesAnAddressFromTheCommandLine) {
  Export({.word = "10.0.0.5:999", .startDirectory = "/"});
  Import(ImportMode::Import, {.word = "10.0.0.6", .startDirectory = "/"});
  EXPECT_THAT(vandry_->Commands(),
              ElementsAre(StartsWith("NetFileSend 10.0.0.5:999 office lap "), "NetTrans 10.0.0.6 SyncMe office"));
}

TEST_F(Network, RefusesAnAddressWithABlankBeforeAnythingIsWritten) {
  ChangeTarget("lap", [](net::TargetRec& rec) { rec.SetText(net::TargetRec::kAddress, "10.0.0.2 x"); });
  EXPECT_EQ(Export(), ExportResult::Failed);
  EXPECT_EQ(Import(), ImportResult::TransferFailed);
  EXPECT_THAT(vandry_->Commands(), IsEmpty());
  EXPECT_THAT(user_.Messages(), Contains(StartsWith("The address [10.0.0.2 x] holds a blank")).Times(2));
}

TEST_F(Network, AsksTheTargetForItsFile) {
  EXPECT_EQ(Import(), ImportResult::Requested);
  EXPECT_THAT(vandry_->Commands(), ElementsAre("NetTrans 10.0.0.2 SyncMe office"));
  EXPECT_THAT(user_.log, Contains("Sync request sent to [lap]"));
  EXPECT_THAT(user_.log, Not(Contains(StartsWith("Import completed"))));
  EXPECT_EQ(LastImport("lap"), 0);
}

TEST_F(Network, SaysThatVandryDoesNotTakeTheRequest) {
  DieAtOnce();
  EXPECT_EQ(Import(), ImportResult::TransferFailed);
  EXPECT_THAT(user_.Messages(), ElementsAre("Sync import failed"));
}

TEST_F(Network, DoesNotAskForAFileThatIsOnlyToBeViewed) {
  EXPECT_EQ(Import(ImportMode::View), ImportResult::TransferFailed);
  EXPECT_THAT(vandry_->Commands(), IsEmpty());
}

TEST_F(Network, ImportsANamedFileInsteadOfAskingForOne) {
  AddItem("a.txt", "from lap");
  WriteNative(Root() / "named.cas", SyncFileOf("lap"));
  fs::remove(Home() / "a.txt");
  EXPECT_EQ(Import(ImportMode::Import, {.word = "named.cas", .startDirectory = Root().string()}),
            ImportResult::Success);
  EXPECT_EQ(Content("a.txt"), "from lap");
  EXPECT_EQ(ImportFromTarget(context_, {.targetId = "lap", .place = {}, .file = OnDriveZ(Root() / "named.cas")}),
            ImportResult::Success);
  EXPECT_TRUE(fs::exists(Root() / "named.cas"));
  EXPECT_THAT(vandry_->Commands(), IsEmpty());
}

TEST_F(Network, SaysThatANamedFileDoesNotExistInsteadOfTakingItForAnAddress) {
  for (const char* word : {"missing.cas", "./missing", "z:\\missing"}) {
    EXPECT_EQ(Import(ImportMode::Import, {.word = word, .startDirectory = "/"}), ImportResult::NotThere) << word;
  }
  EXPECT_THAT(vandry_->Commands(), IsEmpty());
}

// Unattended runs wait for the other computer.
class Waiting : public NetworkWait {
 public:
  explicit Waiting(bool succeeds) : succeeds_(succeeds) {}
  bool AwaitImport(const std::string& targetId, const std::string& address) override {
    waited.push_back("import " + targetId + " " + address);
    return succeeds_;
  }
  bool AwaitConfirmation(const std::string& targetId, const std::string& address) override {
    waited.push_back("confirmation " + targetId + " " + address);
    return succeeds_;
  }
  std::vector<std::string> waited;

 private:
  bool succeeds_;
};

TEST_F(Network, EndsAnUnattendedRunAsTheOtherComputerHasIt) {
  Waiting good(true);
  EXPECT_EQ(Synchronize(context_, "/syncexp:lap:\"\"", "/", &good), kStatusDone);
  EXPECT_EQ(Synchronize(context_, "/syncimp:lap:\"10.0.0.9:999\"", "/", &good), kStatusDone);
  EXPECT_THAT(good.waited, ElementsAre("confirmation lap 10.0.0.2", "import lap 10.0.0.9:999"));
  Waiting bad(false);
  EXPECT_EQ(Synchronize(context_, "/syncexp:lap:\"\"", "/", &bad), kStatusFailed);
  EXPECT_EQ(Synchronize(context_, "/syncimp:lap:\"\"", "/", &bad), kStatusFailed);
  EXPECT_EQ(Synchronize(context_, "/syncexp:lap:\"\"", "/"), kStatusFailed);
}

TEST_F(Network, EndsAConfirmedRunWithErrorsAsFailed) {
  AddItem("a.txt", "content");
  AddItem("gone.txt", "content");
  const tests::RefusingFile inUse(Home() / "gone.txt", tests::RefusingFile::Refuses::Opening);
  Waiting good(true);
  EXPECT_EQ(Synchronize(context_, "/syncexp:lap:\"\"", "/", &good), kStatusFailed);
  EXPECT_EQ(good.waited.size(), 1U);
}

}  // namespace
}  // namespace zelkor::sync
