#include "vandry/ftp.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <optional>
#include <random>
#include <utility>

#include "lib/clock.h"
#include "lib/code_page.h"
#include "lib/files.h"
#include "lib/format.h"
#include "lib/paths.h"
#include "lib/text.h"
#include "vandry/ftp_listing.h"
#include "vandry/ftp_transfer.h"
#include "vandry/peer.h"
#include "vandry/reply.h"

namespace zelkor::vandry {

namespace {

using Kind = FtpAnswer::Kind;

constexpr std::string_view kUploadNote = "upload.note";
constexpr std::string_view kTokenFile = "token";
constexpr std::string_view kDownloadPrefix = "get-";
constexpr std::string_view kPartExtension = ".part";
constexpr std::string_view kNoteExtension = ".note";
constexpr lib::Date kOldestDownload = 30;  // days
constexpr auto kProgressStep = std::chrono::milliseconds{250};
constexpr std::int64_t kSmallFile = 4096;

// FNV-1a, 64 bits (http://www.isthe.com/chongo/tech/comp/fnv/): a name for a file, no protection.
std::string ShortName(std::string_view text) {
  std::uint64_t hash = 0xcbf29ce484222325;
  for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3;
  std::array<char, 24> hex{};
  std::snprintf(hex.data(), hex.size(), "%016llx", static_cast<unsigned long long>(hash));
  return hex.data();
}

lib::Status WriteWhole(const std::string& path, std::string_view content) {
  lib::Result<lib::NewFile> file = lib::NewFile::Create(path);
  if (!file.Ok()) return file.Failure();
  if (lib::Status written = file->Content().WriteAt(0, content); !written.Ok()) return written;
  return file->Replace();
}

// The words for what went wrong; the number is the server's where it gave one.
struct Trouble {
  PeerError number;
  const char* text;
};

Trouble TroubleOf(Kind kind) {
  switch (kind) {
    case Kind::NoHost:
      return {PeerError::NameNotFound, "no such server"};
    case Kind::NotReached:
      return {PeerError::NotReached, "the server can not be reached"};
    case Kind::TimedOut:
      return {PeerError::TimedOut, "the server does not answer"};
    case Kind::Lost:
      return {PeerError::Lost, "the connection with the server broke"};
    case Kind::ServerFull:
      return {PeerError::NoRoom, "the server has no room"};
    case Kind::LocalFailed:
      return {PeerError::LocalFile, "our own file"};
    case Kind::TlsFailed:
      return {PeerError::NotPaired, "no trusted encrypted connection with the server"};
    case Kind::LoginRefused:
      return {PeerError::Refused, "the server refuses the user name or password"};
    case Kind::NoFile:
      return {PeerError::Refused, "no such file on the server"};
    case Kind::NoDirectory:
      return {PeerError::Refused, "no such directory on the server"};
    case Kind::TryLater:
      return {PeerError::Refused, "the server can not do it now"};
    case Kind::Refused:
    case Kind::Done:
    case Kind::Stopped:
      break;
  }
  return {PeerError::Refused, "the server refuses"};
}

std::string FailureReply(const FtpOutcome& outcome) {
  const Trouble trouble = TroubleOf(outcome.answer.kind);
  const int number = outcome.answer.number != 0 ? outcome.answer.number : static_cast<int>(trouble.number);
  if (outcome.answer.kind == Kind::LocalFailed && !outcome.local.Ok()) {
    const bool full = outcome.local.Why() == lib::Cause::DiskFull;
    return ErrorReply(static_cast<int>(full ? PeerError::NoRoom : PeerError::LocalFile), outcome.local.Message());
  }
  std::string text = trouble.text;
  if (!outcome.answer.words.empty()) text += " (" + lib::FromUtf8Lossy(outcome.answer.words) + ")";
  return ErrorReply(number, text);
}

}  // namespace

// One command from its beginning to its reply. The working thread has it alone while it works.
struct Ftp::Transfer {
  Transfer(std::string logged, std::string shown, FtpPlace where, std::string file, Done whenDone)
      : name(std::move(logged)),
        title(std::move(shown)),
        settings(ReadFtpSettings()),
        place(std::move(where)),
        localFile(std::move(file)),
        done(std::move(whenDone)) {}

  std::string name;   // what is logged of the command
  std::string title;  // what is shown of it
  FtpSettings settings;
  FtpPlace place;
  std::string localFile;
  Done done;
  FtpOutcome outcome;

