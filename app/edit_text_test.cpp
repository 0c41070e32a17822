#include "app/edit_text.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>

#include "tests/support/full_disk.h"
#include "tests/support/golden_database.h"
#include "tests/support/sandbox.h"
#include "tests/support/scripted_user.h"

namespace zelkor::app {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// U+2400, U+240A and U+240D.
const std::string kNul = "\xE2\x90\x80";
const std::string kLf = "\xE2\x90\x8A";
const std::string kCr = "\xE2\x90\x8D";

std::string ThereAndBack(const std::string& bytes) {
  const ShownText shown = ToShown(bytes);
  return FromShown(shown.utf8, shown.lineEnd).bytes;
}

TEST(ShownText, EndsEveryLineWithALineFeed) {
  EXPECT_EQ(ToShown("a\r\nb\r\n").utf8, "a\nb\n");
  EXPECT_EQ(ToShown("a\nb").utf8, "a\nb");
  EXPECT_EQ(ToShown("a\rb\r").utf8, "a\nb\n");
}

TEST(ShownText, TakesTheLineEndThatTheFileHasMost) {
  EXPECT_EQ(ToShown("a\r\nb\nc\r\n").lineEnd, LineEnd::CrLf);
  EXPECT_EQ(ToShown("a\r\nb\nc\n").lineEnd, LineEnd::Lf);
  EXPECT_EQ(ToShown("a\rb\rc\n").lineEnd, LineEnd::Cr);
  EXPECT_EQ(ToShown("no line end").lineEnd, LineEnd::CrLf);
  EXPECT_EQ(ToShown("").lineEnd, LineEnd::CrLf);
}

TEST(ShownText, ShowsAnotherLineEndByItsPicture) {
  EXPECT_EQ(ToShown("a\r\nb\nc\rd\r\n").utf8, "a\nb" + kLf + "\nc" + kCr + "\nd\n");
  EXPECT_EQ(ToShown("a\nb\r\nc\n").utf8, "a\nb" + kCr + kLf + "\nc\n");
}

TEST(ShownText, ShowsANulByItsPicture) { EXPECT_EQ(ToShown(tests::Raw("a\0b")).utf8, "a" + kNul + "b"); }

TEST(ShownText, ShowsCharactersOfTheCodePage) {
  EXPECT_EQ(ToShown("Gr\xFC\xDF \x80").utf8, "Gr\xC3\xBC\xC3\x9F \xE2\x82\xAC");
}

TEST(ShownText, GivesEveryByteBack) {
  std::string all;
  for (int byte = 0; byte < 256; ++byte) all += static_cast<char>(byte);
  EXPECT_EQ(ThereAndBack(all), all);
  EXPECT_EQ(ThereAndBack(all + all), all + all);
}

TEST(ShownText, GivesEveryMixtureOfLineEndsAndNulsBack) {
  // Every text of seven characters out of CR, LF, NUL and a letter.
  const std::string letters = tests::Raw("\r\n\0x");
  for (int number = 0; number < 1 << 14; ++number) {
    std::string text;
    for (int i = 0; i < 7; ++i) text += letters[static_cast<std::size_t>(number >> (2 * i) & 3)];
    ASSERT_EQ(ThereAndBack(text), text) << number;
  }
}

TEST(ShownText, GivesATypedLineTheLineEndOfTheOthers) {
  EXPECT_EQ(FromShown("a\nnew\nb", LineEnd::CrLf).bytes, "a\r\nnew\r\nb");
  EXPECT_EQ(FromShown("a\nnew\nb", LineEnd::Lf).bytes, "a\nnew\nb");
  EXPECT_EQ(FromShown("a\nnew\nb", LineEnd::Cr).bytes, "a\rnew\rb");
}

TEST(ShownText, GivesAPastedLineTheLineEndOfTheOthers) {
  EXPECT_EQ(FromShown("a\r\nb\rc\nd", LineEnd::Lf).bytes, "a\nb\nc\nd");
  EXPECT_EQ(FromShown("a\r\nb\rc\nd", LineEnd::CrLf).bytes, "a\r\nb\r\nc\r\nd");
}

TEST(ShownText, NamesTheFirstLineWithACharacterThatTheCodePageLacks) {
  const FileBytes file = FromShown("a\nb\nc \xE6\x97\xA5\n\xE6\x97\xA5", LineEnd::Lf);
  EXPECT_EQ(file.badLine, 3);
  EXPECT_EQ(file.bytes, "");
  EXPECT_EQ(FromShown("abc", LineEnd::Lf).badLine, 0);
}

class EditTextTest : public tests::Sandbox {
 protected:
  void SetUp() override { WriteNative(File(), "one\r\ntwo\r\n"); }
  [[nodiscard]] fs::path File() const { return Home() / "note.txt"; }
  [[nodiscard]] std::string Content() const { return ReadNative(File()); }

