#include "sync/ftp_folder.h"

#include <algorithm>

#include "lib/secret.h"
#include "lib/text.h"

namespace zelkor::sync {

namespace {
// Far more lines than a directory has whose files anybody still finds.
constexpr std::int64_t kMostListingBytes = std::int64_t{64} << 20;
}  // namespace

net::FtpPlace PlaceOfTarget(const net::TargetRec& target, const std::string& server) {
  using Rec = net::TargetRec;
  return {.server = server,
          .userName = target.Text(Rec::kUserName),
          .password = target.Text(Rec::kPassword),
          .directory = target.Text(Rec::kDirectory)};
}

bool NameTaken(const std::vector<lib::RemoteEntry>& entries, const std::string& name) {
  return std::any_of(entries.begin(), entries.end(), [&](const lib::RemoteEntry& entry) {
    return (entry.directory || entry.size > 0) && lib::EqualNoCase(entry.name, name);
  });
}

FtpFolder::~FtpFolder() { lib::Wipe(place_.password); }

std::optional<std::vector<lib::RemoteEntry>> FtpFolder::List() {
  TemporarySyncFile listing;
  if (!listing.Failure().Ok()) {
    context_.log.LogLine(listing.Failure().Message());
    return std::nullopt;
  }
  listing.Content().Close();
  if (!Send(net::FtpDir(place_, listing.Path()), "Reading Directory from FTP-server...")) return std::nullopt;
  const lib::Result<std::string> text = lib::ReadSmallFile(listing.Path(), kMostListingBytes);
  if (!text.Ok()) {
    context_.log.LogLine(text.Failure().Message());
    return std::nullopt;
  }
  std::vector<lib::RemoteEntry> entries;
  for (const std::string& line : lib::SplitLines(*text)) {
    std::optional<lib::RemoteEntry> entry = lib::ParseRemoteListingLine(line);
    if (!entry) {
      // It may be the very file that must not be overwritten.
      context_.log.LogLine("The listing of the FTP-server can not be understood: " + line);
      return std::nullopt;
    }
    entries.push_back(std::move(*entry));
  }
  return entries;
}

bool FtpFolder::Upload(const std::string& localFile, const std::string& name) {
  return Send(net::FtpSend(place_, localFile, name), "Uploading file to FTP-server...");
}

bool FtpFolder::Download(const std::string& name, const std::string& localFile) {
  return Send(net::FtpGet(place_, name, localFile), "Downloading file from FTP-server...");
}

bool FtpFolder::MarkCollected(const std::string& name) {
  TemporarySyncFile nothing;
  if (!nothing.Failure().Ok()) {
    context_.log.LogLine(nothing.Failure().Message());
    return false;
  }
  nothing.Content().Close();
  return Upload(nothing.Path(), name);
}

bool FtpFolder::Send(lib::Result<std::string> command, const std::string& caption) {
  if (!command.Ok()) {
    context_.log.Report(command.Failure().Message());
    return false;
  }
  const lib::WipedAtEnd wiped(*command);
  if (context_.link == nullptr) return false;
  if (context_.link->SendCommand(*command, caption, false) == 0) return true;
  const std::string& why = context_.link->Text();
  context_.log.LogLine(why.empty() ? "Cancelled" : why);
  return false;
}

}  // namespace zelkor::sync
