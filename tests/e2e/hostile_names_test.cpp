// Names in sync files that would lead somewhere they must not.
#include "tests/support/e2e.h"
#include "tests/support/wine.h"

namespace zelkor::tests {
namespace {

using testing::ElementsAre;

constexpr const char* kHostile = "HOSTILE CONTENT";

class HostileNames : public TwoComputers {
 protected:
  // Imports a record with a good file and one of this name; nothing but the good one may be written.
  void ExpectRefused(const std::string& path) {
    std::filesystem::remove(lap.Home() / "good.txt");
    std::filesystem::remove(Stick() / "lap.cas");
    Put("lap.cas", OneBlock("office", {{.fileName = "c:\\good.txt",
                                        .description = "A",
                                        .memoId = 1,
                                        .files = {{.path = path, .content = kHostile, .written = 60000},
                                                  {.path = "c:\\good.txt", .content = "good", .written = 60000}}}}));
    const Outcome outcome = lap.Import("office", {.program = program});
    EXPECT_EQ(outcome.status, 1) << path << outcome;
    EXPECT_THAT(outcome.out, Says("Can not import")) << path;
    EXPECT_EQ(lap.ReadFile("good.txt"), "good") << path;
    // Not collected either.
    EXPECT_THAT(OnStick(), ElementsAre("lap.cas")) << path;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder.Path())) {
      if (!entry.is_regular_file() || entry.path() == Stick() / "lap.cas") continue;
      EXPECT_EQ(ReadBytes(entry.path()).find(kHostile), std::string::npos) << path << " wrote " << entry.path();
    }
  }
  std::filesystem::path program;  // another than the one that was built

  static std::string OnDriveZ(const std::filesystem::path& native) {
    std::string path = "z:" + native.string();
    std::replace(path.begin(), path.end(), '/', '\\');
    return path;
  }
};

TEST_F(HostileNames, WithDotComponentsAreRefused) {
  lap.WriteFile("sub/x", "x", 1000);
  for (const char* path : {"c:\\..\\up.txt", "c:\\sub\\..\\..\\up.txt", "c:\\sub\\..\\up.txt", "c:\\.\\up.txt",
                           "c:\\sub\\.\\up.txt", "c:\\sub\\..", "c:\\.."}) {
    ExpectRefused(path);
  }
}

TEST_F(HostileNames, ThatAreNoFullPathsAreRefused) {
  for (const char* path : {"", "up.txt", "..\\up.txt", "\\up.txt", "c:up.txt", "/tmp/up.txt", "c:/up.txt", "c:", "c:\\",
                           "c:\\sub\\", "cc:\\up.txt", "1:\\up.txt", "\\\\server\\share\\up.txt", "c:\\\\up.txt"}) {
    ExpectRefused(path);
  }
}

TEST_F(HostileNames, WithCharactersThatNoNameHasAreRefused) {
  for (const char* path :
       {"c:\\a*.txt", "c:\\a?.txt", "c:\\a\"b.txt", "c:\\a:b.txt", "c:\\a\x01z.txt", "c:\\a\nb.txt", "c:\\a\r\nb.txt",
        "c:\\a\tb.txt", "c:\\a/b.txt", "c:\\ a.txt", "c:\\sub \\a.txt", "c:\\a/../../up.txt"}) {
    ExpectRefused(path);
  }
}

TEST_F(HostileNames, OfDevicesAreRefused) {
  for (const char* path :
       {"c:\\con", "c:\\CON", "c:\\nul.txt", "c:\\aux", "c:\\prn.doc", "c:\\com1", "c:\\LPT9.txt", "c:\\con\\a.txt"}) {
    ExpectRefused(path);
  }
}

TEST_F(HostileNames, OnADriveWithoutADirectoryAreRefused) { ExpectRefused("q:\\up.txt"); }

TEST_F(HostileNames, OfZelkorsOwnFilesAreRefused) {
  for (const char* name : {"zelkor.ind", "zelkor.cfg", "ReMap.txt", "ZELKOR.log", "ZELKOR history.log", "zelkor.$$$",
                           "memo.$$$", "ZELKOR.IND", "Remap.TXT", "new.txt"}) {
    ExpectRefused(OnDriveZ(lap.Program() / name));
  }
  ExpectRefused(OnDriveZ(lap.SettingsFile()));
  ExpectRefused(OnDriveZ(lap.SettingsFile().parent_path() / "ORLIM.INI"));
}

TEST_F(HostileNames, OfZelkorsOwnFilesThroughALinkAreRefused) {
  std::filesystem::create_directory_symlink(lap.Program(), lap.Home() / "innocent");
  ExpectRefused("c:\\innocent\\zelkor.ind");
  ExpectRefused("c:\\innocent\\new.txt");
}

TEST_F(HostileNames, OfZelkorsOwnFilesThatRemappingLeadsToAreRefused) {
  lap.AddRemapLine(OnDriveZ(lap.Program()) + "\\=x:\\innocent\\");
  ExpectRefused("x:\\innocent\\zelkor.ind");
}

TEST_F(HostileNames, OfTheProgramItselfAreRefused) {
  // A copy, so that a program that fails here does not destroy itself.
  const bool windows = Computer::UsualSystem() == System::Windows;
  const std::filesystem::path built =
      windows ? WindowsProgram("app/zelkor.exe") : std::filesystem::path(ZELKOR_PROGRAM);
  program = folder.Path() / "bin" / built.filename();
  std::filesystem::create_directory(program.parent_path());
  std::filesystem::copy_file(built, program);
  for (const std::string& name : {built.filename().string(), std::string("vandry"), std::string("Vandry.exe")}) {
    ExpectRefused(OnDriveZ(program.parent_path() / name));
  }
  EXPECT_EQ(NamesIn(program.parent_path()), (std::vector<std::string>{built.filename().string()}));
}

TEST_F(HostileNames, DoNotReachThroughALinkWhereAFileIsReplaced) {
  // A link in the place of the file is replaced or written through to the file it names, but a file appears nowhere
  // else and the link's directory keeps its other files.
  lap.WriteFile("real/target.txt", "mine", 1000);
  std::filesystem::create_symlink("real/nowhere.txt", lap.Home() / "dangling.txt");
  Put("lap.cas", OneBlock("office", {{.fileName = "c:\\dangling.txt",
                                      .memoId = 1,
                                      .files = {{.path = "c:\\dangling.txt", .content = "new", .written = 60000}}}}));
  const Outcome outcome = lap.Import("office");
  EXPECT_EQ(lap.ReadFile("dangling.txt"), outcome.status == 0 ? "new" : "") << outcome;
  EXPECT_EQ(lap.ReadFile("real/target.txt"), "mine");
}

TEST_F(HostileNames, OfAComputerIdThatIsAPathAreNoFileNames) {
  office.SetTarget({.id = "..\\x", .mediaPath = "m:\\"});
  const Outcome outcome = office.Run({Computer::ExportWord("..\\x")});
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_EQ(OnStick(), std::vector<std::string>{});
  EXPECT_FALSE(std::filesystem::exists(folder.Path() / "x.cas"));
}

}  // namespace
}  // namespace zelkor::tests
