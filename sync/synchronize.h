// One export or one import without the user choosing anything, as a word of the command line asks for it.
#pragma once

#include <string_view>

#include "sync/context.h"

namespace zelkor::sync {

// The exit statuses of an unattended run.
inline constexpr int kStatusDone = 0;
inline constexpr int kStatusFailed = 1;       // failed, refused, cancelled, unknown target
inline constexpr int kStatusNothingDone = 2;  // the command line asked for nothing that can be done
inline constexpr int kStatusDamaged = 3;      // a damaged sync file

// What an unattended run over the network waits for once it has said its part to the other computer.
class NetworkWait {
 public:
  NetworkWait() = default;
  NetworkWait(const NetworkWait&) = delete;
  NetworkWait& operator=(const NetworkWait&) = delete;
  virtual ~NetworkWait() = default;

  // Handles messages until the file of the target has been imported, or the target has confirmed its import. False when
  // that failed, or nothing has moved for too long; a message or the log has said so.
  virtual bool AwaitImport(const std::string& targetId, const std::string& address) = 0;
  virtual bool AwaitConfirmation(const std::string& targetId, const std::string& address) = 0;
};

// `word` is the whole word: switch, target ID and place, kept apart by ":" (/syncexp:lap:"z:\mnt\stick"), in native
// bytes. An empty quoted place stands for the target's stored one. The switch is compared exactly: in capitals it does
// nothing, on purpose. Returns the exit status. Without `network` a run that needs the other computer's answer has
// failed.
int Synchronize(Context& context, std::string_view word, const std::string& startDirectory,
                NetworkWait* network = nullptr);

}  // namespace zelkor::sync
