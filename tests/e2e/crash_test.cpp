// The program killed before each of its changing calls in turn: whatever was the last thing it did, nothing is torn,
// nothing belongs to nobody, and doing it again mends the rest.
#include <csignal>

#include "tests/support/e2e.h"

namespace zelkor::tests {
namespace {

using testing::ElementsAre;

// More than any of these runs makes; a run that goes on and on is a failure.
constexpr long kTooMany = 2000;

class Crash : public testing::Test {
 protected:
  // Both computers with a part of what is to be exchanged on each side.
  struct Scene {
    TemporaryFolder folder;
    Computer office{folder.Path(), "office"};
    Computer lap{folder.Path(), "lap"};

    Scene() {
      office.SetTarget({.id = "lap", .mediaPath = "m:\\"});
      lap.SetTarget({.id = "office", .mediaPath = "m:\\"});
      office.WriteFile("docs/new.txt", kNew, kLater);
      office.WriteFile("docs/deep/er/new too.txt", kNewToo, kLater);
      office.WriteFile("docs/changed.txt", kChanged, kLater);
      office.WriteFile("same.txt", "same", kEarlier);
      office.AddItem({.fileName = "c:\\docs\\new.txt\r\nc:\\docs\\deep\\er\\new too.txt", .memoId = 1});
      office.AddItem({.fileName = "c:\\docs\\changed.txt", .description = "Changed", .memoId = 2, .codes = "new"});
      office.AddItem({.fileName = "c:\\same.txt", .description = "Same", .memoId = 3});
      office.AddItem({.fileName = "c:\\gone.txt", .description = "Gone", .memoId = 4, .flags = 1});
      lap.WriteFile("docs/changed.txt", kUnchanged, kEarlier);
      lap.WriteFile("same.txt", "same", kEarlier);
      lap.AddItem({.fileName = "c:\\docs\\changed.txt", .description = "Old", .memoId = 2, .codes = "old"});
      lap.AddItem({.fileName = "c:\\same.txt", .description = "Same", .memoId = 3});
    }
    [[nodiscard]] std::filesystem::path Stick() const { return folder.Path() / "stick"; }
  };

  static inline const std::string kNew = std::string(70000, 'n');
  static inline const std::string kNewToo = "new too";
  static inline const std::string kChanged = std::string(40000, 'c');
  static inline const std::string kUnchanged = "unchanged";
  static inline const std::time_t kEarlier = At(2020, 1, 1);
  static inline const std::time_t kLater = At(2021, 1, 1);

  // Every file whole, in its old or its new state, and with its item.
  static void ExpectNothingTorn(const Scene& scene, const std::string& when) {
    const Computer& lap = scene.lap;
    const std::string database = ReadBytes(lap.Program() / "zelkor.ind");
    for (const std::string& name : lap.Files()) {
      const std::string content = lap.ReadFile(name);
      const std::time_t written = lap.FileTime(name);
      if (name == "docs/new.txt") {
        EXPECT_TRUE(content == kNew && written == kLater) << when;
        EXPECT_TRUE(lap.ItemWithId(1)) << when;
      } else if (name == "docs/deep/er/new too.txt") {
        EXPECT_TRUE(content == kNewToo && written == kLater) << when;
        EXPECT_TRUE(lap.ItemWithId(1)) << when;
      } else if (name == "docs/changed.txt") {
        const bool old = content == kUnchanged && written == kEarlier;
        EXPECT_TRUE(old || (content == kChanged && written == kLater)) << when;
        EXPECT_TRUE(old || lap.ItemWithId(2)->codes == "new") << when;
      } else if (name == "same.txt") {
        EXPECT_TRUE(content == "same" && written == kEarlier) << when;
      } else {
        // A file that was to replace another one may stay under its temporary name.
        EXPECT_NE(name.find("~zelkor-"), std::string::npos) << when << ": " << name;
      }
    }
    EXPECT_TRUE(lap.HasFile("docs/changed.txt") && lap.HasFile("same.txt")) << when;
  }

  // The files without those that a killed run left under a temporary name.
  static std::vector<std::string> OwnNames(const Computer& computer) {
    std::vector<std::string> names = computer.Files();
    std::erase_if(names, [](const std::string& name) { return name.find("~zelkor-") != std::string::npos; });
    return names;
  }