  FtpUpload upload;
  std::string uploadNote;
  FtpDownload download;
  std::string part;  // paths of what came so far and of its note
  std::string partNote;
  std::optional<lib::NewFile> copy;
  FtpListing listing;
};

Ftp::Ftp(Loop& loop, Workers& workers, const Log& log, std::string dataFolder, Progress progress,
         std::chrono::milliseconds pause)
    : loop_(loop),
      workers_(workers),
      log_(log),
      dataFolder_(std::move(dataFolder)),
      progress_(std::move(progress)),
      pause_(pause) {
  SweepOldDownloads();
}

Ftp::~Ftp() = default;

void Ftp::Stop() { job_.Stop(); }

void Ftp::SweepOldDownloads() const {
  const lib::Result<std::vector<lib::DirectoryEntry>> entries = lib::ListDirectory(dataFolder_);
  if (!entries.Ok()) return;
  for (const lib::DirectoryEntry& entry : *entries) {
    if (!lib::BeginsWithNoCase(entry.name, kDownloadPrefix)) continue;
    const std::string path = dataFolder_ + entry.name;
    const lib::Result<lib::FileInfo> info = lib::GetFileInfo(path);
    if (info.Ok() && info->written < lib::Now() - kOldestDownload) lib::KillFile(path);
  }
}

// Tells this installation's unfinished files on a server from others'.
std::string Ftp::Token() const {
  const std::string path = dataFolder_ + std::string(kTokenFile);
  if (const lib::Result<std::string> token = lib::ReadSmallFile(path, kSmallFile); token.Ok() && token->size() == 8) {
    return *token;
  }
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "%08x", static_cast<unsigned>(std::random_device()()));
  (void)WriteWhole(path, text.data());
  return text.data();
}

void Ftp::Finish(const Transfer& transfer, const std::string& reply) {
  job_.Stop();
  log_.Line(transfer.name + ": " + reply);
  // Last, since it may start the next one.
  loop_.Post([done = transfer.done, reply] { done(reply); });
}

void Ftp::Fail(const Transfer& transfer, const lib::Status& status) {
  Finish(transfer, ErrorReply(static_cast<int>(PeerError::LocalFile), status.Message()));
}

void Ftp::ShowProgress(const Transfer& transfer, std::int64_t done, std::int64_t total) {
  std::string text = transfer.title + ": " + lib::FormatGrouped(done);
  if (total > 0) text += " of " + lib::FormatGrouped(total);
  progress_(text + " bytes");
}

template <class Work>
void Ftp::Start(std::shared_ptr<Transfer> transfer, Work work) {
  job_ = workers_.Start([this, transfer = std::move(transfer), work, pause = pause_](WorkerPort& port) {
    auto shown = std::chrono::steady_clock::now() - kProgressStep;
    std::int64_t last = -1;
    const FtpOutside outside{
        .stopped = [&] { return port.Stopped(); },
        .sleep = [&](std::chrono::milliseconds time) { return port.Sleep(time); },
        .progress =
            [&](std::int64_t done, std::int64_t total) {
              const auto now = std::chrono::steady_clock::now();
              if (done == last || now - shown < kProgressStep) return;
              last = done;
              shown = now;
              port.Post([this, transfer, done, total] { ShowProgress(*transfer, done, total); });
            },
        .pause = pause,
    };
    transfer->outcome = work(*transfer, outside);
    port.Post([this, transfer] { Receive(transfer); });
  });
}

void Ftp::Receive(const std::shared_ptr<Transfer>& transfer) {
  const FtpOutcome& outcome = transfer->outcome;
  if (!outcome.answer.Ok()) {
    Finish(*transfer, FailureReply(outcome));
  } else if (!transfer->part.empty()) {
    KeepDownload(transfer);
  } else if (!transfer->uploadNote.empty()) {
    lib::KillFile(transfer->uploadNote);
    Finish(*transfer, OkReply(outcome.bytes));
  } else {
    KeepListing(*transfer);
  }
}

