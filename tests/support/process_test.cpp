#include "tests/support/process.h"

#include <csignal>
#include <gtest/gtest.h>

namespace zelkor::tests {
namespace {

Command Shell(const std::string& script) {
  return {.program = "/bin/sh", .arguments = {"-c", script}, .environment = {"PATH=/usr/bin:/bin", "LC_ALL=C"}};
}

TEST(RunCommand, KeepsOutputErrorsAndStatusApart) {
  const Outcome outcome = RunCommand(Shell("echo out; echo err >&2; exit 3"));
  EXPECT_EQ(outcome.status, 3);
  EXPECT_EQ(outcome.out, "out\n");
  EXPECT_EQ(outcome.err, "err\n");
}

TEST(RunCommand, PassesTheInputAndThenItsEnd) {
  Command command = Shell("cat; echo end");
  command.input = "one\ntwo\n";
  EXPECT_EQ(RunCommand(command).out, "one\ntwo\nend\n");
}

TEST(RunCommand, TellsTheSignalThatEndedTheProcess) {
  const Outcome outcome = RunCommand(Shell("kill -TERM $$"));
  EXPECT_EQ(outcome.status, -1);
  EXPECT_EQ(outcome.signal, SIGTERM);
}

TEST(RunCommand, KillsAProcessThatTakesTooLong) {
  Command command = Shell("cat /dev/zero >/dev/null");
  command.timeLimit = std::chrono::seconds{1};
  const Outcome outcome = RunCommand(command);
  EXPECT_TRUE(outcome.timedOut);
  EXPECT_EQ(outcome.signal, SIGKILL);
}

TEST(RunCommand, PassesNothingOfItsOwnEnvironment) { EXPECT_EQ(RunCommand(Shell("echo \"[$HOME]\"")).out, "[]\n"); }

TEST(RunningProcess, AnswersAQuestion) {
  RunningProcess process(Shell("echo 'Name?' >&2; read name; echo \"Hello $name\"; echo 'Age?' >&2; read age"));
  ASSERT_TRUE(process.WaitForError("Name?"));
  process.Write("Ada\n");
  ASSERT_TRUE(process.WaitForError("Age?"));
  EXPECT_EQ(process.Wait().out, "Hello Ada\n");
}

TEST(RunningProcess, StopsWaitingForATextWhenTheProcessEnds) {
  RunningProcess process(Shell("echo something >&2"));
  EXPECT_FALSE(process.WaitForError("else"));
}

TEST(RunningProcess, CanStopReading) {
  RunningProcess process(Shell("kill -STOP $$; trap '' PIPE; echo out; echo err >&2; exit 4"));
  ASSERT_TRUE(process.WaitUntilStopped());
  process.CloseOutputs();
  process.Signal(SIGCONT);
  const Outcome outcome = process.Wait();
  EXPECT_EQ(outcome.status, 4);
  EXPECT_EQ(outcome.out, "");
}

TEST(RunningProcess, SeesThatTheProcessIsStopped) {
  RunningProcess process(Shell("kill -STOP $$; echo on"));
  ASSERT_TRUE(process.WaitUntilStopped());
  process.Signal(SIGCONT);
  EXPECT_EQ(process.Wait().out, "on\n");
}

TEST(RunningProcess, IsATerminalForInputAndErrorsWhenAsked) {
  Command command = Shell("test -t 0 && test -t 2 && ! test -t 1 && echo terminal");
  command.terminal = true;
  EXPECT_EQ(RunCommand(command).out, "terminal\n");
}

TEST(RunningProcess, TakesTheInterruptKeyOfItsTerminal) {
  Command command = Shell("trap 'exit 5' INT; echo ready >&2; while :; do read line; done");
  command.terminal = true;
  RunningProcess process(command);
  ASSERT_TRUE(process.WaitForError("ready"));
  process.Write("\x03");
  EXPECT_EQ(process.Wait().status, 5);
}

}  // namespace
}  // namespace zelkor::tests
