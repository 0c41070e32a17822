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

TEST_F(OpenFile, ReadsAndWritesAtPositions) {
  Result<File> file = File::Open("c:\\a", OpenMode::CreateNew);
  ASSERT_TRUE(file.Ok());
  ASSERT_TRUE(file->WriteAt(0, std::string_view("0123456789")).Ok());
  ASSERT_TRUE(file->WriteAt(3, std::string_view("abc")).Ok());
  ASSERT_TRUE(file->Append(std::string_view("!")).Ok());
  std::string piece(5, '\0');
  EXPECT_EQ(file->ReadAt(2, piece).Value(), 5U);
  EXPECT_EQ(piece, "2abc6");
  EXPECT_EQ(file->ReadAt(9, piece).Value(), 2U) << "only as much as there is";
  EXPECT_EQ(piece.substr(0, 2), "9!");
  EXPECT_EQ(file->ReadAt(100, piece).Value(), 0U);
  ASSERT_TRUE(file->SetLength(4).Ok());
  EXPECT_EQ(file->Length().Value(), 4);
  ASSERT_TRUE(file->Flush().Ok());
  file->Close();
  EXPECT_FALSE(file->IsOpen());
  EXPECT_EQ(ReadNative(Home() / "a"), "012a");
}

TEST_F(OpenFile, TellsAFailureOfWriting) {
  WriteNative(Home() / "a", "a");
  Result<File> file = File::Open("c:\\a", OpenMode::Read);
  ASSERT_TRUE(file.Ok());
  EXPECT_FALSE(file->WriteAt(0, std::string_view("x")).Ok());
  EXPECT_FALSE(file->SetLength(0).Ok());
  EXPECT_EQ(ReadNative(Home() / "a"), "a");
}

TEST_F(OpenFile, InfoFollowsWhatHappensToTheFile) {
  WriteNative(Home() / "a", "12345");
  Result<File> file = File::Open("c:\\a", OpenMode::Existing);
  ASSERT_TRUE(file.Ok());
  const FileInfo first = file->Info().Value();
  EXPECT_EQ(first.size, 5);
  EXPECT_EQ(first.changeStamp, GetFileInfo("c:\\a")->changeStamp);
  EXPECT_EQ(file->Device().Value(), first.device);
  WriteNative(Home() / "a", "123456789");  // by somebody else
  EXPECT_EQ(file->Info()->size, 9);
  ASSERT_TRUE(file->WriteAt(9, std::string_view("0")).Ok());
  EXPECT_EQ(file->Info()->size, 10);
}

TEST_F(OpenFile, CopiesRangesOfEverySize) {
  for (const std::size_t size : {0UL, 1UL, 4096UL, 65536UL, 65537UL, 3000001UL}) {
    const std::string bytes = Bytes(size + 20);
    WriteNative(Home() / "from", bytes);
    WriteNative(Home() / "to", "0123456789");
    const Result<File> from = File::Open("c:\\from", OpenMode::Read);
    Result<File> to = File::Open("c:\\to", OpenMode::Existing);
    ASSERT_TRUE(from.Ok() && to.Ok());
    const CopyOutcome outcome = CopyRange(*from, 7, *to, 5, static_cast<std::int64_t>(size));
    EXPECT_TRUE(outcome.status.Ok());
    EXPECT_EQ(outcome.copied, static_cast<std::int64_t>(size));
    EXPECT_FALSE(outcome.sourceEnded);
    const std::string expected = "01234" + bytes.substr(7, size) + (size < 5 ? std::string("56789").substr(size) : "");
    EXPECT_EQ(ReadNative(Home() / "to"), expected) << size;
  }
}

TEST_F(OpenFile, CopySaysWhenTheSourceEnds) {
  for (const std::size_t size : {10UL, 200000UL}) {
    WriteNative(Home() / "from", Bytes(size));
    const Result<File> from = File::Open("c:\\from", OpenMode::Read);
    Result<File> to = File::Open("c:\\to", OpenMode::Truncate);
    const CopyOutcome outcome = CopyRange(*from, 0, *to, 0, static_cast<std::int64_t>(size) + 100000);
    EXPECT_TRUE(outcome.status.Ok());
    EXPECT_TRUE(outcome.sourceEnded);
    EXPECT_EQ(outcome.copied, static_cast<std::int64_t>(size));
    EXPECT_EQ(ReadNative(Home() / "to"), Bytes(size));
  }
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

TEST_F(OpenFile, CopyTellsTheDestinationsFailureFromTheSources) {
  for (const std::size_t size : {10UL, 200000UL}) {
    WriteNative(Home() / "from", Bytes(size));
    WriteNative(Home() / "to", "");
    Result<File> from = File::Open("c:\\from", OpenMode::Existing);
    Result<File> to = File::Open("c:\\to", OpenMode::Read);  // so it can not be written
    const CopyOutcome outcome = CopyRange(*from, 0, *to, 0, static_cast<std::int64_t>(size));
    EXPECT_FALSE(outcome.status.Ok());
    EXPECT_FALSE(outcome.readFailed);
    EXPECT_EQ(outcome.copied, 0);
  }
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
