// The local link between the program and its networking companion: one conversation for each user and ProgramDir, on
// one computer, reachable by that user alone. The program is the client, the companion the server.
//
// The client executes commands; the server says when it has taken one, and may reply to it later. Besides that the
// server pushes messages, each an event of its own, and tells how far something is. Texts are bytes that the link does
// not look into, at most kMostChannelText of them. Nothing here blocks longer than the caller says, and everything runs
// in the caller's thread.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "lib/readiness.h"
#include "lib/status.h"

namespace zelkor::lib {

inline constexpr std::size_t kMostChannelText = 65536;
// How long a living companion may take to answer a connection, or to take a command it is not Working on.
inline constexpr std::chrono::milliseconds kChannelPatience{5000};

// What the client hears.
struct ChannelEvent {
  enum class Kind {
    Taken,     // the command of that number is the server's business now
    Working,   // … is still being taken; the server is alive
    Reply,     // the answer to the command of that number
    Push,      // a message of that number, which the client says to have Handled when it is done with it
    Progress,  // how far something is, in words for the user; no number
    Closed,    // the server is gone; nothing follows
  };
  Kind kind = Kind::Closed;
  std::uint32_t number = 0;
  std::string text{};
};

class ChannelClient {
 public:
  // NotFound: nobody serves this ProgramDir. AccessDenied: somebody who is not this user does. Failed: the server does
  // not answer in time.
  [[nodiscard]] static Result<std::unique_ptr<ChannelClient>> Connect(std::string_view programDir,
                                                                      std::chrono::milliseconds patience);
  ChannelClient();
  ~ChannelClient();
  ChannelClient(const ChannelClient&) = delete;
  ChannelClient& operator=(const ChannelClient&) = delete;

  [[nodiscard]] bool IsOpen() const;
  // Sends a command under a number of the caller's choice. Damaged: it is too long.
  [[nodiscard]] Status Execute(std::uint32_t number, std::string_view command);
  // The push of that number has been dealt with: the server need not keep it any longer. What was not Handled comes
  // again in the next conversation.
  void Handled(std::uint32_t number);

  // Reads and writes what can be, waiting for it at most so long.
  void Turn(std::chrono::milliseconds patience);
  // What came so far, in order.
  [[nodiscard]] std::optional<ChannelEvent> Next();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

// Names a client as long as the server lives; never used again for another.
using ChannelClientId = std::uint64_t;

// What the server hears.
struct ChannelRequest {
  enum class Kind {
    Opened,   // a client came
    Execute,  // a command: answer Taken, perhaps Working before it, and if it has a reply, Reply after it
    Handled,  // the push of that number has been dealt with
    Closed,   // the client is gone
  };
  Kind kind = Kind::Closed;
  ChannelClientId client = 0;
  std::uint32_t number = 0;
  std::string text{};
};

class ChannelServer {
 public:
  // Exists: another server of this user already serves this ProgramDir.
  [[nodiscard]] static Result<std::unique_ptr<ChannelServer>> Listen(std::string_view programDir);
  ChannelServer();
  ~ChannelServer();
  ChannelServer(const ChannelServer&) = delete;
  ChannelServer& operator=(const ChannelServer&) = delete;

  // For a loop that waits for several things: can be read from when there is something to do for Turn.
  [[nodiscard]] Handle ReadyHandle() const;
  // Reads and writes what can be, without waiting. To be called when ReadyHandle is ready.
  void Turn();
  // What came so far, in order.
  [[nodiscard]] std::optional<ChannelRequest> Next();

  // To a client, in order; written at once as far as possible. A client that is gone is no error. A text that is too
  // long is cut. A client that takes nothing any more while much waits for it is given up (Closed).
  void Taken(ChannelClientId client, std::uint32_t number);
  // At least every two seconds while taking a command takes long.
  void Working(ChannelClientId client, std::uint32_t number);
  void Reply(ChannelClientId client, std::uint32_t number, std::string_view text);
  void Push(ChannelClientId client, std::uint32_t number, std::string_view text);
  // At least every ten seconds while something is on its way: the client takes silence for a standstill.
  void Progress(ChannelClientId client, std::string_view text);
  void Close(ChannelClientId client);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace zelkor::lib
