#include "sync/outside_file.h"

#include "lib/files.h"
#include "lib/text.h"
#include "sync/folder.h"
#include "sync/sync_file.h"

namespace zelkor::sync {

ImportResult ImportOutsideFile(Context& context, const std::string& path) {
  SyncFileHeader header;
  {
    const lib::Result<lib::File> file = lib::File::Open(path, lib::OpenMode::Read);
    if (!file.Ok()) {
      context.user.Message(file.Failure().Message(), lib::Icon::Critical);
      return ImportResult::NotThere;
    }
    const lib::Result<std::size_t> got = file->ReadAt(0, header.Bytes());
    if (!got.Ok() || *got < SyncFileHeader::kBytes || !header.IsSyncFile()) {
      context.user.Message("File is not a Sync-file!", lib::Icon::Critical);
      return ImportResult::Failed;
    }
  }
  // A computer's own name is in what it exported on trial.
  const bool trial = lib::EqualNoCase(header.Sender(), context.computerId);
  const std::string target = trial ? std::string(kTrialTarget) : header.Sender();
  if (context.targets.FindTarget(target, false) == 0) {
    context.user.Message("Sync file is from [" + header.Sender() + "], which is not among the targets.",
                         lib::Icon::Critical);
    return ImportResult::NotThere;
  }
  return ImportFromTarget(context, {.targetId = target, .place = {}, .file = path, .askProceed = true});
}

}  // namespace zelkor::sync
