#include "sync/folder.h"

#include <filesystem>

#include "tests/support/sandbox.h"

namespace zelkor::sync {
namespace {

namespace fs = std::filesystem;

class Folder : public tests::Sandbox {
 protected:
  Folder() { fs::create_directory(Path()); }
  [[nodiscard]] fs::path Path() const { return Root() / "stick"; }
  void Put(const std::string& name, const std::string& sender, lib::Date created) {
    const SyncFileHeader header = MakeSyncFileHeader(sender, created);
    WriteNative(Path() / name, {header.Bytes().begin(), header.Bytes().end()});
  }
  std::vector<std::string> Waiting(const std::string& receiver, const std::string& sender,
                                   const std::vector<std::string>& ids) {
    std::vector<std::string> names;
    const auto found = FindWaitingFiles(OnDriveZ(Path()), receiver, sender, ids, foreign_, unreadable_);
    for (const WaitingFile& file : *found) names.push_back(file.path.substr(file.path.rfind('\\') + 1));
    return names;
  }
  std::string FreeName(const std::string& base, const std::vector<std::string>& ids) {
    const std::string path = FreeSyncFileName(OnDriveZ(Path()), base, ids);
    return path.substr(path.rfind('\\') + 1);
  }
  std::vector<std::string> foreign_;
  std::vector<std::string> unreadable_;
};

TEST_F(Folder, TheFirstNameIsTheIdAlone) { EXPECT_EQ(FreeName("lap", {"lap"}), "lap.cas"); }

TEST_F(Folder, NamesAreCountedUpWhileEarlierOnesWait) {
  Put("lap.cas", "office", 46000);
  EXPECT_EQ(FreeName("lap", {"lap"}), "lap01.cas");
  Put("LAP01.CAS", "office", 46000);
  EXPECT_EQ(FreeName("lap", {"lap"}), "lap02.cas");
}

TEST_F(Folder, NumbersThatSpellAnotherTargetAreSkipped) {
  Put("pc.cas", "office", 46000);
  EXPECT_EQ(FreeName("pc", {"pc", "pc01"}), "pc02.cas");
}

TEST_F(Folder, WaitingFilesComeOldestFirst) {
  Put("lap.cas", "office", 46002);
  Put("lap01.cas", "office", 46000);
  Put("lap02.cas", "office", 46001);
  EXPECT_EQ(Waiting("lap", "office", {"office"}), (std::vector<std::string>{"lap01.cas", "lap02.cas", "lap.cas"}));
}

TEST_F(Folder, FilesOfOneSecondComeInTheOrderOfTheirNumbers) {
  for (const char* name : {"lap.cas", "lap100.cas", "lap99.cas", "lap01.cas"}) Put(name, "office", 46000);
  EXPECT_EQ(Waiting("lap", "office", {}),
            (std::vector<std::string>{"lap.cas", "lap01.cas", "lap99.cas", "lap100.cas"}));
}

TEST_F(Folder, FilesOfOthersAndForOthersAreLeft) {
  Put("lap.cas", "home", 46000);
  Put("laptop.cas", "office", 46000);
  Put("lap1.cas", "office", 46000);
  Put("lap.txt", "office", 46000);
  Put("lap01.cas", "OFFICE", 46000);
  EXPECT_EQ(Waiting("lap", "office", {"office"}), std::vector<std::string>{"lap01.cas"});
}

TEST_F(Folder, ANumberedNameThatSpellsATargetIsLeft) {
  Put("pc.cas", "office", 46000);
  Put("pc01.cas", "office", 46000);
  EXPECT_EQ(Waiting("pc", "office", {"office", "pc01"}), std::vector<std::string>{"pc.cas"});
}

TEST_F(Folder, AFileThatIsNoSyncFileIsNamed) {
  WriteNative(Path() / "lap.cas", "short");
  EXPECT_TRUE(Waiting("lap", "office", {}).empty());
  EXPECT_EQ(foreign_, std::vector<std::string>{OnDriveZ(Path() / "lap.cas")});
}

TEST_F(Folder, AFileThatCanNotBeOpenedIsToldApart) {
  Put("lap.cas", "office", 46000);
  const tests::RefusingFile refusing(Path() / "lap01.cas", tests::RefusingFile::Refuses::Opening);
  EXPECT_EQ(Waiting("lap", "office", {}), std::vector<std::string>{"lap.cas"});
  EXPECT_TRUE(foreign_.empty());
  EXPECT_EQ(unreadable_.size(), 1U);
}

TEST_F(Folder, AFileThatCanNotBeReadIsToldApart) {
  Put("lap.cas", "office", 46000);
  const tests::RefusingFile refusing(Path() / "lap01.cas", tests::RefusingFile::Refuses::Reading);
  EXPECT_EQ(Waiting("lap", "office", {}), std::vector<std::string>{"lap.cas"});
  EXPECT_TRUE(foreign_.empty());
  EXPECT_EQ(unreadable_.size(), 1U);
}

TEST(NameOfTarget, IsTheTargetsIdInLowerCase) { EXPECT_EQ(NameOfTarget(" LAP ", "office"), "lap"); }
TEST(NameOfTarget, OfATrialIsThisComputers) { EXPECT_EQ(NameOfTarget("Test", "Office"), "office"); }

}  // namespace
}  // namespace zelkor::sync
