#include "sync/sync_reader.h"

#include <algorithm>

namespace zelkor::sync {

namespace {
constexpr std::int64_t kStretch = std::int64_t{16} << 20;

template <std::size_t Size>
void Fill(lib::Record<Size>& record, std::span<const char> bytes) {
  std::copy(bytes.begin(), bytes.end(), record.Bytes().begin());
}
}  // namespace

SyncReader::SyncReader(const lib::File& file) : file_(file), input_(file) {
  const lib::Result<std::int64_t> length = file.Length();
  if (!length.Ok()) Damaged(length.Failure().Message());
  length_ = *length;
}

SyncFileHeader SyncReader::ReadHeader() {
  SyncFileHeader header;
  const lib::Result<std::span<const char>> bytes = input_.View(0, SyncFileHeader::kBytes);
  if (bytes.Ok() && bytes->size() == SyncFileHeader::kBytes) {
    Fill(header, *bytes);
    position_ = static_cast<std::int64_t>(SyncFileHeader::kBytes);
  }
  return header;
}

bool SyncReader::NextBlock(BlockHeader& header) {
  if (block_ > 0) {
    // Of a block whose length did not fit its field, the last record's end is the end.
    const std::int64_t end = blockEnd_ != 0 ? blockEnd_ : itemEnd_;
    MoveTo(end, length_, "the end of the block");
  }
  if (position_ >= length_) return false;
  ++block_;
  item_ = 0;
  entry_ = 0;
  const std::int64_t start = position_;
  Fill(header, Take(BlockHeader::kBytes, "the block header"));
  const std::int32_t dataLength = header.Number(BlockHeader::kDataLength);
  if (dataLength < 0) Damaged("the block's length is negative");
  if (header.Number(BlockHeader::kItemCount) < 0) Damaged("the block's number of items is negative");
  itemEnd_ = position_;
  blockEnd_ = dataLength == 0 ? 0 : start + static_cast<std::int64_t>(BlockHeader::kBytes) + dataLength;
  if (blockEnd_ > length_) Damaged("the file ends inside the block");
  return true;
}

void SyncReader::ReadItem(db::FileRec& item) {
  const std::int64_t end = blockEnd_ != 0 ? blockEnd_ : length_;
  MoveTo(itemEnd_, end, "the end of the item");
  ++item_;
  entry_ = 0;
  Fill(item, Take(db::FileRec::kBytes, "the item record"));
  if (!item.HasSignature()) Damaged("its signature is not \"memosign\"");
  const std::int32_t dataLength = item.Number(db::FileRec::kFileDataLength);
  const std::int32_t count = item.Number(db::FileRec::kFileCount);
  if (dataLength < 0) Damaged("the length of its files is negative");
  if (count < 0) Damaged("its number of files is negative");
  entries_ = count;
  itemEnd_ = position_ + dataLength;
  if (itemEnd_ > end) Damaged("its files reach past the end of the block");
  contentStart_ = position_;
  contentSize_ = 0;
}

void SyncReader::ReadEntry(FileHeader& header) {
  MoveTo(contentStart_ + contentSize_, itemEnd_, "the end of the file's content");
  ++entry_;
  if (position_ + static_cast<std::int64_t>(FileHeader::kBytes) > itemEnd_)
    Damaged("the item has fewer files than it says");
  Fill(header, Take(FileHeader::kBytes, "the file header"));
  if (!header.HasSignature()) Damaged("its signature is not \"FileHdr\"");
  contentStart_ = position_;
  contentSize_ = header.Number(FileHeader::kSize);
  if (contentSize_ < 0) Damaged("its size is negative");
  if (contentStart_ + contentSize_ > itemEnd_) Damaged("its content reaches past the end of the item");
}

lib::Status SyncReader::CopyContent(lib::File& to, const std::function<void(std::int64_t)>& report) {
  CheckWhatFollows();
  if (contentSize_ <= static_cast<std::int32_t>(InputBuffer::kMaxView)) {
    const lib::Result<std::span<const char>> bytes = input_.View(contentStart_, static_cast<std::size_t>(contentSize_));
    if (!bytes.Ok()) Damaged(bytes.Failure().Message());
    if (static_cast<std::int32_t>(bytes->size()) < contentSize_) Damaged("the file ends inside its content");
    return contentSize_ == 0 ? lib::Status() : to.WriteAt(0, *bytes);
  }
  for (std::int64_t done = 0; done < contentSize_;) {
    const lib::CopyOutcome copied =
        lib::CopyRange(file_, contentStart_ + done, to, done, std::min<std::int64_t>(kStretch, contentSize_ - done));
    if (!copied.status.Ok()) {
      if (copied.readFailed) Damaged(copied.status.Message());
      return copied.status;
    }
    if (copied.sourceEnded) Damaged("the file ends inside its content");
    done += copied.copied;
    report(done);
  }
  return {};
}

void SyncReader::CheckWhatFollows() {
  const std::int64_t end = contentStart_ + contentSize_;
  if (entry_ >= entries_) {
    if (end != itemEnd_) Damaged("its size does not lead to the end of the item");
    return;
  }
  FileHeader next;
  const std::size_t count = kFileSignature.size();
  // Small files lie in the buffer together with what follows them; behind a long one, only these few bytes are read.
  const bool near = contentSize_ <= static_cast<std::int32_t>(InputBuffer::kMaxView / 2);
  if (near) {
    const lib::Result<std::span<const char>> bytes =
        input_.View(contentStart_, static_cast<std::size_t>(contentSize_) + count);
    if (bytes.Ok() && bytes->size() == static_cast<std::size_t>(contentSize_) + count) {
      std::copy_n(bytes->end() - static_cast<std::ptrdiff_t>(count), count, next.Bytes().begin());
    }
  } else {
    (void)file_.ReadAt(end, next.Bytes().first(count));
  }
  if (!next.HasSignature()) Damaged("its size does not lead to the next file");
}

void SyncReader::Damaged(const std::string& what) const {
  std::string where = "Sync file [" + file_.Path() + "] is damaged";
  if (block_ > 0) where += ", block " + std::to_string(block_);
  if (item_ > 0) where += ", item record " + std::to_string(item_);
  if (entry_ > 0) where += ", file " + std::to_string(entry_);
  throw DamagedSyncFile(where + ": " + what + ".");
}

std::span<const char> SyncReader::Take(std::size_t count, const char* what) {
  const lib::Result<std::span<const char>> bytes = input_.View(position_, count);
  if (!bytes.Ok()) Damaged(bytes.Failure().Message());
  if (bytes->size() < count) Damaged(std::string("the file ends inside ") + what);
  position_ += static_cast<std::int64_t>(count);
  return *bytes;
}

void SyncReader::MoveTo(std::int64_t position, std::int64_t end, const char* what) {
  if (position < position_ || position > end || position > length_) {
    Damaged(std::string(what) + " is not where it should be");
  }
  position_ = position;
}

}  // namespace zelkor::sync