  tests::ScriptedUser user_;
  EditText text_{"c:\\note.txt"};
};

TEST_F(EditTextTest, IsCalledAfterItsFile) { EXPECT_EQ(text_.Caption(), "Edit - c:\\note.txt"); }

TEST_F(EditTextTest, ReadsItsFileTheFirstTimeOnly) {
  EXPECT_EQ(text_.Load(user_), "one\ntwo\n");
  EXPECT_TRUE(text_.Loaded());
  WriteNative(File(), "other");
  EXPECT_EQ(text_.Load(user_), std::nullopt);
}

TEST_F(EditTextTest, ReadsNothingWithoutAFileName) {
  EditText none("");
  EXPECT_EQ(none.Load(user_), std::nullopt);
  EXPECT_FALSE(none.SaveText("x", user_));
  EXPECT_TRUE(none.MayClose("x", user_));
  EXPECT_THAT(user_.boxes, IsEmpty());
}

TEST_F(EditTextTest, AFileNameThatDoesNotExistOpensAnEmptyEditorAndSavingCreatesTheFile) {
  fs::remove(File());
  EXPECT_EQ(text_.Load(user_), "");
  EXPECT_FALSE(fs::exists(File()));
  EXPECT_TRUE(text_.SaveText("new\n", user_));
  EXPECT_EQ(Content(), "new\r\n");
  EXPECT_THAT(user_.boxes, IsEmpty());
}

TEST_F(EditTextTest, SavesAShorterTextWithoutAnOldTail) {
  ASSERT_TRUE(text_.Load(user_));
  EXPECT_TRUE(text_.SaveText("x", user_));
  EXPECT_EQ(Content(), "x");
}

TEST_F(EditTextTest, SavesAnUnchangedTextByteForByte) {
  const std::string bytes = tests::Raw("a\r\n\0\x01\x7F\x81\xFF\nb\rc");
  WriteNative(File(), bytes);
  const std::optional<std::string> shown = text_.Load(user_);
  ASSERT_TRUE(shown);
  EXPECT_TRUE(text_.SaveText(*shown, user_));
  EXPECT_EQ(Content(), bytes);
}

TEST_F(EditTextTest, KeepsTheFilesMode) {
  if (!tests::HasModes()) GTEST_SKIP() << "rights are kept otherwise here";
  fs::permissions(File(), static_cast<fs::perms>(0751));
  ASSERT_TRUE(text_.Load(user_));
  EXPECT_TRUE(text_.SaveText("x", user_));
  EXPECT_EQ(fs::status(File()).permissions(), static_cast<fs::perms>(0751));
}

TEST_F(EditTextTest, IsModifiedByAChangeAndNoMoreBySaving) {
  ASSERT_TRUE(text_.Load(user_));
  EXPECT_FALSE(text_.Modified());
  text_.Text_Change();
  EXPECT_TRUE(text_.Modified());
  EXPECT_TRUE(text_.SaveText("x", user_));
  EXPECT_FALSE(text_.Modified());
}

TEST_F(EditTextTest, IsNotModifiedByLoading) {
  text_.Text_Change();
  ASSERT_TRUE(text_.Load(user_));
  EXPECT_FALSE(text_.Modified());
}

TEST_F(EditTextTest, SaysThatAFileInAMissingFolderCanNotBeSaved) {
  EditText lost("c:\\missing\\note.txt");
  EXPECT_EQ(lost.Load(user_), "");
  lost.Text_Change();
  EXPECT_FALSE(lost.SaveText("x", user_));
  ASSERT_THAT(user_.Messages(), ElementsAre("Cannot save c:\\missing\\note.txt"));
  EXPECT_EQ(user_.boxes[0].icon, lib::Icon::Critical);
  EXPECT_TRUE(lost.Modified());
}

TEST_F(EditTextTest, AFailedSaveLeavesNoFile) {
  if (!tests::FullDisk::Possible()) GTEST_SKIP() << "no limit on the size of files here";
  ASSERT_TRUE(text_.Load(user_));
  text_.Text_Change();
  {
    const tests::FullDisk full(16);
    EXPECT_FALSE(text_.SaveText(std::string(1000, 'x'), user_));
  }
  EXPECT_THAT(user_.Messages(), ElementsAre("Cannot save c:\\note.txt"));
  EXPECT_FALSE(fs::exists(File()));
  EXPECT_TRUE(text_.Modified());
  EXPECT_TRUE(fs::is_empty(Home()));
  // With room again the text, which is still in the window, can be saved.
  EXPECT_TRUE(text_.SaveText("x", user_));
  EXPECT_EQ(Content(), "x");
}

TEST_F(EditTextTest, LeavesAReadOnlyFileAlone) {
  fs::permissions(File(), static_cast<fs::perms>(0444));
  ASSERT_TRUE(text_.Load(user_));
  EXPECT_FALSE(text_.SaveText("x", user_));
  EXPECT_THAT(user_.Messages(), ElementsAre("Cannot save c:\\note.txt"));
  EXPECT_EQ(Content(), "one\r\ntwo\r\n");
}

TEST_F(EditTextTest, NeverWritesWhatItCouldNotRead) {
  fs::resize_file(File(), kLargestText + 1);
  EXPECT_EQ(text_.Load(user_), "");
  ASSERT_THAT(user_.Messages(), ElementsAre("Can not open c:\\note.txt"));
  EXPECT_EQ(user_.boxes[0].icon, lib::Icon::Critical);
  EXPECT_FALSE(text_.SaveText("x", user_));
  EXPECT_THAT(user_.Messages().back(), HasSubstr("Cannot save c:\\note.txt"));
  EXPECT_EQ(fs::file_size(File()), static_cast<std::uintmax_t>(kLargestText) + 1);
}

TEST_F(EditTextTest, NeverTakesAFolderForAFileThatIsNotThere) {
  fs::remove(File());
  fs::create_directory(File());
  EXPECT_EQ(text_.Load(user_), "");
  EXPECT_THAT(user_.Messages(), ElementsAre("Can not open c:\\note.txt"));
  EXPECT_FALSE(text_.SaveText("x", user_));
  EXPECT_TRUE(fs::is_directory(File()));
}

TEST_F(EditTextTest, LeavesTheFileAloneWhenTheTextDoesNotFitTheCodePage) {
  ASSERT_TRUE(text_.Load(user_));
  EXPECT_FALSE(text_.SaveText("one\n\xE6\x97\xA5\n", user_));
  ASSERT_EQ(user_.boxes.size(), 1U);
  EXPECT_THAT(user_.boxes[0].text, HasSubstr("Cannot save c:\\note.txt"));
  EXPECT_THAT(user_.boxes[0].text, HasSubstr("Line 2"));
  EXPECT_EQ(Content(), "one\r\ntwo\r\n");
}

TEST_F(EditTextTest, ClosingWithoutAChangeAsksNothing) {
  ASSERT_TRUE(text_.Load(user_));
  EXPECT_TRUE(text_.MayClose("one\ntwo\n", user_));
  EXPECT_THAT(user_.boxes, IsEmpty());
}

TEST_F(EditTextTest, ClosingAfterAChangeAsks) {
  ASSERT_TRUE(text_.Load(user_));
  text_.Text_Change();
  user_.answers = {lib::Button::No};
  EXPECT_TRUE(text_.MayClose("x", user_));
  ASSERT_EQ(user_.boxes.size(), 1U);
  EXPECT_EQ(user_.boxes[0].text, "Save changes?");
  EXPECT_EQ(user_.boxes[0].title, "Edit");
  EXPECT_EQ(user_.boxes[0].icon, lib::Icon::Question);
  EXPECT_EQ(user_.boxes[0].buttons, lib::Buttons::YesNoCancel);
  EXPECT_EQ(Content(), "one\r\ntwo\r\n");
}

TEST_F(EditTextTest, YesSavesAndCloses) {
  ASSERT_TRUE(text_.Load(user_));
  text_.Text_Change();
  user_.answers = {lib::Button::Yes};
  EXPECT_TRUE(text_.MayClose("x", user_));
  EXPECT_EQ(Content(), "x");
}

TEST_F(EditTextTest, YesKeepsTheWindowWhenTheTextCouldNotBeSaved) {
  ASSERT_TRUE(text_.Load(user_));
  text_.Text_Change();
  fs::permissions(File(), static_cast<fs::perms>(0444));
  user_.answers = {lib::Button::Yes};
  EXPECT_FALSE(text_.MayClose("x", user_));
}

TEST_F(EditTextTest, CancelKeepsTheWindowAndTheText) {
  ASSERT_TRUE(text_.Load(user_));
  text_.Text_Change();
  user_.answers = {lib::Button::Cancel};
  EXPECT_FALSE(text_.MayClose("x", user_));
  EXPECT_TRUE(text_.Modified());
  EXPECT_EQ(Content(), "one\r\ntwo\r\n");
}

TEST_F(EditTextTest, ReadsAgainUnlessItWasModified) {
  ASSERT_TRUE(text_.Load(user_));
  WriteNative(File(), "new\n");
  EXPECT_EQ(text_.Reload(user_), "new\n");
  text_.Text_Change();
  WriteNative(File(), "newer\n");
  EXPECT_EQ(text_.Reload(user_), std::nullopt);
}

}  // namespace
}  // namespace zelkor::app
