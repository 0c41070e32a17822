// Selections of what only some file systems hold.
#include "lib/selection.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "lib/selection_fixture.h"

namespace zelkor::lib {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

class UnusualSelection : public SelectionFixture {};

TEST_F(UnusualSelection, TakesLinksToFilesButNoDirectoriesAndNothingElse) {
  Make("file");
  Make("dir/inside");
  fs::create_symlink(Home() / "file", Home() / "link-f");
  fs::create_directory_symlink(Home() / "dir", Home() / "link-d");
  fs::create_symlink(Home() / "none", Home() / "link-n");
  ASSERT_EQ(mkfifo((Home() / "pipe").c_str(), 0600), 0);
  EXPECT_THAT(Files("c:\\*"), ElementsAre("c:\\file", "c:\\link-f"));
  EXPECT_THAT(Files("+- c:\\*"), ElementsAre("c:\\file", "c:\\link-f", "c:\\dir\\inside"));
}

TEST_F(UnusualSelection, ReportsAFileThatDiffersFromAnotherInCaseOnly) {
  Make("x/Same.txt");
  Make("x/same.TXT");
  EXPECT_THAT(Files("c:\\x\\*"), ElementsAre("c:\\x\\Same.txt"));
  const std::vector<SelectedFile> refused = Refused("c:\\x\\*");
  ASSERT_EQ(refused.size(), 1U);
  EXPECT_EQ(refused[0].path, "c:\\x\\same.TXT");
  EXPECT_EQ(refused[0].refused.Message(), "The name \"same.TXT\" can not be used: another one differs in case only");
}

TEST_F(UnusualSelection, DoesNotGoRoundInCirclesOfLinks) {
  Make("d/a.txt");
  fs::create_directory_symlink(Home() / "d", Home() / "d/again");
  fs::create_directory_symlink("..", Home() / "d/up");
  EXPECT_THAT(Files("+- c:\\d\\*"), ElementsAre("c:\\d\\a.txt"));
}

TEST_F(UnusualSelection, TakesTenThousandSubdirectoriesAndReportsMore) {
  // In memory where that can be had: on a disk so many directories take half a minute.
  std::string pattern = "/dev/shm/zelkor-test-XXXXXX";
  const fs::path root = mkdtemp(pattern.data()) != nullptr ? fs::path(pattern) : Root() / "d";
  const std::string line = OnDriveZ(root) + "\\*";
  for (int i = 0; i < kMaxSubdirectories; ++i) fs::create_directories(root / std::to_string(100000 + i));
  WriteNative(root / "109999/last", "");
  const std::string last = OnDriveZ(root / "109999/last");
  EXPECT_THAT(Files("+- " + line), ElementsAre(last));
  EXPECT_THAT(Refused("+- " + line), IsEmpty());
  WriteNative(root / "110000/beyond", "");
  WriteNative(root / "110001/beyond", "");
  EXPECT_THAT(Files("+- " + line), ElementsAre(last));
  const std::vector<SelectedFile> refused = Refused("+- " + line);
  fs::remove_all(root);
  ASSERT_EQ(refused.size(), 1U);
  EXPECT_EQ(refused[0].path, line);
  EXPECT_EQ(refused[0].refused.Message(),
            "\"" + line + "\" has more than 10000 sub-directories; the others are left out");
}

TEST_F(UnusualSelection, ReportsNamesThatTheFormCanNotCarry) {
  Make("good");
  Make("b?d");
  Make("\xCE\xB1");
  EXPECT_THAT(Files("c:\\*"), ElementsAre("c:\\good"));
  const std::vector<SelectedFile> refused = Refused("c:\\*");
  ASSERT_EQ(refused.size(), 2U);
  EXPECT_EQ(refused[0].refused.Message(), "The name \"?\" can not be used: it holds a character outside the code page");
  EXPECT_EQ(refused[1].refused.Message(), "The name \"b?d\" can not be used: it holds the character ?");
  EXPECT_THAT(Refused("c:\\g*"), IsEmpty()) << "names that the line does not ask for are no matter";
}

}  // namespace
}  // namespace zelkor::lib
