// Where an import finds the sync files it reads: the one that was named or received, those that wait in a folder or on
// a server, or the target itself, which is asked to send one.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "sync/context.h"
#include "sync/folder.h"
#include "sync/ftp_folder.h"
#include "sync/import.h"

namespace zelkor::sync {

// One file to import.
struct Source {
  std::string path;
  // Somebody named or picked it: asked about when it is foreign, never deleted.
  bool named = false;
  // It stands on a medium that can be changed. Anything else that says it is spread over several disks is refused.
  bool onMedium = false;
  // It is a copy of this one on the server.
  std::string remoteName{};
  std::shared_ptr<TemporarySyncFile> copy{};

  bool spanned = false;    // it is spread over several disks
  bool collected = false;  // it was read to its end
};

class Sources {
 public:
  // `sender`: the ID that the header of a waiting file must name.
  Sources(Context& context, const ImportRequest& request, const net::TargetRec& target, std::string sender)
      : context_(context), request_(request), target_(target), sender_(std::move(sender)) {}

  // Success when there is something in Files(); anything else, after a message or a line of the log, is the result of
  // the import.
  ImportResult Find();
  [[nodiscard]] std::vector<Source>& Files() { return files_; }
  // A waiting file could not be read, and may be one for us.
  [[nodiscard]] bool AnyUnreadable() const { return anyUnreadable_; }
  // Takes away what was collected, so that it is not collected again.
  void RemoveCollected();

 private:
  ImportResult FindPlace(const std::string& place);
  ImportResult FindOnMedium(const std::string& medium);
  ImportResult FindInFolder(const std::string& folder);
  ImportResult FindOnServer(const std::string& server);
  ImportResult RequestFrom(const std::string& address);
  // Downloads a waiting file; false, after a line of the log, when that failed.
  bool Download(const std::string& name, std::vector<Source>& found, std::vector<WaitingFile>& waiting);
  ImportResult Report(const std::string& text, ImportResult result);

  Context& context_;
  const ImportRequest& request_;
  const net::TargetRec target_;
  const std::string sender_;
  std::vector<Source> files_;
  std::optional<FtpFolder> server_;
  bool anyUnreadable_ = false;
};

}  // namespace zelkor::sync
