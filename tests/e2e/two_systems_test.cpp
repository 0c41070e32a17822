// A computer with Linux and one with Windows, which exchange sync files by a folder. The Windows is Wine's, with the
// program of the 64-bit build.
#include <array>

#include "lib/code_page.h"
#include "tests/support/e2e.h"
#include "tests/support/wine.h"

namespace zelkor::tests {
namespace {

using testing::ElementsAre;

constexpr const char* kZone = "Europe/Berlin";

class TwoSystems : public testing::Test {
 protected:
  TwoSystems() {
    office_.SetTarget({.id = "lap", .mediaPath = "m:\\"});
    lap_.SetTarget({.id = "office", .mediaPath = "m:\\"});
  }
  void SetUp() override {
    if (!HasWindowsPrograms()) GTEST_SKIP() << "no program for Windows: make windows";
  }

  // An item with one file, whose name is told in the code page.
  static void AddFile(const Computer& computer, std::int32_t memoId, const std::string& name,
                      const std::string& content, std::time_t written) {
    computer.WriteFile(lib::ToUtf8(name), content, written);
    computer.AddItem({.fileName = Computer::PathOf(name), .description = name, .memoId = memoId, .syncMethod = 1});
  }
  // Export, carry, import; both must succeed and leave nothing on the way.
  void Carry(const Computer& from, const Computer& to, const std::string& zone = kZone) {
    const Computer::Options there{.environment = {{"TZ", zone}}};
    const Outcome exported = from.Export(to.Id(), there);
    EXPECT_EQ(exported.status, 0) << exported;
    const Outcome imported = to.Import(from.Id(), there);
    EXPECT_EQ(imported.status, 0) << imported;
    EXPECT_THAT(NamesIn(folder_.Path() / "stick"), ElementsAre());
  }
  static void ExpectSameFile(const Computer& one, const Computer& other, const std::string& name) {
    const std::string native = lib::ToUtf8(name);
    ASSERT_TRUE(one.HasFile(native)) << one.Id() << " lacks " << native;
    ASSERT_TRUE(other.HasFile(native)) << other.Id() << " lacks " << native;
    EXPECT_EQ(one.ReadFile(native), other.ReadFile(native)) << native;
    EXPECT_EQ(one.FileTime(native), other.FileTime(native)) << native;
  }

