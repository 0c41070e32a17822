// Drives and directories under other names on other computers: the table of "ReMap.txt".
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "lib/user.h"

namespace zelkor::db {

inline constexpr std::size_t kMaxRemapEntries = 999;

class RemapTable {
 public:
  // Reads "ReMap.txt" of `programDir` and appends its entries to those loaded before (on purpose: the first version
  // stays in force). Creates the file with an explanation when it is missing. A message for each of the first invalid
  // lines, and one for the rest. More than kMaxRemapEntries entries are a run-time error.
  // False, after a message, when a file is there that can not be read: nothing may be remapped then, either.
  bool LoadRemapTable(const std::string& programDir, lib::User& user);

  // One path, or several separated by CR LF, rewritten from the local to the shared form, or the other way round.
  [[nodiscard]] std::string RemapPath(std::string_view paths, bool toLocal) const;

  [[nodiscard]] std::size_t Count() const { return entries_.size(); }

 private:
  struct Form {
    std::string path;
    std::string lower;  // the same in lower case
  };
  struct Entry {
    Form local;
    Form shared;
  };
  std::vector<Entry> entries_;
};

}  // namespace zelkor::db
