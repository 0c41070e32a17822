#include "sync/media.h"

#include <algorithm>
#include <array>
#include <optional>

#include "lib/paths.h"

namespace zelkor::sync {

namespace {

constexpr auto kHeaderBytes = static_cast<std::int64_t>(SyncFileHeader::kBytes);
// Copied at a time, with progress in between: whole pieces.
constexpr std::int64_t kStretch = kMediaPiece * 1024;

lib::Result<SyncFileHeader> ReadSyncFileHeader(const lib::File& file) {
  SyncFileHeader header;
  const lib::Result<std::size_t> got = file.ReadAt(0, header.Bytes());
  if (!got.Ok()) return got.Failure();
  if (*got < SyncFileHeader::kBytes) header.Clear();
  return header;
}

lib::Button AskForDisk(int number, lib::User& user) {
  return user.Ask({.text = "Insert disk #" + std::to_string(number),
                   .icon = lib::Icon::Question,
                   .buttons = lib::Buttons::OkCancel,
                   .title = {}});
}

// One run of writing: the source, how far it came, and the disk in hand.
class MediaWriter {
 public:
  MediaWriter(const lib::File& source, std::string destination, SyncLog& log, lib::User& user)
      : source_(source), destination_(std::move(destination)), log_(log), user_(user) {}

  int Write();

 private:
  enum class Disk { Finished, Full, TooSmall, Failed };

  Disk WriteDisk();
  // Copies what the disk takes; the position moves behind it. `payload` is what the disk then holds.
  Disk CopyPieces(lib::File& disk, std::int64_t& payload);
  Disk NameDisk(lib::NewFile& disk, std::int64_t& payload, bool last);
  // Asks for the next disk until one is there on which the name is free.
  bool NextDisk();
  Disk Fail(const lib::Status& status);
  void RemoveWhatThisRunLeft();

  const lib::File& source_;
  const std::string destination_;
  SyncLog& log_;
  lib::User& user_;

