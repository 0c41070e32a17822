#include "vandry/ftp_transfer.h"

#include <algorithm>
#include <array>

namespace zelkor::vandry {

namespace {

using Kind = FtpAnswer::Kind;

constexpr int kNameNotAllowed = 553;  // RFC 959: the name can not be used

FtpAnswer Refusal(Kind kind, int number, std::string words) {
  FtpAnswer answer;
  answer.kind = kind;
  answer.number = number;
  answer.words = std::move(words);
  return answer;
}

// Says when to try again after a failure.
class Attempts {
 public:
  explicit Attempts(const FtpOutside& outside) : outside_(outside), pause_(outside.pause) {}

  // True after a pause when it is worth it; `reached` is how many bytes are over now.
  bool Again(const FtpAnswer& answer, std::int64_t reached) {
    const bool further = reached > reached_;
    reached_ = std::max(reached_, reached);
    if (further) {
      fruitless_ = 0;
      pause_ = outside_.pause;
      moved_ = true;
    }
    if (!WorthIt(answer.kind) || fruitless_ == kMostFruitless) return false;
    ++fruitless_;
    const bool slept = outside_.sleep(pause_);
    pause_ *= 2;
    return slept;
  }

 private:
  static constexpr int kMostFruitless = 3;

  [[nodiscard]] bool WorthIt(Kind kind) const {
    switch (kind) {
      case Kind::Lost:
      case Kind::TryLater:
        return true;
      // Somebody who never answered is not asked again; a transfer that was under way is worth more patience.
      case Kind::TimedOut:
      case Kind::NotReached:
      case Kind::NoHost:
        return moved_;
      default:
        return false;
    }
  }

  const FtpOutside& outside_;
  std::chrono::milliseconds pause_;
  int fruitless_ = 0;
  std::int64_t reached_ = 0;
  bool moved_ = false;
};

class Sender {
 public:
  Sender(FtpSession& session, FtpUpload& upload) : session_(session), upload_(upload) {}

  // One attempt. `Reached` tells how far it came.
  FtpAnswer Try() {
    local_ = lib::Status();
    if (renaming_) {
      // The connection was lost while the file took its name: perhaps it has it.
      FtpAnswer there = session_.Look(upload_.name);
      if (there.Ok() && there.size == upload_.size) return there;
      if (!there.Ok() && there.kind != Kind::NoFile) return there;
    }
    if (FtpAnswer free = CheckName(); !free.Ok()) return free;
    // An empty file is never half there.
    if (upload_.size == 0) return session_.Send(upload_.name, 0, 0, reader_);
    if (FtpAnswer sent = SendContent(); !sent.Ok()) return sent;
    renaming_ = true;
    return Rename();
  }

  [[nodiscard]] std::int64_t Reached() const { return reached_; }
  [[nodiscard]] const lib::Status& Local() const { return local_; }

 private:
  FtpAnswer CheckName() {
    if (upload_.replaces || upload_.size == 0) return {};
    FtpAnswer there = session_.Look(upload_.name);
    if (there.kind == Kind::NoFile || (there.Ok() && there.size <= 0)) return {};
    if (!there.Ok()) return there;
    return Refusal(Kind::Refused, kNameNotAllowed, "a file that was not collected yet has the name " + upload_.name);
  }

  FtpAnswer SendContent() {
    std::int64_t offset = 0;
    if (upload_.begun) {
      FtpAnswer there = session_.Look(upload_.temporary);
      if (!there.Ok() && there.kind != Kind::NoFile) return there;
      if (there.Ok() && there.size > 0 && there.size <= upload_.size) offset = there.size;
    }
    reached_ = std::max(reached_, offset);
    upload_.begun = true;
    if (offset < upload_.size) {
      FtpAnswer sent = session_.Send(upload_.temporary, offset, upload_.size, reader_);
      if (sent.kind == Kind::ServerFull) (void)session_.Give({"*DELE " + upload_.temporary});
      if (sent.kind == Kind::Refused && offset > 0) {
        // Not every server lets a file be gone on with.
        upload_.begun = false;
        sent.kind = Kind::TryLater;
      }
      if (!sent.Ok()) return sent;
    }
    FtpAnswer whole = session_.Look(upload_.temporary);
    if (!whole.Ok()) return whole;
    if (whole.size >= 0 && whole.size != upload_.size) {
      upload_.begun = false;
      return Refusal(Kind::Lost, 0,
                     "the server has " + std::to_string(whole.size) + " of " + std::to_string(upload_.size) + " bytes");
    }
    reached_ = upload_.size;
    return {};
  }

  FtpAnswer Rename() {
    const std::vector<std::string> commands = {"RNFR " + upload_.temporary, "RNTO " + upload_.name};
    FtpAnswer renamed = session_.Give(commands);
    if (renamed.kind != Kind::Refused) return renamed;
    // Not every server renames to a name that is taken.
    return session_.Give({"*DELE " + upload_.name, commands[0], commands[1]});
  }

