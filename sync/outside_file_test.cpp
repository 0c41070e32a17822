#include "sync/outside_file.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "db/memory_rows.h"
#include "sync/export.h"
#include "tests/support/office.h"
#include "tests/support/sandbox.h"
#include "tests/support/scripted_user.h"

namespace zelkor::sync {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// The office computer. It has exported one item to "lap" as the laptop would to it: what stands on the stick is a sync
// file of the laptop's once the name of the sender in its header is the laptop's.
class OutsideFile : public tests::Office<tests::Sandbox, tests::ScriptedUser> {
 protected:
  OutsideFile() {
    targets_.NewTarget("lap");
    WriteNative(Home() / "plan.txt", "the plan");
    catalogue_.AddItem("Plan", "c:\\plan.txt");
    std::filesystem::create_directory(Stick());
    EXPECT_EQ(ExportToTarget(context_, "lap", {.word = AsTyped(Stick()), .startDirectory = "/"}), ExportResult::Done);
    std::string bytes = ReadNative(Stick() / "lap.cas");
    bytes.replace(0, 8, "lap     ");
    WriteNative(Stick() / "from lap.cas", bytes);
    std::filesystem::resize_file(ProgramFolder() / "zelkor.ind", 0);
    std::filesystem::remove(Home() / "plan.txt");
    EXPECT_EQ(database_.OpenDatabase(), db::Database::Opened::Yes);
    user_.boxes.clear();
  }
  [[nodiscard]] std::string Path(const std::string& name) const { return OnDriveZ(Stick() / name); }
};

TEST_F(OutsideFile, IsImportedFromItsSenderAfterAQuestionAndNeverDeleted) {
  user_.answers = {lib::Button::Yes};
  EXPECT_EQ(ImportOutsideFile(context_, Path("from lap.cas")), ImportResult::Success);
  EXPECT_THAT(user_.Messages(), ElementsAre("Sync import from [lap]. Proceed?"));
  EXPECT_EQ(ReadNative(Home() / "plan.txt"), "the plan");
  EXPECT_EQ(database_.RecordCount(), 1);
  EXPECT_TRUE(std::filesystem::exists(Stick() / "from lap.cas"));
}

TEST_F(OutsideFile, IsLeftAloneAfterNo) {
  user_.answers = {lib::Button::No};
  EXPECT_EQ(ImportOutsideFile(context_, Path("from lap.cas")), ImportResult::Declined);
  EXPECT_FALSE(std::filesystem::exists(Home() / "plan.txt"));
}

TEST_F(OutsideFile, OfThisComputerItselfIsATrial) {
  targets_.NewTarget("test");
  user_.answers = {lib::Button::Yes};
  EXPECT_EQ(ImportOutsideFile(context_, Path("lap.cas")), ImportResult::Success);
  EXPECT_THAT(user_.Messages(), ElementsAre("Sync import from [test]. Proceed?"));
}

TEST_F(OutsideFile, OfAnUnknownSenderIsRefused) {
  std::string bytes = ReadNative(Stick() / "lap.cas");
  bytes.replace(0, 8, "stranger");
  WriteNative(Stick() / "strange.cas", bytes);
  EXPECT_EQ(ImportOutsideFile(context_, Path("strange.cas")), ImportResult::NotThere);
  ASSERT_EQ(user_.boxes.size(), 1U);
  EXPECT_THAT(user_.boxes[0].text, HasSubstr("[stranger]"));
}

TEST_F(OutsideFile, ThatIsNoSyncFileOrNotThereIsSaidSo) {
  WriteNative(Stick() / "text.cas", "no sync file");
  EXPECT_EQ(ImportOutsideFile(context_, Path("text.cas")), ImportResult::Failed);
  EXPECT_EQ(ImportOutsideFile(context_, Path("none.cas")), ImportResult::NotThere);
  ASSERT_EQ(user_.boxes.size(), 2U);
  EXPECT_EQ(user_.boxes[0].text, "File is not a Sync-file!");
  EXPECT_THAT(user_.boxes[1].text, HasSubstr("none.cas"));
  EXPECT_EQ(user_.boxes[1].icon, lib::Icon::Critical);
}

}  // namespace
}  // namespace zelkor::sync
