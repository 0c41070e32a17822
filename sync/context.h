// What every synchronisation run works with.
#pragma once

#include <string>

#include "db/catalogue.h"
#include "db/remap.h"
#include "lib/occupation.h"
#include "lib/user.h"
#include "net/link.h"
#include "net/targets.h"
#include "sync/sync_log.h"

namespace zelkor::sync {

struct Context {
  db::Catalogue& catalogue;
  net::Targets& targets;
  const db::RemapTable& remap;
  SyncLog& log;
  lib::User& user;
  const std::string& computerId;  // this computer's
  net::Link* link = nullptr;      // to Vandry; none: nothing goes over a network
};

// A place named on the command line instead of the target's stored one: a folder, on import also one sync file; an
// address or a server.
struct Place {
  std::string word;            // native bytes or X:\…, as typed; empty: the stored place
  std::string startDirectory;  // native; relative words count from here
};

// The network address or the name of the FTP server of a target, or the one that stands in for it.
[[nodiscard]] std::string AddressOf(const net::TargetRec& target, const Place& place);

// The end of an operation: its log is closed, its status text goes.
void ClearStatus(Context& context);

// Marks a run as in hand, and leaves the program-wide item and target records as the run found them.
class RunGuard {
 public:
  explicit RunGuard(Context& context)
      : context_(context),
        occupied_(context.catalogue.Occupied()),
        item_(context.catalogue.Data().Item()),
        target_(context.targets.Current()) {}
  ~RunGuard() {
    context_.catalogue.Data().Item() = item_;
    context_.targets.Current() = target_;
  }
  RunGuard(const RunGuard&) = delete;
  RunGuard& operator=(const RunGuard&) = delete;

 private:
  Context& context_;
  lib::Occupation::Guard occupied_;
  db::FileRec item_;
  net::TargetRec target_;
};

// A path of a new temporary sync file in the temporary folder, deleted when the object goes.
class TemporarySyncFile {
 public:
  // Makes the file, open for reading and writing. Look at Failure() first.
  TemporarySyncFile();
  ~TemporarySyncFile();
  TemporarySyncFile(const TemporarySyncFile&) = delete;
  TemporarySyncFile& operator=(const TemporarySyncFile&) = delete;

  [[nodiscard]] const lib::Status& Failure() const { return failure_; }
  [[nodiscard]] const std::string& Path() const { return path_; }
  [[nodiscard]] lib::File& Content() { return file_; }
  // Makes it a lasting file under this free name, on the medium, without copying. False, and nothing has changed, where
  // that can not be done.
  bool MoveTo(std::string_view path);

 private:
  std::string path_;
  lib::File file_;
  lib::Status failure_;
  bool moved_ = false;
};

}  // namespace zelkor::sync