  static void ExpectAllArrived(const Scene& scene, const std::string& when) {
    const Computer& lap = scene.lap;
    EXPECT_THAT(OwnNames(lap), ElementsAre("docs/changed.txt", "docs/deep/er/new too.txt", "docs/new.txt", "same.txt"))
        << when;
    EXPECT_TRUE(lap.ReadFile("docs/new.txt") == kNew) << when;
    EXPECT_TRUE(lap.ReadFile("docs/changed.txt") == kChanged) << when;
    EXPECT_EQ(lap.ReadFile("docs/deep/er/new too.txt"), kNewToo) << when;
    ASSERT_EQ(lap.Items().size(), 4U) << when;
    EXPECT_EQ(lap.ItemWithId(2)->codes, "new") << when;
    EXPECT_EQ(lap.ItemWithId(4)->flags, 1) << when;
  }
};

TEST_F(Crash, AtAnyCallOfAnExportLeavesOnlyWholeSyncFiles) {
  // Delivered by a move, and copied to another file system.
  for (const std::string rules : {"", "rename:~sync:EXDEV:1"}) {
    long at = 1;
    for (; at < kTooMany; ++at) {
      const std::string when = "killed at " + std::to_string(at) + " " + rules;
      const Scene scene;
      const Outcome killed = scene.office.Export("lap", {.faults = {.killAt = at, .rules = rules}});
      if (killed.signal == 0) break;
      ASSERT_EQ(killed.signal, SIGKILL) << when << killed;
      std::vector<std::string> waiting;
      for (const std::string& name : NamesIn(scene.Stick())) {
        if (name.ends_with(".cas")) waiting.push_back(name);
      }
      for (const std::string& name : waiting) {
        EXPECT_NO_THROW(static_cast<void>(DecodeSync(ReadBytes(scene.Stick() / name)))) << when;
      }
      // No date without a file that holds everything up to it.
      EXPECT_TRUE(!waiting.empty() || scene.office.TargetWithId("lap")->lastExport == 0) << when;
      const Outcome again = scene.office.Export("lap");
      EXPECT_EQ(again.status, 0) << when << again;
      EXPECT_EQ(scene.office.Items().size(), 4U) << when;
      const Outcome imported = scene.lap.Import("office");
      EXPECT_EQ(imported.status, 0) << when << imported;
      ExpectAllArrived(scene, when);
    }
    EXPECT_GT(at, 8);
    EXPECT_LT(at, kTooMany);
  }
}

TEST_F(Crash, AtAnyCallOfAnImportLeavesNothingTornAndTheNextImportMendsTheRest) {
  for (const std::string rules : {"", "unnamed:home:EOPNOTSUPP:1"}) {
    long at = 1;
    for (; at < kTooMany; ++at) {
      const std::string when = "killed at " + std::to_string(at) + " " + rules;
      const Scene scene;
      ASSERT_EQ(scene.office.Export("lap").status, 0);
      const Outcome killed = scene.lap.Import("office", {.faults = {.killAt = at, .rules = rules}});
      if (killed.signal == 0) break;
      ASSERT_EQ(killed.signal, SIGKILL) << when << killed;
      ExpectNothingTorn(scene, when);
      const bool waiting = std::filesystem::exists(scene.Stick() / "lap.cas");
      if (waiting) {
        const Outcome again = scene.lap.Import("office");
        EXPECT_EQ(again.status, 0) << when << again;
      }
      ExpectAllArrived(scene, when);
      EXPECT_FALSE(std::filesystem::exists(scene.Stick() / "lap.cas")) << when;
    }
    EXPECT_GT(at, 12) << rules;
    EXPECT_LT(at, kTooMany);
  }
}

TEST_F(Crash, WhileARecordIsAppendedLeavesADatabaseThatOpens) {
  // Half a record at the end, as a crash in the middle of writing leaves it.
  for (const std::size_t length : {1U, 512U, 1023U}) {
    const Scene scene;
    WriteBytes(scene.lap.Program() / "zelkor.ind",
               ReadBytes(scene.lap.Program() / "zelkor.ind") + std::string(length, 'x'));
    ASSERT_EQ(scene.office.Export("lap").status, 0);
    const Outcome outcome = scene.lap.Import("office");
    EXPECT_EQ(outcome.status, 0) << outcome;
    EXPECT_NE(outcome.err, "") << "the incomplete record must be reported";
    ExpectAllArrived(scene, std::to_string(length));
    EXPECT_EQ(std::filesystem::file_size(scene.lap.Program() / "zelkor.ind"), 4U * 1024U);
  }
}

TEST_F(Crash, AtAnyCallOfTheFirstStartLeavesADatabaseThatOpens) {
  long at = 1;
  for (; at < kTooMany; ++at) {
    const TemporaryFolder folder;
    const Computer fresh(folder.Path(), "fresh");
    const Outcome killed = fresh.Run({"/syncexp"}, {.faults = {.killAt = at}});
    if (killed.signal == 0) break;
    const Outcome again = fresh.Run({"/syncexp"});
    EXPECT_EQ(again.status, 2) << at << again;
    EXPECT_THAT(again.err, Says("Wrong number of arguments")) << at;
    const std::string configuration = ReadBytes(fresh.Program() / "zelkor.cfg");
    ASSERT_GE(configuration.size(), 4096U) << at;
    EXPECT_EQ(configuration.substr(0, 8), "Zelkor! ") << at;
    EXPECT_EQ(TakeI16(configuration, 8), 220) << at;
  }
  EXPECT_GT(at, 2);
}

}  // namespace
}  // namespace zelkor::tests