  TemporaryFolder folder_;
  Computer office_{folder_.Path(), "office", System::Linux};
  Computer lap_{folder_.Path(), "lap", System::Windows};
};

std::string AllBytes() {
  std::string bytes;
  for (int i = 0; i < 70000; ++i) bytes += static_cast<char>(i % 256);
  return bytes;
}

TEST_F(TwoSystems, GiveEachOtherFilesByteForByteAndSecondForSecond) {
  AddFile(office_, 1, "docs/from linux.bin", AllBytes(), At(2026, 1, 15, 12, 30, 1));
  AddFile(office_, 2, "docs/summer.txt", "summer", At(2026, 7, 15, 12, 30, 59));
  AddFile(lap_, 3, "docs/from windows.bin", AllBytes() + "w", At(2025, 12, 31, 23, 59, 59));
  AddFile(lap_, 4, "docs/empty.txt", "", At(2026, 6, 30, 22, 0, 0));
  Carry(office_, lap_);
  Carry(lap_, office_);
  for (const char* name : {"docs/from linux.bin", "docs/summer.txt", "docs/from windows.bin", "docs/empty.txt"}) {
    ExpectSameFile(office_, lap_, name);
  }
  EXPECT_EQ(office_.ReadFile("docs/from windows.bin"), AllBytes() + "w");
  EXPECT_EQ(office_.FileTime("docs/from linux.bin"), At(2026, 1, 15, 12, 30, 1));
  EXPECT_EQ(office_.FileTime("docs/empty.txt"), At(2026, 6, 30, 22, 0, 0));
  EXPECT_EQ(office_.Items().size(), 4U);
  EXPECT_EQ(lap_.Items().size(), 4U);
}

// Every letter of the upper half that may stand in a name, in both cases, since Windows knows no difference.
TEST_F(TwoSystems, KeepNamesOfTheCodePagesUpperHalf) {
  const std::array<std::string, 3> names = {"\xC4rger \x80\x82\x83\x84\x85\x86\x87\x88\x89\x8A\x8B\x8C\x8E.txt",
                                            "fr\xE4nkisch \x91\x92\x93\x94\x95\x96\x97\x98\x99\x9B\x9F.txt",
                                            "\xA1\xA7\xB5\xBF\xC6\xD0\xDE\xDF\xF1\xF8\xFE\xFF.txt"};
  std::int32_t memoId = 0;
  for (const std::string& name : names) AddFile(office_, ++memoId, "h\xF6her/" + name, name, At(2026, 3, 1));
  for (const std::string& name : names) AddFile(lap_, ++memoId, "tiefer/" + name, name + "!", At(2026, 3, 2));
  Carry(office_, lap_);
  Carry(lap_, office_);
  for (const std::string& name : names) {
    ExpectSameFile(office_, lap_, "h\xF6her/" + name);
    ExpectSameFile(office_, lap_, "tiefer/" + name);
    EXPECT_EQ(lap_.ReadFile(lib::ToUtf8("h\xF6her/" + name)), name);
  }
  for (const Item& item : lap_.Items()) {
    const std::optional<Item> other = office_.ItemWithId(item.memoId);
    ASSERT_TRUE(other.has_value());
    EXPECT_EQ(item.fileName, other->fileName);
    EXPECT_EQ(item.description, other->description);
  }
}

// The clocks go forward on 29 March 2026 at 1:00 UTC and back on 25 October at 1:00 UTC. What was written on either
// side of a change is the same file on the way back.
TEST_F(TwoSystems, TakeNoFileForChangedWhenTheClocksChange) {
  const std::array<std::time_t, 4> times = {At(2026, 3, 29, 0, 59, 59), At(2026, 3, 29, 1, 0, 0),
                                            At(2026, 10, 24, 12, 0, 1), At(2026, 10, 25, 12, 0, 2)};
  for (std::size_t i = 0; i < times.size(); ++i) {
    const std::string number = std::to_string(i);
    AddFile(office_, static_cast<std::int32_t>(i + 1), "linux" + number, number, times[i]);
    AddFile(lap_, static_cast<std::int32_t>(i + 11), "windows" + number, number, times[i]);
  }
  Carry(office_, lap_);
  Carry(lap_, office_);
  for (std::size_t i = 0; i < times.size(); ++i) {
    for (const char* system : {"linux", "windows"}) {
      const std::string name = system + std::to_string(i);
      ExpectSameFile(office_, lap_, name);
      EXPECT_EQ(lap_.FileTime(name), times[i]) << name;
    }
  }
  const Computer::Options there{.environment = {{"TZ", kZone}}};
  ASSERT_EQ(lap_.Export("office", there).status, 0);
  const Outcome back = office_.Import("lap", there);
  EXPECT_EQ(back.status, 0) << back;
  EXPECT_THAT(back.out, testing::ContainsRegex("Identical: *8"));
  ASSERT_EQ(office_.Export("lap", there).status, 0);
  const Outcome again = lap_.Import("office", there);
  EXPECT_EQ(again.status, 0) << again;
  EXPECT_THAT(again.out, testing::ContainsRegex("Identical: *8"));
}

TEST_F(TwoSystems, TellEachOtherOfALaterChange) {
  AddFile(office_, 1, "a.txt", "first", At(2026, 2, 1));
  Carry(office_, lap_);
  lap_.WriteFile("A.TXT", "other", At(2026, 2, 1));  // another file here, the same one to Windows
  std::filesystem::remove(lap_.Home() / "A.TXT");
  lap_.WriteFile("a.txt", "changed on Windows", At(2026, 2, 2));
  Carry(lap_, office_);
  EXPECT_EQ(office_.ReadFile("a.txt"), "changed on Windows");
  ExpectSameFile(office_, lap_, "a.txt");
}

TEST_F(TwoSystems, UseEachOthersCatalogueAndSettings) {
  AddFile(office_, 1, "a.txt", "a", At(2026, 2, 1));
  office_.AddSetting("Zelkor", "CodePage=WINDOWS-1252");
  Carry(office_, lap_);
  // The same folders, now with the other system on them.
  const Computer lapWithLinux(folder_.Path(), "lap", System::Linux);
  AddFile(lapWithLinux, 2, "b.txt", "b", At(2026, 2, 3));
  const Outcome exported = lapWithLinux.Export("office", {.environment = {{"TZ", kZone}}});
  EXPECT_EQ(exported.status, 0) << exported;
  const Computer officeWithWindows(folder_.Path(), "office", System::Windows);
  const Outcome imported = officeWithWindows.Import("lap", {.environment = {{"TZ", kZone}}});
  EXPECT_EQ(imported.status, 0) << imported;
  EXPECT_EQ(officeWithWindows.ReadFile("b.txt"), "b");
  EXPECT_EQ(officeWithWindows.Items().size(), 2U);
  EXPECT_THAT(ReadBytes(office_.SettingsFile()), Says("CodePage=WINDOWS-1252"));
}

}  // namespace
}  // namespace zelkor::tests
