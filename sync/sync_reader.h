// Reads a sync file. Whatever the file holds, nothing outside it is read and no memory is claimed on its word; a file
// that is not what the format says throws DamagedSyncFile, which names the record.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "lib/files.h"
#include "sync/damaged.h"
#include "sync/input_buffer.h"
#include "sync/sync_file.h"

namespace zelkor::sync {

class SyncReader {
 public:
  // `file`, open for reading, must outlive the reader.
  explicit SyncReader(const lib::File& file);

  [[nodiscard]] const std::string& Path() const { return file_.Path(); }
  [[nodiscard]] std::int64_t Length() const { return length_; }
  // Bytes read or passed over so far.
  [[nodiscard]] std::int64_t Position() const { return position_; }

  // The header at the start. Check IsSyncFile(); a file too short for a header gives one that is none.
  [[nodiscard]] SyncFileHeader ReadHeader();

  // The next block's header, or false at the end of the file. What is left of the block before is passed over.
  bool NextBlock(BlockHeader& header);
  // The next record of the block in hand, its signature checked. What is left of the item before is passed over.
  void ReadItem(db::FileRec& item);
  // The next file entry of the item in hand, its signature checked; its content is passed over by the next call.
  void ReadEntry(FileHeader& header);

  // Writes the content of the entry in hand to the start of `to`. `report` as in SyncWriter. A size that does not lead
  // to what must follow is found before anything is written.
  [[nodiscard]] lib::Status CopyContent(lib::File& to, const std::function<void(std::int64_t)>& report);

  // Ends the reading of this file with a message about the place in hand.
  [[noreturn]] void Damaged(const std::string& what) const;

 private:
  // The `count` bytes at the position, which moves behind them.
  std::span<const char> Take(std::size_t count, const char* what);
  // Whether what must follow the content in hand does: the next entry's signature, or the end of the item.
  void CheckWhatFollows();
  // Moves to `position`, which must lie inside the file, behind the present one and not past `end`.
  void MoveTo(std::int64_t position, std::int64_t end, const char* what);

  const lib::File& file_;
  InputBuffer input_;
  std::int64_t length_ = 0;
  std::int64_t position_ = 0;

  int block_ = 0;              // number of the block in hand, from 1
  std::int64_t blockEnd_ = 0;  // 0: the block's length is not known
  std::int32_t item_ = 0;      // number of the record in hand in its block, from 1
  std::int64_t itemEnd_ = 0;
  std::int32_t entries_ = 0;  // file count of the item in hand
  std::int32_t entry_ = 0;    // number of the entry in hand in its item, from 1
  std::int64_t contentStart_ = 0;
  std::int32_t contentSize_ = 0;
};

}  // namespace zelkor::sync
