// Files and items near and beyond the 31 bits of the lengths in a sync file. The files have holes, so that they take no
// room themselves.
#include <fstream>

#include "tests/support/e2e.h"

namespace zelkor::tests {
namespace {

using testing::ElementsAre;
using testing::Not;

constexpr std::uintmax_t kMegabyte = 1024 * 1024;

class BigFiles : public TwoComputers {
 protected:
  static void MakeSparse(const Computer& computer, const std::string& name, std::uintmax_t bytes) {
    computer.WriteFile(name, name, At(2020, 1, 1));
    std::filesystem::resize_file(computer.Home() / name, bytes);
    SetTime(computer.Home() / name, At(2020, 1, 1));
  }
  // Bytes of a file that is too long to be read whole.
  static std::string Piece(const std::filesystem::path& path, std::uintmax_t offset, std::size_t length) {
    std::ifstream in(path, std::ios::binary);
    in.seekg(static_cast<std::streamoff>(offset));
    std::string bytes(length, '\0');
    in.read(bytes.data(), static_cast<std::streamsize>(length));
    return bytes;
  }
};

TEST_F(BigFiles, AFileBeyond4GigabytesIsLeftOutForGoodAndTheOthersGo) {
  MakeSparse(office, "huge.bin", 4096 * kMegabyte + 1);
  office.WriteFile("small.txt", "small", At(2020, 1, 1));
  office.AddItem({.fileName = "c:\\huge.bin\r\nc:\\small.txt", .description = "A", .memoId = 1});
  const Outcome outcome = office.Export("lap");
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_THAT(outcome.out, Says("  [c:\\huge.bin]"));
  EXPECT_THAT(outcome.out, testing::ContainsRegex("huge.bin\\].*left out"));
  // Left out for good: it does not hold the date.
  EXPECT_THAT(outcome.out, Not(Says("Export date kept")));
  EXPECT_GT(office.TargetWithId("lap")->lastExport, 0);
  const SyncImage image = Waiting("lap.cas");
  ASSERT_EQ(image.blocks[0].records[0].files.size(), 1U);
  EXPECT_EQ(image.blocks[0].records[0].files[0].path, "c:\\small.txt");
}

// Writes four gigabytes, and reads them back.
TEST_F(BigFiles, TheFilesOfOneItemBeyond2GigabytesAreLeftOutAndALongerSyncFileIsReadToItsEnd) {
  // Four files of 512 megabytes, of which the last is too much for the item, and a second item that makes the block
  // longer than its length can say.
  for (int i = 1; i <= 4; ++i) MakeSparse(office, "half" + std::to_string(i) + ".bin", 512 * kMegabyte);
  office.AddItem({.fileName = "c:\\half1.bin\r\nc:\\half2.bin\r\nc:\\half3.bin\r\nc:\\half4.bin\r\n",
                  .description = "Four halves",
                  .memoId = 1});
  office.AddItem({.fileName = "c:\\half4.bin", .description = "The fourth", .memoId = 2});
  AddFileItem(office, 3, "last.txt", "last", At(2020, 1, 1));
  const Outcome exported = office.Export("lap");
  EXPECT_EQ(exported.status, 0) << exported;
  EXPECT_THAT(exported.out, testing::ContainsRegex("half4.bin\\].*left out"));
  EXPECT_THAT(exported.out, Says("3 memos, 5 files exported"));
  EXPECT_THAT(exported.out, Not(Says("Export date kept")));

  const std::filesystem::path file = Stick() / "lap.cas";
  const std::uintmax_t length = 256 + 256 + 3 * 1024 + 5 * 256 + 4 * 512 * kMegabyte + 4;
  EXPECT_EQ(std::filesystem::file_size(file), length);
  EXPECT_EQ(TakeI32(Piece(file, 256, 256), 8), 0);
  const std::string record = Piece(file, 512, 1024);
  EXPECT_EQ(TakeI32(record, 594), static_cast<std::int32_t>(3 * (512 * kMegabyte + 256)));
  EXPECT_EQ(TakeI32(record, 598), 3);

  // Three of them are there already, so that the import writes the others only.
  for (int i = 1; i <= 3; ++i) MakeSparse(lap, "half" + std::to_string(i) + ".bin", 512 * kMegabyte);
  const Outcome imported = lap.Import("office");
  EXPECT_EQ(imported.status, 0) << imported;
  EXPECT_THAT(lap.Files(), ElementsAre("half1.bin", "half2.bin", "half3.bin", "half4.bin", "last.txt"));
  EXPECT_THAT(imported.out, testing::ContainsRegex("Identical: *3"));
  EXPECT_EQ(std::filesystem::file_size(lap.Home() / "half4.bin"), 512 * kMegabyte);
  EXPECT_EQ(Piece(lap.Home() / "half4.bin", 0, 12), "half4.bin" + std::string(3, '\0'));
  EXPECT_EQ(lap.ReadFile("last.txt"), "last");
  EXPECT_EQ(lap.Items().size(), 2U);
}

}  // namespace
}  // namespace zelkor::tests
