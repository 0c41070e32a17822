#include "lib/native_path.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "lib/paths.h"
#include "tests/support/sandbox.h"

namespace zelkor::lib {
namespace {

namespace fs = std::filesystem;

class NativePath : public tests::Sandbox {
 protected:
  void Drives(const std::string& lines) {
    WriteNative(SettingsFile(), "[Drives]\r\n" + lines);
    ForgetDrives();
  }
};

TEST_F(NativePath, TakesTheHomeDirectoryForDriveCAndTheRootForDriveZ) {
  EXPECT_EQ(ToNative("c:\\letter.txt").Value(), (Home() / "letter.txt").string());
  EXPECT_EQ(ToNative("C:\\").Value(), Home().string());
  EXPECT_EQ(ToNative("z:\\").Value(), "/");
  EXPECT_EQ(ToNative("z:\\etc").Value(), "/etc");
  EXPECT_EQ(FromNative((Home() / "letter.txt").string()).Value(), "c:\\letter.txt");
  EXPECT_EQ(FromNative(Home().string()).Value(), "c:\\");
  EXPECT_EQ(FromNative("/").Value(), "z:\\");
  EXPECT_EQ(FromNative("/etc/hosts").Value(), "z:\\etc\\hosts");
}

TEST_F(NativePath, TakesTheLongestDirectoryThatContainsAFile) {
  Drives("d=" + (Home() / "docs").string() + "/\r\ne=" + (Home() / "docs/old").string() + "\r\n");
  EXPECT_EQ(FromNative((Home() / "docs/old/a.txt").string()).Value(), "e:\\a.txt");
  EXPECT_EQ(FromNative((Home() / "docs/older/a.txt").string()).Value(), "d:\\older\\a.txt");
  EXPECT_EQ(FromNative((Home() / "a.txt").string()).Value(), "c:\\a.txt");
  EXPECT_EQ(ToNative("E:\\a.txt").Value(), (Home() / "docs/old/a.txt").string());
}

TEST_F(NativePath, FindsTheDriveAlsoBehindALink) {
  fs::create_directory(Root() / "real");
  fs::create_symlink(Root() / "real", Root() / "link");
  Drives("d=" + (Root() / "link").string() + "\r\n");
  EXPECT_EQ(FromNative((Root() / "real/a.txt").string()).Value(), "d:\\a.txt");
  EXPECT_EQ(FromNative((Root() / "link/a.txt").string()).Value(), "d:\\a.txt");
}

TEST_F(NativePath, NamesTheKeyOfADriveThatHasNoDirectory) {
  const Result<std::string> native = ToNative("q:\\a.txt");
  EXPECT_EQ(native.Why(), Cause::Refused);
  EXPECT_EQ(native.Failure().Message(),
            "Drive q has no directory: set the key \"q\" in the section \"Drives\" of orlim.ini");
  Drives("q=relative/place\r\n");
  EXPECT_EQ(ToNative("q:\\a.txt").Why(), Cause::Refused);
}

TEST_F(NativePath, RefusesAPathWithoutADrive) {
  for (const char* path : {"", "a.txt", "\\a.txt", "/etc/hosts", "c:a.txt", "\\\\server\\share\\a"}) {
    EXPECT_EQ(ToNative(path).Why(), Cause::Refused) << path;
  }
}

TEST_F(NativePath, RefusesNamesThatTheFormCanNotCarry) {
  for (const char* path : {"c:\\a/b", "c:\\a*b", "c:\\a?b", "c:\\a\"b", "c:\\ a", "c:\\a ", "c:\\a\nb", "c:\\a\\b:c"}) {
    EXPECT_EQ(ToNative(path).Why(), Cause::Refused) << path;
  }
  // The backslash, the colon, the asterisk and so on are fine in native names.
  for (const char* name : {"a\\b", "a:b", "a*b", "a?b", "a\"b", " a", "a ", "a\nb"}) {
    const Result<std::string> path = FromNative((Home() / name / "x.txt").string());
    EXPECT_EQ(path.Why(), Cause::Refused) << name;
  }
  EXPECT_NE(FromNative((Home() / "wh*t").string()).Failure().Message().find("\"wh*t\""), std::string::npos);
}

TEST_F(NativePath, CarriesTheCharactersOfTheCodePage) {
  EXPECT_EQ(FromNative((Home() / "K\xC3\xA4se \xE2\x82\xAC.txt").string()).Value(), "c:\\K\xE4se \x80.txt");
  EXPECT_EQ(ToNative("c:\\K\xE4se \x80.txt").Value(), (Home() / "K\xC3\xA4se \xE2\x82\xAC.txt").string());
}

TEST_F(NativePath, RefusesANameOutsideTheCodePageAndOneThatIsNoUtf8) {
  const Result<std::string> greek = FromNative((Home() / "\xCE\xB1lpha").string());
  EXPECT_EQ(greek.Why(), Cause::Refused);
  EXPECT_EQ(greek.Failure().Message(),
            "The name \"?lpha\" can not be used: it holds a character outside the code page");
  EXPECT_EQ(FromNative((Home() / "K\xE4se").string()).Why(), Cause::Refused);
}

TEST_F(NativePath, NeverLeavesTheDriveByDots) {
  EXPECT_EQ(ToNative("c:\\..\\..\\a.txt").Value(), (Home() / "a.txt").string());
  EXPECT_EQ(ToNative("c:\\x\\..\\.\\\\a.txt").Value(), (Home() / "a.txt").string());
  EXPECT_EQ(ToNative("z:\\..\\etc").Value(), "/etc");
}

TEST_F(NativePath, KeepsTheSpellingThatExistsAndTakesTheRestAsWritten) {
  WriteNative(Home() / "Docs/Letters/One.TXT", "1");
  EXPECT_EQ(ToNative("C:\\DOCS\\letters\\one.txt").Value(), (Home() / "Docs/Letters/One.TXT").string());
  EXPECT_EQ(ToNative("c:\\docs\\LETTERS\\Two.txt").Value(), (Home() / "Docs/Letters/Two.txt").string());
  EXPECT_EQ(ToNative("c:\\docs\\Bills\\Two.txt").Value(), (Home() / "Docs/Bills/Two.txt").string());
}

TEST_F(NativePath, TakesWordsOfTheCommandLine) {
  const std::string start = (Home() / "docs").string();
  EXPECT_EQ(FromCommandLine("X:\\y z.txt", start).Value(), "X:\\y z.txt");
  EXPECT_EQ(FromCommandLine("c:\\K\xC3\xA4se", start).Value(), "c:\\K\xE4se");
  EXPECT_EQ(FromCommandLine("a.txt", start).Value(), "c:\\docs\\a.txt");
  EXPECT_EQ(FromCommandLine("./x/../a.txt", start).Value(), "c:\\docs\\a.txt");
  EXPECT_EQ(FromCommandLine("../a.txt", start).Value(), "c:\\a.txt");
  EXPECT_EQ(FromCommandLine("/etc/hosts", start).Value(), "z:\\etc\\hosts");
  EXPECT_EQ(FromCommandLine("wh?t", start).Why(), Cause::Refused);
  EXPECT_EQ(FromCommandLine("c:\\\xCE\xB1", start).Why(), Cause::Refused);
}

TEST_F(NativePath, GoesUpFromWhereALinkLeads) {
  WriteNative(Root() / "far/away/b.txt", "");
  fs::create_directory_symlink(Root() / "far/away", Home() / "link");
  EXPECT_EQ(FromCommandLine("link/../b.txt", Home().string()).Value(), OnDriveZ(Root() / "far/b.txt"));
}

TEST_F(NativePath, TellsWhetherAWordNamesSomethingNative) {
  WriteNative(Home() / "a.txt", "");
  EXPECT_TRUE(NamesNativeFile("a.txt", Home().string()));
  EXPECT_TRUE(NamesNativeFile((Home() / "a.txt").string(), "/"));
  EXPECT_TRUE(NamesNativeFile(Home().string(), "/"));
  EXPECT_FALSE(NamesNativeFile("A.txt", Home().string()));
  EXPECT_FALSE(NamesNativeFile("/syncexp:lap", Home().string()));
  EXPECT_FALSE(NamesNativeFile("", Home().string()));
}

TEST_F(NativePath, TakesTheTemporaryFolderFromTheEnvironment) {
  EXPECT_EQ(TemporaryDirectory().Value(), OnDriveZ(Root() / "tmp") + "\\");
  unsetenv("TMPDIR");
  EXPECT_EQ(TemporaryDirectory().Value(), "z:\\tmp\\");
}

class ProgramDirectory : public NativePath {
 protected:
  ~ProgramDirectory() override { unsetenv("XDG_DATA_HOME"); }
  static mode_t ModeOf(const fs::path& path) {
    struct stat info {};
    EXPECT_EQ(stat(path.c_str(), &info), 0) << path;
    return info.st_mode & 0777;
  }
};

TEST_F(ProgramDirectory, IsTheOneOfTheEnvironmentAndMadeForItsOwnerOnly) {
  setenv("ZELKOR_DIR", (Root() / "new/place").c_str(), 1);
  EXPECT_EQ(FindProgramDir().Value(), OnDriveZ(Root() / "new/place") + "\\");
  EXPECT_EQ(ModeOf(Root() / "new/place"), 0700U);
}

TEST_F(ProgramDirectory, IsInTheUsersDataOtherwise) {
  unsetenv("ZELKOR_DIR");
  EXPECT_EQ(FindProgramDir().Value(), "c:\\.local\\share\\zelkor\\");
  EXPECT_EQ(ModeOf(Home() / ".local/share/zelkor"), 0700U);
  setenv("XDG_DATA_HOME", (Root() / "data").c_str(), 1);
  EXPECT_EQ(FindProgramDir().Value(), OnDriveZ(Root() / "data/zelkor") + "\\");
  setenv("XDG_DATA_HOME", "data", 1);
  EXPECT_EQ(FindProgramDir().Value(), "c:\\.local\\share\\zelkor\\") << "a relative one does not count";
}

TEST_F(ProgramDirectory, IsReportedWhenItCanNotBeMade) {
  WriteNative(Root() / "file", "");
  setenv("ZELKOR_DIR", (Root() / "file").c_str(), 1);
  EXPECT_EQ(FindProgramDir().Why(), Cause::Exists);
}

TEST_F(NativePath, HoldsDrivesAAndBForRemovable) {
  EXPECT_TRUE(IsRemovable("a:\\office.cas"));
  EXPECT_TRUE(IsRemovable("B:\\"));
  EXPECT_FALSE(IsRemovable("z:\\proc\\version")) << "no device holds it";
  EXPECT_FALSE(IsRemovable("q:\\"));
}

TEST(Shares, AreNoPathsHere) {
  EXPECT_EQ(RootLength(R"(\\server\share\a)"), 0U);
  EXPECT_EQ(CheckReceivedPath(R"(\\server\share\a)").Why(), Cause::Refused);
}

}  // namespace
}  // namespace zelkor::lib
