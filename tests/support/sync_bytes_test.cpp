#include "tests/support/sync_bytes.h"

#include <gtest/gtest.h>
#include <stdexcept>

namespace zelkor::tests {
namespace {

SyncImage Example() {
  return OneBlock("office", {{.fileName = "c:\\a.txt",
                              .description = "A",
                              .memoId = 7,
                              .files = {{.path = "c:\\a.txt", .content = "hello", .written = 40000.5}}}});
}

TEST(SyncBytes, HaveTheLengthOfTheirParts) {
  EXPECT_EQ(EncodeSync(Example()).size(), 256U + 256U + 1024U + 256U + 5U);
  const auto boundaries = SyncBoundaries(Example());
  EXPECT_EQ(boundaries.back().offset, EncodeSync(Example()).size());
  EXPECT_EQ(boundaries[3].what, "file");
  EXPECT_EQ(boundaries[3].offset, 1536U);
}

TEST(SyncBytes, StandWhereTheTablesSay) {
  const std::string bytes = EncodeSync(Example());
  EXPECT_EQ(bytes.substr(0, 8), "office  ");
  EXPECT_EQ(bytes.substr(16, 2), (std::string{"\xC8\0", 2}));  // format 200
  EXPECT_EQ(bytes.substr(20, 10), "SyncFile\xFF\xFF");         // last disk
  EXPECT_EQ(bytes.substr(256, 8), "ZELKOR  ");
  EXPECT_EQ(bytes.substr(256 + 8, 4), (std::string{"\x05\x05\0\0", 4}));            // 1285 bytes of data
  EXPECT_EQ(bytes.substr(256 + 14, 6), (std::string{"\1\0\0\0\xDF\0", 6}));         // one item, version 223
  EXPECT_EQ(bytes.substr(512 + 594, 8), (std::string{"\x05\x01\0\0\1\0\0\0", 8}));  // 261 bytes in one file
  EXPECT_EQ(bytes.substr(512 + 610, 8), "memosign");
  EXPECT_EQ(bytes.substr(1536, 16), "FileHdr c:\\a.txt");
  EXPECT_EQ(bytes.substr(1536 + 208, 4), (std::string{"\5\0\0\0", 4}));
  EXPECT_EQ(bytes.substr(1536 + 228, 8), (std::string{"\0\0\0\0\x10\x88\xE3\x40", 8}));  // 40000.5
  EXPECT_EQ(bytes.substr(1792), "hello");
}

TEST(SyncBytes, ReadBackAsTheyWereWritten) {
  const SyncImage image = DecodeSync(EncodeSync(Example()));
  ASSERT_EQ(image.blocks.size(), 1U);
  ASSERT_EQ(image.blocks[0].records.size(), 1U);
  const SyncRecord& record = image.blocks[0].records[0];
  EXPECT_EQ(record.memoId, 7);
  EXPECT_EQ(record.source, "office");
  ASSERT_EQ(record.files.size(), 1U);
  EXPECT_EQ(record.files[0].content, "hello");
  EXPECT_EQ(record.files[0].written, 40000.5);
}

TEST(SyncBytes, RefuseWhatIsCutOffOrUntrue) {
  const std::string whole = EncodeSync(Example());
  for (std::size_t length = 0; length < whole.size(); ++length) {
    if (length == 256) continue;  // a header without blocks is whole
    EXPECT_THROW(static_cast<void>(DecodeSync(whole.substr(0, length))), std::runtime_error) << length;
  }
  SyncImage untrue = Example();
  untrue.blocks[0].records[0].dataLength = 5;
  EXPECT_THROW(static_cast<void>(DecodeSync(EncodeSync(untrue))), std::runtime_error);
}

}  // namespace
}  // namespace zelkor::tests
