// What stands behind Peers: the listening sockets, the connections, and who is asked what on which of them.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "lib/sockets.h"
#include "vandry/peer.h"
#include "vandry/peer_connection.h"
#include "vandry/receiving.h"
#include "vandry/sending.h"

namespace zelkor::vandry {

class ConnectedPeers final : public Peers, private PeerConnection::Owner {
 public:
  ConnectedPeers(Loop& loop, PeerUser& user, std::shared_ptr<const TlsContext> tls, const std::string& folder,
                 std::function<PeerSettings()> settings);
  ~ConnectedPeers() override;
  ConnectedPeers(const ConnectedPeers&) = delete;
  ConnectedPeers& operator=(const ConnectedPeers&) = delete;

  void Ping(const std::string& address, Done done) override;
  void SendMessage(const std::string& ticket, const std::string& address, const std::string& text, Done done) override;
  void SendFile(const FileToSend& file, Done done) override;
  void ReceiveFile(const std::string& path, Done done) override;
  void ProgramCame() override;
  void ProgramLeft() override;
  void ReceivedHandled() override;
  [[nodiscard]] bool Busy() const override;

 private:
  using Connections = std::list<std::shared_ptr<PeerConnection>>;

  // Somebody who waits for a connection.
  struct Waiter {
    PeerConnection* connection = nullptr;
    std::string computerId;  // empty: any
    Sending::Found found;
  };
  // A question on its way.
  struct Question {
    const PeerConnection* connection = nullptr;
    std::string text;
    Done done;
    Loop::Timer patience;
  };
  // A computer that was asked for a file, on a connection that was made here: it is made again when it breaks, since
  // the other side may have no way to this one.
  struct Expected {
    PeerAddress address;
    Loop::Clock::time_point until;
    Loop::Milliseconds delay{0};
    Loop::Timer redial;
  };
  struct Listener {
    std::string name;  // of what it listens on
    lib::Socket socket;
    Loop::Watch watch;
    Loop::Timer rest;
  };
  // How many questions a computer has asked lately.
  struct Rate {
    Loop::Clock::time_point since;
    int count = 0;
  };

  // PeerConnection::Owner
  void ConnectionOpened(PeerConnection& connection) override;
  void FrameCame(PeerConnection& connection, const Frame& frame) override;
  void ConnectionDrained(PeerConnection& connection) override;
  void ConnectionGone(PeerConnection& connection, const PeerReply& why) override;

  // `found` is called from the loop. Without an ID any computer at the address will do.
  void FindConnection(const std::string& address, const std::string& computerId, Sending::Found found);
  [[nodiscard]] std::shared_ptr<PeerConnection> OpenConnection(const PeerAddress& address,
                                                               const std::string& computerId) const;
  void Ask(const std::string& ticket, const std::string& address, const std::string& text, Done done);
  void AskOn(PeerConnection& connection, const std::string& ticket, const std::string& text, Done done);
  void Answered(const PeerConnection& connection, const AnswerWords& words);
  void Expect(const PeerConnection& connection);
  void Redial(const std::string& computerId);

  void AskCame(PeerConnection& connection, const AskWords& words);
  // What a message of another computer deserves.
  [[nodiscard]] PeerReply Judge(PeerConnection& connection, const AskWords& words);
  [[nodiscard]] bool AsksTooMuch(const std::string& computerId);

  void LookAround();
  void UpdateListening(const PeerSettings& settings);
  // Listens on one of these, unless it does already; why not, or nothing.
  [[nodiscard]] std::string ListenOnOneOf(const std::string& name, const std::vector<lib::SocketAddress>& addresses);
  void AcceptFrom(Listener& listener);
  void DropExcess(const PeerConnection& newest);
  [[nodiscard]] bool IsUsed(const PeerConnection& connection) const;
  void Bury(const PeerConnection& connection);

  Loop& loop_;
  PeerUser& user_;
  PeerContext context_;
  Inbox inbox_;
  Connections connections_;
  std::vector<Waiter> waiters_;
  std::map<std::string, Question> questions_;  // by ticket
  std::map<std::string, Expected> expected_;   // by ID
  std::map<std::string, Rate> rates_;          // by ID
  std::list<Listener> listeners_;
  std::string listenFailure_;  // told last
  std::unique_ptr<Sending> sending_;
  std::unique_ptr<Receiving> receiving_;
  Loop::Timer lookAround_;
  std::shared_ptr<ConnectedPeers*> self_;
};

}  // namespace zelkor::vandry
