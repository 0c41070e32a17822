#include "db/database.h"

#include <algorithm>
#include <cassert>
#include <limits>
#include <utility>

#include "db/compaction.h"
#include "db/record_io.h"
#include "lib/run_time_error.h"

namespace zelkor::db {
namespace {

constexpr auto kItemBytes = static_cast<std::int64_t>(FileRec::kBytes);

constexpr const char* kConfigName = "zelkor.cfg";
constexpr const char* kItemsName = "zelkor.ind";
constexpr const char* kCompactionName = "memo.$$$";

void Require(const lib::Status& status) {
  if (!status.Ok()) lib::InputOutputError(status.Message());
}

}  // namespace

Database::Database(std::string programDir, lib::User& user) : programDir_(std::move(programDir)), user_(user) {}

std::string Database::InProgramDir(const char* name) const { return programDir_ + name; }

lib::Status Database::OpenFiles() {
  lib::Result<lib::File> config = lib::File::Open(InProgramDir(kConfigName), lib::OpenMode::ReadWrite);
  if (!config.Ok()) return config.Failure();
  lib::Result<lib::File> items = lib::File::Open(InProgramDir(kItemsName), lib::OpenMode::ReadWrite);
  if (!items.Ok()) return items.Failure();
  configFile_ = std::move(*config);
  itemFile_ = std::move(*items);
  memoIndex_.Drop();
  window_.Drop();
  peekWindow_.Drop();
  return {};
}

lib::Status Database::LoadConfig() {
  config_.Clear();
  const lib::Result<std::size_t> got = configFile_.ReadAt(0, config_.Bytes());
  return got.Ok() ? lib::Status() : got.Failure();
}

lib::Status Database::SaveConfig() { return configFile_.WriteAt(0, config_.Bytes()); }

void Database::ReadConfig() { Require(LoadConfig()); }

void Database::WriteConfig() { Require(SaveConfig()); }

Database::Opened Database::CountRecords() {
  const lib::Result<std::int64_t> length = itemFile_.Length();
  if (!length.Ok()) return Refuse(length.Failure().Message(), "Zelkor can not go on without its items.");
  if (const std::int64_t rest = *length % kItemBytes; rest != 0) {
    // What a crash left of an item that was being appended; the next one would stand at a wrong place behind it.
    const lib::Status cut = itemFile_.SetLength(*length - rest);
    if (!cut.Ok()) return Refuse(cut.Message(), "Its last record is incomplete and could not be cut off.");
    user_.Message("The last record of " + itemFile_.Path() + " was incomplete and has been cut off.",
                  lib::Icon::Exclamation);
  }
  // A longer file than the list can take is refused by the fill; here the number must only not overflow.
  recordCount_ = static_cast<std::int32_t>(
      std::min<std::int64_t>(*length / kItemBytes, std::numeric_limits<std::int32_t>::max() - 1));
  return Opened::Yes;
}

bool Database::CompactDatabase() {
  const std::string temporary = InProgramDir(kCompactionName);
  lib::Status status = BuildCompacted(itemFile_, recordCount_, temporary);
  if (status.Ok()) {
    itemFile_.Close();
    configFile_.Close();
    status = lib::RenameFile(temporary, InProgramDir(kItemsName));
    if (status.Ok()) {
      Require(lib::FlushDirectory(programDir_));
      if (OpenDatabase() != Opened::Yes) lib::InputOutputError(InProgramDir(kItemsName) + " can not be opened again");
      return true;
    }
    lib::KillFile(temporary);
    Require(OpenFiles());
  }
  user_.Message(status.Message() + ".\r\nThe items are unchanged.", lib::Icon::Critical);
  return false;
}

lib::Status Database::FlushItems() { return itemFile_.Flush(); }

void Database::ReadItem(std::int32_t recno) {
  assert(recno >= 1 && recno <= recordCount_);
  const lib::Result<bool> whole = window_.Read(itemFile_, recno, item_);
  if (!whole.Ok()) lib::InputOutputError(whole.Failure().Message());
  if (!*whole) lib::InputOutputError(itemFile_.Path() + " has become shorter while it was in use");
}

void Database::PeekItem(std::int32_t recno, FileRec& item) {
  const lib::Result<bool> whole = peekWindow_.Read(itemFile_, recno, item);
  if (!whole.Ok() || !*whole) item.Clear();
}

void Database::WriteItem(std::int32_t recno) {
  assert(recno >= 1 && recno <= AppendRecNo());
  window_.Drop();
  peekWindow_.Drop();
  const lib::Status status = itemFile_.WriteAt((recno - 1) * kItemBytes, item_.Bytes());
  if (!status.Ok()) {
    // Part of an appended record may stand there; without it the file is as it was.
    if (recno > recordCount_) static_cast<void>(itemFile_.SetLength(recordCount_ * kItemBytes));
    lib::InputOutputError(status.Message());
  }
  recordCount_ = std::max(recordCount_, recno);
  memoIndex_.Put(recno, item_.Number(FileRec::kMemoId));
}

void Database::ForEachItem(const std::function<void(std::int32_t recno, const FileRec& item)>& take) const {
  Require(ReadRecords<FileRec>(itemFile_, recordCount_, [&take](std::int64_t recno, const FileRec& item) {
    take(static_cast<std::int32_t>(recno), item);
    return lib::Status();
  }));
}

std::int32_t Database::FindMemoId(std::int32_t memoId) {
  if (!memoIndex_.Built()) {
    if (recordCount_ > kMaxItems) lib::SubscriptOutOfRange("more than 9999 items");
    memoIndex_.Start(static_cast<std::size_t>(recordCount_));
    ForEachItem(
        [this](std::int32_t recno, const FileRec& item) { memoIndex_.Put(recno, item.Number(FileRec::kMemoId)); });
  }
  return memoIndex_.Find(memoId);
}

}  // namespace zelkor::db
