#include "lib/shell.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include "lib/posix/drives.h"
#include "tests/support/sandbox.h"

namespace zelkor::lib {
namespace {

namespace fs = std::filesystem;

// An opener of the test's own, which tells what it was given and where it stands through a named pipe; reading from the
// pipe waits for it.
class Shell : public tests::Sandbox {
 protected:
  Shell() : path_(posix::Environment("PATH")) {
    const fs::path opener = Root() / "bin/xdg-open";
    WriteNative(opener, "#!/bin/sh\n{ printf '[%s]' \"$@\"; printf ' %s' \"$PWD\"; } > '" + Pipe().string() + "'\n");
    fs::permissions(opener, fs::perms::owner_all);
    setenv("PATH", ((Root() / "bin").string() + ":" + path_).c_str(), 1);
    EXPECT_EQ(mkfifo(Pipe().c_str(), 0600), 0);
  }
  ~Shell() override { setenv("PATH", path_.c_str(), 1); }
  [[nodiscard]] fs::path Pipe() const { return Root() / "pipe"; }
  [[nodiscard]] std::string Told() const { return ReadNative(Pipe()); }

 private:
  std::string path_;
};

TEST_F(Shell, OpensADocumentByItsNativePathInTheHomeDirectory) {
  WriteNative(Home() / "Letters/it's $HOME; x.txt", "");
  ShellOpen("C:\\letters\\IT'S $home; X.txt");
  EXPECT_EQ(Told(), "[" + (Home() / "Letters/it's $HOME; x.txt").string() + "] " + Home().string());
}

TEST_F(Shell, OpensAWebPageByItsAddress) {
  OpenWebPage("www.example.org/a b");
  EXPECT_EQ(Told(), "[http://www.example.org/a b] " + Home().string());
}

TEST_F(Shell, OpensAHelpFileThatIsAWebPageUnderTheNameOfOne) {
  WriteNative(Home() / "Zelkor.HLP", "<!DOCTYPE html>\n<title>Help</title>\n");
  ShellOpen("c:\\zelkor.hlp");
  const fs::path page = Root() / "cache/zelkor/Zelkor.html";
  EXPECT_EQ(Told(), "[" + page.string() + "] " + Home().string());
  EXPECT_EQ(ReadNative(page), "<!DOCTYPE html>\n<title>Help</title>\n");
}

TEST_F(Shell, ShowsTheHelpFileAsItIsNow) {
  WriteNative(Root() / "cache/zelkor/zelkor.html", "<!DOCTYPE html>\nan older and longer page\n");
  WriteNative(Home() / "zelkor.hlp", "<!DOCTYPE html>\nnew\n");
  ShellOpen("c:\\zelkor.hlp");
  EXPECT_NE(Told(), "");
  EXPECT_EQ(ReadNative(Root() / "cache/zelkor/zelkor.html"), "<!DOCTYPE html>\nnew\n");
  EXPECT_EQ(std::distance(fs::directory_iterator(Root() / "cache/zelkor"), {}), 1);
}

TEST_F(Shell, OpensAHelpFileThatIsNoWebPageByItsOwnName) {
  WriteNative(Home() / "old.hlp", "?_\x03");
  ShellOpen("c:\\old.hlp");
  EXPECT_EQ(Told(), "[" + (Home() / "old.hlp").string() + "] " + Home().string());
}

TEST_F(Shell, OpensAHelpFileByItsOwnNameWhenNoCopyCanBeMade) {
  WriteNative(Root() / "cache/zelkor", "a file in the folder's place");
  WriteNative(Home() / "zelkor.hlp", "<!DOCTYPE html>\n");
  ShellOpen("c:\\zelkor.hlp");
  EXPECT_EQ(Told(), "[" + (Home() / "zelkor.hlp").string() + "] " + Home().string());
}

TEST_F(Shell, LeavesNoChildBehind) {
  OpenWebPage("www.example.org");
  EXPECT_NE(Told(), "");
  errno = 0;
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

TEST_F(Shell, StartsAProgramWithItsArguments) {
  ASSERT_TRUE(StartProgram((Root() / "bin/xdg-open").string(), {"/syncexp:lap:\"\"", "two words"}).Ok());
  EXPECT_EQ(Told(), "[/syncexp:lap:\"\"][two words] " + Home().string());
}

TEST_F(Shell, StartsAProgramWithItsEnvironmentChanged) {
  WriteNative(Root() / "bin/vandry",
              "#!/bin/sh\nprintf '[%s] [%s]' \"$ZELKOR_DIR\" \"$TMPDIR\" > '" + Pipe().string() + "'\n");
  fs::permissions(Root() / "bin/vandry", fs::perms::owner_all);
  ASSERT_TRUE(StartProgram((Root() / "bin/vandry").string(), {}, {"ZELKOR_DIR=/a place"}).Ok());
  EXPECT_EQ(Told(), "[/a place] [" + (Root() / "tmp").string() + "]");
}

TEST_F(Shell, SaysThatAProgramToStartDoesNotExist) {
  const Status started = StartProgram((Root() / "bin/vandry").string());
  EXPECT_EQ(started.Why(), Cause::NotFound);
  errno = 0;
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

TEST_F(Shell, SaysThatAFileIsNoProgram) {
  WriteNative(Root() / "bin/vandry", "");
  EXPECT_FALSE(StartProgram((Root() / "bin/vandry").string()).Ok());
}

TEST_F(Shell, DoesNothingWithoutAnOpener) {
  fs::remove(Root() / "bin/xdg-open");
  setenv("PATH", (Root() / "bin").c_str(), 1);
  ShellOpen("c:\\a.txt");
  ShellOpen("q:\\a.txt");
  SUCCEED();
}

}  // namespace
}  // namespace zelkor::lib
