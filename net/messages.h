// What Vandry tells on its own: the messages of other computers, and what comes of them. Together with the commands
// this is all that two computers say to each other.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "sync/context.h"
#include "sync/import.h"
#include "sync/synchronize.h"

namespace zelkor::net {

// What a program with windows does around a message. An empty function is not called.
struct MessageHooks {
  std::function<void()> beforeMessage;   // applies what windows hold unapplied
  std::function<void()> targetsChanged;  // fills the list of targets again
  std::function<void()> itemsChanged;    // after an import: the main list is out of date
};

class Messages : public sync::NetworkWait {
 public:
  // Takes the messages of the context's link as long as it lives. REQUIRES: the context has one.
  Messages(sync::Context& context, MessageHooks hooks = {});
  ~Messages() override;
  Messages(const Messages&) = delete;
  Messages& operator=(const Messages&) = delete;

  void SetHooks(MessageHooks hooks) { hooks_ = std::move(hooks); }

  // Throws sync::DamagedSyncFile, which ends the program.
  void ProcessMessage(const std::string& text);

  // sync::NetworkWait
  bool AwaitImport(const std::string& targetId, const std::string& address) override;
  bool AwaitConfirmation(const std::string& targetId, const std::string& address) override;

 private:
  // The file on its way: announced, and not yet imported.
  struct ReceivedFile {
    std::string path;
    std::string senderId;
    std::string senderAddress;
  };

  void Process(const std::string& text, const std::function<void()>& handled);
  void FileSendReq(const std::string& senderId, const std::string& senderAddress);
  void NetReceived();
  void SyncMe(const std::string& requesterId, const std::string& address);
  void SyncSuccessfull(const std::string& id);
  void NetFailed(const std::string& command, const std::string& address);
  void NetDelayed(const std::string& address);
  bool Await(const std::string& caption);

  sync::Context& context_;
  MessageHooks hooks_;
  ReceivedFile receivedFile_;

  // What an unattended run waits for, and what has come of it.
  struct Awaited {
    std::string targetId;
    std::string address;
    bool import = false;           // otherwise a confirmation
    bool requestAnswered = false;  // the target's request for the file that it is to confirm
    std::optional<bool> succeeded{};
  };
  std::optional<Awaited> awaited_;
};

}  // namespace zelkor::net
