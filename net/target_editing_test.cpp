#include "net/target_editing.h"

#include <cstddef>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>

#include "lib/settings.h"
#include "tests/support/database_fixture.h"
#include "tests/support/golden_database.h"
#include "tests/support/scripted_sync_view.h"

namespace zelkor::net {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::size_t kSlots = 4096;  // where the first slot begins
constexpr std::size_t kSlot = 256;

class TargetEditingTest : public tests::DatabaseFixture {
 protected:
  // The office (FTP, dated) in slot 1, the laptop (folder) in slot 3, unless a test brings others.
  void OpenWith(const std::string& config) {
    WriteConfigFile(config);
    ASSERT_EQ(Open(), db::Database::Opened::Yes);
    targets_.emplace(Data(), user_);
    editing_.emplace(*targets_, user_, occupied_, view_);
  }
  void OpenGolden() {
    OpenWith(tests::GoldenConfig());
    Editing().FillTargetList();
  }
  // Targets of these IDs, in order, made for folders.
  void OpenTargets(const std::vector<std::string>& ids) {
    OpenWith(tests::GoldenConfig().substr(0, kSlots));
    for (const std::string& id : ids) Table().NewTarget(id);
  }
  [[nodiscard]] Targets& Table() { return *targets_; }
  [[nodiscard]] TargetEditing& Editing() { return *editing_; }
  [[nodiscard]] std::string Slot(std::size_t slot) const {
    return ConfigFile().substr(kSlots + (slot - 1) * kSlot, kSlot);
  }
  // What somebody types into a row.
  void Type(int row, const std::string& text) {
    view_.Row(row).value = text;
    Editing().ConPar_Change();
  }
  void ChooseConnection(int index) {
    view_.connection = index;
    Editing().Connection_Click();
  }
  void Click(int index) {
    view_.selected = index;
    Editing().List_Click(index);
  }

  tests::ScriptedSyncView view_;
  lib::Occupation occupied_;

