// Writes a sync file with one block, front to back; memory does not grow with what is written.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "lib/files.h"
#include "lib/read_ahead.h"
#include "sync/output_buffer.h"
#include "sync/sync_file.h"

namespace zelkor::sync {

// What became of one file that was to be written as an entry. Everything but Written leaves no trace in the sync file.
enum class EntryOutcome {
  Written,
  Missing,      // it does not exist
  Unreadable,   // it exists, but cannot be opened, dated or read to its end
  Changing,     // it changed each time it was read
  TooLong,      // its length does not fit the format
  ItemTooLong,  // the files of its item together would not fit the format
  CanNotWrite,  // the sync file itself cannot be written
};

class SyncWriter {
 public:
  // One that `lasts` goes to its medium while it is written.
  SyncWriter(lib::File& file, bool lasts) : output_(file, lasts) {}

  [[nodiscard]] lib::Status WriteFileHeader(const SyncFileHeader& header);

  // `rows` stands in the block header until EndBlock writes the real number.
  [[nodiscard]] lib::Status BeginBlock(std::int32_t rows);
  // Writes the block's real length and number of items; a length that does not fit is written as 0.
  [[nodiscard]] lib::Status EndBlock();

  // `item` is written as it is, and again by EndItem with its signature, shared name, length and count of files.
  [[nodiscard]] lib::Status BeginItem(const db::FileRec& item);
  [[nodiscard]] lib::Status EndItem(db::FileRec& item, std::string_view sharedName);

  // One file of the item in hand. `report` is called now and then with the bytes of it copied so far. On a failure
  // `why` says more.
  EntryOutcome WriteFile(const std::string& path, std::string_view sharedPath, lib::Status& why,
                         const std::function<void(std::int64_t)>& report);

  // The same for a file that has been read ahead.
  EntryOutcome WriteFile(const lib::ReadAhead::Found& found, std::string_view sharedPath, lib::Status& why);

  [[nodiscard]] lib::Status Flush() { return output_.Flush(); }
  [[nodiscard]] std::int64_t Position() const { return output_.Position(); }
  [[nodiscard]] std::int32_t Items() const { return items_; }
  [[nodiscard]] std::int32_t Files() const { return files_; }
  // Files written for the item in hand, or the last one.
  [[nodiscard]] std::int32_t FilesOfItem() const { return filesOfItem_; }
  // Content bytes of the last file written.
  [[nodiscard]] std::int64_t BytesOfFile() const { return bytesOfFile_; }

 private:
  EntryOutcome TryFile(const std::string& path, std::string_view sharedPath, lib::Status& why,
                       const std::function<void(std::int64_t)>& report);

  // Written stands for success.
  EntryOutcome BeginFile(const lib::FileInfo& info, std::string_view sharedPath, lib::Status& why);
  void CountFile(const lib::FileInfo& info);

  OutputBuffer output_;
  std::int64_t blockStart_ = 0;
  std::int64_t itemStart_ = 0;
  std::int32_t items_ = 0;
  std::int32_t files_ = 0;
  std::int32_t filesOfItem_ = 0;
  std::int64_t bytesOfFile_ = 0;
  BlockHeader block_;
};

}  // namespace zelkor::sync
