#include "sync/sync_writer.h"

#include <string>

#include "lib/clock.h"
#include "lib/file_times.h"
#include "sync/sync_reader.h"
#include "tests/support/bytes.h"
#include "tests/support/sandbox.h"

namespace zelkor::sync {
namespace {

using tests::kMidday;
using tests::Zeros;

std::string Padded(std::string text, std::size_t width) {
  text.resize(width, ' ');
  return text;
}
std::string Little(std::int64_t value, int width) {
  std::string bytes;
  for (int i = 0; i < width; ++i) bytes.push_back(static_cast<char>(value >> (8 * i) & 0xFF));
  return bytes;
}

class Writer : public tests::Sandbox {
 protected:
  Writer()
      : file_(std::move(*lib::File::Open(OnDriveZ(Root() / "out.cas"), lib::OpenMode::CreateNew))),
        writer_(file_, false) {}

  std::string MakeFile(const std::string& name, const std::string& content) {
    WriteNative(Root() / name, content);
    std::string path = OnDriveZ(Root() / name);
    EXPECT_FALSE(lib::SetFileDate(path, lib::FileTime::Created, 46000.5));
    EXPECT_FALSE(lib::SetFileDate(path, lib::FileTime::Written, 46000.5));
    return path;
  }
  EntryOutcome Write(const std::string& path, const std::string& shared) {
    return writer_.WriteFile(path, shared, why_, [](std::int64_t) {});
  }
  static db::FileRec Item(const std::string& description) {
    db::FileRec item;
    item.SetText(db::FileRec::kDescription, description);
    item.SetNumber(db::FileRec::kMemoId, 0x01020304);
    return item;
  }
  // The record as the table says it stands in a sync file; everything that Item leaves alone is zero bytes.
  static std::string ItemBytes(const std::string& shared, const std::string& description, std::int64_t length,
                               int files) {
    return Padded(shared, 512) + Padded(description, 64) + Zeros(16) + Zeros(2) + Little(length, 4) + Little(files, 4) +
           Zeros(8) + "memosign" + Zeros(2) + Zeros(128) + "\x04\x03\x02\x01" + Zeros(2) + Zeros(270);
  }
  static std::string EntryBytes(const std::string& shared, const std::string& content) {
    return "FileHdr " + Padded(shared, 200) + Little(static_cast<std::int64_t>(content.size()), 4) + kMidday +
           Zeros(8) + kMidday + Zeros(20) + content;
  }
  static std::string BlockBytes(std::int64_t length, int items) {
    return "ZELKOR  " + Little(length, 4) + Zeros(2) + Little(items, 4) + Little(223, 2) + Zeros(236);
  }
  std::string Written() {
    EXPECT_TRUE(writer_.Flush().Ok());
    return ReadNative(Root() / "out.cas");
  }

