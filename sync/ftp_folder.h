// A directory on an FTP server in which sync files wait. Vandry makes every transfer; whatever it says about one that
// failed goes into the log. A file of 0 bytes there stands for one that was collected: its name is free again.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "lib/remote_listing.h"
#include "net/commands.h"
#include "sync/context.h"

namespace zelkor::sync {

// The server, user, password and directory of a target; `server` instead of its own name for it.
[[nodiscard]] net::FtpPlace PlaceOfTarget(const net::TargetRec& target, const std::string& server);

// Whether a file or directory of that name stands there that is not a collected one's.
[[nodiscard]] bool NameTaken(const std::vector<lib::RemoteEntry>& entries, const std::string& name);

class FtpFolder {
 public:
  FtpFolder(Context& context, net::FtpPlace place) : context_(context), place_(std::move(place)) {}
  ~FtpFolder();
  FtpFolder(const FtpFolder&) = delete;
  FtpFolder& operator=(const FtpFolder&) = delete;

  [[nodiscard]] const std::string& Server() const { return place_.server; }

  // What stands there; nothing when that can not be told.
  [[nodiscard]] std::optional<std::vector<lib::RemoteEntry>> List();
  bool Upload(const std::string& localFile, const std::string& name);
  bool Download(const std::string& name, const std::string& localFile);
  // Frees the name of a file that was collected.
  bool MarkCollected(const std::string& name);

 private:
  bool Send(lib::Result<std::string> command, const std::string& caption);

  Context& context_;
  net::FtpPlace place_;
};

}  // namespace zelkor::sync
