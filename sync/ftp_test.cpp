// Exports to and imports from an FTP server.

#include "lib/clock.h"
#include "sync/export.h"
#include "sync/import.h"
#include "sync/synchronize.h"
#include "tests/support/fake_ftp.h"
#include "tests/support/networked.h"

namespace zelkor::sync {
namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::StartsWith;
using testing::UnorderedElementsAre;
using tests::FakeVandry;

class Ftp : public tests::Networked {
 protected:
  Ftp() {
    ChangeTarget("lap", [](net::TargetRec& rec) {
      rec.SetNumber(net::TargetRec::kConnectionType, static_cast<std::int32_t>(net::ConnectionType::Ftp));
      rec.SetText(net::TargetRec::kAddress, "ftp.example.org");
      rec.SetText(net::TargetRec::kUserName, "me");
      rec.SetText(net::TargetRec::kPassword, "top secret");
      rec.SetText(net::TargetRec::kDirectory, "in box");
    });
    AddItem("a.txt", "content");
    StartVandry([this](FakeVandry& vandry, const std::string& command) { return server_(vandry, command); });
  }

  [[nodiscard]] fs::path Server() const { return Root() / "server"; }
  void PutOnServer(const std::string& name, const std::string& content) { WriteNative(Server() / name, content); }
  [[nodiscard]] std::string OnServer(const std::string& name) const { return ReadNative(Server() / name); }
  // The names on the server whose files are not empty.
  [[nodiscard]] std::vector<std::string> Waiting() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(Server())) {
      if (entry.is_directory() || entry.file_size() > 0) names.push_back(entry.path().filename().string());
    }
    return names;
  }
  ExportResult Export(const Place& place = {}) { return ExportToTarget(context_, "lap", place); }
  ImportResult Import(ImportMode mode = ImportMode::Import) {
    return ImportFromTarget(context_, {.targetId = "lap", .place = {}, .mode = mode});
  }
  // Temporary files that are left.
  [[nodiscard]] std::vector<std::string> Leftovers() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(Root() / "tmp")) names.push_back(entry.path().filename().string());
    return names;
  }

  tests::FakeFtp server_{Server(), [this](const std::string& path) { return NativePath(path); }};
};

TEST_F(Ftp, UploadsUnderTheTargetsIdAndStoresTheDate) {
  const lib::Date before = lib::Now();
  EXPECT_EQ(Export(), ExportResult::Done);
  EXPECT_THAT(Waiting(), ElementsAre("lap.cas"));
  EXPECT_THAT(OnServer("lap.cas"), StartsWith("office  "));
  EXPECT_GE(lib::DateToSeconds(LastExport("lap")), lib::DateToSeconds(before) - 2);
  EXPECT_THAT(user_.log, IsSupersetOf<std::string>({"Uploading file for [lap] to ftp.example.org",
                                                    "Sync file [lap.cas] has been uploaded to FTP-server"}));
  EXPECT_THAT(Leftovers(), IsEmpty());
}

TEST_F(Ftp, SendsEachArgumentInQuotes) {
  Export();
  const std::vector<std::string> commands = vandry_->Commands();
  ASSERT_EQ(commands.size(), 2U);
  EXPECT_THAT(commands[0], StartsWith("FTPDir \"ftp.example.org\" \"me\" \"top secret\" \"in box\" \"z:\\"));
  EXPECT_THAT(commands[1], StartsWith("FTPSend \"ftp.example.org\" \"me\" \"top secret\" \"in box\" \"z:\\"));
  EXPECT_THAT(commands[1], testing::EndsWith("\" \"lap.cas\""));
}

TEST_F(Ftp, DoesNotOverwriteWhatWasNotCollected) {
  PutOnServer("LAP.CAS", "still waiting");
  PutOnServer("lap01.cas", "this too");
  EXPECT_EQ(Export(), ExportResult::Done);
  EXPECT_THAT(Waiting(), UnorderedElementsAre("LAP.CAS", "lap01.cas", "lap02.cas"));
  EXPECT_EQ(OnServer("LAP.CAS"), "still waiting");
  EXPECT_EQ(OnServer("lap01.cas"), "this too");
}

