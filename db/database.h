// The two database files: "zelkor.cfg", opened as file 1, and "zelkor.ind", opened as file 2, both for the whole run.
// Every change to an item is written at once. Errors of input and output are run-time errors (lib/run_time_error.h).
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "db/config_rec.h"
#include "db/file_rec.h"
#include "db/memo_index.h"
#include "db/record_window.h"
#include "lib/files.h"
#include "lib/user.h"

namespace zelkor::db {

// The most items that the list, and so the database, can hold.
inline constexpr std::int32_t kMaxItems = 9999;

class Database {
 public:
  // `programDir` ends in a backslash.
  Database(std::string programDir, lib::User& user);

  enum class Opened { Yes, ConversionRefused, Unusable };
  // Opens both files, creating missing ones; finishes a conversion that a crash interrupted; converts an item file of
  // an older version after asking; cuts off an incomplete last record and says so. `Unusable`, after a message: a file
  // that cannot be opened, is damaged, or was written by a newer version.
  [[nodiscard]] Opened OpenDatabase();
  // Drops the deleted items. Record numbers change, memo IDs do not. The list must be filled again by the caller.
  // False, after a message, when it could not be done; the old file is then in place.
  bool CompactDatabase();

  void ReadConfig();
  void WriteConfig();
  [[nodiscard]] ConfigRec& Config() { return config_; }
  // The open "zelkor.cfg"; the targets live behind its first 4096 bytes.
  [[nodiscard]] lib::File& ConfigFile() { return configFile_; }

  // The program-wide record buffer that ReadItem fills and WriteItem writes.
  [[nodiscard]] FileRec& Item() { return item_; }
  void ReadItem(std::int32_t recno);
  void WriteItem(std::int32_t recno);
  // The items written so far are on the medium when this returns.
  [[nodiscard]] lib::Status FlushItems();
  // A record to come, for whoever looks ahead of ReadItem; leaves Item() alone. All zero when it can not be read, which
  // is for ReadItem to tell.
  void PeekItem(std::int32_t recno, FileRec& item);
  [[nodiscard]] std::int32_t RecordCount() const { return recordCount_; }
  // The number that a new record gets.
  [[nodiscard]] std::int32_t AppendRecNo() const { return recordCount_ + 1; }

  // Calls `take` for every record in order, reading the file in large pieces; leaves Item() alone.
  void ForEachItem(const std::function<void(std::int32_t recno, const FileRec& item)>& take) const;

  // The record number of the item with this memo ID, deleted ones too; 0 when there is none. Of several the first.
  [[nodiscard]] std::int32_t FindMemoId(std::int32_t memoId);

  [[nodiscard]] const std::string& ProgramDir() const { return programDir_; }

 private:
  [[nodiscard]] std::string InProgramDir(const char* name) const;
  [[nodiscard]] Opened Refuse(const std::string& what, const std::string& advice);
  [[nodiscard]] lib::Status OpenFiles();
  [[nodiscard]] lib::Status LoadConfig();
  [[nodiscard]] lib::Status SaveConfig();

  // The steps of OpenDatabase that follow from the version found.
  [[nodiscard]] Opened BringUpToDate();
  [[nodiscard]] Opened ConvertDatabase();
  [[nodiscard]] Opened FinishConversion();
  [[nodiscard]] lib::Status RenewConfig();
  [[nodiscard]] Opened CountRecords();

  std::string programDir_;
  lib::User& user_;
  lib::File configFile_;
  lib::File itemFile_;
  ConfigRec config_;
  FileRec item_;
  std::int32_t recordCount_ = 0;
  RecordWindow window_;
  RecordWindow peekWindow_;
  MemoIndex memoIndex_;
};

}  // namespace zelkor::db
