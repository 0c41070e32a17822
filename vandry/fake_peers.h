// Other computers as the tests want them.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "vandry/peer.h"

namespace zelkor::vandry {

class FakePeers : public Peers {
 public:
  struct Call {
    std::string what;  // "ping", "message", "file" or "receive"
    std::string ticket;
    std::string address;
    std::string text;  // or the path
    Done done;
  };

  void Ping(const std::string& address, Done done) override { Add({"ping", "", address, "", std::move(done)}); }
  void SendMessage(const std::string& ticket, const std::string& address, const std::string& text, Done done) override {
    Add({"message", ticket, address, text, std::move(done)});
  }
  void SendFile(const FileToSend& file, Done done) override {
    files.push_back(file);
    Add({"file", file.ticket, file.address, file.path, std::move(done)});
  }
  void ReceiveFile(const std::string& path, Done done) override { Add({"receive", "", "", path, std::move(done)}); }
  void ProgramCame() override {
    ++came;
    if (onCame) onCame();
  }
  void ProgramLeft() override { ++left; }
  void ReceivedHandled() override { ++handled; }
  [[nodiscard]] bool Busy() const override { return busy; }

  [[nodiscard]] std::vector<std::string> Texts() const {
    std::vector<std::string> texts;
    for (const Call& call : calls) texts.push_back(call.text);
    return texts;
  }

  std::vector<Call> calls;
  std::vector<FileToSend> files;
  std::function<void()> onCame;
  int came = 0;
  int left = 0;
  int handled = 0;
  bool busy = false;

 private:
  void Add(Call call) { calls.push_back(std::move(call)); }
};

inline PeerReply Success(std::string text = {}) { return {.error = PeerError::None, .text = std::move(text)}; }
inline PeerReply Unreachable() {
  return {.error = PeerError::NotReached, .text = "nobody listens there", .worthRepeating = true};
}
inline PeerReply ForGood() { return {.error = PeerError::NotPaired, .text = "the key is not known"}; }

}  // namespace zelkor::vandry
