// Other computers' Vandrys, as the rest of Vandry sees them: asking one, telling it something, sending it a file and
// taking one. docs/network.md describes what goes over the wire.
//
// Everything runs in the loop's thread. A call returns at once; its `done` is called once, later, from the loop, unless
// the object goes first. Addresses are "host", "host:port", "[v6]:port" or a bare IPv6 address. Paths are in the
// program's form, computer IDs in lower case.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "lib/status.h"
#include "vandry/loop.h"

namespace zelkor::vandry {

// Why another computer could not be reached or would not do it; the number of an "Error" reply.
enum class PeerError {
  None = 0,
  BadRequest = 1,    // the request itself: an address or ID that can not be one
  NameNotFound = 2,  // no such host
  NotReached = 3,    // nobody listens there, or no way leads there
  TimedOut = 4,      // it does not answer
  Lost = 5,          // the connection broke
  NotPaired = 6,     // one of the two does not know the other's key, or knows it under another ID
  Refused = 7,       // it answered that it will not
  NobodyThere = 8,   // its program does not run and may not be started
  NoRoom = 9,        // its disk is full, or ours
  LocalFile = 10,    // our own file can not be read or written
  Damaged = 11,      // what arrived is not what was sent, or not in the form agreed on
};

struct PeerReply {
  PeerError error = PeerError::None;
  // What was asked for, or one sentence without a final full stop. Spells neither "OK" nor "Error".
  std::string text;
  // The same request may go well later without anybody doing anything: nobody answers, the connection broke.
  bool worthRepeating = false;

  [[nodiscard]] bool Ok() const { return error == PeerError::None; }
};

// How far a transfer is; told at most a few times a second.
struct PeerProgress {
  bool sending = false;
  std::string computerId;  // the other computer
  std::int64_t done = 0;   // bytes that are over
  std::int64_t total = 0;
};

// This computer's side: the program at the other end of the local link.
class PeerUser {
 public:
  virtual ~PeerUser() = default;
  // A message of another computer for the program, as it is to be pushed: "SyncMe lap 10.0.0.2:4223",
  // "SyncSuccessfull lap". Success means that it will reach the program even when that has to be started first. A
  // failure goes back to the sender in its words: `AccessDenied` when the program may not be started, so that nobody is
  // there.
  virtual lib::Status Push(const std::string& text) = 0;
  // "FileSendReq …" and "NetReceived". For the program that is on the link now; it must not be kept when none is, since
  // ProgramCame brings it again. Starts the program when none is there and it may be started; fails as Push does.
  virtual lib::Status Announce(const std::string& text) = 0;
  virtual void Progress(const PeerProgress& progress) = 0;
  // That computer is connected (again): what waits for it may go well now.
  virtual void Reached(const std::string& computerId) { (void)computerId; }
  // For the log: who came and was turned away, and why.
  virtual void Log(const std::string& line) = 0;
};

// How long to be patient with another computer.
struct PeerTimes {
  Loop::Milliseconds connect{10'000};    // to a connection, its handshake included
  Loop::Milliseconds answer{30'000};     // to the answer to a question
  Loop::Milliseconds keepAlive{20'000};  // of silence before a sign of life is asked for
  Loop::Milliseconds silence{60'000};    // before a connection counts as lost
  Loop::Milliseconds resume{60'000};     // for the sender of a file that broke off to come back
  Loop::Milliseconds redial{1'000};      // before a lost connection that is still needed is made again; then longer
  Loop::Milliseconds idle{600'000};      // before a connection that nobody uses is given up
  Loop::Milliseconds settings{3'000};    // between two looks at the settings
};

struct PeerSettings {
  std::string programDir;  // with a final backslash; keys, pairings and unfinished files are in its folder (places.h)
  std::string computerId;  // this computer's; empty when it has none yet
  bool accept = false;     // "AcceptNetConn": listen, and answer requests of others
  std::uint16_t port = 4223;
  std::vector<std::string> listen;  // addresses without port; empty: all
  PeerTimes times{};
};

// As they stand in "orlim.ini" now.
[[nodiscard]] PeerSettings ReadPeerSettings(const std::string& programDir);

struct FileToSend {
  // Names the transfer for as long as it takes, over restarts of both sides: 1 to 32 lower-case letters and digits.
  std::string ticket;
  std::string address;
  std::string ownId;
  std::string targetId;
  std::string path;  // stays as it is until `done`
};

class Peers {
 public:
  using Done = std::function<void(const PeerReply&)>;

  virtual ~Peers() = default;

  // NetPing: the text of the reply is the ID of the computer there.
  virtual void Ping(const std::string& address, Done done) = 0;
  // Any other rest of a NetTrans: "SyncMe lap". Done when the program there has it or will have it. `ticket` as in
  // FileToSend: the same message sent again under it is not delivered twice.
  virtual void SendMessage(const std::string& ticket, const std::string& address, const std::string& text,
                           Done done) = 0;
  // Done when the file is whole and safe on the other computer. After a failure worth repeating the same call goes on
  // where this one stopped.
  virtual void SendFile(const FileToSend& file, Done done) = 0;
  // NetFileRec: takes the file announced last. The text is its size in bytes; then the file is whole at `path`, and
  // "NetReceived" is announced behind the call of `done`. A new call ends one that waits, whose `done` is not called.
  virtual void ReceiveFile(const std::string& path, Done done) = 0;

  // The program is on the link (again), and nothing was pushed to it yet: an announcement that the one before did not
  // deal with is made again.
  virtual void ProgramCame() = 0;
  // The program is gone. What it waited for ends without an answer.
  virtual void ProgramLeft() = 0;

  // The program has dealt with the "NetReceived" that was announced first of those it had not dealt with: the file is
  // not needed any more. Without this a file counts as dealt with when the program confirms it or takes the next one.
  virtual void ReceivedHandled() {}

  // Something is on its way, in or out.
  [[nodiscard]] virtual bool Busy() const = 0;
};

// `settings` is asked again every few seconds and before each request, so that a change takes effect by itself.
// Fails when the computer's key can not be read or made.
[[nodiscard]] lib::Result<std::unique_ptr<Peers>> OpenPeers(Loop& loop, PeerUser& user,
                                                            std::function<PeerSettings()> settings);

}  // namespace zelkor::vandry
