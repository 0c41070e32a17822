// Opening the database: what the two files are found to be, and bringing old ones up to date.
//
// A conversion passes these states, each of which can be told from the others after a crash at any instant:
//   1. "zelkor.$$$" is being written: the old files stand untouched, and the next attempt writes it anew.
//   2. It is whole and has been renamed to "zelkor.new". From here on the conversion is finished without a question.
//   3. The configuration record says 220; "zelkor.ind" still has the old layout, and "zelkor.new" tells so.
//   4. "zelkor.new" has been renamed to "zelkor.ind". Nothing is left to do.
#include <algorithm>

#include "db/conversion.h"
#include "db/database.h"
#include "lib/format.h"
#include "lib/version.h"

namespace zelkor::db {
namespace {

constexpr const char* kItemsName = "zelkor.ind";
constexpr const char* kConversionName = "zelkor.$$$";
constexpr const char* kConvertedName = "zelkor.new";

constexpr auto kItemBytes = static_cast<std::int64_t>(FileRec::kBytes);
constexpr auto kOldItemBytes = static_cast<std::int64_t>(OldFileRec::kBytes);

const char* const kTryAgain = "Correct that and start Zelkor again.";

std::int64_t LengthOr0(const lib::File& file) {
  const lib::Result<std::int64_t> length = file.Length();
  return length.Ok() ? *length : 0;
}

}  // namespace

// One message, the files closed again.
Database::Opened Database::Refuse(const std::string& what, const std::string& advice) {
  configFile_.Close();
  itemFile_.Close();
  recordCount_ = 0;
  user_.Message(what + ".\r\n" + advice, lib::Icon::Critical);
  return Opened::Unusable;
}

Database::Opened Database::OpenDatabase() {
  if (const lib::Status status = OpenFiles(); !status.Ok()) {
    return Refuse(status.Message(), std::string("Zelkor must be able to read and write this file. ") + kTryAgain);
  }
  if (const lib::Status status = LoadConfig(); !status.Ok()) return Refuse(status.Message(), kTryAgain);

  const std::int32_t version = config_.Number(ConfigRec::kVersion);
  const bool signatureFits = config_.Text(ConfigRec::kSignature) == kConfigSignature;
  if (version < 0 || (version >= lib::kDatabaseVersion && !signatureFits)) {
    return Refuse(configFile_.Path() + " is damaged",
                  "Put a good copy of it back, or move it to another folder: then a new one is made and the items are "
                  "kept, but the targets and file types must be entered again.");
  }
  if (version > lib::kDatabaseVersion) {
    return Refuse(configFile_.Path() + " was written by a newer version of Zelkor (database version " +
                      lib::FormatVersion(version / 100.0) + ")",
                  "Install that version here too. Nothing has been changed.");
  }
  const Opened upToDate = BringUpToDate();
  return upToDate == Opened::Yes ? CountRecords() : upToDate;
}

Database::Opened Database::BringUpToDate() {
  if (lib::FileExists(InProgramDir(kConvertedName))) return FinishConversion();
  const std::int32_t version = config_.Number(ConfigRec::kVersion);
  if (version == lib::kDatabaseVersion) return Opened::Yes;

  const bool lost = version == 0 && config_.Text(ConfigRec::kSignature).empty();
  if (LengthOr0(itemFile_) > 0) {
    const bool versionSaysOld = version > 0 && config_.Text(ConfigRec::kSignature) == kConfigSignature;
    const lib::Result<ItemLayout> layout = LookAtLayout(itemFile_, versionSaysOld);
    if (!layout.Ok()) return Refuse(layout.Failure().Message(), kTryAgain);
    if (*layout == ItemLayout::Old) return ConvertDatabase();
    if (*layout == ItemLayout::Unknown) {
      return Refuse("It can not be told whether " + itemFile_.Path() + " is of this version or an older one, since " +
                        configFile_.Path() + " does not say so",
                    "Put a good copy of both files back. Nothing has been changed.");
    }
  }
  if (const lib::Status status = RenewConfig(); !status.Ok()) return Refuse(status.Message(), kTryAgain);
  if (lost && LengthOr0(itemFile_) > 0) {
    user_.Message(configFile_.Path() +
                      " was missing or empty, and a new one has been made.\r\nThe items are complete; the targets and "
                      "file types must be entered again.",
                  lib::Icon::Exclamation);
  }
  return Opened::Yes;
}

// Signature, version and room for the targets, on the medium when this returns.
lib::Status Database::RenewConfig() {
  config_.SetText(ConfigRec::kSignature, kConfigSignature);
  config_.SetNumber(ConfigRec::kVersion, lib::kDatabaseVersion);
  if (lib::Status status = SaveConfig(); !status.Ok()) return status;
  const lib::Result<std::int64_t> length = configFile_.Length();
  if (!length.Ok()) return length.Failure();
  if (*length < kConfigFileBytes) {
    const std::string room(static_cast<std::size_t>(kConfigFileBytes - *length), ' ');
    if (lib::Status status = configFile_.WriteAt(*length, room); !status.Ok()) return status;
  }
  return configFile_.Flush();
}

Database::Opened Database::ConvertDatabase() {
  const std::string question = "Convert file from " + lib::FormatVersion(config_.Number(ConfigRec::kVersion) / 100.0) +
                               " to " + lib::FormatVersion(lib::kProgramVersion / 100.0) + "?";
  if (user_.Ask({.text = question, .icon = lib::Icon::Question, .buttons = lib::Buttons::OkCancel, .title = {}}) !=
      lib::Button::Ok) {
    configFile_.Close();
    itemFile_.Close();
    return Opened::ConversionRefused;
  }

  const std::string temporary = InProgramDir(kConversionName);
  lib::Status status = BuildConverted(itemFile_, temporary);
  if (status.Ok()) {
    status = lib::RenameFile(temporary, InProgramDir(kConvertedName));
    if (!status.Ok()) lib::KillFile(temporary);
  }
  // Only a marker that survives a power failure allows the new version number.
  if (status.Ok()) status = lib::FlushDirectory(programDir_);
  if (!status.Ok()) return Refuse(status.Message(), std::string("The items could not be converted. ") + kTryAgain);
  return FinishConversion();
}

Database::Opened Database::FinishConversion() {
  const std::string converted = InProgramDir(kConvertedName);
  const lib::Result<lib::FileInfo> info = lib::GetFileInfo(converted);
  if (!info.Ok()) return Refuse(info.Failure().Message(), kTryAgain);
  const std::int64_t old = LengthOr0(itemFile_);
  // The two belong together unless somebody has put another item file there meanwhile.
  if (old > 0 && info->size != old / kOldItemBytes * kItemBytes) {
    return Refuse(converted + ", left by an interrupted conversion, does not belong to " + itemFile_.Path(),
                  "Move the one of the two that is not wanted to another folder and start Zelkor again. Nothing has "
                  "been changed.");
  }
  lib::Status status = RenewConfig();
  if (status.Ok()) {
    itemFile_.Close();
    status = lib::RenameFile(converted, InProgramDir(kItemsName));
  }
  if (status.Ok()) status = lib::FlushDirectory(programDir_);
  if (status.Ok()) {
    lib::Result<lib::File> items = lib::File::Open(InProgramDir(kItemsName), lib::OpenMode::Existing);
    if (items.Ok()) {
      itemFile_ = std::move(*items);
      return Opened::Yes;
    }
    status = items.Failure();
  }
  return Refuse(status.Message(), std::string("The conversion of the items is not finished. ") + kTryAgain);
}

}  // namespace zelkor::db
