#include "db/compaction.h"

#include "db/file_rec.h"
#include "db/record_io.h"

namespace zelkor::db {

lib::Status BuildCompacted(const lib::File& items, std::int32_t count, const std::string& path) {
  lib::KillFile(path);
  lib::Result<lib::File> made = lib::File::Open(path, lib::OpenMode::CreateNew);
  if (!made.Ok()) return made.Failure();
  RecordWriter<FileRec> writer(*made);
  lib::Status status = ReadRecords<FileRec>(items, count, [&writer](std::int64_t, const FileRec& item) {
    return item.Deleted() ? lib::Status() : writer.Add(item);
  });
  if (status.Ok()) status = writer.Finish();
  made->Close();
  if (!status.Ok()) lib::KillFile(path);
  return status;
}

}  // namespace zelkor::db