  lib::File file_;
  SyncWriter writer_;
  lib::Status why_;
};

TEST_F(Writer, WritesABlockAsTheTablesSay) {
  const std::string a = MakeFile("a.txt", "hello");
  const std::string empty = MakeFile("empty", "");
  ASSERT_TRUE(writer_.BeginBlock(9).Ok());
  db::FileRec first = Item("First");
  ASSERT_TRUE(writer_.BeginItem(first).Ok());
  EXPECT_EQ(Write(a, "c:\\a.txt"), EntryOutcome::Written);
  EXPECT_EQ(Write(empty, "c:\\empty"), EntryOutcome::Written);
  ASSERT_TRUE(writer_.EndItem(first, "c:\\*").Ok());
  db::FileRec second = Item("Second");
  ASSERT_TRUE(writer_.BeginItem(second).Ok());
  ASSERT_TRUE(writer_.EndItem(second, "c:\\none").Ok());
  ASSERT_TRUE(writer_.EndBlock().Ok());
  EXPECT_EQ(Written(), BlockBytes(2 * 1024 + 256 + 5 + 256, 2) + ItemBytes("c:\\*", "First", 256 + 5 + 256, 2) +
                           EntryBytes("c:\\a.txt", "hello") + EntryBytes("c:\\empty", "") +
                           ItemBytes("c:\\none", "Second", 0, 0));
}

TEST_F(Writer, LeavesNoTraceOfAFileThatIsNotThere) {
  ASSERT_TRUE(writer_.BeginBlock(1).Ok());
  db::FileRec item = Item("I");
  ASSERT_TRUE(writer_.BeginItem(item).Ok());
  EXPECT_EQ(Write(OnDriveZ(Root() / "missing"), "c:\\missing"), EntryOutcome::Missing);
  EXPECT_EQ(Write(OnDriveZ(Root() / "nowhere" / "missing"), "c:\\missing"), EntryOutcome::Missing);
  EXPECT_EQ(Write(OnDriveZ(Root() / "home"), "c:\\home"), EntryOutcome::Missing);  // a directory
  ASSERT_TRUE(writer_.EndItem(item, "c:\\missing").Ok());
  ASSERT_TRUE(writer_.EndBlock().Ok());
  EXPECT_EQ(Written(), BlockBytes(1024, 1) + ItemBytes("c:\\missing", "I", 0, 0));
}

TEST_F(Writer, LeavesAFileOutThatIsTooLongForTheFormat) {
  WriteNative(Root() / "long", "");
  std::filesystem::resize_file(Root() / "long", 0x80000000ULL);
  ASSERT_TRUE(writer_.BeginBlock(1).Ok());
  ASSERT_TRUE(writer_.BeginItem(Item("I")).Ok());
  EXPECT_EQ(Write(OnDriveZ(Root() / "long"), "c:\\long"), EntryOutcome::TooLong);
}

TEST_F(Writer, LeavesAFileOutThatTheItemHasNoRoomFor) {
  WriteNative(Root() / "long", "");
  std::filesystem::resize_file(Root() / "long", 0x7FFFFFFFULL - 255);
  ASSERT_TRUE(writer_.BeginBlock(1).Ok());
  ASSERT_TRUE(writer_.BeginItem(Item("I")).Ok());
  EXPECT_EQ(Write(OnDriveZ(Root() / "long"), "c:\\long"), EntryOutcome::ItemTooLong);
}

TEST_F(Writer, WhatItWritesIsRead) {
  const std::string content(1'000'000, 'x');
  const std::string big = MakeFile("big", content);
  const std::string small = MakeFile("small", "tiny");
  ASSERT_TRUE(writer_.WriteFileHeader(MakeSyncFileHeader("office", 46000.5)).Ok());
  ASSERT_TRUE(writer_.BeginBlock(1).Ok());
  db::FileRec item = Item("I");
  ASSERT_TRUE(writer_.BeginItem(item).Ok());
  ASSERT_EQ(Write(small, "c:\\small"), EntryOutcome::Written);
  ASSERT_EQ(Write(big, "c:\\big"), EntryOutcome::Written);
  ASSERT_TRUE(writer_.EndItem(item, "c:\\*").Ok());
  ASSERT_TRUE(writer_.EndBlock().Ok());
  ASSERT_TRUE(writer_.Flush().Ok());

  SyncReader reader(file_);
  EXPECT_EQ(reader.ReadHeader().Sender(), "office");
  BlockHeader block;
  ASSERT_TRUE(reader.NextBlock(block));
  EXPECT_EQ(block.Number(BlockHeader::kItemCount), 1);
  db::FileRec read;
  reader.ReadItem(read);
  EXPECT_EQ(read, item);
  FileHeader entry;
  reader.ReadEntry(entry);
  EXPECT_EQ(entry.Text(FileHeader::kPath), "c:\\small");
  reader.ReadEntry(entry);
  EXPECT_EQ(entry.Text(FileHeader::kPath), "c:\\big");
  lib::Result<lib::File> copy = lib::File::Open(OnDriveZ(Root() / "copy"), lib::OpenMode::CreateNew);
  ASSERT_TRUE(reader.CopyContent(*copy, [](std::int64_t) {}).Ok());
  EXPECT_EQ(ReadNative(Root() / "copy"), content);
  EXPECT_FALSE(reader.NextBlock(block));
}

}  // namespace
}  // namespace zelkor::sync
