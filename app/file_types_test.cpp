#include "app/file_types.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "tests/support/database_fixture.h"
#include "tests/support/golden_database.h"
#include "tests/support/scripted_desktop.h"

namespace zelkor::app {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(FillListFromText, CutsTheTextAtTheSeparator) {
  EXPECT_THAT(FillListFromText("txt doc ini", " "), ElementsAre("txt", "doc", "ini"));
  EXPECT_THAT(FillListFromText("a, b,c", ", "), ElementsAre("a", "b,c"));
}

TEST(FillListFromText, KeepsAnEmptyPieceBetweenSeparators) {
  EXPECT_THAT(FillListFromText("a  b", " "), ElementsAre("a", "", "b"));
}

TEST(FillListFromText, TakesNothingFromAnEmptyText) { EXPECT_THAT(FillListFromText("", " "), IsEmpty()); }

class FileTypesTest : public tests::DatabaseFixture {
 protected:
  // The two fields as docs/formats.md places them in "zelkor.cfg".
  static constexpr std::size_t kShell = 3072;
  static constexpr std::size_t kEditor = 3328;

  void OpenWith(const std::string& shellTypes, const std::string& editorTypes) {
    std::string config = tests::GoldenConfig();
    config.replace(kShell, 256, tests::Pad(shellTypes, 256)).replace(kEditor, 256, tests::Pad(editorTypes, 256));
    WriteConfigFile(config);
    ASSERT_EQ(Open(), db::Database::Opened::Yes);
  }
  [[nodiscard]] std::string Field(std::size_t offset) const { return ConfigFile().substr(offset, 256); }
  void Edit(FileTypes which) { File_Extensions(which, Data(), desktop_); }

  tests::ScriptedDesktop desktop_;
};

TEST_F(FileTypesTest, AddingTheEntryDotTxtToTheViewListStoresTxtFollowedByABlank) {
  OpenWith("doc ", "");
  desktop_.useList = [](lib::ListDialog& dialog) {
    dialog.entries.emplace_back(".TXT");
    dialog.selected = 0;
  };
  Edit(FileTypes::View);
  EXPECT_EQ(Field(kEditor), tests::Pad("TXT ", 256));
  EXPECT_EQ(Field(kShell), tests::Pad("doc ", 256));
}

TEST_F(FileTypesTest, ShowsTheViewListOfTheEditor) {
  OpenWith("doc ", "txt ini ");
  Edit(FileTypes::View);
  ASSERT_EQ(desktop_.lists.size(), 1U);
  EXPECT_EQ(desktop_.lists[0].title, "View file-types");
  EXPECT_THAT(desktop_.lists[0].entries, ElementsAre("txt", "ini"));
  EXPECT_EQ(desktop_.lists[0].options, 7U);
  EXPECT_EQ(desktop_.lists[0].selected, -1);
}

TEST_F(FileTypesTest, ShowsTheRunListOfTheSystemsPrograms) {
  OpenWith(" doc xls ", "txt ");
  desktop_.useList = [](lib::ListDialog& dialog) { dialog.selected = 0; };
  Edit(FileTypes::Run);
  ASSERT_EQ(desktop_.lists.size(), 1U);
  EXPECT_EQ(desktop_.lists[0].title, "Run file-types");
  EXPECT_THAT(desktop_.lists[0].entries, ElementsAre("doc", "xls"));
  EXPECT_EQ(Field(kShell), tests::Pad("doc xls ", 256));
}

TEST_F(FileTypesTest, ReadsAFieldUpToItsFirstNul) {
  OpenWith("", tests::Raw("txt \0\0doc"));
  Edit(FileTypes::View);
  EXPECT_THAT(desktop_.lists.at(0).entries, ElementsAre("txt"));
}

TEST_F(FileTypesTest, DeletingEveryEntryAndPressingOkLeavesTheListAsItWas) {
  OpenWith("", "txt ini ");
  desktop_.useList = [](lib::ListDialog& dialog) {
    dialog.entries.clear();
    dialog.selected = -1;
  };
  Edit(FileTypes::View);
  EXPECT_EQ(Field(kEditor), tests::Pad("txt ini ", 256));
  EXPECT_EQ(Data().Config().Text(db::ConfigRec::kEditorTypes), "txt ini");
}

TEST_F(FileTypesTest, AnEntryThatBecomesEmptyStillContributesItsBlank) {
  OpenWith("", "");
  desktop_.useList = [](lib::ListDialog& dialog) {
    dialog.entries = {"a b", ". .", "c.d"};
    dialog.selected = 1;
  };
  Edit(FileTypes::View);
  EXPECT_EQ(Field(kEditor), tests::Pad("ab  cd ", 256));
}

TEST_F(FileTypesTest, AListWhoseTextExceeds256CharactersIsCutAt256) {
  OpenWith("", "");
  desktop_.useList = [](lib::ListDialog& dialog) {
    dialog.entries.assign(60, "abcd");  // 300 characters with their blanks
    dialog.selected = 0;
  };
  Edit(FileTypes::View);
  std::string expected;
  for (int i = 0; i < 60; ++i) expected += "abcd ";
  EXPECT_EQ(Field(kEditor), expected.substr(0, 256));
  EXPECT_EQ(ConfigFile().substr(3584, 16), tests::GoldenConfig().substr(3584, 16));
}

TEST_F(FileTypesTest, WritesTheConfigurationRightAway) {
  OpenWith("", "");
  desktop_.useList = [](lib::ListDialog& dialog) {
    dialog.entries = {"txt"};
    dialog.selected = 0;
  };
  Edit(FileTypes::Run);
  ASSERT_EQ(Open(), db::Database::Opened::Yes);  // as after a crash
  EXPECT_EQ(Data().Config().Text(db::ConfigRec::kShellTypes), "txt");
}

}  // namespace
}  // namespace zelkor::app