TEST_F(Ftp, TakesTheNameOfACollectedFile) {
  PutOnServer("lap.cas", "waiting");
  PutOnServer("lap01.cas", "");
  EXPECT_EQ(Export(), ExportResult::Done);
  EXPECT_NE(OnServer("lap01.cas"), "");
  EXPECT_THAT(Waiting(), UnorderedElementsAre("lap.cas", "lap01.cas"));
}

TEST_F(Ftp, SkipsANumberThatSpellsAnotherTarget) {
  targets_.NewTarget("lap01");
  PutOnServer("lap.cas", "waiting");
  EXPECT_EQ(Export(), ExportResult::Done);
  EXPECT_THAT(Waiting(), UnorderedElementsAre("lap.cas", "lap02.cas"));
}

TEST_F(Ftp, TakesADirectorysNameForTaken) {
  fs::create_directory(Server() / "lap.cas");
  EXPECT_EQ(Export(), ExportResult::Done);
  EXPECT_TRUE(fs::exists(Server() / "lap01.cas"));
}

TEST_F(Ftp, UploadsNothingWithoutAListing) {
  PutOnServer("lap.cas", "still waiting");
  server_.fails = "FTPDir";
  EXPECT_EQ(Export(), ExportResult::Failed);
  EXPECT_EQ(OnServer("lap.cas"), "still waiting");
  EXPECT_THAT(Waiting(), ElementsAre("lap.cas"));
  EXPECT_EQ(LastExport("lap"), kOld);
  EXPECT_THAT(user_.Messages(), ElementsAre("Upload to FTP-server failed!", "Sync export failed!"));
  EXPECT_EQ(user_.boxes[0].icon, lib::Icon::Critical);
  EXPECT_THAT(user_.log, Contains("Error 550 refused by the server"));
}

TEST_F(Ftp, UploadsNothingByAListingThatItCanNotRead) {
  vandry_.reset();
  StartVandry([this](FakeVandry&, const std::string& command) -> std::string {
    const std::vector<std::string> words = tests::FakeFtp::Quoted(command);
    WriteNative(NativePath(words.at(4)), "lap.cas is here in some other form\r\n");
    return "OK 1";
  });
  EXPECT_EQ(Export(), ExportResult::Failed);
  EXPECT_THAT(Waiting(), IsEmpty());
}

TEST_F(Ftp, KeepsTheDateWhenTheUploadFails) {
  server_.fails = "FTPSend";
  EXPECT_EQ(Export(), ExportResult::Failed);
  EXPECT_EQ(LastExport("lap"), kOld);
  EXPECT_THAT(user_.Messages(), ElementsAre("Upload to FTP-server failed!", "Sync export failed!"));
  EXPECT_THAT(user_.log, Contains("Sync export failed!"));
  EXPECT_THAT(Leftovers(), IsEmpty());
}

TEST_F(Ftp, SendsNothingWithAPasswordThatCanNotBeQuoted) {
  ChangeTarget("lap", [](net::TargetRec& rec) { rec.SetText(net::TargetRec::kPassword, "a\"b"); });
  EXPECT_EQ(Export(), ExportResult::Failed);
  EXPECT_THAT(vandry_->Commands(), IsEmpty());
  EXPECT_THAT(user_.Messages(), Contains("The password holds a double quote"));
}

TEST_F(Ftp, TakesAServerFromTheCommandLine) {
  Export({.word = "other.example.org", .startDirectory = "/"});
  EXPECT_THAT(vandry_->Commands(), Each(HasSubstr(" \"other.example.org\" \"me\" ")));
}

