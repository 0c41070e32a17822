// Records of one kind, read and written one after the other in large pieces.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "lib/files.h"
#include "lib/status.h"

namespace zelkor::db {

// Small enough to stay in the processor's cache, large enough that the calls to the system do not count.
inline constexpr std::int64_t kPieceBytes = std::int64_t{256} * 1024;

// Calls `take(number, record)` for the records 1 to `count`; a failure that it returns ends the reading.
template <class Rec, class Take>
lib::Status ReadRecords(const lib::File& file, std::int64_t count, const Take& take) {
  constexpr auto kRecBytes = static_cast<std::int64_t>(Rec::kBytes);
  const std::int64_t perPiece = std::min(count, kPieceBytes / kRecBytes);
  static_assert(sizeof(Rec) == Rec::kBytes, "records stand one behind the other as on disk");
  std::vector<Rec> piece(static_cast<std::size_t>(perPiece));
  for (std::int64_t done = 0; done < count;) {
    const std::int64_t records = std::min(count - done, perPiece);
    const std::span<Rec> read = std::span(piece).first(static_cast<std::size_t>(records));
    const lib::Result<std::size_t> got =
        file.ReadAt(done * kRecBytes, {read.front().Bytes().data(), read.size_bytes()});
    if (!got.Ok()) return got.Failure();
    if (*got != read.size_bytes()) {
      return {lib::Cause::Damaged, file.Path() + " has become shorter while it was in use"};
    }
    for (const Rec& rec : read) {
      lib::Status status = take(++done, rec);
      if (!status.Ok()) return status;
    }
  }
  return {};
}

// Appends records to a new file. What Finish has not confirmed may be missing.
template <class Rec>
class RecordWriter {
 public:
  explicit RecordWriter(lib::File& file) : file_(file) { piece_.reserve(kPieceBytes); }

  [[nodiscard]] lib::Status Add(const Rec& rec) {
    piece_.insert(piece_.end(), rec.Bytes().begin(), rec.Bytes().end());
    return piece_.size() + Rec::kBytes > kPieceBytes ? WritePiece() : lib::Status();
  }
  // Everything is on the medium when this returns without a failure.
  [[nodiscard]] lib::Status Finish() {
    lib::Status status = WritePiece();
    return status.Ok() ? file_.Flush() : status;
  }

 private:
  [[nodiscard]] lib::Status WritePiece() {
    lib::Status status = file_.WriteAt(offset_, piece_);
    offset_ += static_cast<std::int64_t>(piece_.size());
    piece_.clear();
    return status;
  }

  lib::File& file_;
  std::vector<char> piece_;
  std::int64_t offset_ = 0;
};

}  // namespace zelkor::db
