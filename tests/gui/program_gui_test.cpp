#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/computer.h"
#include "tests/support/gui_testing.h"
#include "tests/support/native_windows.h"
#include "tests/support/sync_bytes.h"

namespace zelkor::tests {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

// A computer whose program runs with windows, in the display of the test.
class Program : public GuiTest {
 protected:
  std::unique_ptr<RunningProcess> Start(const std::vector<std::string>& arguments = {}) const {
    Computer::Options options;
    for (const char* name : {"DISPLAY", "GDK_BACKEND", "NO_AT_BRIDGE", "GSETTINGS_BACKEND", "GTK_THEME",
                             "GTK_IM_MODULE", "DBUS_SESSION_BUS_ADDRESS", "ASAN_OPTIONS", "LSAN_OPTIONS"}) {
      if (const char* value = std::getenv(name)) options.environment[name] = value;
    }
    return office.Start(arguments, options);
  }
  static bool UntilActive(const std::string& title) {
    return Until([&] { return native::ActiveTitle() == title; }, "[" + title + "] to be active");
  }
  // File/Exit, by the keys.
  static void Exit() {
    Press('F', wxMOD_ALT);
    Press(WXK_END);
    Press(WXK_RETURN);
  }
  // Adds items with these descriptions, whose files need not exist.
  void AddItems(const std::vector<std::string>& descriptions) const {
    std::int32_t memoId = 0;
    for (const std::string& description : descriptions) {
      office.AddItem({.fileName = "c:\\none.dat", .description = description, .memoId = ++memoId});
    }
  }

  Computer office{Root(), "office"};
};

TEST_F(Program, StartsShowsItsWindowAndEnds) {
  const auto running = Start();
  ASSERT_TRUE(UntilActive("Zelkor! - office"));
  Exit();
  const Outcome outcome = running->Wait();
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_EQ(outcome.err, "");
  EXPECT_THAT(ReadBytes(office.SettingsFile()), HasSubstr("SysTray=0"));
  EXPECT_THAT(ReadBytes(office.SettingsFile()), HasSubstr("FormWidth="));
}

TEST_F(Program, WithoutADisplaySaysSoAndDoesNothing) {
  const Outcome outcome = office.Run({});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err, HasSubstr("Zelkor: there is no display"));
}

TEST_F(Program, AsksForTheComputersIdAtTheFirstStart) {
  WriteBytes(office.SettingsFile(), "");
  const auto running = Start();
  ASSERT_TRUE(UntilActive("Zelkor"));
  Press(WXK_ESCAPE);  // no way out: the question comes again
  // One box goes while the next one comes, so the answer is given until it is taken.
  ASSERT_TRUE(Until([] {
    if (native::ActiveTitle() == "Zelkor") {
      Press('A', wxMOD_CONTROL);
      Type("pc1");
      Press(WXK_RETURN);
    }
    return native::ActiveTitle() == "Zelkor! - pc1";
  }));
  Exit();
  EXPECT_EQ(running->Wait().status, 0);
  EXPECT_THAT(ReadBytes(office.SettingsFile()), HasSubstr("user=pc1"));
}

TEST_F(Program, RefusesASecondCopy) {
  const auto first = Start();
  ASSERT_TRUE(UntilActive("Zelkor! - office"));
  const auto second = Start();
  ASSERT_TRUE(UntilActive("Zelkor"));
  Screenshot("second-copy");
  Press(WXK_RETURN);
  EXPECT_EQ(second->Wait().status, 2);
  ASSERT_TRUE(UntilActive("Zelkor! - office"));
  Exit();
  EXPECT_EQ(first->Wait().status, 0);
}

TEST_F(Program, MakesAnItemOfAFileNamedOnTheCommandLine) {
  office.WriteFile("my file.txt", "x", 1'700'000'000);
  const auto running = Start({"my file.txt"});
  ASSERT_TRUE(UntilActive("Zelkor! - office"));
  ASSERT_TRUE(Until([this] { return office.Items().size() == 1; }));
  Exit();
  EXPECT_EQ(running->Wait().status, 0);
  EXPECT_EQ(office.Items()[0].fileName, "c:\\my file.txt");
  EXPECT_EQ(office.Items()[0].description, "my file");
}

TEST_F(Program, NamesARunTimeErrorAndEnds) {
  AddItems({"one", "two", "three"});
  const auto running = Start();
  ASSERT_TRUE(UntilActive("Zelkor! - office"));
  // Something takes the item file away beneath the program.
  std::filesystem::resize_file(office.Program() / "zelkor.ind", 1024);
  Press('I', wxMOD_ALT);  // Filter/Select all
  Press('a');
  ASSERT_TRUE(UntilActive("Zelkor"));
  EXPECT_THAT(native::AllTitles(), Not(Contains("Zelkor! - office")));
  Screenshot("run-time-error");
  Press(WXK_RETURN);
  const Outcome outcome = running->Wait();
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_EQ(outcome.signal, 0);
}

TEST_F(Program, EndsWithARunTimeErrorForMoreItemsThanTheListHolds) {
  AddItems({"one"});
  std::filesystem::resize_file(office.Program() / "zelkor.ind", 10'000 * 1024);
  const auto running = Start();
  ASSERT_TRUE(UntilActive("Zelkor"));
  Press(WXK_RETURN);
  EXPECT_EQ(running->Wait().status, 1);
}

TEST_F(Program, EndsOnTheSpotForADamagedSyncFile) {
  office.SetTarget({.id = "lap", .mediaPath = "m:\\"});
  SyncRecord record;
  record.fileName = "c:\\a.txt";
  record.description = "a";
  record.memoId = 1;
  std::string bytes = EncodeSync(OneBlock("lap", {record}));
  bytes.resize(bytes.size() - 100);
  WriteBytes(office.Home() / "from lap.cas", bytes);
  const auto running = Start({"from lap.cas"});
  ASSERT_TRUE(UntilActive("Zelkor"));  // "Proceed?"
  Press('y', wxMOD_ALT);
  ASSERT_TRUE(Until([] { return native::AllTitles() == std::vector<std::string>{"Zelkor"}; }, "the last message"));
  Settle();
  Screenshot("damaged");
  Press(WXK_RETURN);
  EXPECT_EQ(running->Wait().status, 3);
}

}  // namespace
}  // namespace zelkor::tests
