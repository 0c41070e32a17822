#include "tests/support/sync_bytes.h"

#include <algorithm>
#include <stdexcept>

#include "tests/support/bytes.h"

namespace zelkor::tests {

namespace {

std::string EncodeEntry(const SyncEntry& entry) {
  std::string bytes(kFileHeaderBytes, '\0');
  PutText(bytes, 0, 8, entry.signature);
  PutText(bytes, 8, 200, entry.path);
  PutI32(bytes, 208, entry.size.value_or(static_cast<std::int64_t>(entry.content.size())));
  PutDate(bytes, 212, entry.created);
  PutDate(bytes, 220, entry.accessed);
  PutDate(bytes, 228, entry.written);
  return bytes + entry.content;
}

std::string EncodeRecord(const SyncRecord& record, const std::string& sender) {
  std::string files;
  for (const SyncEntry& entry : record.files) files += EncodeEntry(entry);
  std::string bytes(kRecordBytes, ' ');
  PutText(bytes, 0, 512, record.fileName);
  PutText(bytes, 512, 64, record.description);
  PutText(bytes, 576, 16, record.source.empty() ? sender : record.source);
  PutI16(bytes, 592, record.flags);
  PutI32(bytes, 594, record.dataLength.value_or(static_cast<std::int64_t>(files.size())));
  PutI32(bytes, 598, record.fileCount.value_or(static_cast<std::int64_t>(record.files.size())));
  PutDate(bytes, 602, record.exported);
  PutText(bytes, 610, 8, record.signature);
  PutI16(bytes, 618, record.syncMethod);
  PutText(bytes, 620, 128, record.codes);
  PutI32(bytes, 748, record.memoId);
  PutI16(bytes, 752, record.syncTo);
  return bytes + files;
}

std::string EncodeBlock(const SyncBlock& block, const std::string& sender) {
  std::string data = block.data;
  for (const SyncRecord& record : block.records) data += EncodeRecord(record, sender);
  std::string bytes(kBlockHeaderBytes, '\0');
  PutText(bytes, 0, 8, block.signature);
  PutI32(bytes, 8, block.dataLength.value_or(static_cast<std::int64_t>(data.size())));
  PutI32(bytes, 14, block.itemCount.value_or(static_cast<std::int64_t>(block.records.size())));
  PutI16(bytes, 18, block.version);
  return bytes + data;
}

std::string EncodeHeader(const SyncImage& image) {
  std::string bytes(kSyncHeaderBytes, '\0');
  PutText(bytes, 0, 8, image.sender);
  PutDate(bytes, 8, image.created);
  PutI16(bytes, 16, image.format);
  PutI16(bytes, 18, image.disk);
  PutText(bytes, 20, 8, image.signature);
  PutI16(bytes, 28, image.lastDisk);
  return bytes;
}

// A place in a sync file being read, with checks that say what was expected where.
class Reader {
 public:
  explicit Reader(std::string_view bytes) : bytes_(bytes) {}

  [[nodiscard]] bool AtEnd() const { return position_ == bytes_.size(); }
  [[nodiscard]] std::size_t Position() const { return position_; }

  std::string_view Take(std::size_t length, const char* what) {
    if (bytes_.size() - position_ < length) Fail(std::string(what) + " is cut off");
    const std::string_view piece = bytes_.substr(position_, length);
    position_ += length;
    return piece;
  }
  void Expect(bool holds, const std::string& what) const {
    if (!holds) Fail(what);
  }
  void ExpectZero(std::string_view piece, std::size_t offset, std::size_t length, const char* what) const {
    const std::string_view reserved = piece.substr(offset, length);
    Expect(std::all_of(reserved.begin(), reserved.end(), [](char c) { return c == '\0'; }),
           std::string(what) + ": reserved bytes are not zero");
  }

 private:
  [[noreturn]] void Fail(const std::string& what) const {
    throw std::runtime_error(what + ", before byte " + std::to_string(position_));
  }