TEST_F(Ftp, SaysNoPasswordInTheLog) {
  server_.fails = "FTPSend";
  Export();
  Import();
  EXPECT_THAT(user_.log, Each(Not(HasSubstr("top secret"))));
  EXPECT_THAT(user_.Messages(), Each(Not(HasSubstr("top secret"))));
  EXPECT_THAT(ReadNative(ProgramFolder() / "ZELKOR.log"), Not(HasSubstr("top secret")));
}

TEST_F(Ftp, GoesOnWithAnUploadWhileAMessageWaits) {
  server_.before = [](FakeVandry& vandry, const std::string& command) {
    if (command.starts_with("FTPSend")) vandry.Push("SyncMe home 10.0.0.9");
  };
  EXPECT_EQ(Export(), ExportResult::Done);
  EXPECT_THAT(vandry_->HandledPushes(), IsEmpty());
}

TEST_F(Ftp, IsADeliveryThatFailedWhenItIsCancelled) {
  server_.unanswered = "FTPSend";
  user_.onWaiting = [this](const std::string& caption) { user_.cancelled = caption.starts_with("Uploading"); };
  EXPECT_EQ(Export(), ExportResult::Failed);
  EXPECT_EQ(LastExport("lap"), kOld);
}

TEST_F(Ftp, ImportsEveryWaitingFileOfTheTargetAndFreesItsName) {
  const std::string first = SyncFileOf("lap");
  PutFile("a.txt", "newer content", kNew + 1);
  const std::string second = SyncFileOf("lap");
  PutOnServer("office.cas", second);
  PutOnServer("office01.cas", first);
  PutFile("a.txt", "old", kOld);
  EXPECT_EQ(Import(), ImportResult::Success);
  EXPECT_EQ(Content("a.txt"), "newer content");
  EXPECT_THAT(Waiting(), IsEmpty());
  EXPECT_TRUE(fs::exists(Server() / "office.cas"));
  EXPECT_TRUE(fs::exists(Server() / "office01.cas"));
  EXPECT_NE(LastImport("lap"), 0);
  EXPECT_EQ(LastExport("lap"), kOld);
  EXPECT_THAT(user_.log, Contains("Downloading file from target [lap] from server ftp.example.org"));
  EXPECT_THAT(Leftovers(), IsEmpty());
}

TEST_F(Ftp, AsksInTheOrderOfTheDatesOfTheFiles) {
  // The header's creation date stands in its bytes 8 to 15; 45000 and 45001 as 64-bit numbers.
  std::string older = SyncFileOf("lap");
  std::string newer = older;
  older.replace(8, 8, std::string("\0\0\0\0\0\xf9\xe5\x40", 8));
  newer.replace(8, 8, std::string("\0\0\0\0\x20\xf9\xe5\x40", 8));
  PutOnServer("office.cas", newer);
  PutOnServer("office01.cas", older);
  EXPECT_EQ(Import(), ImportResult::Success);
  std::vector<std::string> created;
  for (const std::string& line : user_.log) {
    if (line.starts_with("Created by ")) created.push_back(line);
  }
  EXPECT_THAT(created, ElementsAre("Created by [lap] 3/15/2023", "Created by [lap] 3/16/2023"));
}

TEST_F(Ftp, LeavesOtherFilesOnTheServerAlone) {
  const std::string ours = SyncFileOf("lap");
  const std::string homes = SyncFileOf("home");
  targets_.NewTarget("office02");
  PutOnServer("office.cas", homes);
  PutOnServer("office01.cas", ours);
  PutOnServer("office02.cas", ours);  // another computer's
  PutOnServer("office03.cas", "no sync file");
  PutOnServer("office4.cas", ours);
  PutOnServer("lap.cas", ours);
  fs::create_directory(Server() / "office05.cas");
  EXPECT_EQ(Import(), ImportResult::Success);
  EXPECT_THAT(Waiting(), UnorderedElementsAre("office.cas", "office02.cas", "office03.cas", "office4.cas", "lap.cas",
                                              "office05.cas"));
}