  SyncFileHeader header_;
  std::int64_t length_ = 0;
  std::int64_t position_ = kHeaderBytes;  // in the source: everything before it stands on disks
  int disk_ = 1;
  bool named_ = false;  // a disk of this run has its file
};

int MediaWriter::Write() {
  const lib::Result<SyncFileHeader> header = ReadSyncFileHeader(source_);
  const lib::Result<std::int64_t> length = source_.Length();
  if (!header.Ok() || !length.Ok()) {
    log_.Report("Can not open files!");
    return 1;
  }
  header_ = *header;
  length_ = *length;
  for (;;) {
    const Disk outcome = WriteDisk();
    if (outcome == Disk::Finished) {
      user_.EndProgress();
      return 0;
    }
    if (outcome == Disk::Full) ++disk_;
    if (outcome == Disk::Failed || !NextDisk()) {
      user_.EndProgress();
      RemoveWhatThisRunLeft();
      return 1;
    }
  }
}

MediaWriter::Disk MediaWriter::WriteDisk() {
  lib::Result<lib::NewFile> created = lib::NewFile::Create(destination_);
  if (!created.Ok()) {
    if (created.Why() == lib::Cause::DiskFull) return Disk::TooSmall;
    log_.LogLine(created.Failure().Message());
    log_.Report("Can not open files!");
    return Disk::Failed;
  }
  header_.SetNumber(SyncFileHeader::kDisk, disk_);
  header_.SetNumber(SyncFileHeader::kLastDisk, 0);
  lib::NewFile& disk = *created;
  if (const lib::Status written = disk.Content().WriteAt(0, header_.Bytes()); !written.Ok()) {
    return written.Why() == lib::Cause::DiskFull ? Disk::TooSmall : Fail(written);
  }
  std::int64_t payload = 0;
  const Disk copied = CopyPieces(disk.Content(), payload);
  if (copied == Disk::Failed || copied == Disk::TooSmall) return copied;
  return NameDisk(disk, payload, copied == Disk::Finished);
}

MediaWriter::Disk MediaWriter::CopyPieces(lib::File& disk, std::int64_t& payload) {
  while (position_ < length_) {
    user_.ShowProgress({.doing = "Copying", .bytes = position_, .bytesTotal = length_});
    user_.PendingEvents();
    if (user_.Cancelled()) return Disk::Failed;
    const std::int64_t wanted = std::min(kStretch, length_ - position_);
    const lib::CopyOutcome copied = lib::CopyRange(source_, position_, disk, kHeaderBytes + payload, wanted);
    payload += copied.copied;
    position_ += copied.copied;
    if (copied.sourceEnded) return Fail({lib::Cause::Failed, "The temporary file became shorter"});
    if (copied.status.Ok()) continue;
    if (copied.readFailed || copied.status.Why() != lib::Cause::DiskFull) return Fail(copied.status);
    if (payload == 0) return Disk::TooSmall;
    // The piece that did not fit is taken back to its start. A disk with no room for a whole piece keeps what it took.
    const std::int64_t back = payload > kMediaPiece ? payload % kMediaPiece : 0;
    payload -= back;
    position_ -= back;
    if (const lib::Status cut = disk.SetLength(kHeaderBytes + payload); !cut.Ok()) return Fail(cut);
    return Disk::Full;
  }
  return Disk::Finished;
}

MediaWriter::Disk MediaWriter::NameDisk(lib::NewFile& disk, std::int64_t& payload, bool last) {
  header_.SetNumber(SyncFileHeader::kLastDisk, last ? kTrue : 0);
  for (;;) {
    lib::Status done = disk.Content().WriteAt(0, header_.Bytes());
    if (done.Ok()) done = disk.Content().Flush();
    if (done.Ok()) done = disk.TakeFreeName();
    if (done.Ok()) {
      named_ = true;
      return last ? Disk::Finished : Disk::Full;
    }
    if (done.Why() != lib::Cause::DiskFull) return Fail(done);
    // The name itself needs room on the disk: give a piece back for it.
    const std::int64_t back = std::min(payload, kMediaPiece);
    if (back == payload) {
      position_ -= payload;
      return Disk::TooSmall;
    }
    payload -= back;
    position_ -= back;
    last = false;
    header_.SetNumber(SyncFileHeader::kLastDisk, 0);
    if (const lib::Status cut = disk.Content().SetLength(kHeaderBytes + payload); !cut.Ok()) return Fail(cut);
  }
}

bool MediaWriter::NextDisk() {
  user_.EndProgress();
  if (AskForDisk(disk_, user_) != lib::Button::Ok || user_.Cancelled()) return false;
  while (lib::FileExists(destination_)) {
    const lib::Box box{
        .text = "File exist on media. Replace disk or delete file", .icon = lib::Icon::Critical, .title = {}};
    if (!user_.Retry(box)) {
      log_.LogLine(box.text);
      return false;
    }
  }
  return true;
}

MediaWriter::Disk MediaWriter::Fail(const lib::Status& status) {
  log_.LogLine(status.Message());
  log_.Report("Can not write to " + destination_);
  return Disk::Failed;
}

void MediaWriter::RemoveWhatThisRunLeft() {
  if (!named_) return;
  const lib::Result<lib::File> file = lib::File::Open(destination_, lib::OpenMode::Read);
  if (!file.Ok()) return;
  // Only a file of this very run: another disk may be in the drive, with another file of the same name.
  lib::Result<SyncFileHeader> found = ReadSyncFileHeader(*file);
  if (!found.Ok()) return;
  SyncFileHeader ours = header_;
  for (SyncFileHeader* header : {&*found, &ours}) {
    header->SetNumber(SyncFileHeader::kDisk, 0);
    header->SetNumber(SyncFileHeader::kLastDisk, 0);
  }
  if (*found == ours) lib::KillFile(destination_);
}

// One run of reading: the file put together, and the disk expected.
class MediaReader {
 public:
  MediaReader(std::string name, lib::File& assembled, SyncLog& log, lib::User& user)
      : name_(std::move(name)), assembled_(assembled), log_(log), user_(user) {}

