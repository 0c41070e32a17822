// Files on their way to other computers.
#pragma once

#include <functional>
#include <list>
#include <memory>
#include <string>

#include "lib/files.h"
#include "vandry/digest.h"
#include "vandry/peer.h"
#include "vandry/peer_connection.h"
#include "vandry/peer_words.h"

namespace zelkor::vandry {

class Sending {
 public:
  // Finds an open connection to that computer, or makes one; then calls back with it, or with none and the reason.
  using Found = std::function<void(const std::shared_ptr<PeerConnection>&, const PeerReply&)>;
  using Find = std::function<void(const std::string& address, const std::string& computerId, Found)>;

  Sending(PeerContext& context, PeerUser& user, Find find);
  ~Sending();
  Sending(const Sending&) = delete;
  Sending& operator=(const Sending&) = delete;

  void Start(const FileToSend& file, Peers::Done done);
  [[nodiscard]] bool Busy() const { return !files_.empty(); }
  [[nodiscard]] bool Uses(const PeerConnection& connection) const;

  // What connections tell.
  void TakeCame(const PeerConnection& connection, const TakeWords& words);
  void WholeCame(const PeerConnection& connection, const std::string& ticket);
  void StopCame(const PeerConnection& connection, const AnswerWords& words);
  void Drained(const PeerConnection& connection);
  void Gone(const PeerConnection& connection, const PeerReply& why);

 private:
  struct Outgoing;

  void Offer(Outgoing& file);
  // The next file that waits for that connection.
  void OfferNext(const PeerConnection& connection);
  void HashBeginning(Outgoing& file);
  void SendPiece(Outgoing& file);
  void TellProgress(Outgoing& file);
  void End(const Outgoing& file, const PeerReply& reply);
  [[nodiscard]] Outgoing* On(const PeerConnection& connection, const std::string& ticket);
  [[nodiscard]] Outgoing* WithNumber(std::uint64_t number);

  PeerContext& context_;
  PeerUser& user_;
  Find find_;
  std::uint64_t lastNumber_ = 0;
  std::list<Outgoing> files_;
  // Gone with the object, so that calls that come later know.
  std::shared_ptr<Sending*> self_;
};

}  // namespace zelkor::vandry