void Ftp::Send(FtpPlace place, const std::string& localFile, const std::string& remoteFile, Done done) {
  Stop();
  const std::string command = "FTPSend " + remoteFile + " to " + place.Server();
  const auto transfer =
      std::make_shared<Transfer>(command, "Sending " + remoteFile, std::move(place), localFile, std::move(done));
  const lib::Result<std::string> name = RemoteName(remoteFile);
  if (!name.Ok()) return Fail(*transfer, name.Failure());
  lib::Result<lib::File> file = lib::File::Open(localFile, lib::OpenMode::Read);
  if (!file.Ok()) return Fail(*transfer, file.Failure());
  const lib::Result<lib::FileInfo> info = file->Info();
  if (!info.Ok()) return Fail(*transfer, info.Failure());
  (void)lib::MakePath(dataFolder_);
  FtpUpload& upload = transfer->upload;
  upload.file = std::move(*file);
  upload.size = info->size;
  upload.name = *name;
  upload.temporary = *name + "." + Token() + std::string(kPartExtension);
  // A sync file waits on the server until its target has collected it, and is then emptied.
  upload.replaces = !lib::EqualNoCase(lib::FileExtension(remoteFile), "cas");
  // The same file, unchanged, as in the attempt before, which may have been another process's.
  const std::string note = transfer->place.Key() + upload.temporary + "\n" + std::to_string(info->device) + " " +
                           std::to_string(info->index) + " " + std::to_string(info->changeStamp) + " " +
                           std::to_string(info->size) + "\n";
  transfer->uploadNote = dataFolder_ + std::string(kUploadNote);
  const lib::Result<std::string> before = lib::ReadSmallFile(transfer->uploadNote, kSmallFile);
  upload.begun = before.Ok() && *before == note;
  if (!upload.begun) (void)WriteWhole(transfer->uploadNote, note);
  log_.Line(transfer->name + ": " + std::to_string(upload.size) + " bytes");
  Start(transfer, [](Transfer& work, const FtpOutside& outside) {
    return SendByFtp(work.settings, work.place, work.upload, outside);
  });
}

void Ftp::Get(FtpPlace place, const std::string& remoteFile, const std::string& localFile, Done done) {
  Stop();
  const std::string command = "FTPGet " + remoteFile + " from " + place.Server();
  const auto transfer =
      std::make_shared<Transfer>(command, "Getting " + remoteFile, std::move(place), localFile, std::move(done));
  const lib::Result<std::string> name = RemoteName(remoteFile);
  if (!name.Ok()) return Fail(*transfer, name.Failure());
  (void)lib::MakePath(dataFolder_);
  const std::string base =
      dataFolder_ + std::string(kDownloadPrefix) + ShortName(transfer->place.Key() + "\n" + remoteFile);
  transfer->part = base + std::string(kPartExtension);
  transfer->partNote = base + std::string(kNoteExtension);
  transfer->download.name = *name;
  for (const auto& [path, opened] : {std::pair{&transfer->part, &transfer->download.file},
                                     std::pair{&transfer->partNote, &transfer->download.note}}) {
    lib::Result<lib::File> file = lib::File::Open(*path, lib::OpenMode::ReadWrite);
    if (!file.Ok()) return Fail(*transfer, file.Failure());
    *opened = std::move(*file);
  }
  log_.Line(transfer->name);
  Start(transfer, [](Transfer& work, const FtpOutside& outside) {
    return GetByFtp(work.settings, work.place, work.download, outside);
  });
}

// The file takes its place: by a new name where that is on the same file system, otherwise as a copy.
void Ftp::KeepDownload(const std::shared_ptr<Transfer>& transfer) {
  if (transfer->copy) {
    const lib::Status replaced = transfer->outcome.local.Ok() ? transfer->copy->Replace() : transfer->outcome.local;
    if (!replaced.Ok()) return Fail(*transfer, replaced);
    lib::KillFile(transfer->part);
  } else if (!lib::RenameFile(transfer->part, transfer->localFile).Ok()) {
    lib::Result<lib::NewFile> copy = lib::NewFile::Create(transfer->localFile);
    if (!copy.Ok()) return Fail(*transfer, copy.Failure());
    transfer->copy = std::move(*copy);
    return Start(transfer, [](Transfer& work, const FtpOutside& /*outside*/) {
      FtpOutcome outcome;
      outcome.bytes = work.outcome.bytes;
      outcome.local = CopyRange(work.download.file, 0, work.copy->Content(), 0, outcome.bytes).status;
      return outcome;
    });
  }
  lib::KillFile(transfer->partNote);
  Finish(*transfer, OkReply(transfer->outcome.bytes));
}

void Ftp::List(FtpPlace place, const std::string& localFile, Done done) {
  Stop();
  const std::string command = "FTPDir of " + place.Server();
  const auto transfer =
      std::make_shared<Transfer>(command, "Reading the directory", std::move(place), localFile, std::move(done));
  Start(transfer, [](Transfer& work, const FtpOutside& outside) {
    return ListByFtp(work.settings, work.place, work.listing, outside);
  });
}

void Ftp::KeepListing(const Transfer& transfer) {
  const std::vector<lib::RemoteEntry> entries = transfer.listing.machine
                                                    ? ParseMachineListing(transfer.listing.text)
                                                    : ParseListing(transfer.listing.text, lib::Now());
  std::string text;
  for (const lib::RemoteEntry& entry : entries) text += lib::RemoteListingLine(entry) + "\r\n";
  const lib::Status written = WriteWhole(transfer.localFile, text);
  if (!written.Ok()) return Fail(transfer, written);
  Finish(transfer, OkReply(static_cast<std::int64_t>(entries.size())));
}

}  // namespace zelkor::vandry
