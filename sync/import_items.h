// The merge of one sync file: its blocks, items and files, each decided, applied and counted.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "sync/context.h"
#include "sync/decision.h"
#include "sync/flush_behind.h"
#include "sync/import.h"
#include "sync/import_ahead.h"
#include "sync/own_files.h"
#include "sync/sync_reader.h"

namespace zelkor::sync {

class ItemImporter {
 public:
  // `cutoff` is the target's last import date.
  ItemImporter(Context& context, ImportMode mode, lib::Date cutoff);

  // Reads all blocks of an open sync file from behind its header. False when the run was cancelled; the files taken
  // before are whole.
  bool ImportFile(SyncReader& reader);

  // Whether everything was dealt with: no file failed, no block was skipped, no question ended with the input.
  [[nodiscard]] bool AllTaken() const { return allTaken_; }
  // What was written is on its media when this returns.
  [[nodiscard]] lib::Status FlushWritten();

 private:
  bool ImportBlocks(SyncReader& reader);
  bool ImportBlock(SyncReader& reader, const BlockHeader& block);
  bool ImportItem(SyncReader& reader, db::FileRec& item, Tally& tally);
  // Has the files to come seen to on a second thread, if that has not begun.
  void GoAhead(const SyncReader& reader);
  // The record in hand, once: before its first file takes its name, or because it is marked deleted.
  void WriteRecord(db::FileRec& item);
  // One file entry. `localPath` comes out as the entry's path on this computer.
  Decision ImportEntry(SyncReader& reader, const FileHeader& entry, db::FileRec& item, std::string& localPath);
  Decision TakeFile(SyncReader& reader, const FileHeader& entry, db::FileRec& item, const std::string& localPath,
                    Decision decision, std::optional<lib::UnnamedFile> made);
  // A file that holds the entry's content and has its times, but not yet its name; the one made ahead if there is one.
  lib::Result<lib::NewFile> WholeFile(SyncReader& reader, const FileHeader& entry, const std::string& localPath,
                                      std::optional<lib::UnnamedFile> made);
  void LogSummary(const Tally& tally);
  void LogReason(const std::string& reason) { context_.log.LogLine("    " + reason); }
  void ShowProgress(const SyncReader& reader, std::int64_t bytesOfFile);

  Context& context_;
  const ImportMode mode_;
  const lib::Date cutoff_;
  const bool confirmUpdates_;
  OwnFiles ownFiles_;
  bool allTaken_ = true;
  int blocks_ = 0;

  // The record in hand.
  std::int32_t recno_ = 0;  // 0: the database is full, nothing of the item can be taken
  bool recordWritten_ = false;

  std::optional<ImportAhead> ahead_;  // of the sync file in hand
  FlushBehind written_;
  lib::Progress progress_;
};

}  // namespace zelkor::sync
