#include "db/item_list.h"

#include <charconv>
#include <utility>

namespace zelkor::db {
namespace {

std::string Key(std::int32_t recno) { return "r" + std::to_string(recno); }

}  // namespace

int clsList::Count() const { return rows_.Count(); }

std::string clsList::Text(int row) const { return rows_.Text(row); }

void clsList::SetText(int row, const std::string& text) { rows_.SetText(row, text); }

int clsList::Row() const { return rows_.Selected(); }

void clsList::SetRow(int row) { rows_.Select(row); }

std::int32_t clsList::FileRec(int row) const {
  const std::string key = rows_.Key(row);
  std::int32_t recno = 0;
  if (!key.empty()) std::from_chars(key.data() + 1, key.data() + key.size(), recno);
  return recno;
}

void clsList::SetFileRec(int row, std::int32_t recno) { rows_.SetKey(row, Key(recno)); }

int clsList::RowOf(std::int32_t recno) const {
  const std::string key = Key(recno);
  for (int row = 1; row <= rows_.Count(); ++row) {
    if (rows_.Key(row) == key) return row;
  }
  return 0;
}

void clsList::Add(lib::ListRow shown, std::int32_t recno) {
  shown.key = Key(recno);
  rows_.Add(shown);
}

void clsList::Replace(int row, lib::ListRow shown, std::int32_t recno) {
  shown.key = Key(recno);
  rows_.Replace(row, shown);
}

}  // namespace zelkor::db
