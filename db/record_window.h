// Records read ahead, for whoever reads an item file front to back one record at a time.
#pragma once

#include <cstdint>
#include <vector>

#include "db/file_rec.h"
#include "lib/files.h"

namespace zelkor::db {

// Holds a stretch of the file as it was when it was read: drop it with each write. A read that does not follow on the
// one before takes one record only, so that going to and fro costs no more than without a window.
class RecordWindow {
 public:
  // The record with this number, counting from 1. False when the file ends before it or inside it.
  [[nodiscard]] lib::Result<bool> Read(const lib::File& file, std::int32_t recno, FileRec& item);
  void Drop();

 private:
  std::vector<char> bytes_;
  std::int32_t first_ = 0;  // number of the first record in `bytes_`
  std::int32_t count_ = 0;  // whole records in `bytes_`
  std::int32_t last_ = 0;   // number of the record read last
};

}  // namespace zelkor::db
