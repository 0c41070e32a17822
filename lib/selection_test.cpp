#include "lib/selection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lib/selection_fixture.h"

namespace zelkor::lib {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(SelectionLines, AreCutAtLineEndsAndTrimmed) {
  EXPECT_THAT(SelectionLines("c:\\a\r\nc:\\b c\r\n"), ElementsAre("c:\\a", "c:\\b c"));
  EXPECT_THAT(SelectionLines("c:\\a\nc:\\b"), ElementsAre("c:\\a", "c:\\b")) << "a bare line feed, and no last one";
  EXPECT_THAT(SelectionLines("\r\n  c:\\a  \r\n\r\n   \r\nc:\\b\r\n"), ElementsAre("c:\\a", "c:\\b"));
  EXPECT_THAT(SelectionLines(" +- c:\\a\\*.txt \r\n"), ElementsAre("+- c:\\a\\*.txt"));
  EXPECT_THAT(SelectionLines("+- \r\n"), IsEmpty());
  EXPECT_THAT(SelectionLines(""), IsEmpty());
}

TEST(NormaliseSelection, PutsCrLfBetweenNames) {
  EXPECT_EQ(NormaliseSelection("c:\\a\nc:\\b\n\n c:\\c"), "c:\\a\r\nc:\\b\r\nc:\\c");
  EXPECT_EQ(NormaliseSelection("c:\\a\r\n"), "c:\\a");
  EXPECT_EQ(NormaliseSelection(""), "");
}

class ExpandedSelection : public SelectionFixture {};

TEST_F(ExpandedSelection, TakesNamesWithoutWildcardsAsTheyStand) {
  EXPECT_THAT(Files("C:\\Docs\\none.txt\r\nd:\\x\r\n"), ElementsAre("C:\\Docs\\none.txt", "d:\\x"));
}

TEST_F(ExpandedSelection, SortsTheFilesOfALineAndKeepsTheDirectoryAsTyped) {
  for (const char* name : {"docs/b.txt", "docs/A.txt", "docs/c.TXT", "docs/d.doc"}) Make(name);
  EXPECT_THAT(Files("C:\\DOCS\\*.txt\r\n"), ElementsAre("C:\\DOCS\\A.txt", "C:\\DOCS\\b.txt", "C:\\DOCS\\c.TXT"));
  EXPECT_THAT(Files("c:\\docs\\?.DOC\r\n"), ElementsAre("c:\\docs\\d.doc"));
}

TEST_F(ExpandedSelection, LeavesOutWhatAKilledImportLeftBehind) {
  Make("~zelkor-0123456789ab.tmp");
  Make("~zelkor.tmp");
  EXPECT_THAT(Files("c:\\*.*"), testing::ElementsAre("c:\\~zelkor.tmp"));
}

TEST_F(ExpandedSelection, MatchesNamesWithoutADotByStarDotStar) {
  for (const char* name : {"plain", "a.b", ".hidden"}) Make(name);
  EXPECT_THAT(Files("c:\\*.*"), ElementsAre("c:\\.hidden", "c:\\a.b", "c:\\plain"));
  EXPECT_THAT(Files("c:\\*"), ElementsAre("c:\\.hidden", "c:\\a.b", "c:\\plain"));
}

TEST_F(ExpandedSelection, GivesEachFileOnceWhateverItsCase) {
  for (const char* name : {"a.txt", "b.txt"}) Make(name);
  EXPECT_THAT(Files("c:\\B.TXT\r\nc:\\*.txt\r\nC:\\A.txt\r\n+- c:\\*.*\r\n"), ElementsAre("c:\\B.TXT", "c:\\a.txt"));
}

TEST_F(ExpandedSelection, ReportsLinesThatNameNothing) {
  Make("dir/a");
  for (const char* line : {"a.txt", "\\a.txt", "/etc/hosts", "c:\\d*\\a", "c:\\d?r\\*", "c:\\a\"b", "+- a.txt"}) {
    EXPECT_THAT(Files(line), IsEmpty()) << line;
    const std::vector<SelectedFile> refused = Refused(line);
    ASSERT_EQ(refused.size(), 1U) << line;
    EXPECT_EQ(refused[0].refused.Why(), Cause::Refused) << line;
  }
}

TEST_F(ExpandedSelection, ReportsADirectoryThatIsNotThere) {
  const std::vector<SelectedFile> refused = Refused("c:\\none\\*.txt");
  ASSERT_EQ(refused.size(), 1U);
  EXPECT_EQ(refused[0].path, "c:\\none\\*.txt");
  EXPECT_EQ(refused[0].refused.Why(), Cause::PathNotFound);
}

TEST_F(ExpandedSelection, TakesEveryLevelOfSubdirectoriesBehindTheMarker) {
  for (const char* name : {"d/a.txt", "d/z.txt", "d/s/b.txt", "d/s/t/c.txt", "d/r/.h/d.txt", "d/s/no.doc"}) Make(name);
  EXPECT_THAT(Files("+- c:\\D\\*.txt"), ElementsAre("c:\\D\\a.txt", "c:\\D\\z.txt", "c:\\D\\r\\.h\\d.txt",
                                                    "c:\\D\\s\\b.txt", "c:\\D\\s\\t\\c.txt"));
  EXPECT_THAT(Files("c:\\D\\*.txt"), ElementsAre("c:\\D\\a.txt", "c:\\D\\z.txt"));
}

TEST_F(ExpandedSelection, FindsASingleNameInEveryLevelBehindTheMarker) {
  Make("d/s/Read.me");
  Make("d/t/read.me");
  EXPECT_THAT(Files("+- c:\\d\\read.me"), ElementsAre("c:\\d\\s\\Read.me", "c:\\d\\t\\read.me"));
  EXPECT_THAT(Files("+- c:\\d\\none.me"), ElementsAre("c:\\d\\none.me")) << "for the caller to miss";
}

TEST_F(ExpandedSelection, EndsWhenTheTakerHasEnough) {
  for (const char* name : {"a", "b", "c"}) Make(name);
  int taken = 0;
  EXPECT_FALSE(ExpandSelection("c:\\*\r\nc:\\x\r\n", [&](const SelectedFile&) { return ++taken < 2; }));
  EXPECT_EQ(taken, 2);
}

TEST_F(ExpandedSelection, GivesItsFirstFile) {
  Make("d/b");
  Make("d/a");
  EXPECT_EQ(FirstSelectedFile("c:\\d\\*\r\nc:\\x\r\n"), "c:\\d\\a");
  EXPECT_EQ(FirstSelectedFile("nonsense\r\nc:\\x\r\n"), "c:\\x");
  EXPECT_EQ(FirstSelectedFile("c:\\none\\*"), "");
  EXPECT_EQ(FirstSelectedFile(""), "");
}

}  // namespace
}  // namespace zelkor::lib
