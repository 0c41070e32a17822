#include "app/help_file.h"

#include <filesystem>

#include "tests/support/sandbox.h"

namespace zelkor::app {
namespace {

namespace fs = std::filesystem;

class HelpFileTest : public tests::Sandbox {
 protected:
  [[nodiscard]] fs::path Placed() const { return ProgramFolder() / "zelkor.hlp"; }
  // Where the program is installed as /usr/bin is beside /usr/share.
  [[nodiscard]] std::string ExecutableDir() const { return OnDriveZ(Root() / "usr/bin") + "\\"; }
  void Install(const std::string& text) { WriteNative(Root() / "usr/share/zelkor/zelkor.hlp", text); }
  [[nodiscard]] lib::Status Place() const { return PlaceHelpFile(ProgramDir(), ExecutableDir()); }
};

TEST_F(HelpFileTest, IsNamedInTheProgramsDirectory) {
  EXPECT_EQ(HelpFile("c:\\zelkor"), "c:\\zelkor\\zelkor.hlp");
  EXPECT_EQ(HelpFile("c:\\zelkor\\"), "c:\\zelkor\\zelkor.hlp");
}

TEST_F(HelpFileTest, IsCopiedFromTheShareFolderOfAnInstalledProgram) {
  Install("help\n");
  ASSERT_TRUE(Place().Ok());
  EXPECT_EQ(ReadNative(Placed()), "help\n");
}

TEST_F(HelpFileTest, IsCopiedFromBesideAProgramThatIsNotInstalled) {
  WriteNative(Root() / "usr/bin/zelkor.hlp", "built\n");
  ASSERT_TRUE(Place().Ok());
  EXPECT_EQ(ReadNative(Placed()), "built\n");
}

TEST_F(HelpFileTest, OfAnotherVersionIsReplaced) {
  WriteNative(Placed(), "an older and longer help\n");
  Install("help\n");
  ASSERT_TRUE(Place().Ok());
  EXPECT_EQ(ReadNative(Placed()), "help\n");
}

TEST_F(HelpFileTest, ThatIsCurrentIsNotWrittenAgain) {
  Install("help\n");
  ASSERT_TRUE(Place().Ok());
  // Some systems' libraries set whole seconds only.
  const auto before =
      std::chrono::floor<std::chrono::seconds>(fs::file_time_type::clock::now() - std::chrono::hours(1));
  fs::last_write_time(Placed(), before);
  ASSERT_TRUE(Place().Ok());
  EXPECT_EQ(fs::last_write_time(Placed()), before);
}

TEST_F(HelpFileTest, InTheDirectoryOfTheProgramItselfStaysAsItIs) {
  WriteNative(Placed(), "help\n");
  ASSERT_TRUE(PlaceHelpFile(ProgramDir(), ProgramDir()).Ok());
  EXPECT_EQ(ReadNative(Placed()), "help\n");
}

TEST_F(HelpFileTest, ThatMayNotBeReplacedIsShownAsItIs) {
  WriteNative(Placed(), "older\n");
  fs::permissions(Placed(), fs::perms::owner_read);
  Install("help\n");
  EXPECT_TRUE(Place().Ok());
  EXPECT_EQ(ReadNative(Placed()), "older\n");
}

TEST_F(HelpFileTest, OnceCopiedIsEnoughWhenTheInstalledOneIsGone) {
  WriteNative(Placed(), "older\n");
  EXPECT_TRUE(Place().Ok());
}

TEST_F(HelpFileTest, ThatIsNowhereIsAFailureThatNamesIt) {
  const lib::Status placed = Place();
  EXPECT_EQ(placed.Why(), lib::Cause::PathNotFound);
  EXPECT_NE(placed.Message().find("zelkor.hlp"), std::string::npos) << placed.Message();
  EXPECT_FALSE(fs::exists(Placed()));
}

}  // namespace
}  // namespace zelkor::app
