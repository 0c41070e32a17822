#include "db/typed_selection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "tests/support/sandbox.h"

namespace zelkor::db {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class TypedSelectionTest : public tests::Sandbox {
 protected:
  static std::vector<std::string> Messages(const std::vector<lib::Status>& refused) {
    std::vector<std::string> messages;
    messages.reserve(refused.size());
    for (const lib::Status& status : refused) messages.push_back(status.Message());
    return messages;
  }
};

TEST_F(TypedSelectionTest, StoresCrLfBetweenNamesWhateverTheBoxHasBetweenThem) {
  EXPECT_EQ(TakeTyped("c:\\a.txt\nc:\\b.txt\r\nc:\\c.txt\n").selection, "c:\\a.txt\r\nc:\\b.txt\r\nc:\\c.txt");
}

TEST_F(TypedSelectionTest, LeavesOutBlankLinesAndBlanksAroundALine) {
  EXPECT_EQ(TakeTyped("\n  c:\\a b.txt  \n   \n\nc:\\c.txt").selection, "c:\\a b.txt\r\nc:\\c.txt");
}

TEST_F(TypedSelectionTest, TurnsANativePathIntoTheForm) {
  if (tests::NativePathsAreTheForm()) GTEST_SKIP() << "what is native is the form already";
  const TypedSelection typed = TakeTyped((Home() / "Docs/Plan.txt").string() + "\nc:\\other.txt");
  EXPECT_EQ(typed.selection, "c:\\Docs\\Plan.txt\r\nc:\\other.txt");
  EXPECT_EQ(typed.utf8, typed.selection);
  EXPECT_THAT(typed.refused, IsEmpty());
}

TEST_F(TypedSelectionTest, KeepsTheWildcardsOfANativePath) {
  if (tests::NativePathsAreTheForm()) GTEST_SKIP() << "what is native is the form already";
  EXPECT_EQ(TakeTyped((Home() / "Docs/*.t?t").string()).selection, "c:\\Docs\\*.t?t");
  EXPECT_EQ(TakeTyped("/*.txt").selection, "z:\\*.txt");
}

TEST_F(TypedSelectionTest, KeepsTheMarkerForSubdirectoriesBeforeANativePath) {
  if (tests::NativePathsAreTheForm()) GTEST_SKIP() << "what is native is the form already";
  EXPECT_EQ(TakeTyped("+- " + (Home() / "Docs/*.*").string()).selection, "+- c:\\Docs\\*.*");
}

TEST_F(TypedSelectionTest, StoresCharactersInTheCodePage) {
  if (tests::NativePathsAreTheForm()) GTEST_SKIP() << "what is native is the form already";
  const TypedSelection typed = TakeTyped(
      "c:\\Gr\xC3\xBC\xC3\x9F"
      "e.txt\n" +
      (Home() / "\xE2\x82\xAC.txt").string());
  EXPECT_EQ(typed.selection,
            "c:\\Gr\xFC\xDF"
            "e.txt\r\nc:\\\x80.txt");
  EXPECT_EQ(typed.utf8,
            "c:\\Gr\xC3\xBC\xC3\x9F"
            "e.txt\r\nc:\\\xE2\x82\xAC.txt");
}

TEST_F(TypedSelectionTest, NamesALineWithACharacterOutsideTheCodePageAndLeavesItOutOfTheSelection) {
  const TypedSelection typed = TakeTyped("c:\\a.txt\nc:\\\xE6\x97\xA5.txt\nc:\\b.txt");
  EXPECT_EQ(typed.selection, "c:\\a.txt\r\nc:\\b.txt");
  EXPECT_EQ(typed.utf8, "c:\\a.txt\r\nc:\\\xE6\x97\xA5.txt\r\nc:\\b.txt");
  EXPECT_THAT(Messages(typed.refused), ElementsAre(AllOf(HasSubstr("\"c:\\?.txt\""), HasSubstr("code page"))));
}

TEST_F(TypedSelectionTest, KeepsANativePathThatTheFormCanNotCarryAsTypedAndSaysWhy) {
  if (tests::NativePathsAreTheForm()) GTEST_SKIP() << "what is native is the form already";
  const std::string native = (Home() / "a:b.txt").string();
  const TypedSelection typed = TakeTyped(native);
  EXPECT_EQ(typed.selection, native);
  EXPECT_EQ(typed.utf8, native);
  EXPECT_THAT(Messages(typed.refused), ElementsAre(AllOf(HasSubstr("\"a:b.txt\""), HasSubstr("character :"))));
}

TEST_F(TypedSelectionTest, TellsOfANativePathOutsideTheCodePageOnce) {
  const TypedSelection typed = TakeTyped((Home() / "\xE6\x97\xA5.txt").string());
  EXPECT_EQ(typed.selection, "");
  EXPECT_EQ(typed.refused.size(), 1U);
}

}  // namespace
}  // namespace zelkor::db
