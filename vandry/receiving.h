// Files on their way from other computers to the program here. They are announced one after the other; the next one's
// turn comes when the one before is over.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "lib/files.h"
#include "vandry/digest.h"
#include "vandry/inbox.h"
#include "vandry/peer.h"
#include "vandry/peer_connection.h"
#include "vandry/peer_words.h"

namespace zelkor::vandry {

class Receiving {
 public:
  Receiving(PeerContext& context, PeerUser& user, Inbox inbox);
  ~Receiving();
  Receiving(const Receiving&) = delete;
  Receiving& operator=(const Receiving&) = delete;

  // The program's side (peer.h).
  void Receive(const std::string& path, Peers::Done done);
  void ProgramCame();
  void ProgramLeft();
  // The program has dealt with the file that was delivered first.
  void Handled();
  // The program has told the computer at that address that it has imported its file.
  void Confirmed(const std::string& address);

  [[nodiscard]] bool Busy() const;
  [[nodiscard]] bool Uses(const PeerConnection& connection) const;
  // A whole file of that computer came.
  std::function<void(const std::string& computerId)> onWhole;

  // What connections tell.
  void OfferCame(const std::shared_ptr<PeerConnection>& connection, const OfferWords& words);
  void PieceCame(const PeerConnection& connection, std::string_view content);
  void EndCame(const PeerConnection& connection, const EndWords& words);
  void StopCame(const PeerConnection& connection, const AnswerWords& words);
  void Gone(const PeerConnection& connection);

 private:
  // A file that was offered, or that lies here whole.
  struct Incoming {
    InboxNote note;
    std::shared_ptr<PeerConnection> connection;  // none while its sender is away, or when it is whole
    bool whole = false;
  };
  // The file that the program was told about last.
  struct Current : Incoming {
    explicit Current(Incoming incoming) : Incoming(std::move(incoming)) {}

    enum class Stage {
      Announced,  // the program has not answered yet
      Hashing,    // what is there already
      Flowing,    // the sender was told to send
      Apart,      // the sender is gone and may come back
    };
    Stage stage = Stage::Announced;
    std::string path;  // where the program wants it; empty before it said so
    Peers::Done done;
    lib::File part;
    std::int64_t have = 0;  // bytes of the part, hashed
    std::int64_t start = 0;
    bool begun = false;  // a piece has come since the start
    Sha256 hash;
    Loop::Timer patience;
    Loop::Clock::time_point lastProgress;
  };

  void AnnounceNext();
  void Announce();
  // The next step of the current one, when the program has said where it wants it.
  void Go();
  void OpenPart();
  void HashPart();
  void Deliver();
  void WaitForSender();
  void TellProgress();
  // Tells the sender to stop and the program why; the part goes unless it can be continued.
  void Fail(PeerError error, const std::string& why, bool worthRepeating);
  // The current one is over; the program gets the answer it waits for, and the next one its turn.
  void Close(const PeerReply& reply);
  [[nodiscard]] bool Flows(const PeerConnection& connection) const;
  static void Stop(PeerConnection& connection, const std::string& ticket, const PeerReply& why);

  PeerContext& context_;
  PeerUser& user_;
  Inbox inbox_;
  std::optional<Current> current_;
  std::deque<Incoming> waiting_;
  std::vector<InboxNote> delivered_;  // at the program's path; it has not said that it has imported them
  std::uint64_t turn_ = 0;            // changes with the current one, so that late calls know
  std::shared_ptr<Receiving*> self_;
};

}  // namespace zelkor::vandry
