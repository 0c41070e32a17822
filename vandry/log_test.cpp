#include "vandry/log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "tests/support/matches.h"
#include "tests/support/sandbox.h"

namespace zelkor::vandry {
namespace {

using LogTest = tests::Sandbox;

TEST_F(LogTest, AddsALineWithItsDate) {
  const Log log(ProgramDir());
  log.Line("FTPSend lap.cas");
  log.Line("done");
  EXPECT_THAT(ReadNative(ProgramFolder() / "Vandry.log"),
              tests::Matches("[0-9/]+ [0-9:]+ [AP]M FTPSend lap.cas\r\n[0-9/]+ [0-9:]+ [AP]M done\r\n"));
}

TEST_F(LogTest, KeepsOneEventOnOneLine) {
  const Log log(ProgramDir());
  log.Line("a server's\r\nanswer\x1b[2J");
  EXPECT_THAT(ReadNative(ProgramFolder() / "Vandry.log"), testing::EndsWith("a server's??answer?[2J\r\n"));
}

TEST_F(LogTest, IsForItsOwnerOnly) {
  if (!tests::HasModes()) GTEST_SKIP() << "rights are kept otherwise here";
  const Log log(ProgramDir());
  log.Line("x");
  EXPECT_EQ(tests::ModeOf(ProgramFolder() / "Vandry.log"), 0600U);
}

TEST_F(LogTest, PutsALongLogAside) {
  const Log log(ProgramDir());
  WriteNative(ProgramFolder() / "Vandry.log", std::string(1024 * 1024 + 1, 'x'));
  log.Line("new");
  EXPECT_EQ(ReadNative(ProgramFolder() / "Vandry.old").size(), 1024U * 1024 + 1);
  EXPECT_LT(ReadNative(ProgramFolder() / "Vandry.log").size(), 100U);
}

}  // namespace
}  // namespace zelkor::vandry
