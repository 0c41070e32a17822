#include "lib/native_path.h"

#include <gtest/gtest.h>

#include "lib/files.h"
#include "lib/paths.h"
#include "lib/windows/system.h"
#include "lib/windows/wide.h"
#include "tests/support/sandbox.h"

namespace zelkor::lib {
namespace {

// No drive has another directory here but those that a test gives one.
class NativePath : public tests::Sandbox {
 protected:
  NativePath() {
    tests::ClearVariable("ZELKOR_DRIVES");
    ForgetDrives();
  }
  void GiveDrive(const std::string& letter, const std::string& directory) const {
    WriteNative(SettingsFile(), "[Drives]\r\n" + letter + "=" + directory + "\r\n");
    ForgetDrives();
  }
};

TEST_F(NativePath, OfADriveIsTheProgramsFormItself) {
  EXPECT_EQ(ToNative("c:\\dir\\a.txt").Value(), "c:\\dir\\a.txt");
  EXPECT_EQ(ToNative("C:\\").Value(), "C:\\");
  EXPECT_EQ(FromNative("C:\\dir\\a.txt").Value(), "c:\\dir\\a.txt");
  EXPECT_EQ(FromNative("D:\\").Value(), "d:\\");
}

TEST_F(NativePath, IsInUtf8) {
  EXPECT_EQ(ToNative("c:\\\xE4").Value(), "c:\\\xC3\xA4");
  EXPECT_EQ(FromNative("c:\\\xC3\xA4").Value(), "c:\\\xE4");
}

TEST_F(NativePath, LosesWhatLeadsNowhereOrUp) {
  EXPECT_EQ(ToNative("c:\\a\\.\\\\b\\..\\c").Value(), "c:\\a\\c");
  EXPECT_EQ(ToNative("c:\\..\\..\\a").Value(), "c:\\a");
  EXPECT_EQ(FromNative("c:/a/./b/../c").Value(), "c:\\a\\c");
  EXPECT_EQ(FromNative("\\\\?\\c:\\a").Value(), "c:\\a");
}

TEST_F(NativePath, CanBeOfAShare) {
  EXPECT_EQ(ToNative("\\\\server\\share\\a").Value(), "\\\\server\\share\\a");
  EXPECT_EQ(ToNative("\\\\server\\share\\..\\..\\a").Value(), "\\\\server\\share\\a");
  EXPECT_EQ(FromNative("\\\\server\\share\\a").Value(), "\\\\server\\share\\a");
  EXPECT_EQ(FromNative("\\\\?\\UNC\\server\\share\\a").Value(), "\\\\server\\share\\a");
}

TEST_F(NativePath, RefusesWhatTheSystemWouldTakeForSomethingElse) {
  for (const char* name : {"a.", "...", "nul", "CON.txt", "com1", "a<b", "a>b", "a|b", "a:b", "a?", "a*", "a\"b", " a",
                           "a ", "a/b", "a\x01"}) {
    EXPECT_EQ(ToNative(std::string("c:\\") + name).Why(), Cause::Refused) << name;
  }
  EXPECT_EQ(ToNative("c:\\a.").Failure().Message(), "The name \"a.\" can not be used: it ends with a dot");
  EXPECT_EQ(ToNative("c:\\nul.txt").Failure().Message(),
            "The name \"nul.txt\" can not be used: it is the name of a device");
}

TEST_F(NativePath, RefusesWhatTheCodePageLacks) {
  EXPECT_EQ(FromNative("c:\\\xCE\xB1\\b").Failure().Message(),
            "The name \"?\" can not be used: it holds a character outside the code page");
}

TEST_F(NativePath, OfAShareMayComeWithASyncFile) {
  EXPECT_EQ(RootLength("\\\\server\\share\\a"), 15U);
  EXPECT_TRUE(CheckReceivedPath("\\\\server\\share\\dir\\a.txt").Ok());
  for (const char* path :
       {"\\\\server", "\\\\server\\share", "\\\\server\\share\\", "\\\\server\\share\\..\\a", "\\\\?\\c:\\a",
        "\\\\.\\pipe\\a", "\\\\..\\share\\a", "\\\\server\\..\\a", "\\\\\\share\\a", "\\server\\share\\a"}) {
    EXPECT_EQ(CheckReceivedPath(path).Why(), Cause::Refused) << path;
  }
}

TEST_F(NativePath, FollowsADriveToItsDirectory) {
  GiveDrive("m", (Root() / "stick").string());
  EXPECT_EQ(ToNative("m:\\a.txt").Value(), (Root() / "stick\\a.txt").string());
  EXPECT_EQ(ToNative("m:\\").Value(), (Root() / "stick").string());
  EXPECT_EQ(ToNative("m:\\..\\..").Value(), (Root() / "stick").string()) << "never above it";
  EXPECT_EQ(FromNative((Root() / "stick\\a.txt").string()).Value(), "m:\\a.txt");
  EXPECT_EQ(FromNative((Root() / "STICK\\a.txt").string()).Value(), "m:\\a.txt");
  EXPECT_EQ(FromNative((Root() / "stickleback").string()).Value().substr(1, 2), ":\\") << "on no drive of ours";
  EXPECT_NE(FromNative((Root() / "stickleback").string()).Value()[0], 'm');
}

TEST_F(NativePath, OfADriveWithoutAnAbsoluteDirectoryIsRefused) {
  GiveDrive("m", "stick");
  EXPECT_EQ(ToNative("m:\\a").Failure().Message(),
            "Drive m has no directory: set the key \"m\" in the section \"Drives\" of orlim.ini, which is no absolute "
            "path");
}

TEST_F(NativePath, MayBeLongerThanTheSystemsOldLimit) {
  std::string path = OnDriveZ(Home());
  path[0] = Home().string()[0];
  for (int i = 0; i < 20; ++i) path += "\\a folder with a long name";
  ASSERT_GT(path.size(), 500U);
  ASSERT_TRUE(MakePath(path));
  {
    Result<File> file = File::Open(path + "\\a.txt", OpenMode::CreateNew);
    ASSERT_TRUE(file.Ok()) << file.Failure().Message();
    EXPECT_TRUE(file->WriteAt(0, std::string_view("x")).Ok());
  }
  EXPECT_TRUE(FileExists(path + "\\A.TXT"));
  EXPECT_EQ(ListDirectory(path)->size(), 1U);
  // What the test library clears away knows no such paths.
  while (path.size() > Home().string().size()) {
    KillFile(path + "\\a.txt");
    ASSERT_NE(RemoveDirectoryW(windows::ToSystemPath(path).c_str()), 0);
    path.erase(path.rfind('\\'));
  }
}

TEST_F(NativePath, OfACommandLinesWordIsTakenFromWhereTheProgramWasStarted) {
  EXPECT_EQ(FromCommandLine("c:\\a\\b", "d:\\here").Value(), "c:\\a\\b");
  EXPECT_EQ(FromCommandLine("b.txt", "d:\\here").Value(), "d:\\here\\b.txt");
  EXPECT_EQ(FromCommandLine("..\\b.txt", "d:\\here\\there").Value(), "d:\\here\\b.txt");
  EXPECT_EQ(FromCommandLine("\\b.txt", "d:\\here").Value(), "d:\\b.txt");
  EXPECT_EQ(FromCommandLine("\\\\server\\share\\b", "d:\\here").Value(), "\\\\server\\share\\b");
}

TEST_F(NativePath, TellsWhetherAWordNamesAFile) {
  WriteNative(Home() / "a.txt", "");
  EXPECT_TRUE(NamesNativeFile("a.txt", Home().string()));
  EXPECT_TRUE(NamesNativeFile((Home() / "A.TXT").string(), "c:\\"));
  EXPECT_FALSE(NamesNativeFile("b.txt", Home().string()));
  EXPECT_FALSE(NamesNativeFile("", Home().string()));
}

}  // namespace
}  // namespace zelkor::lib
