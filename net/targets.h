// The table of 16 targets behind the configuration record. It lives only in the file; besides that there is one
// current target record, whatever slot was read last.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "db/database.h"
#include "lib/date.h"
#include "lib/user.h"
#include "net/target_rec.h"

namespace zelkor::net {

inline constexpr int kTargetSlots = 16;

class Targets {
 public:
  Targets(db::Database& database, lib::User& user) : database_(database), user_(user) {}

  // Slots count from 1. Reading pads a configuration file shorter than 8192 bytes with blanks, and takes only the
  // lowest bit of the excluded-by-default byte.
  void ReadTarget(int slot, TargetRec& rec);
  void WriteTarget(int slot, const TargetRec& rec);

  // The slot of the target with this ID (not trimmed, any case), which is then the current record; else 0, with
  // "Can not find target […] in database!" when `showError`.
  int FindTarget(std::string_view id, bool showError);
  // Creates a target in the first free slot; false, after "Sync list is full!", when there is none. What a deleted
  // target left in the slot is inherited, all but ID, dates and media path.
  bool NewTarget(std::string_view id);
  void DeleteTarget(int slot);
  // A date of 0 leaves that date unchanged. An unknown ID changes nothing.
  void SetTargetDates(std::string_view id, lib::Date importDate, lib::Date exportDate);
  void ClearTargetDates(int slot);

  // The IDs in use, trimmed, in lower case, in the order of the slots.
  [[nodiscard]] std::vector<std::string> TargetIds();

  [[nodiscard]] TargetRec& Current() { return current_; }

 private:
  db::Database& database_;
  lib::User& user_;
  TargetRec current_;
};

}  // namespace zelkor::net
