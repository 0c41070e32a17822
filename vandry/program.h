// Vandry itself: the commands of the program at the other end of the local link, carried out by the parts that know
// how, and what comes from other computers, pushed to that program, which is started when it is needed and may be.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>

#include "lib/channel.h"
#include "vandry/command.h"
#include "vandry/delivery.h"
#include "vandry/ftp.h"
#include "vandry/log.h"
#include "vandry/loop.h"
#include "vandry/peer.h"
#include "vandry/pushes.h"
#include "vandry/queue.h"
#include "vandry/worker.h"

namespace zelkor::vandry {

class Program : PeerUser {
 public:
  using PeersFactory = std::function<lib::Result<std::unique_ptr<Peers>>(Loop&, PeerUser&)>;

  // `programDir` with a final backslash.
  Program(Loop& loop, std::string programDir);
  ~Program() override;
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  // Opens the local link (Exists: another Vandry has it) and the way to other computers. The loop's Run then does all
  // the rest; it is stopped when the program has said "Exit" and nothing is left to do.
  [[nodiscard]] lib::Status Open(const PeersFactory& makePeers);
  // Ends what is still at work. False when something went on nevertheless (worker.h).
  [[nodiscard]] bool Close();

 private:
  // A command and whom its reply goes to.
  struct Asker {
    lib::ChannelClientId client = 0;
    std::uint32_t number = 0;
  };
  struct FileMove;

  void Listen();
  void Take(lib::ChannelRequest& request);
  void Came(lib::ChannelClientId client);
  void Left(lib::ChannelClientId client);
  void Execute(lib::ChannelRequest& request);
  void Execute(const Asker& asker, Command& command);
  void SendMessage(const Asker& asker, const Command& command);
  void SendFile(const Asker& asker, const Command& command);
  void FileIsThere(const std::shared_ptr<FileMove>& move, const lib::Status& status);
  void StartFtp(const Asker& asker, Command& command);
  [[nodiscard]] std::function<void(const std::string&)> ReplyTo(const Asker& asker);
  [[nodiscard]] std::function<void(const PeerReply&)> PeerReplyTo(const Asker& asker);
  void Handled(std::uint32_t number);
  void Failed(const std::string& command, const std::string& address, const std::string& reason, bool goesOn = false);
  void EndWhenDone();
  // Makes sure that somebody is at the other end of the link, or will be.
  [[nodiscard]] lib::Status WantProgram();

  // PeerUser
  lib::Status Push(const std::string& text) override;
  lib::Status Announce(const std::string& text) override;
  void Progress(const PeerProgress& progress) override;
  void Reached(const std::string& computerId) override;
  void Log(const std::string& line) override;

  Loop& loop_;
  std::string programDir_;
  vandry::Log log_;
  Workers workers_;
  Queue queue_;
  Pushes pushes_;
  Ftp ftp_;
  std::unique_ptr<lib::ChannelServer> server_;
  Loop::Watch serverWatch_;
  std::unique_ptr<Peers> peers_;
  std::unique_ptr<Delivery> delivery_;
  std::set<std::uint32_t> receivedPushes_;  // numbers of the "NetReceived" pushed to the present program
  lib::ChannelClientId client_ = 0;         // the program that came last; 0: none
  lib::ChannelClientId ftpClient_ = 0;      // whom the transfer in hand is for
  int filesMoving_ = 0;
  bool exiting_ = false;
  Loop::Timer exitTimer_;
  Loop::Timer programStarted_;  // while it is on its way
};

}  // namespace zelkor::vandry
