#include "sync/sync_file.h"

#include "lib/code_page.h"

namespace zelkor::sync {

std::string SyncFileHeader::Sender() const { return lib::Lower(Text(kSender)); }

SyncFileHeader MakeSyncFileHeader(std::string_view sender, lib::Date created) {
  SyncFileHeader header;
  header.SetText(SyncFileHeader::kSender, sender);
  header.SetDate(SyncFileHeader::kCreated, created);
  header.SetNumber(SyncFileHeader::kFormat, kFormatNumber);
  header.SetNumber(SyncFileHeader::kDisk, 1);
  header.SetText(SyncFileHeader::kSignature, kSyncFileSignature);
  header.SetNumber(SyncFileHeader::kLastDisk, kTrue);
  return header;
}

}  // namespace zelkor::sync
