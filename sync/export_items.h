// The items of an export: which go out, with which files, and what stays behind.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "db/memory_rows.h"
#include "lib/read_ahead.h"
#include "lib/selection.h"
#include "net/target_rec.h"
#include "sync/context.h"
#include "sync/export_date.h"
#include "sync/sync_writer.h"

namespace zelkor::sync {

class ItemExporter {
 public:
  // `started` is when the run began, in local time.
  ItemExporter(Context& context, const net::TargetRec& target, lib::Date started);

  // Fills a list of its own with all items, deleted ones too, and applies the filters of the command line to it. False
  // when they keep nothing (the message has been shown).
  bool Fill();
  // Writes one block with the items of the list. False when the run was cancelled or the sync file could not be
  // written; `failure` then says what went wrong with the file, and is Ok for a cancelled run.
  bool WriteBlock(SyncWriter& writer, lib::Status& failure);
  // Looks for due files of items that the filters left out of the list.
  void LookAtFilteredItems();
  // Whether a file that goes to the target carries a date at or after the start of the run.
  [[nodiscard]] bool ChangedSinceStart();

  [[nodiscard]] const DateHold& Hold() const { return hold_; }

 private:
  enum class State { Auto, On, Off };

  // The state that counts for this export, and the one that the record stores.
  [[nodiscard]] State StateOf(std::int32_t recno, const db::FileRec& item) const;
  [[nodiscard]] static State StoredState(const db::FileRec& item);
  [[nodiscard]] bool GoesToTarget(const db::FileRec& item) const;
  // Writes one item. False as WriteBlock.
  bool WriteItem(SyncWriter& writer, db::FileRec item, State state, lib::Status& failure);
  bool WriteFile(SyncWriter& writer, const std::string& path, lib::Date cutoff, lib::Status& failure);
  // Logs what became of a file, and holds the date when it should have gone. False when the sync file failed.
  bool NoteOutcome(const SyncWriter& writer, const std::string& path, EntryOutcome outcome, const lib::Status& why,
                   lib::Status& failure);
  // Logs what an item's selection could not name, and holds the date where a due file may be behind it.
  void NoteLeftOut(const lib::SelectedFile& file);
  // The first file of the item that is newer than the last export; empty when there is none.
  [[nodiscard]] std::string FirstDueFile(const db::FileRec& item) const;
  // The present time, which is worked out once a second.
  [[nodiscard]] lib::Date Present();
  // Has the files of the coming rows read ahead.
  void LookAhead(int row);
  void CountBytes();
  void ShowProgress(std::int64_t bytesOfFile);

  Context& context_;
  net::TargetRec target_;
  std::string targetId_;
  lib::Date lastExport_;
  std::string noneNewer_;  // the line for an item without files newer than that
  lib::Date started_;
  db::MemoryRows rows_;
  db::Catalogue list_;
  bool filtered_ = false;
  std::optional<lib::ReadAhead> ahead_;
  int row_ = 0;       // the row in hand
  int aheadRow_ = 0;  // the last row whose files are wanted ahead
  std::int64_t presentUtc_ = 0;
  lib::Date present_ = 0;
  DateHold hold_;
  lib::Progress progress_;
};

}  // namespace zelkor::sync
