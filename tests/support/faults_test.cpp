// The fault library, in front of small commands of the system.
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>

#include "tests/support/computer.h"
#include "tests/support/e2e.h"
#include "tests/support/process.h"

namespace zelkor::tests {
namespace {

class FaultLibrary : public testing::Test {
 protected:
  Outcome Run(const std::string& script, std::vector<std::string> variables) {
    variables.push_back("FAULTS_ROOT=" + folder.Path().string());
    // The shell itself stays free of faults: only the commands that it starts get the library.
    return RunCommand({.program = "/bin/sh",
                       .arguments = {"-c", "export LD_PRELOAD=" ZELKOR_FAULTS "; " + script},
                       .environment = Environment(std::move(variables)),
                       .directory = folder.Path()});
  }
  static std::vector<std::string> Environment(std::vector<std::string> variables) {
    variables.insert(variables.end(), {"PATH=/usr/bin:/bin", "LC_ALL=C", "TZ=UTC0"});
    return variables;
  }
  std::filesystem::path Make(const std::string& name, std::size_t bytes) {
    WriteBytes(folder.Path() / name, std::string(bytes, 'x'));
    return folder.Path() / name;
  }

  TemporaryFolder folder;
};

TEST_F(FaultLibrary, PassesEverythingOnWithoutVariables) {
  Make("a", 100000);
  const Outcome outcome = Run("cp a b && mv b c && cmp a c && touch c && rm c && test ! -e c && echo well", {});
  EXPECT_EQ(outcome.out, "well\n") << outcome;
}

TEST_F(FaultLibrary, CountsChangingCallsAndGoesOnFromTheCountFound) {
  const std::string count = "FAULTS_COUNT=" + (folder.Path() / "count").string();
  Run("exec mkdir folder", {count});
  EXPECT_EQ(ReadBytes(folder.Path() / "count"), "1\n");
  Run("exec dd if=/dev/zero of=x bs=10 count=4 conv=notrunc", {count});
  EXPECT_EQ(ReadBytes(folder.Path() / "count"), "6\n");  // the file made, four pieces written
}

TEST_F(FaultLibrary, DoesNotCountChangesOutsideTheRoot) {
  TemporaryFolder elsewhere;
  const std::string count = "FAULTS_COUNT=" + (folder.Path() / "count").string();
  Run("exec mkdir " + (elsewhere.Path() / "folder").string(), {count});
  EXPECT_TRUE(std::filesystem::exists(elsewhere.Path() / "folder"));
  EXPECT_EQ(ReadBytes(folder.Path() / "count"), "");
}

TEST_F(FaultLibrary, KillsBeforeTheChosenChangingCall) {
  // Call 1 makes the file, calls 2 to 5 write.
  const Outcome outcome = Run("exec dd if=/dev/zero of=x bs=10 count=4 conv=notrunc", {"FAULTS_AT=4"});
  EXPECT_EQ(outcome.signal, SIGKILL);
  EXPECT_EQ(std::filesystem::file_size(folder.Path() / "x"), 20U);
}

TEST_F(FaultLibrary, SendsAnotherSignalWhenAsked) {
  EXPECT_EQ(Run("exec mkdir x", {"FAULTS_AT=1", "FAULTS_SIGNAL=2"}).signal, SIGINT);
}

TEST_F(FaultLibrary, FailsTheCallsOfARule) {
  Make("a", 10);
  EXPECT_NE(Run("exec cp a b", {"FAULTS_RULES=write:/b:ENOSPC:1"}).err.find("No space left"), std::string::npos);
  EXPECT_NE(Run("exec mv a c", {"FAULTS_RULES=rename:/c:EIO:1"}).err.find("Input/output error"), std::string::npos);
  EXPECT_NE(Run("exec cat a", {"FAULTS_RULES=open:/a:EACCES:1"}).err.find("Permission denied"), std::string::npos);
  EXPECT_NE(Run("exec cat a", {"FAULTS_RULES=read:/a:EIO:1"}).err.find("Input/output error"), std::string::npos);
  EXPECT_NE(Run("exec rm -f a", {"FAULTS_RULES=unlink:/a:EPERM:1"}).err.find("not permitted"), std::string::npos);
  EXPECT_NE(Run("exec mkdir d", {"FAULTS_RULES=mkdir:/d:EROFS:1"}).err.find("Read-only"), std::string::npos);
  EXPECT_NE(Run("exec ln a l", {"FAULTS_RULES=link:/l:EPERM:1"}).err.find("not permitted"), std::string::npos);
  EXPECT_NE(Run("exec touch -d @0 a", {"FAULTS_RULES=times:/a:EPERM:1"}).err.find("not permitted"), std::string::npos);
  EXPECT_NE(Run("exec truncate -s 4 a", {"FAULTS_RULES=truncate:/a:EIO:1"}).err.find("Input/output"),
            std::string::npos);
  EXPECT_NE(Run("exec sync a", {"FAULTS_RULES=sync:/a:EIO:1"}).err.find("Input/output"), std::string::npos);
  EXPECT_NE(Run("exec stat a", {"FAULTS_RULES=stat:/a:EACCES:1"}).err.find("Permission denied"), std::string::npos);
  EXPECT_NE(Run("exec chmod 600 a", {"FAULTS_RULES=mode:/a:EPERM:1"}).err.find("not permitted"), std::string::npos);
  EXPECT_EQ(std::filesystem::file_size(folder.Path() / "a"), 10U);
}

TEST_F(FaultLibrary, LeavesOtherPathsAlone) {
  Make("a", 10);
  EXPECT_EQ(Run("exec cp a b", {"FAULTS_RULES=write+create:/other:ENOSPC:1"}).status, 0);
}

TEST_F(FaultLibrary, FailsFromTheChosenMatchOnOrOnlyOnce) {
  Run("exec mkdir d1 d2 d3", {"FAULTS_RULES=mkdir:/d:EPERM:2"});
  EXPECT_EQ(NamesIn(folder.Path()), (std::vector<std::string>{"d1"}));
  Run("exec mkdir e1 e2 e3", {"FAULTS_RULES=mkdir:/e:EPERM:2:once"});
  EXPECT_EQ(NamesIn(folder.Path()), (std::vector<std::string>{"d1", "e1", "e3"}));
}

TEST_F(FaultLibrary, CutsATransferShort) {
  Make("a", 100);
  const Outcome reading = Run("exec dd if=a bs=100 count=1", {"FAULTS_RULES=read:/a:SHORT:1"});
  EXPECT_EQ(reading.out.size(), 50U);
  // The command writes the rest with a second call.
  const std::string count = "FAULTS_COUNT=" + (folder.Path() / "count").string();
  Run("exec dd if=a of=x bs=100 count=1 conv=notrunc", {count, "FAULTS_RULES=write:/x:SHORT:1:once"});
  EXPECT_EQ(std::filesystem::file_size(folder.Path() / "x"), 100U);
  EXPECT_EQ(ReadBytes(folder.Path() / "count"), "3\n");
}

TEST_F(FaultLibrary, ChangesAFileWhileItIsRead) {
  const auto file = Make("a", 3000);
  SetTime(file, At(2020, 1, 1));
  EXPECT_EQ(Run("exec wc -c <a", {}).out, "3000\n");
  EXPECT_EQ(Run("exec cat a", {"FAULTS_RULES=read:/a:GROW:1:once"}).out.size(), 4000U);
  EXPECT_EQ(Run("exec cat a", {"FAULTS_RULES=read:/a:CUT:1:once"}).out.size(), 2000U);
  SetTime(file, At(2020, 1, 1));
  EXPECT_EQ(Run("exec cat a", {"FAULTS_RULES=read:/a:TOUCH:1:once"}).out.size(), 2000U);
  EXPECT_EQ(TimeOf(file), At(2020, 1, 1, 0, 0, 2));
}

TEST_F(FaultLibrary, SendsASignalAtAMatch) {
  Make("a", 10);
  EXPECT_EQ(Run("exec cat a", {"FAULTS_RULES=open:/a:SIGINT:1"}).signal, SIGINT);
}

TEST_F(FaultLibrary, GivesAFolderACapacity) {
  std::filesystem::create_directory(folder.Path() / "disk");
  const std::string capacity = "FAULTS_CAPACITY=" + (folder.Path() / "disk").string() + "=10000";
  Make("a", 6000);
  EXPECT_EQ(Run("exec cp a disk/one", {capacity}).status, 0);
  const Outcome outcome = Run("exec cp a disk/two", {capacity});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.err.find("No space left"), std::string::npos) << outcome;
  // What fitted stands there, as on a disk.
  EXPECT_EQ(std::filesystem::file_size(folder.Path() / "disk" / "two"), 4000U);
  Run("rm disk/two && cp disk/one disk/two", {capacity});
  EXPECT_EQ(std::filesystem::file_size(folder.Path() / "disk" / "two"), 4000U);
  // Overwriting takes no room.
  EXPECT_EQ(Run("exec dd if=a of=disk/one conv=notrunc", {capacity}).status, 0);
  EXPECT_EQ(Run("exec truncate -s 10001 disk/one", {capacity}).status, 1);
}

TEST_F(FaultLibrary, MakesAFolderWithACapacityAFileSystemOfItsOwn) {
  std::filesystem::create_directory(folder.Path() / "disk");
  const std::string capacity = "FAULTS_CAPACITY=" + (folder.Path() / "disk").string() + "=10000";
  Make("a", 10);
  EXPECT_NE(Run("exec ln a disk/a", {capacity}).err.find("Invalid cross-device link"), std::string::npos);
  EXPECT_EQ(Run("exec mv a disk/a", {capacity}).status, 0);  // by copying
  EXPECT_EQ(Run("exec mv disk/a disk/b", {capacity}).status, 0);
}

TEST_F(FaultLibrary, ShiftsTheClock) {
  const auto now = static_cast<long>(time(nullptr));
  const long shifted = std::stol(Run("exec date +%s", {"FAULTS_CLOCK=864000"}).out);
  EXPECT_GE(shifted, now + 864000);
  EXPECT_LE(shifted, now + 864000 + 60);
  WriteBytes(folder.Path() / "shift", "-86400\n");
  const std::string variable = "FAULTS_CLOCK_FILE=" + (folder.Path() / "shift").string();
  EXPECT_LE(std::stol(Run("exec date +%s", {variable}).out), now - 86400 + 60);
  Run("exec touch new", {variable});
  EXPECT_LE(TimeOf(folder.Path() / "new"), now - 86400 + 60);
}

TEST_F(FaultLibrary, RefusesVariablesThatItDoesNotUnderstand) {
  EXPECT_EQ(Run("exec true", {"FAULTS_RULES=write:/x:ENONSENSE:1"}).status, 125);
  EXPECT_EQ(Run("exec true", {"FAULTS_RULES=wrote:/x:EIO:1"}).status, 125);
  EXPECT_EQ(Run("exec true", {"FAULTS_AT=soon"}).status, 125);
  EXPECT_EQ(Run("exec true", {"FAULTS_CAPACITY=disk"}).status, 125);
  EXPECT_EQ(Run("exec true", {"FAULTS_CLOCK=noon"}).status, 125);
}

}  // namespace
}  // namespace zelkor::tests