TEST_F(Ftp, SaysThatNothingWaits) {
  PutOnServer("office.cas", "");
  EXPECT_EQ(Import(), ImportResult::NoFile);
  EXPECT_THAT(user_.Messages(), ElementsAre("No file to import!"));
  EXPECT_EQ(LastImport("lap"), 0);
}

TEST_F(Ftp, SaysThatTheTransferFailed) {
  PutOnServer("office.cas", SyncFileOf("lap"));
  server_.fails = "FTPGet";
  EXPECT_EQ(Import(), ImportResult::TransferFailed);
  server_.fails = "FTPDir";
  EXPECT_EQ(Import(), ImportResult::TransferFailed);
  EXPECT_THAT(user_.Messages(), ElementsAre("Sync import failed", "Sync import failed"));
  EXPECT_THAT(Waiting(), ElementsAre("office.cas"));
  EXPECT_EQ(LastImport("lap"), 0);
}

TEST_F(Ftp, KeepsOnTheServerWhatCouldNotBeTaken) {
  PutOnServer("office.cas", SyncFileOf("lap"));
  fs::remove(Home() / "a.txt");
  fs::create_directory(Home() / "a.txt");
  EXPECT_EQ(Import(), ImportResult::Failed);
  EXPECT_THAT(Waiting(), ElementsAre("office.cas"));
}

TEST_F(Ftp, HasImportedAlsoWhatItCanNotFree) {
  PutOnServer("office.cas", SyncFileOf("lap"));
  server_.fails = "FTPSend";
  EXPECT_EQ(Import(), ImportResult::Success);
  EXPECT_THAT(user_.log, Contains("[office.cas] stays on the FTP-server and will be read again"));
}

TEST_F(Ftp, ChangesNothingWhenItOnlyViews) {
  PutOnServer("office.cas", SyncFileOf("lap"));
  fs::remove(Home() / "a.txt");
  EXPECT_EQ(Import(ImportMode::View), ImportResult::Success);
  EXPECT_FALSE(fs::exists(Home() / "a.txt"));
  EXPECT_THAT(Waiting(), ElementsAre("office.cas"));
}

TEST_F(Ftp, RefusesAFileOnTheServerThatSaysItHasMoreDisks) {
  std::string bytes = SyncFileOf("lap");
  // The flag of the last disk stands at 28; 0 says that another one follows.
  bytes.replace(28, 2, std::string(2, '\0'));
  PutOnServer("office.cas", bytes);
  EXPECT_EQ(Import(), ImportResult::Failed);
  EXPECT_THAT(user_.Messages(), ElementsAre("File is not a Sync-file!"));
}

TEST_F(Ftp, BringsAFileFromOneComputerToTheOtherAndBack) {
  EXPECT_EQ(Export(), ExportResult::Done);
  // The laptop has the same items here; what it gets is what the office sent.
  const std::string lap = "lap";
  Context other{.catalogue = catalogue_,
                .targets = targets_,
                .remap = remap_,
                .log = log_,
                .user = user_,
                .computerId = lap,
                .link = &link_};
  targets_.NewTarget("office");
  const net::TargetRec rec = [this] {
    targets_.FindTarget("lap", false);
    return targets_.Current();
  }();
  ChangeTarget("office", [&](net::TargetRec& target) {
    target = rec;
    target.SetText(net::TargetRec::kComputerId, "office");
    target.SetDate(net::TargetRec::kLastExport, kOld);
  });
  fs::remove(Home() / "a.txt");
  EXPECT_EQ(ImportFromTarget(other, {.targetId = "office", .place = {}}), ImportResult::Success);
  EXPECT_EQ(Content("a.txt"), "content");
  PutFile("a.txt", "answer", kNew + 1);
  EXPECT_EQ(ExportToTarget(other, "office", {}), ExportResult::Done);
  fs::remove(Home() / "a.txt");
  EXPECT_EQ(Import(), ImportResult::Success);
  EXPECT_EQ(Content("a.txt"), "answer");
  EXPECT_THAT(Waiting(), IsEmpty());
}

}  // namespace
}  // namespace zelkor::sync
