#include "app/identity.h"

#include "lib/settings.h"
#include "tests/support/sandbox.h"
#include "tests/support/scripted_user.h"

namespace zelkor::app {
namespace {

class Identity : public tests::Sandbox {
 protected:
  void Settings(const std::string& text) { WriteNative(SettingsFile(), text); }
  tests::ScriptedUser user_;
};

TEST_F(Identity, AStoredIdOfOneCharacterIsUsedWithoutAPrompt) {
  Settings("[Orlim]\r\nUser=A\r\n");
  EXPECT_EQ(GetComputerID(user_), "a");
  EXPECT_TRUE(user_.boxes.empty());
}

TEST_F(Identity, ATypedIdOfOneCharacterIsRefused) {
  user_.inputs = {"A", "PC01"};
  EXPECT_EQ(GetComputerID(user_), "PC01");
  ASSERT_EQ(user_.boxes.size(), 2U);
  EXPECT_EQ(user_.boxes[0].text, "Enter computer ID. 1 to 6 characters.\r\nThis ID should be unique.");
}

TEST_F(Identity, ALongStoredIdIsCutToSixCharacters) {
  Settings("[orlim]\nuser=Computer1\n");
  EXPECT_EQ(GetComputerID(user_), "comput");
}

TEST_F(Identity, ALongOrEmptyAnswerIsAskedAgain) {
  user_.inputs = {"toolong", "", "office"};
  EXPECT_EQ(GetComputerID(user_), "office");
  EXPECT_EQ(user_.boxes.size(), 3U);
}

TEST_F(Identity, AFreshlyTypedIdIsUsedAsTypedAndReadBackInLowerCase) {
  user_.inputs = {"PC01"};
  EXPECT_EQ(GetComputerID(user_), "PC01");
  EXPECT_EQ(ReadNative(SettingsFile()), "[Orlim]\r\nuser=PC01\r\n");
  EXPECT_EQ(GetComputerID(user_), "pc01");
}

TEST_F(Identity, NobodyToAnswerGivesNoIdAndStoresNothing) {
  EXPECT_EQ(GetComputerID(user_), std::nullopt);
  EXPECT_FALSE(std::filesystem::exists(SettingsFile()));
}

TEST_F(Identity, NoToTheChangeLeavesTheStoredId) {
  Settings("[Orlim]\r\nUser=office\r\n");
  std::string id = "office";
  user_.answers = {lib::Button::No};
  File_UserID(user_, id);
  EXPECT_EQ(id, "office");
  EXPECT_EQ(ReadNative(SettingsFile()), "[Orlim]\r\nUser=office\r\n");
  ASSERT_EQ(user_.boxes.size(), 1U);
  EXPECT_EQ(user_.boxes[0].text,
            "Each computer must have a unique name.\r\nYou should not change this name as this could corrupt the "
            "sync-process.\r\nYour current computer name is [office]\r\nDo you want to continue and change the name?");
  EXPECT_EQ(user_.boxes[0].preselected, lib::Button::No);
}

TEST_F(Identity, YesToTheChangeAsksAndStoresTheNewId) {
  Settings("[Orlim]\r\nUser=office\r\n");
  std::string id = "office";
  user_.answers = {lib::Button::Yes};
  user_.inputs = {"home"};
  File_UserID(user_, id);
  EXPECT_EQ(id, "home");
  EXPECT_EQ(ReadNative(SettingsFile()), "[Orlim]\r\nUser=home\r\n");
}

}  // namespace
}  // namespace zelkor::app
