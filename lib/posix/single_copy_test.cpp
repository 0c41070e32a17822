#include "lib/single_copy.h"

#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <optional>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/sandbox.h"

namespace zelkor::lib {
namespace {

class SingleCopyTest : public tests::Sandbox {};

TEST_F(SingleCopyTest, IsTheFirstUntilItGoes) {
  std::optional<SingleCopy> first(ProgramDir());
  EXPECT_TRUE(first->First());
  const SingleCopy second(ProgramDir());
  EXPECT_FALSE(second.First());
  first.reset();
  EXPECT_TRUE(SingleCopy(ProgramDir()).First());
  struct stat info {};
  ASSERT_EQ(stat((ProgramFolder() / "zelkor.lock").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0600U);
}

TEST_F(SingleCopyTest, HoldsForOtherProcesses) {
  const SingleCopy first(ProgramDir());
  const pid_t child = fork();
  if (child == 0) _exit(SingleCopy(ProgramDir()).First() ? 1 : 0);
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

TEST_F(SingleCopyTest, IsOnePerProgramDirectory) {
  std::filesystem::create_directory(Root() / "other");
  const SingleCopy here(ProgramDir());
  const SingleCopy there(OnDriveZ(Root() / "other"));
  EXPECT_TRUE(here.First());
  EXPECT_TRUE(there.First());
}

TEST_F(SingleCopyTest, LeavesNoLockBehindAKilledProcess) {
  const pid_t child = fork();
  if (child == 0) {
    const SingleCopy claimed(ProgramDir());
    raise(SIGKILL);
  }
  ASSERT_EQ(waitpid(child, nullptr, 0), child);
  EXPECT_TRUE(SingleCopy(ProgramDir()).First());
}

}  // namespace
}  // namespace zelkor::lib