  int Read();

 private:
  enum class Disk { Taken, Last, Wrong, Foreign, Failed };

  Disk ReadDisk(int expected);
  Disk Fail(const lib::Status& status);

  const std::string name_;
  lib::File& assembled_;
  SyncLog& log_;
  lib::User& user_;
  std::optional<SyncFileHeader> first_;  // the header of disk 1
  std::int64_t length_ = 0;              // of what has been put together
};

int MediaReader::Read() {
  for (int expected = 1;;) {
    switch (ReadDisk(expected)) {
      case Disk::Taken:
        ++expected;
        break;
      case Disk::Wrong:
        user_.EndProgress();
        if (AskForDisk(expected, user_) != lib::Button::Ok || user_.Cancelled()) return 1;
        break;
      case Disk::Last: {
        // One file again: disk 1, and the last.
        first_->SetNumber(SyncFileHeader::kLastDisk, kTrue);
        user_.EndProgress();
        const lib::Status written = assembled_.WriteAt(0, first_->Bytes());
        if (!written.Ok()) Fail(written);
        return written.Ok() ? 0 : 1;
      }
      case Disk::Foreign:
      case Disk::Failed:
        user_.EndProgress();
        return 1;
    }
  }
}

MediaReader::Disk MediaReader::ReadDisk(int expected) {
  const lib::Result<lib::File> disk = lib::File::Open(name_, lib::OpenMode::Read);
  if (!disk.Ok()) return Disk::Wrong;
  const lib::Result<SyncFileHeader> header = ReadSyncFileHeader(*disk);
  if (!header.Ok()) return Fail(header.Failure());
  if (!header->IsSyncFile()) {
    log_.Report("File is not a Sync-file!");
    return Disk::Foreign;
  }
  if (header->Number(SyncFileHeader::kDisk) != expected) return Disk::Wrong;
  if (first_) {
    // A disk of another sync file is a wrong disk too.
    if (header->Sender() != first_->Sender() ||
        header->Date(SyncFileHeader::kCreated) != first_->Date(SyncFileHeader::kCreated)) {
      return Disk::Wrong;
    }
  } else {
    first_ = *header;
    length_ = kHeaderBytes;
  }
  const lib::Result<std::int64_t> length = disk->Length();
  if (!length.Ok()) return Fail(length.Failure());
  const std::int64_t before = length_;
  for (std::int64_t done = kHeaderBytes; done < *length;) {
    user_.ShowProgress({.doing = "Reading", .bytes = done, .bytesTotal = *length});
    user_.PendingEvents();
    if (user_.Cancelled()) return Disk::Failed;
    const lib::CopyOutcome copied =
        lib::CopyRange(*disk, done, assembled_, length_, std::min(kStretch, *length - done));
    if (!copied.status.Ok() || copied.sourceEnded) {
      length_ = before;
      return Fail(copied.status);
    }
    done += copied.copied;
    length_ += copied.copied;
  }
  return header->LastDisk() ? Disk::Last : Disk::Taken;
}

MediaReader::Disk MediaReader::Fail(const lib::Status& status) {
  if (!status.Ok()) log_.LogLine(status.Message());
  log_.Report("Disk error!");
  return Disk::Failed;
}

}  // namespace

int WriteToMedia(const lib::File& source, const std::string& destination, SyncLog& log, lib::User& user) {
  return MediaWriter(source, destination, log, user).Write();
}

int ReadFromMedia(const std::string& name, lib::File& assembled, SyncLog& log, lib::User& user) {
  return MediaReader(name, assembled, log, user).Read();
}

}  // namespace zelkor::sync
