// The link to Vandry, the companion program that does all networking: one conversation, opened when it is first needed
// and kept for the whole run.
//
// A command is one line of text. A reply that contains "OK" is a success, one that contains "Error" a failure; the link
// knows by number to which command a reply belongs and drops those to commands that nobody waits for any more. What
// Vandry says on its own are messages; they are handled one after the other, and wait while the program is occupied.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>

#include "lib/channel.h"
#include "lib/occupation.h"
#include "lib/user.h"

namespace zelkor::net {

// How the link gets at Vandry; the program has the real ways, tests may have others.
struct LinkMeans {
  std::function<lib::Result<std::unique_ptr<lib::ChannelClient>>(std::chrono::milliseconds patience)> connect;
  std::function<int()> launch;  // starts Vandry; 0 for success
  std::function<void()> waitASecond;
  // How long Vandry may take to answer or to take a command.
  std::chrono::milliseconds patience = lib::kChannelPatience;
};
[[nodiscard]] LinkMeans RealLinkMeans(const std::string& programDir, lib::User& user);

class Link {
 public:
  // Handles a message. `handled` tells Vandry that it need not keep the message any longer; the link calls it when the
  // handler has come to its end, whichever, if the handler has not.
  using Handler = std::function<void(const std::string& text, const std::function<void()>& handled)>;

  Link(lib::User& user, const lib::Occupation& occupied, LinkMeans means)
      : user_(user), occupied_(occupied), means_(std::move(means)) {}
  Link(const Link&) = delete;
  Link& operator=(const Link&) = delete;

  // Opens the conversation, starting Vandry when it does not run. 0 when it is open, 1 when it could not be opened,
  // which a message has said.
  std::int16_t StartLink();
  // Sends a command and waits for its reply, showing `caption` with a way to cancel. 0 for success; 1 when the reply
  // says otherwise, there is none, Cancel was pressed, or a message came instead (which has then been handled). With
  // `noWait` 0 as soon as the command is sent.
  std::int16_t SendCommand(const std::string& command, const std::string& caption, const bool& noWait);
  // Whether Vandry has taken the last command.
  [[nodiscard]] bool Taken() const { return taken_; }
  // The reply to the last command, or why there is none; empty after Cancel.
  [[nodiscard]] const std::string& Text() const { return text_; }

  // True when this program has launched Vandry.
  [[nodiscard]] bool VandryStarted() const { return vandryStarted_; }
  // For the end of the program: asks a Vandry that this program launched to end too.
  void Exit();

  void OnMessage(Handler handler) { handler_ = std::move(handler); }
  // Handles the messages that have come, if nothing is in hand that they must wait for. A program with windows calls
  // it from a timer a few times a second. Opens a conversation anew that broke off.
  void TakeMessages();
  // Handles messages as they come until `over` is true. False, after which Text() says why, when it was cancelled, when
  // Vandry went, or when nothing has moved for the time limit.
  bool HandleMessagesUntil(const std::function<bool()>& over, const std::string& caption);

  // Unattended there is nobody to press Cancel: every wait ends when nothing has moved for so long. 0: no limit.
  void LimitWaits(std::chrono::seconds limit) { limit_ = limit; }

  // The conversation broke off; the next command opens another.
  [[nodiscard]] bool Broken() const { return broken_; }

 private:
  using Clock = std::chrono::steady_clock;
  struct Message {
    std::uint32_t number = 0;  // 0: no push, nobody keeps it
    std::string text;
  };

  [[nodiscard]] bool IsOpen() const { return channel_ != nullptr; }
  [[nodiscard]] lib::Status Connect();
  [[nodiscard]] bool Execute(const std::string& command);
  void WaitForReply(const std::string& caption);
  // Takes in what Vandry says, waiting for it at most so long.
  void Listen(std::chrono::milliseconds patience);
  void Hear(lib::ChannelEvent event);
  void HandleNext();
  void Drop(const std::string& why);
  [[nodiscard]] bool MessageIsDue() const { return !messages_.empty() && !occupied_.InHand(); }
  [[nodiscard]] bool StandsStill() const;
  // What the user wants to end is a run; the wish stays until the next one begins.
  [[nodiscard]] bool RunCancelled() const { return occupied_.InHand() && user_.Cancelled(); }

  lib::User& user_;
  const lib::Occupation& occupied_;
  LinkMeans means_;
  Handler handler_;
  std::shared_ptr<lib::ChannelClient> channel_;  // shared with the messages in hand that came through it
  std::deque<Message> messages_;
  bool vandryStarted_ = false;
  bool broken_ = false;  // the conversation broke off and should be opened anew
  Clock::time_point lastTry_;
  Clock::time_point lastHeard_;
  std::chrono::seconds limit_{0};
  bool showsProgress_ = false;  // of the command in hand

  std::uint32_t lastNumber_ = 0;
  std::uint32_t awaited_ = 0;  // the command whose reply is waited for; 0: none
  bool taken_ = false;
  std::string text_;
  int busy_ = 0;  // commands being sent and messages being handled, one inside the other
};

}  // namespace zelkor::net