  FtpSession& session_;
  FtpUpload& upload_;
  bool renaming_ = false;
  std::int64_t reached_ = 0;
  lib::Status local_;
  FtpSession::Reader reader_ = [this](std::int64_t offset, std::span<char> out) -> std::int64_t {
    const std::int64_t left = std::max<std::int64_t>(0, upload_.size - offset);
    const auto wanted = static_cast<std::size_t>(std::min(left, static_cast<std::int64_t>(out.size())));
    const lib::Result<std::size_t> read = upload_.file.ReadAt(offset, out.first(wanted));
    if (read.Ok() && *read == wanted) {
      reached_ = std::max(reached_, offset);
      return static_cast<std::int64_t>(wanted);
    }
    local_ = read.Ok() ? lib::Status(lib::Cause::Failed, "[" + upload_.file.Path() + "] became shorter meanwhile")
                       : read.Failure();
    return -1;
  };
};

class Getter {
 public:
  Getter(FtpSession& session, FtpDownload& download) : session_(session), download_(download) {}

  FtpAnswer Try() {
    local_ = lib::Status();
    FtpAnswer there = session_.Look(download_.name);
    if (!there.Ok()) return there;
    if (!Prepare(there)) return Refusal(Kind::LocalFailed, 0, "");
    if (there.size < 0 || reached_ < there.size) {
      FtpAnswer got = session_.Get(download_.name, reached_, writer_);
      if (!got.Ok()) return got;
    }
    if (there.size >= 0 && reached_ != there.size) {
      return Refusal(Kind::Lost, 0, std::to_string(reached_) + " of " + std::to_string(there.size) + " bytes came");
    }
    local_ = download_.file.Flush();
    return local_.Ok() ? FtpAnswer() : Refusal(Kind::LocalFailed, 0, "");
  }

  [[nodiscard]] std::int64_t Reached() const { return reached_; }
  [[nodiscard]] const lib::Status& Local() const { return local_; }

 private:
  // Goes on with what is there when it is a beginning of just that file; otherwise starts anew.
  bool Prepare(const FtpAnswer& there) {
    const std::string note = std::to_string(there.size) + " " + std::to_string(there.written) + "\n";
    const bool known = there.size >= 0 && there.written >= 0;
    const lib::Result<std::int64_t> length = download_.file.Length();
    std::array<char, 64> before{};
    const lib::Result<std::size_t> read = download_.note.ReadAt(0, before);
    if (known && length.Ok() && *length <= there.size && read.Ok() && std::string_view(before.data(), *read) == note) {
      reached_ = *length;
      return true;
    }
    reached_ = 0;
    local_ = download_.note.SetLength(0);
    if (local_.Ok()) local_ = download_.file.SetLength(0);
    if (local_.Ok()) local_ = download_.note.WriteAt(0, note);
    return local_.Ok();
  }

  FtpSession& session_;
  FtpDownload& download_;
  std::int64_t reached_ = 0;
  lib::Status local_;
  FtpSession::Writer writer_ = [this](std::span<const char> bytes) {
    local_ = download_.file.WriteAt(reached_, bytes);
    if (local_.Ok()) reached_ += static_cast<std::int64_t>(bytes.size());
    return local_.Ok();
  };
};

}  // namespace

FtpOutcome SendByFtp(const FtpSettings& settings, const FtpPlace& place, FtpUpload& upload, const FtpOutside& outside) {
  FtpSession session(settings, place, outside.stopped);
  session.MakeDirectories();
  session.OnProgress(outside.progress);
  Sender sender(session, upload);
  Attempts attempts(outside);
  FtpOutcome outcome;
  do {
    outcome.answer = sender.Try();
  } while (!outcome.answer.Ok() && attempts.Again(outcome.answer, sender.Reached()));
  outcome.bytes = upload.size;
  outcome.local = sender.Local();
  return outcome;
}

FtpOutcome GetByFtp(const FtpSettings& settings, const FtpPlace& place, FtpDownload& download,
                    const FtpOutside& outside) {
  FtpSession session(settings, place, outside.stopped);
  session.OnProgress(outside.progress);
  Getter getter(session, download);
  Attempts attempts(outside);
  FtpOutcome outcome;
  do {
    outcome.answer = getter.Try();
  } while (!outcome.answer.Ok() && attempts.Again(outcome.answer, getter.Reached()));
  outcome.bytes = getter.Reached();
  outcome.local = getter.Local();
  return outcome;
}

FtpOutcome ListByFtp(const FtpSettings& settings, const FtpPlace& place, FtpListing& listing,
                     const FtpOutside& outside) {
  // Many times what a directory of ours holds.
  constexpr std::size_t kLongest = std::size_t{16} * 1024 * 1024;
  FtpSession session(settings, place, outside.stopped);
  session.MakeDirectories();
  FtpOutcome outcome;
  const FtpSession::Writer writer = [&](std::span<const char> bytes) {
    if (listing.text.size() + bytes.size() > kLongest) {
      outcome.local = lib::Status(lib::Cause::Damaged, "The listing of [" + place.Server() + "] has no end");
      return false;
    }
    listing.text.append(bytes.data(), bytes.size());
    return true;
  };
  const auto list = [&](const char* command) {
    Attempts attempts(outside);
    do {
      listing.text.clear();
      outcome.answer = session.List(command, writer);
    } while (!outcome.answer.Ok() && attempts.Again(outcome.answer, 0));
    return outcome.answer.Ok();
  };
  listing.machine = list("MLSD");
  // Older servers do not know that command.
  if (!listing.machine && outcome.answer.kind == Kind::Refused) (void)list("LIST");
  return outcome;
}

}  // namespace zelkor::vandry
