#include "db/record_window.h"

#include <algorithm>
#include <utility>

namespace zelkor::db {

namespace {
constexpr std::int32_t kRecordsAhead = 64;
}  // namespace

lib::Result<bool> RecordWindow::Read(const lib::File& file, std::int32_t recno, FileRec& item) {
  const std::int32_t before = std::exchange(last_, recno);
  const std::int64_t offset = (std::int64_t{recno} - 1) * static_cast<std::int64_t>(FileRec::kBytes);
  if (recno < first_ || recno >= first_ + count_) {
    if (recno != before + 1) {
      const lib::Result<std::size_t> got = file.ReadAt(offset, item.Bytes());
      return got.Ok() ? lib::Result<bool>(*got == FileRec::kBytes) : got.Failure();
    }
    count_ = 0;
    bytes_.resize(kRecordsAhead * FileRec::kBytes);
    const lib::Result<std::size_t> got = file.ReadAt(offset, bytes_);
    if (!got.Ok()) return got.Failure();
    first_ = recno;
    count_ = static_cast<std::int32_t>(*got / FileRec::kBytes);
    if (count_ == 0) return false;
  }
  const auto index = static_cast<std::size_t>(recno - first_);
  std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(index * FileRec::kBytes), FileRec::kBytes,
              item.Bytes().begin());
  return true;
}

void RecordWindow::Drop() { count_ = 0; }

}  // namespace zelkor::db
