// Files as every system has them.
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lib/files.h"
#include "tests/support/sandbox.h"

namespace zelkor::lib {
namespace {

namespace fs = std::filesystem;

class FileSystem : public tests::Sandbox {
 protected:
  [[nodiscard]] std::ptrdiff_t NamesInHome() const { return std::distance(fs::directory_iterator(Home()), {}); }
  static NewFile With(std::string_view path, std::string_view content) {
    Result<NewFile> file = NewFile::Create(path);
    EXPECT_TRUE(file.Ok()) << file.Failure().Message();
    EXPECT_TRUE(file->Content().WriteAt(0, content).Ok());
    return std::move(*file);
  }
  // Bytes that do not repeat within the buffers of a copy.
  static std::string Bytes(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 31 + i / 251);
    return bytes;
  }
};

TEST_F(FileSystem, FileExistsTellsAFileFromADirectoryAndFromNothing) {
  WriteNative(Home() / "a.txt", "");
  WriteNative(Home() / ".hidden", "");
  fs::create_directory(Home() / "dir");
  EXPECT_TRUE(FileExists("c:\\a.txt"));
  EXPECT_TRUE(FileExists("  c:\\A.TXT  "));
  EXPECT_TRUE(FileExists("c:\\.hidden"));
  EXPECT_FALSE(FileExists("c:\\dir\\"));
  EXPECT_FALSE(FileExists("c:\\dir"));
  EXPECT_FALSE(FileExists("c:\\a.txt\\"));
  EXPECT_FALSE(FileExists("c:\\b.txt"));
  EXPECT_FALSE(FileExists("   "));
  EXPECT_FALSE(FileExists(""));
  EXPECT_FALSE(FileExists("q:\\a.txt"));
  EXPECT_FALSE(FileExists("c:\\?.txt"));
}

TEST_F(FileSystem, DirectoryExistsForDirectoriesOnly) {
  WriteNative(Home() / "dir/a.txt", "");
  EXPECT_TRUE(DirectoryExists("c:\\DIR"));
  EXPECT_TRUE(DirectoryExists("c:\\dir\\"));
  EXPECT_TRUE(DirectoryExists("c:\\"));
  EXPECT_FALSE(DirectoryExists("c:\\dir\\a.txt"));
  EXPECT_FALSE(DirectoryExists("c:\\none"));
}

TEST_F(FileSystem, TellAMissingFileFromAMissingDirectory) {
  const Result<FileInfo> file = GetFileInfo("c:\\none.txt");
  EXPECT_EQ(file.Why(), Cause::NotFound);
  EXPECT_EQ(file.Failure().Message(), "\"c:\\none.txt\": there is no such file");
  const Result<FileInfo> directory = GetFileInfo("c:\\none\\a.txt");
  EXPECT_EQ(directory.Why(), Cause::PathNotFound);
  EXPECT_EQ(directory.Failure().Message(), "\"c:\\none\\a.txt\": there is no such directory");
  WriteNative(Home() / "file", "");
  EXPECT_EQ(GetFileInfo("c:\\file\\a.txt").Why(), Cause::PathNotFound);
}

TEST_F(FileSystem, RenameTellsWhatIsInTheWay) {
  WriteNative(Home() / "a", "a");
  WriteNative(Home() / "fixed", "f");
  fs::permissions(Home() / "fixed", fs::perms::owner_read);
  fs::create_directory(Home() / "dir");
  EXPECT_EQ(RenameFile("c:\\none", "c:\\b").Why(), Cause::NotFound);
  EXPECT_EQ(RenameFile("c:\\a", "c:\\none\\b").Why(), Cause::PathNotFound);
  EXPECT_EQ(RenameFile("c:\\a", "c:\\fixed").Why(), Cause::ReadOnly);
  EXPECT_EQ(RenameFile("c:\\a", "c:\\dir").Why(), Cause::Exists);
  EXPECT_EQ(ReadNative(Home() / "a"), "a");
  EXPECT_EQ(ReadNative(Home() / "fixed"), "f");
}

TEST_F(FileSystem, DeleteTakesTheFileThatExistsInAnyCase) {
  WriteNative(Home() / "Gone.txt", "");
  EXPECT_TRUE(DeleteFile("c:\\GONE.TXT").Ok());
  EXPECT_FALSE(fs::exists(Home() / "Gone.txt"));
  EXPECT_EQ(DeleteFile("c:\\gone.txt").Why(), Cause::NotFound);
}

TEST_F(FileSystem, MakePathFailsAtALevelThatCanNotBeMade) {
  WriteNative(Home() / "file", "");
  EXPECT_FALSE(MakePath("c:\\file\\dir"));
  EXPECT_FALSE(MakePath("c:\\file"));
  EXPECT_FALSE(MakePath("q:\\dir"));
  EXPECT_FALSE(MakePath("dir"));
  EXPECT_FALSE(MakePath("\\dir"));
  EXPECT_FALSE(MakePath("c:dir"));
  EXPECT_FALSE(MakePath(""));
  EXPECT_FALSE(MakePath("c:\\good\\b?d\\x"));
}

TEST_F(FileSystem, ListDirectoryTellsAMissingDirectory) {
  EXPECT_EQ(ListDirectory("c:\\none").Why(), Cause::PathNotFound);
  WriteNative(Home() / "file", "");
  EXPECT_EQ(ListDirectory("c:\\file").Why(), Cause::PathNotFound);
}

TEST_F(FileSystem, FlushWhatExists) {
  WriteNative(Home() / "dir/a.txt", "");
  EXPECT_TRUE(FlushDirectory("c:\\DIR").Ok());
  for (const char* const path : {"c:\\dir\\a.txt", "c:\\dir\\comes.txt", "c:\\dir"}) {
    const Result<Volume> volume = Volume::Of(path);
    ASSERT_TRUE(volume.Ok()) << path;
    EXPECT_TRUE(volume->Flush().Ok()) << path;
  }
  EXPECT_EQ(Volume::Of("c:\\none\\a.txt").Why(), Cause::PathNotFound);
  EXPECT_EQ(FlushDirectory("c:\\none").Why(), Cause::PathNotFound);
}

TEST_F(FileSystem, NewFileTakesItsNameOnlyWhenTold) {
  NewFile file = With("c:\\a.txt", "whole");
  EXPECT_FALSE(fs::exists(Home() / "a.txt"));
  EXPECT_EQ(file.Content().Path(), "c:\\a.txt");
  ASSERT_TRUE(file.Replace().Ok());
  EXPECT_EQ(ReadNative(Home() / "a.txt"), "whole");
  EXPECT_EQ(NamesInHome(), 1);
}

TEST_F(FileSystem, NewFileIsGoneWithoutATraceWhenItIsNotCommitted) {
  WriteNative(Home() / "a.txt", "old");
  With("c:\\a.txt", "half");
  With("c:\\b.txt", "half");
  EXPECT_EQ(NamesInHome(), 1);
  EXPECT_EQ(ReadNative(Home() / "a.txt"), "old");
}

TEST_F(FileSystem, NewFileReplacesTheFileThatHasTheNameInAnotherCase) {
  WriteNative(Home() / "Docs/Letter.TXT", "old");
  ASSERT_TRUE(With("c:\\docs\\letter.txt", "new").Replace().Ok());
  EXPECT_EQ(ReadNative(Home() / "Docs/Letter.TXT"), "new");
  ASSERT_TRUE(With("c:\\DOCS\\other.txt", "x").Replace().Ok());
  ASSERT_TRUE(With("c:\\DOCS\\OTHER.txt", "y").Replace().Ok());
  EXPECT_EQ(ReadNative(Home() / "Docs/other.txt"), "y");
  EXPECT_EQ(std::distance(fs::directory_iterator(Home() / "Docs"), {}), 2);
}

TEST_F(FileSystem, NewFileOfItsOwnerAloneCanBeReplacedAgainAndAgain) {
  for (const char* content : {"one", "two", "three"}) {
    Result<NewFile> file = NewFile::Create("c:\\a.txt", NewFile::Access::OwnerOnly);
    ASSERT_TRUE(file.Ok()) << file.Failure().Message();
    ASSERT_TRUE(file->Content().WriteAt(0, std::string_view(content)).Ok());
    ASSERT_TRUE(file->Replace().Ok());
    EXPECT_EQ(ReadSmallFile("c:\\a.txt", 100).Value(), content);
  }
}

TEST_F(FileSystem, NewFileTakesAFreeNameButNoTakenOne) {
  ASSERT_TRUE(With("c:\\free", "1").TakeFreeName().Ok());
  EXPECT_EQ(ReadNative(Home() / "free"), "1");
  const Status taken = With("c:\\FREE", "2").TakeFreeName();
  EXPECT_EQ(taken.Why(), Cause::Exists);
  EXPECT_EQ(taken.Message(), "\"c:\\FREE\": the name is taken");
  EXPECT_EQ(ReadNative(Home() / "free"), "1");
  EXPECT_EQ(NamesInHome(), 1);
}

TEST_F(FileSystem, NewFileNoticesANameThatSomebodyTookMeanwhile) {
  NewFile free = With("c:\\a", "ours");
  NewFile replacing = With("c:\\a", "ours");
  WriteNative(Home() / "a", "theirs");
  EXPECT_EQ(free.TakeFreeName().Why(), Cause::Exists);
  EXPECT_EQ(ReadNative(Home() / "a"), "theirs");
  EXPECT_TRUE(replacing.Replace().Ok());
  EXPECT_EQ(ReadNative(Home() / "a"), "ours");
}

TEST_F(FileSystem, NewFileSparesAReadOnlyFileThatCameMeanwhile) {
  NewFile file = With("c:\\a", "ours");
  WriteNative(Home() / "a", "theirs");
  fs::permissions(Home() / "a", fs::perms::owner_read);
  EXPECT_EQ(file.Replace().Why(), Cause::ReadOnly);
  EXPECT_EQ(ReadNative(Home() / "a"), "theirs");
}

TEST_F(FileSystem, OpenFileReadsAndWritesAtPositions) {
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

TEST_F(FileSystem, OpenFileTellsAFailureOfWriting) {
  WriteNative(Home() / "a", "a");
  Result<File> file = File::Open("c:\\a", OpenMode::Read);
  ASSERT_TRUE(file.Ok());
  EXPECT_FALSE(file->WriteAt(0, std::string_view("x")).Ok());
  EXPECT_FALSE(file->SetLength(0).Ok());
  EXPECT_EQ(ReadNative(Home() / "a"), "a");
}

TEST_F(FileSystem, OpenFileInfoFollowsWhatHappensToTheFile) {
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

TEST_F(FileSystem, OpenFileCopiesRangesOfEverySize) {
  for (const std::size_t size : {0U, 1U, 4096U, 65536U, 65537U, 3000001U}) {
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

TEST_F(FileSystem, OpenFileCopySaysWhenTheSourceEnds) {
  for (const std::size_t size : {10U, 200000U}) {
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

TEST_F(FileSystem, OpenFileCopyTellsTheDestinationsFailureFromTheSources) {
  for (const std::size_t size : {10U, 200000U}) {
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

}  // namespace
}  // namespace zelkor::lib
