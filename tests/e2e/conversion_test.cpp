// A database of an older version, brought up to date at the start.
#include <csignal>

#include "tests/support/e2e.h"

namespace zelkor::tests {
namespace {

class Conversion : public testing::Test {
 protected:
  // A computer whose three items are 512-byte records of format version 210.
  struct Scene {
    TemporaryFolder folder;
    Computer office{folder.Path(), "office"};
    explicit Scene(std::size_t configurationBytes = 4096) {
      std::string configuration(configurationBytes, ' ');
      PutText(configuration, 0, 8, "Zelkor!");
      PutI16(configuration, 8, 210);
      WriteBytes(office.Program() / "zelkor.cfg", configuration);
      WriteBytes(office.Program() / "zelkor.ind", OldRecord(1) + OldRecord(2) + OldRecord(3));
    }
    [[nodiscard]] std::string Database() const { return ReadBytes(office.Program() / "zelkor.ind"); }
    [[nodiscard]] std::string Configuration() const { return ReadBytes(office.Program() / "zelkor.cfg"); }
  };

  static std::string Number(int i) { return std::to_string(i); }

  // The old layout by its table.
  static std::string OldRecord(int i) {
    std::string bytes(512, ' ');
    PutText(bytes, 0, 200, "c:\\docs\\file" + Number(i) + ".txt");
    PutText(bytes, 200, 64, "Description " + Number(i));
    PutText(bytes, 264, 16, "source");
    PutI16(bytes, 280, i == 2 ? 1 : 0);
    PutI32(bytes, 282, 111 * i);
    PutI32(bytes, 286, 222 * i);
    PutDate(bytes, 290, 36000.5 + i);
    PutText(bytes, 298, 16, "dropped");
    PutText(bytes, 314, 8, "memosign");
    PutI16(bytes, 322, i % 3);
    PutText(bytes, 324, 60, "code" + Number(i) + " +lap");
    PutI32(bytes, 384, 1000 + i);
    PutI16(bytes, 388, (i + 1) % 3);
    PutText(bytes, 390, 122, "dropped too");
    return bytes;
  }
  // And the same record in the new one, but for its last 270 bytes, which nobody sets.
  static std::string NewRecord(int i) {
    std::string bytes(754, ' ');
    PutText(bytes, 0, 512, "c:\\docs\\file" + Number(i) + ".txt");
    PutText(bytes, 512, 64, "Description " + Number(i));
    PutText(bytes, 576, 16, "source");
    PutI16(bytes, 592, i == 2 ? 1 : 0);
    PutI32(bytes, 594, 111 * i);
    PutI32(bytes, 598, 222 * i);
    PutDate(bytes, 602, 36000.5 + i);
    PutText(bytes, 610, 8, "memosign");
    PutI16(bytes, 618, i % 3);
    PutText(bytes, 620, 128, "code" + Number(i) + " +lap");
    PutI32(bytes, 748, 1000 + i);
    PutI16(bytes, 752, (i + 1) % 3);
    return bytes;
  }
  static void ExpectConverted(const Scene& scene, const std::string& when) {
    const std::string database = scene.Database();
    ASSERT_EQ(database.size(), 3072U) << when;
    for (int i = 1; i <= 3; ++i) {
      EXPECT_TRUE(database.substr(static_cast<std::size_t>(i - 1) * 1024, 754) == NewRecord(i)) << when << ", " << i;
    }
    const std::string configuration = scene.Configuration();
    EXPECT_EQ(configuration.size(), 8192U) << when;
    EXPECT_EQ(configuration.substr(0, 8), "Zelkor! ") << when;
    EXPECT_GE(TakeI16(configuration, 8), 220) << when;
  }
  // A start that does nothing but open the database.
  static Outcome Open(const Scene& scene, const std::string& input, const Faults& faults = {}) {
    return scene.office.Run({"/syncexp"}, {.input = input, .faults = faults});
  }
};

TEST_F(Conversion, AsksAndThenTurnsEachRecordIntoTheNewLayout) {
  const Scene scene;
  const Outcome outcome = Open(scene, "OK\n");
  EXPECT_THAT(outcome.err, testing::ContainsRegex("Convert file from 2.1 to 2.[0-9]+\\?"));
  ExpectConverted(scene, "converted");
  // The next start asks nothing.
  EXPECT_THAT(Open(scene, "").err, testing::Not(Says("Convert")));
  ExpectConverted(scene, "next start");
}

TEST_F(Conversion, RefusedOrUnansweredChangesNothing) {
  for (const char* answer : {"Cancel\n", "c\n", ""}) {
    const Scene scene;
    const std::string database = scene.Database();
    const std::string configuration = scene.Configuration();
    const Outcome outcome = Open(scene, answer);
    EXPECT_EQ(outcome.status, 2) << answer << outcome;
    EXPECT_TRUE(scene.Database() == database) << answer;
    EXPECT_TRUE(scene.Configuration() == configuration) << answer;
  }
}

TEST_F(Conversion, AtAFirstStartAsksNothingAndMakesBothFiles) {
  const TemporaryFolder folder;
  const Computer fresh(folder.Path(), "fresh");
  const Outcome outcome = fresh.Run({"/syncexp"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err, testing::Not(Says("Convert")));
  const std::string configuration = ReadBytes(fresh.Program() / "zelkor.cfg");
  EXPECT_EQ(configuration.size(), 8192U);
  EXPECT_EQ(configuration.substr(0, 8), "Zelkor! ");
  EXPECT_EQ(TakeI16(configuration, 8), 220);
  EXPECT_TRUE(std::filesystem::exists(fresh.Program() / "zelkor.ind"));
  EXPECT_EQ(std::filesystem::file_size(fresh.Program() / "zelkor.ind"), 0U);
}

TEST_F(Conversion, KeepsTheTargetsBehindTheConfigurationRecord) {
  const Scene scene(8192);
  scene.office.SetTarget({.id = "lap", .mediaPath = "m:\\", .lastImport = 40000});
  Open(scene, "OK\n");
  ExpectConverted(scene, "with targets");
  EXPECT_EQ(scene.office.TargetWithId("lap")->lastImport, 40000);
}

TEST_F(Conversion, KilledAtAnyCallNeverConvertsTwiceAndGoesOn) {
  long at = 1;
  for (; at < 500; ++at) {
    const std::string when = "killed at " + std::to_string(at);
    const Scene scene;
    const Outcome killed = Open(scene, "OK\n", {.killAt = at});
    if (killed.signal == 0) break;
    ASSERT_EQ(killed.signal, SIGKILL);
    Open(scene, "OK\nOK\n");
    ExpectConverted(scene, when);
    Open(scene, "OK\nOK\n");
    ExpectConverted(scene, when + ", next start");
  }
  EXPECT_GT(at, 4);
}

TEST_F(Conversion, FailedAtAnyCallLeavesTheOldDatabaseOrTheNewOne) {
  for (const char* calls : {"write", "create", "rename", "sync", "open", "truncate"}) {
    for (int at = 1; at <= 12; ++at) {
      const std::string rule = std::string(calls) + ":office/program:EIO:" + std::to_string(at) + ":once";
      const Scene scene;
      Open(scene, "OK\n", {.rules = rule});
      Open(scene, "OK\n");
      ExpectConverted(scene, rule);
    }
  }
}

TEST_F(Conversion, ALostConfigurationBesideAGoodDatabaseConvertsNothing) {
  const Scene scene;
  Open(scene, "OK\n");
  const std::string database = scene.Database();
  std::filesystem::remove(scene.office.Program() / "zelkor.cfg");
  const Outcome outcome = Open(scene, "OK\n");
  EXPECT_THAT(outcome.err, testing::Not(Says("Convert file")));
  EXPECT_TRUE(scene.Database() == database);
  EXPECT_EQ(scene.Configuration().size(), 8192U);
}

TEST_F(Conversion, ANewerDatabaseIsRefused) {
  const Scene scene;
  std::string configuration = scene.Configuration();
  PutI16(configuration, 8, 999);
  WriteBytes(scene.office.Program() / "zelkor.cfg", configuration);
  const std::string database = scene.Database();
  const Outcome outcome = Open(scene, "OK\n");
  EXPECT_NE(outcome.status, 0);
  EXPECT_NE(outcome.err, "");
  EXPECT_TRUE(scene.Database() == database);
}

}  // namespace
}  // namespace zelkor::tests
