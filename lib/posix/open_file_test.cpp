#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <random>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "lib/files.h"
#include "tests/support/sandbox.h"

namespace zelkor::lib {
namespace {

namespace fs = std::filesystem;

class OpenFile : public tests::Sandbox {
 protected:
  static mode_t ModeOf(const fs::path& path) {
    struct stat info {};
    EXPECT_EQ(stat(path.c_str(), &info), 0) << path;
    return info.st_mode & 0777;
  }
  static Cause WhyNot(std::string_view path, OpenMode mode) { return File::Open(path, mode).Why(); }
  static std::string Bytes(std::size_t count) {
    std::mt19937 random(7);
    std::string bytes(count, '\0');
    for (char& c : bytes) c = static_cast<char>(random());
    return bytes;
  }
};

constexpr std::array kEveryMode = {OpenMode::Read, OpenMode::ReadWrite, OpenMode::Existing, OpenMode::CreateNew,
                                   OpenMode::Truncate};

TEST_F(OpenFile, ReadNeedsAFile) {
  EXPECT_EQ(WhyNot("c:\\none", OpenMode::Read), Cause::NotFound);
  EXPECT_EQ(WhyNot("c:\\none", OpenMode::Existing), Cause::NotFound);
  EXPECT_EQ(WhyNot("c:\\none\\a", OpenMode::Read), Cause::PathNotFound);
  EXPECT_FALSE(fs::exists(Home() / "none"));
  WriteNative(Home() / "Some.txt", "content");
  const Result<File> file = File::Open("C:\\SOME.TXT", OpenMode::Read);
  ASSERT_TRUE(file.Ok());
  EXPECT_EQ(file->Path(), "C:\\SOME.TXT");
  EXPECT_EQ(file->Length().Value(), 7);
}

TEST_F(OpenFile, MakesANewFileForItsOwnerOnly) {
  for (const OpenMode mode : {OpenMode::ReadWrite, OpenMode::CreateNew, OpenMode::Truncate}) {
    const std::string name = "new" + std::to_string(static_cast<int>(mode));
    ASSERT_TRUE(File::Open("c:\\" + name, mode).Ok());
    EXPECT_EQ(ModeOf(Home() / name), 0600U);
    EXPECT_EQ(WhyNot("c:\\none\\x", mode), Cause::PathNotFound);
  }
}

TEST_F(OpenFile, TakesTheFileThatHasTheNameInAnotherCase) {
  WriteNative(Home() / "Name.txt", "abc");
  EXPECT_EQ(WhyNot("c:\\NAME.txt", OpenMode::CreateNew), Cause::Exists);
  Result<File> file = File::Open("c:\\NAME.txt", OpenMode::ReadWrite);
  ASSERT_TRUE(file.Ok());
  ASSERT_TRUE(file->Append(std::string_view("def")).Ok());
  EXPECT_EQ(ReadNative(Home() / "Name.txt"), "abcdef");
  ASSERT_TRUE(File::Open("c:\\name.TXT", OpenMode::Truncate).Ok());
  EXPECT_EQ(ReadNative(Home() / "Name.txt"), "");
  EXPECT_EQ(std::distance(fs::directory_iterator(Home()), {}), 1);
}

TEST_F(OpenFile, NeverMakesAFileThroughALink) {
  fs::create_symlink(Root() / "victim", Home() / "link");
  for (const OpenMode mode : kEveryMode) EXPECT_FALSE(File::Open("c:\\link", mode).Ok());
  EXPECT_FALSE(fs::exists(Root() / "victim"));
}

TEST_F(OpenFile, NeverEmptiesAFileThroughALink) {
  WriteNative(Root() / "victim", "precious");
  fs::create_symlink(Root() / "victim", Home() / "link");
  EXPECT_EQ(WhyNot("c:\\link", OpenMode::CreateNew), Cause::Exists);
  EXPECT_FALSE(File::Open("c:\\link", OpenMode::Truncate).Ok());
  EXPECT_EQ(ReadNative(Root() / "victim"), "precious");
  EXPECT_TRUE(File::Open("c:\\link", OpenMode::Read).Ok());
  EXPECT_TRUE(File::Open("c:\\link", OpenMode::Existing).Ok());
}

TEST_F(OpenFile, NeverWritesAFileThatItsOwnerMayNotWrite) {
  WriteNative(Home() / "fixed", "f");
  ASSERT_EQ(chmod((Home() / "fixed").c_str(), 0466), 0);
  for (const OpenMode mode : {OpenMode::ReadWrite, OpenMode::Existing, OpenMode::Truncate}) {
    const Result<File> file = File::Open("c:\\fixed", mode);
    EXPECT_EQ(file.Why(), Cause::ReadOnly);
    EXPECT_EQ(file.Failure().Message(), "\"c:\\fixed\": it is read-only");
  }
  EXPECT_EQ(ReadNative(Home() / "fixed"), "f");
  EXPECT_TRUE(File::Open("c:\\fixed", OpenMode::Read).Ok());
}

TEST_F(OpenFile, OpensFilesOnly) {
  fs::create_directory(Home() / "dir");
  ASSERT_EQ(mkfifo((Home() / "pipe").c_str(), 0600), 0);
  for (const OpenMode mode : kEveryMode) {
    EXPECT_FALSE(File::Open("c:\\dir", mode).Ok()) << static_cast<int>(mode);
    EXPECT_FALSE(File::Open("c:\\pipe", mode).Ok()) << "and does not wait for its other end";
  }
  EXPECT_EQ(WhyNot("c:\\dir", OpenMode::Read), Cause::NotFound);
  EXPECT_EQ(WhyNot("c:\\dir", OpenMode::CreateNew), Cause::Exists);
}

TEST_F(OpenFile, CopyGoesBetweenFileSystems) {
  std::string pattern = "/dev/shm/zelkor-test-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) GTEST_SKIP() << "no second file system";
  const fs::path other = pattern;
  const std::string bytes = Bytes(3000001);
  WriteNative(other / "from", bytes);
  {
    const Result<File> from = File::Open(OnDriveZ(other / "from"), OpenMode::Read);
    Result<File> to = File::Open("c:\\to", OpenMode::CreateNew);
    const CopyOutcome outcome = CopyRange(*from, 0, *to, 0, 3000001);
    EXPECT_TRUE(outcome.status.Ok()) << outcome.status.Message();
    EXPECT_EQ(outcome.copied, 3000001);
  }
  EXPECT_EQ(ReadNative(Home() / "to"), bytes);
  fs::remove_all(other);
}

TEST_F(OpenFile, CountsALimitOnTheSizeOfFilesAsAFullDisk) {
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  const rlimit small{.rlim_cur = 100000, .rlim_max = before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  Result<File> file = File::Open("c:\\a", OpenMode::CreateNew);
  const Status written = file->WriteAt(0, Bytes(200000));
  setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, handler);
  EXPECT_EQ(written.Why(), Cause::DiskFull);
  EXPECT_EQ(written.Message(), "\"c:\\a\": the file is too large for the disk");
}

// Run with faults below the program: the first transfer from "broken" moves half, the others fail.
class BrokenSource : public OpenFile {};

TEST_F(BrokenSource, IsToldFromAFailureOfTheDestination) {
  if (std::getenv("FAULTS_RULES") == nullptr) GTEST_SKIP() << "no faults here";
  WriteNative(Home() / "broken", Bytes(3 << 20));
  const Result<File> from = File::Open("c:\\broken", OpenMode::Read);
  Result<File> to = File::Open("c:\\to", OpenMode::CreateNew);
  const CopyOutcome outcome = CopyRange(*from, 0, *to, 0, 3 << 20);
  EXPECT_TRUE(outcome.readFailed);
  EXPECT_EQ(outcome.status.Message(), "\"c:\\broken\": input/output error");
  EXPECT_EQ(outcome.copied, 3 << 19);
  EXPECT_EQ(to->Length().Value(), 3 << 19);
}

}  // namespace
}  // namespace zelkor::lib