  std::string_view bytes_;
  std::size_t position_ = 0;
};

SyncEntry DecodeEntry(Reader& reader) {
  const std::string_view header = reader.Take(kFileHeaderBytes, "file header");
  reader.Expect(header.substr(0, 8) == "FileHdr ", "file header's signature");
  reader.ExpectZero(header, 236, 20, "file header");
  SyncEntry entry;
  entry.path = TakeText(header, 8, 200);
  entry.created = TakeDate(header, 212);
  entry.accessed = TakeDate(header, 220);
  entry.written = TakeDate(header, 228);
  const std::int32_t size = TakeI32(header, 208);
  reader.Expect(size >= 0, "file's size");
  entry.content = reader.Take(static_cast<std::size_t>(size), "file's content");
  return entry;
}

SyncRecord DecodeRecord(Reader& reader) {
  const std::string_view bytes = reader.Take(kRecordBytes, "item record");
  reader.Expect(bytes.substr(610, 8) == "memosign", "item record's signature");
  SyncRecord record;
  record.fileName = TakeText(bytes, 0, 512);
  record.description = TakeText(bytes, 512, 64);
  record.source = TakeText(bytes, 576, 16);
  record.flags = TakeI16(bytes, 592);
  record.exported = TakeDate(bytes, 602);
  record.syncMethod = TakeI16(bytes, 618);
  record.codes = TakeText(bytes, 620, 128);
  record.memoId = TakeI32(bytes, 748);
  record.syncTo = TakeI16(bytes, 752);
  const std::size_t start = reader.Position();
  const std::int32_t count = TakeI32(bytes, 598);
  for (std::int32_t i = 0; i < count; ++i) record.files.push_back(DecodeEntry(reader));
  reader.Expect(reader.Position() - start == static_cast<std::size_t>(TakeI32(bytes, 594)),
                "item record's file data length");
  return record;
}

SyncBlock DecodeBlock(Reader& reader) {
  const std::string_view header = reader.Take(kBlockHeaderBytes, "block header");
  reader.Expect(header.substr(0, 8) == "ZELKOR  ", "block header's signature");
  reader.ExpectZero(header, 12, 2, "block header");
  reader.ExpectZero(header, 20, 236, "block header");
  SyncBlock block;
  block.version = TakeI16(header, 18);
  const std::size_t start = reader.Position();
  const std::int32_t count = TakeI32(header, 14);
  for (std::int32_t i = 0; i < count; ++i) block.records.push_back(DecodeRecord(reader));
  reader.Expect(reader.Position() - start == static_cast<std::size_t>(TakeI32(header, 8)), "block's data length");
  return block;
}

}  // namespace

std::string EncodeSync(const SyncImage& image) {
  std::string bytes = EncodeHeader(image);
  for (const SyncBlock& block : image.blocks) bytes += EncodeBlock(block, image.sender);
  return bytes;
}

std::vector<SyncBoundary> SyncBoundaries(const SyncImage& image) {
  std::vector<SyncBoundary> boundaries{{0, "header"}};
  std::size_t at = kSyncHeaderBytes;
  for (const SyncBlock& block : image.blocks) {
    boundaries.push_back({at, "block"});
    at += kBlockHeaderBytes + block.data.size();
    for (const SyncRecord& record : block.records) {
      boundaries.push_back({at, "record"});
      at += kRecordBytes;
      for (const SyncEntry& entry : record.files) {
        boundaries.push_back({at, "file"});
        at += kFileHeaderBytes;
        boundaries.push_back({at, "content"});
        at += entry.content.size();
      }
    }
  }
  boundaries.push_back({at, "end"});
  return boundaries;
}

SyncImage DecodeSync(std::string_view bytes) {
  Reader reader(bytes);
  const std::string_view header = reader.Take(kSyncHeaderBytes, "header");
  reader.Expect(header.substr(20, 8) == "SyncFile", "header's signature");
  reader.Expect(TakeI16(header, 16) == 200, "header's format number");
  reader.ExpectZero(header, 30, 226, "header");
  SyncImage image;
  image.sender = TakeText(header, 0, 8);
  image.created = TakeDate(header, 8);
  image.disk = TakeI16(header, 18);
  image.lastDisk = TakeI16(header, 28);
  while (!reader.AtEnd()) image.blocks.push_back(DecodeBlock(reader));
  return image;
}

}  // namespace zelkor::tests
