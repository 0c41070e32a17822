#include "sync/sync_writer.h"

#include <algorithm>

namespace zelkor::sync {

namespace {
// A file that somebody is writing gets this many chances to hold still.
constexpr int kReadAttempts = 3;
// Long files are copied in stretches of this many bytes, with progress in between.
constexpr std::int64_t kStretch = std::int64_t{16} << 20;
constexpr auto kHeaderBytes = static_cast<std::int64_t>(FileHeader::kBytes);
}  // namespace

lib::Status SyncWriter::WriteFileHeader(const SyncFileHeader& header) { return output_.Append(header.Bytes()); }

lib::Status SyncWriter::BeginBlock(std::int32_t rows) {
  blockStart_ = output_.Position();
  items_ = 0;
  files_ = 0;
  block_.Clear();
  block_.SetText(BlockHeader::kSignature, kBlockSignature);
  block_.SetNumber(BlockHeader::kItemCount, rows);
  block_.SetNumber(BlockHeader::kVersion, lib::kProgramVersion);
  return output_.Append(block_.Bytes());
}

lib::Status SyncWriter::EndBlock() {
  const std::int64_t length = output_.Position() - blockStart_ - static_cast<std::int64_t>(BlockHeader::kBytes);
  block_.SetNumber(BlockHeader::kItemCount, items_);
  block_.SetNumber(BlockHeader::kDataLength, length <= kMaxLength ? static_cast<std::int32_t>(length) : 0);
  return output_.Patch(blockStart_, block_.Bytes());
}

lib::Status SyncWriter::BeginItem(const db::FileRec& item) {
  itemStart_ = output_.Position();
  filesOfItem_ = 0;
  return output_.Append(item.Bytes());
}

lib::Status SyncWriter::EndItem(db::FileRec& item, std::string_view sharedName) {
  const std::int64_t length = output_.Position() - itemStart_ - static_cast<std::int64_t>(db::FileRec::kBytes);
  item.SetText(db::FileRec::kSignature, db::kItemSignature);
  item.SetText(db::FileRec::kFileName, sharedName);
  item.SetNumber(db::FileRec::kFileDataLength, static_cast<std::int32_t>(length));
  item.SetNumber(db::FileRec::kFileCount, filesOfItem_);
  ++items_;
  return output_.Patch(itemStart_, item.Bytes());
}

EntryOutcome SyncWriter::WriteFile(const lib::ReadAhead::Found& found, std::string_view sharedPath, lib::Status& why) {
  const EntryOutcome begun = BeginFile(found.info, sharedPath, why);
  if (begun != EntryOutcome::Written) return begun;
  why = output_.Append(found.content);
  if (!why.Ok()) return EntryOutcome::CanNotWrite;
  CountFile(found.info);
  return EntryOutcome::Written;
}

void SyncWriter::CountFile(const lib::FileInfo& info) {
  ++filesOfItem_;
  ++files_;
  bytesOfFile_ = info.size;
}

EntryOutcome SyncWriter::BeginFile(const lib::FileInfo& info, std::string_view sharedPath, lib::Status& why) {
  if (info.size > kMaxLength) return EntryOutcome::TooLong;
  const std::int64_t itemBytes = output_.Position() - itemStart_ - static_cast<std::int64_t>(db::FileRec::kBytes);
  if (itemBytes + kHeaderBytes + info.size > kMaxLength) return EntryOutcome::ItemTooLong;

  FileHeader header;
  header.SetText(FileHeader::kSignature, kFileSignature);
  header.SetText(FileHeader::kPath, sharedPath);
  header.SetNumber(FileHeader::kSize, static_cast<std::int32_t>(info.size));
  header.SetDate(FileHeader::kCreated, info.created);
  header.SetDate(FileHeader::kWritten, info.written);
  why = output_.Append(header.Bytes());
  return why.Ok() ? EntryOutcome::Written : EntryOutcome::CanNotWrite;
}

EntryOutcome SyncWriter::WriteFile(const std::string& path, std::string_view sharedPath, lib::Status& why,
                                   const std::function<void(std::int64_t)>& report) {
  const std::int64_t start = output_.Position();
  EntryOutcome outcome = EntryOutcome::Changing;
  for (int attempt = 0; attempt < kReadAttempts && outcome == EntryOutcome::Changing; ++attempt) {
    outcome = TryFile(path, sharedPath, why, report);
    if (outcome == EntryOutcome::Written) return outcome;
    if (lib::Status rewound = output_.Rewind(start); !rewound.Ok()) {
      why = rewound;
      return EntryOutcome::CanNotWrite;
    }
  }
  return outcome;
}

EntryOutcome SyncWriter::TryFile(const std::string& path, std::string_view sharedPath, lib::Status& why,
                                 const std::function<void(std::int64_t)>& report) {
  lib::Result<lib::File> file = lib::File::Open(path, lib::OpenMode::Read);
  if (!file.Ok()) {
    why = file.Failure();
    // A directory of that name is no file.
    const bool missing = file.Why() == lib::Cause::NotFound || file.Why() == lib::Cause::PathNotFound;
    return missing || lib::DirectoryExists(path) ? EntryOutcome::Missing : EntryOutcome::Unreadable;
  }
  const lib::Result<lib::FileInfo> info = file->Info();
  if (!info.Ok()) {
    why = info.Failure();
    return EntryOutcome::Unreadable;
  }
  if (const EntryOutcome begun = BeginFile(*info, sharedPath, why); begun != EntryOutcome::Written) return begun;
  for (std::int64_t done = 0; done < info->size;) {
    const lib::CopyOutcome copied = output_.AppendFrom(*file, done, std::min(kStretch, info->size - done));
    if (!copied.status.Ok()) {
      why = copied.status;
      return copied.readFailed ? EntryOutcome::Unreadable : EntryOutcome::CanNotWrite;
    }
    if (copied.sourceEnded) return EntryOutcome::Changing;
    done += copied.copied;
    report(done);
  }
  // Only a file that stood still while it was read is one whole version of itself.
  const lib::Result<bool> still = file->StillIs(*info);
  if (!still.Ok()) {
    why = still.Failure();
    return EntryOutcome::Unreadable;
  }
  if (*still) CountFile(*info);
  return *still ? EntryOutcome::Written : EntryOutcome::Changing;
}

}  // namespace zelkor::sync
