#include "sync/sync_file.h"

#include <gtest/gtest.h>
#include <string>

#include "tests/support/bytes.h"

namespace zelkor::sync {
namespace {

using tests::kMidday;
using tests::Zeros;

std::string Bytes(const auto& record) { return {record.Bytes().begin(), record.Bytes().end()}; }
std::string Blanks(std::size_t count) {
  std::string blanks(count, ' ');
  return blanks;
}

TEST(SyncFileHeader, StandsOnDiskAsTheTableSays) {
  EXPECT_EQ(Bytes(MakeSyncFileHeader("office", 46000.5)), "office  " + kMidday + std::string("\xC8\x00", 2) +
                                                              std::string("\x01\x00", 2) + "SyncFile" + "\xFF\xFF" +
                                                              Zeros(226));
}

TEST(SyncFileHeader, ReadsItsFieldsBack) {
  const SyncFileHeader header = MakeSyncFileHeader("OFFICE", 46000.5);
  EXPECT_TRUE(header.IsSyncFile());
  EXPECT_TRUE(header.LastDisk());
  EXPECT_EQ(header.Sender(), "office");
  EXPECT_EQ(header.Number(SyncFileHeader::kDisk), 1);
}

TEST(BlockHeader, StandsOnDiskAsTheTableSays) {
  BlockHeader block;
  block.SetText(BlockHeader::kSignature, "ZELKOR");
  block.SetNumber(BlockHeader::kDataLength, 0x01020304);
  block.SetNumber(BlockHeader::kItemCount, 7);
  block.SetNumber(BlockHeader::kVersion, 223);
  EXPECT_EQ(Bytes(block), std::string("ZELKOR  ") + "\x04\x03\x02\x01" + Zeros(2) + "\x07" + Zeros(3) + "\xDF" +
                              Zeros(1) + Zeros(12) + Zeros(224));
}

TEST(BlockHeader, IsOursInEitherCase) {
  BlockHeader block;
  block.SetText(BlockHeader::kSignature, "Zelkor");
  EXPECT_TRUE(block.IsOurs());
  block.SetText(BlockHeader::kSignature, "ZELKORX");
  EXPECT_FALSE(block.IsOurs());
}

TEST(FileHeader, StandsOnDiskAsTheTableSays) {
  FileHeader file;
  file.SetText(FileHeader::kSignature, "FileHdr");
  file.SetText(FileHeader::kPath, "c:\\a.txt");
  file.SetNumber(FileHeader::kSize, 258);
  file.SetDate(FileHeader::kCreated, 46000.5);
  file.SetDate(FileHeader::kWritten, 46000.5);
  EXPECT_EQ(Bytes(file),
            "FileHdr c:\\a.txt" + Blanks(192) + "\x02\x01" + Zeros(2) + kMidday + Zeros(8) + kMidday + Zeros(20));
}

TEST(FileHeader, ComparesSevenCharactersOfItsSignature) {
  FileHeader file;
  file.SetText(FileHeader::kSignature, "filehdrX");
  EXPECT_TRUE(file.HasSignature());
  file.SetText(FileHeader::kSignature, "FileHdX");
  EXPECT_FALSE(file.HasSignature());
}

TEST(FileHeader, CutsAPathAtTwoHundredCharacters) {
  FileHeader file;
  file.SetText(FileHeader::kPath, "c:\\" + std::string(300, 'x'));
  EXPECT_EQ(file.Text(FileHeader::kPath), "c:\\" + std::string(197, 'x'));
}

}  // namespace
}  // namespace zelkor::sync