 private:
  std::optional<Targets> targets_;
  std::optional<TargetEditing> editing_;
};

TEST_F(TargetEditingTest, ListsEachTargetWithTheDatesItHas) {
  OpenGolden();
  EXPECT_THAT(view_.targets, ElementsAre("office [Imp:12/9/2025] [Exp:12/8/2025]", "lap"));
}

TEST_F(TargetEditingTest, ListsATargetWithoutDatesAsItsBareId) {
  OpenTargets({"pc1"});
  Editing().FillTargetList();
  EXPECT_THAT(view_.targets, ElementsAre("pc1"));
}

TEST_F(TargetEditingTest, ListsOnlyTheDateThatIsThere) {
  OpenTargets({"pc1", "pc2"});
  Table().SetTargetDates("pc1", 46000.5, 0);
  Table().SetTargetDates("pc2", 0, 45999.25);
  Editing().FillTargetList();
  EXPECT_THAT(view_.targets, ElementsAre("pc1 [Imp:12/9/2025]", "pc2 [Exp:12/8/2025]"));
}

TEST_F(TargetEditingTest, SelectsTheFirstEntryAtFirst) {
  OpenGolden();
  EXPECT_EQ(view_.selected, 0);
  EXPECT_EQ(Editing().SelectedSlot(), 1);
  EXPECT_EQ(Editing().SelectedId(), "office");
  EXPECT_EQ(Table().Current().Id(), "office");
}

TEST_F(TargetEditingTest, SelectsTheTargetThatTheSettingsRememberInEitherCase) {
  lib::PutIniValue("Zelkor", "LastTarget", "LAP");
  OpenGolden();
  EXPECT_EQ(view_.selected, 1);
  EXPECT_EQ(Editing().SelectedSlot(), 3);
  EXPECT_EQ(Table().Current().Id(), "lap");
}

TEST_F(TargetEditingTest, SelectsTheFirstOfTwoIdsThatBeginWithTheRememberedOneThoughTheOtherIsEqual) {
  OpenTargets({"desk", "lap22", "lap"});
  lib::PutIniValue("Zelkor", "LastTarget", "lap");
  Editing().FillTargetList();
  EXPECT_EQ(view_.selected, 1);
}

TEST_F(TargetEditingTest, SelectsTheFirstEntryWhenTheRememberedTargetIsGone) {
  OpenTargets({"desk", "lap"});
  lib::PutIniValue("Zelkor", "LastTarget", "tower");
  Editing().FillTargetList();
  EXPECT_EQ(view_.selected, 0);
}

TEST_F(TargetEditingTest, KeepsTheSelectedIndexWhenItFillsAgain) {
  OpenGolden();
  Click(1);
  lib::PutIniValue("Zelkor", "LastTarget", "office");
  Editing().FillTargetList();
  EXPECT_EQ(view_.selected, 1);
}

TEST_F(TargetEditingTest, SelectsTheFirstEntryWhenTheRememberedIndexIsBeyondTheList) {
  OpenGolden();
  Click(1);
  Table().DeleteTarget(3);
  Editing().FillTargetList();
  EXPECT_EQ(view_.selected, 0);
  EXPECT_EQ(Table().Current().Id(), "office");
}

TEST_F(TargetEditingTest, ShowsNoConnectionWithoutATarget) {
  OpenTargets({});
  view_.viewEnabled = view_.ftpDirShown = view_.saveEnabled = view_.excluded = true;
  view_.rows[0] = ConnectionRow{};
  Editing().FillTargetList();
  EXPECT_THAT(view_.targets, IsEmpty());
  EXPECT_EQ(view_.selected, -1);
  EXPECT_THAT(view_.Shown(), IsEmpty());
  EXPECT_FALSE(view_.viewEnabled || view_.ftpDirShown || view_.saveEnabled || view_.excluded);
  EXPECT_EQ(Editing().SelectedSlot(), 0);
  EXPECT_EQ(Editing().SelectedId(), "");
  EXPECT_FALSE(Editing().ReadSelected());
}

TEST_F(TargetEditingTest, ShowsAnFtpConnection) {
  OpenGolden();
  EXPECT_EQ(view_.connection, 2);
  EXPECT_THAT(view_.Shown(),
              ElementsAre("Server=ftp.example.com", "Username=anna", "Password=secret", "Directory=/sync"));
  EXPECT_FALSE(view_.Row(1).masked || view_.Row(2).masked || view_.Row(4).masked);
  EXPECT_TRUE(view_.Row(3).masked);
  EXPECT_FALSE(view_.viewEnabled);
  EXPECT_TRUE(view_.ftpDirShown);
  EXPECT_TRUE(view_.excluded);
  EXPECT_FALSE(view_.saveEnabled);
}

TEST_F(TargetEditingTest, ShowsAFolder) {
  OpenGolden();
  Click(1);
  EXPECT_EQ(view_.connection, 0);
  EXPECT_THAT(view_.Shown(), ElementsAre("Media=c:\\stick\\"));
  EXPECT_TRUE(view_.viewEnabled);
  EXPECT_FALSE(view_.ftpDirShown);
  EXPECT_FALSE(view_.excluded);
}

TEST_F(TargetEditingTest, ShowsANetworkAddress) {
  OpenWith(tests::GoldenConfig().replace(kSlots + 88, 2, tests::Raw("\x01\x00")));
  Editing().FillTargetList();
  EXPECT_EQ(view_.connection, 1);
  EXPECT_THAT(view_.Shown(), ElementsAre("IP address=ftp.example.com"));
  EXPECT_FALSE(view_.viewEnabled);
  EXPECT_FALSE(view_.ftpDirShown);
}

TEST_F(TargetEditingTest, HoldsAnUnknownConnectionTypeToTheList) {
  OpenWith(tests::GoldenConfig().replace(kSlots + 88, 2, tests::Raw("\xff\xff")));
  Editing().FillTargetList();
  EXPECT_EQ(view_.connection, 0);
  OpenWith(tests::GoldenConfig().replace(kSlots + 88, 2, "  "));
  Editing().FillTargetList();
  EXPECT_EQ(view_.connection, 2);
}

TEST_F(TargetEditingTest, TellsHowMuchEachFieldHolds) {
  OpenGolden();
  EXPECT_EQ(view_.Row(1).maxLength, 64U);
  for (const int row : {2, 3, 4}) EXPECT_EQ(view_.Row(row).maxLength, 32U);
  Click(1);
  EXPECT_EQ(view_.Row(1).maxLength, 64U);
}

TEST_F(TargetEditingTest, AnEditAllowsSavingAndWritesNothing) {
  OpenGolden();
  Type(3, "better");
  EXPECT_TRUE(view_.saveEnabled);
  EXPECT_EQ(ConfigFile(), tests::GoldenConfig());
}

TEST_F(TargetEditingTest, AClickOnTheFlagAllowsSaving) {
  OpenGolden();
  view_.excluded = false;
  Editing().DefaultExclude_Click();
  EXPECT_TRUE(view_.saveEnabled);
  EXPECT_TRUE(Editing().SaveTarget());
  EXPECT_EQ(ConfigFile(), tests::GoldenConfig().replace(kSlots + 250, 1, tests::Raw("\0")));
  EXPECT_FALSE(view_.saveEnabled);
}

TEST_F(TargetEditingTest, SavesTheFourFieldsOfAnFtpConnection) {
  OpenGolden();
  Type(1, "ftp2");
  Type(2, "bert");
  Type(3, "better");
  Type(4, "in");
  EXPECT_TRUE(Editing().SaveTarget());
  EXPECT_EQ(ConfigFile(), tests::GoldenConfig().replace(kSlots + 90, 160,
                                                        tests::Pad("ftp2", 64) + tests::Pad("bert", 32) +
                                                            tests::Pad("better", 32) + tests::Pad("in", 32)));
}

TEST_F(TargetEditingTest, SavesANetworkAddressAndKeepsTheOtherFields) {
  OpenGolden();
  ChooseConnection(1);
  Type(1, "10.0.0.7");
  EXPECT_TRUE(Editing().SaveTarget());
  EXPECT_EQ(ConfigFile(),
            tests::GoldenConfig().replace(kSlots + 88, 66, tests::Raw("\x01\x00") + tests::Pad("10.0.0.7", 64)));
}

TEST_F(TargetEditingTest, SavesAFolderAndKeepsTheOtherFields) {
  OpenGolden();
  ChooseConnection(0);
  Type(1, "c:\\stick\\");
  EXPECT_TRUE(Editing().SaveTarget());
  EXPECT_EQ(ConfigFile(),
            tests::GoldenConfig().replace(kSlots + 24, 66, tests::Pad("c:\\stick\\", 64) + tests::Raw("\x00\x00")));
}

TEST_F(TargetEditingTest, SavesNothingWithoutAnEdit) {
  OpenGolden();
  view_.Row(1).value = "shown, but never typed";
  EXPECT_TRUE(Editing().SaveTarget());
  EXPECT_EQ(ConfigFile(), tests::GoldenConfig());
}

TEST_F(TargetEditingTest, SavesOverDatesThatARunHasSetMeanwhile) {
  OpenGolden();
  Type(2, "bert");
  Table().SetTargetDates("office", 0, 46000.5);
  Table().FindTarget("lap", false);  // another slot is the current record now
  EXPECT_TRUE(Editing().SaveTarget());
  EXPECT_EQ(ConfigFile(), tests::GoldenConfig()
                              .replace(kSlots + 16, 8, tests::kNoon46000)
                              .replace(kSlots + 154, 32, tests::Pad("bert", 32)));
}

TEST_F(TargetEditingTest, SwitchingTheConnectionThereAndBackShowsTheStoredFields) {
  OpenGolden();
  Type(1, "typed");
  Type(4, "typed");
  ChooseConnection(0);
  EXPECT_THAT(view_.Shown(), ElementsAre("Media=a:\\"));
  EXPECT_TRUE(view_.saveEnabled);
  EXPECT_TRUE(view_.viewEnabled);
  EXPECT_FALSE(view_.ftpDirShown);
  ChooseConnection(2);
  EXPECT_THAT(view_.Shown(),
              ElementsAre("Server=ftp.example.com", "Username=anna", "Password=secret", "Directory=/sync"));
  EXPECT_TRUE(view_.saveEnabled);
  EXPECT_EQ(ConfigFile(), tests::GoldenConfig());
}

TEST_F(TargetEditingTest, SwitchingTheConnectionFillsTheRowsFromTheSelectedTargetWhateverWasReadLast) {
  OpenGolden();
  Table().FindTarget("lap", false);
  ChooseConnection(1);
  EXPECT_THAT(view_.Shown(), ElementsAre("IP address=ftp.example.com"));
}

TEST_F(TargetEditingTest, SelectingAnotherTargetSavesTheEditsOfTheOneLeft) {
  OpenGolden();
  Type(3, "better");
  Click(1);
  EXPECT_EQ(ConfigFile(), tests::GoldenConfig().replace(kSlots + 186, 32, tests::Pad("better", 32)));
  EXPECT_THAT(view_.Shown(), ElementsAre("Media=c:\\stick\\"));
}

TEST_F(TargetEditingTest, SelectingTheSameTargetLeavesTheEditsAlone) {
  OpenGolden();
  Type(3, "better");
  Click(0);
  EXPECT_EQ(view_.Row(3).value, "better");
  EXPECT_TRUE(view_.saveEnabled);
}

TEST_F(TargetEditingTest, SelectingIsIgnoredDuringARun) {
  OpenGolden();
  const lib::Occupation::Guard run(occupied_);
  Click(1);
  EXPECT_EQ(view_.selected, 0);
  EXPECT_EQ(Editing().SelectedSlot(), 1);
  EXPECT_EQ(Table().Current().Id(), "office");
  EXPECT_EQ(view_.connection, 2);
}

TEST_F(TargetEditingTest, ARefillFromOutsideLeavesUnsavedEditsInTheWindow) {
  OpenGolden();
  Type(3, "bett");
  Table().SetTargetDates("lap", 46000.5, 0);
  Editing().FillTargetList();
  EXPECT_THAT(view_.targets, ElementsAre("office [Imp:12/9/2025] [Exp:12/8/2025]", "lap [Imp:12/9/2025]"));
  EXPECT_EQ(view_.Row(3).value, "bett");
  EXPECT_TRUE(view_.saveEnabled);
  Type(3, "better");
  EXPECT_TRUE(Editing().SaveTarget());
  EXPECT_EQ(Slot(1).substr(186, 32), tests::Pad("better", 32));
}

TEST_F(TargetEditingTest, EditsWithoutATargetAreNone) {
  OpenTargets({});
  Editing().FillTargetList();
  Editing().ConPar_Change();
  Editing().DefaultExclude_Click();
  ChooseConnection(2);
  EXPECT_FALSE(view_.saveEnabled);
  EXPECT_THAT(view_.Shown(), IsEmpty());
  EXPECT_TRUE(Editing().SaveTarget());
}

TEST_F(TargetEditingTest, ANativeFolderBecomesOneOfTheProgramWhenItsBoxIsLeft) {
  if (tests::NativePathsAreTheForm()) GTEST_SKIP() << "what is native is the form already";
  OpenGolden();
  Click(1);
  Type(1, (Home() / "stick" / "in").string());
  Editing().ConPar_LostFocus(1);
  EXPECT_EQ(view_.Row(1).value, "c:\\stick\\in");
  EXPECT_TRUE(Editing().SaveTarget());
  EXPECT_EQ(Slot(3).substr(24, 64), tests::Pad("c:\\stick\\in", 64));
}

TEST_F(TargetEditingTest, ANativeFolderIsAlsoTurnedWhenItIsSavedFromWithinItsBox) {
  if (tests::NativePathsAreTheForm()) GTEST_SKIP() << "what is native is the form already";
  OpenGolden();
  Click(1);
  Type(1, "/mnt/stick/");
  EXPECT_TRUE(Editing().SaveTarget());
  EXPECT_EQ(view_.Row(1).value, "z:\\mnt\\stick");
  EXPECT_EQ(Slot(3).substr(24, 64), tests::Pad("z:\\mnt\\stick", 64));
}

TEST_F(TargetEditingTest, ADirectoryOnAnFtpServerIsNoNativeFolder) {
  OpenGolden();
  Type(4, "/home/anna");
  Type(1, "/odd");
  Editing().ConPar_LostFocus(1);
  Editing().ConPar_LostFocus(4);
  EXPECT_TRUE(Editing().SaveTarget());
  EXPECT_EQ(Slot(1).substr(218, 32), tests::Pad("/home/anna", 32));
  EXPECT_EQ(Slot(1).substr(90, 64), tests::Pad("/odd", 64));
}

TEST_F(TargetEditingTest, AFolderThatTheFormCanNotCarryIsRefusedAndTheEditStays) {
  OpenGolden();
  Click(1);
  Type(1, "/mnt/a:b");
  Editing().ConPar_LostFocus(1);
  EXPECT_EQ(view_.Row(1).value, "/mnt/a:b");
  EXPECT_THAT(user_.boxes, IsEmpty());
  EXPECT_FALSE(Editing().SaveTarget());
  ASSERT_EQ(user_.boxes.size(), 1U);
  EXPECT_THAT(user_.boxes[0].text, HasSubstr("a:b"));
  EXPECT_EQ(user_.boxes[0].icon, lib::Icon::Critical);
  EXPECT_TRUE(view_.saveEnabled);
  EXPECT_EQ(ConfigFile(), tests::GoldenConfig());
}

TEST_F(TargetEditingTest, AFolderThatGrowsBeyondItsFieldIsRefused) {
  if (tests::NativePathsAreTheForm()) GTEST_SKIP() << "what is native is the form already";
  OpenGolden();
  Click(1);
  Type(1, "/" + std::string(62, 'd'));  // 63 characters; z:\ makes 65 of them
  EXPECT_FALSE(Editing().SaveTarget());
  ASSERT_EQ(user_.boxes.size(), 1U);
  EXPECT_THAT(user_.boxes[0].text, HasSubstr("z:\\" + std::string(62, 'd')));
  EXPECT_EQ(ConfigFile(), tests::GoldenConfig());
  Type(1, "/" + std::string(61, 'd'));
  EXPECT_TRUE(Editing().SaveTarget());
  EXPECT_EQ(Slot(3).substr(24, 64), "z:\\" + std::string(61, 'd'));
}

TEST_F(TargetEditingTest, ATargetWhoseEditsCanNotBeSavedStaysSelected) {
  OpenGolden();
  Click(1);
  Type(1, "/mnt/a:b");
  Click(0);
  EXPECT_EQ(view_.selected, 1);
  EXPECT_EQ(Editing().SelectedId(), "lap");
  EXPECT_EQ(view_.Row(1).value, "/mnt/a:b");
}

TEST_F(TargetEditingTest, APickedFolderIsAnEdit) {
  OpenGolden();
  Click(1);
  Editing().TakeMediaFolder((Home() / "stick2").string());
  EXPECT_EQ(view_.Row(1).value, "c:\\stick2");
  EXPECT_TRUE(view_.saveEnabled);
}

TEST_F(TargetEditingTest, APickedFolderThatCanNotBeUsedIsRefused) {
  OpenGolden();
  Click(1);
  Editing().TakeMediaFolder("/mnt/\xe6\x97\xa5");  // a character outside the code page
  ASSERT_EQ(user_.boxes.size(), 1U);
  EXPECT_EQ(view_.Row(1).value, "c:\\stick\\");
  EXPECT_FALSE(view_.saveEnabled);
}

TEST_F(TargetEditingTest, AfterADeletionNoTargetIsSelected) {
  OpenGolden();
  Table().DeleteTarget(1);
  Editing().RemoveSelected();
  EXPECT_THAT(view_.targets, ElementsAre("lap"));
  EXPECT_EQ(view_.selected, -1);
  EXPECT_THAT(view_.Shown(), IsEmpty());
  EXPECT_EQ(Editing().SelectedSlot(), 0);
  EXPECT_EQ(Editing().SelectedId(), "");
}

}  // namespace
}  // namespace zelkor::net
