// One conversation with an FTP server, through libcurl: each call is one request, made at once, in the caller's thread.
// The connection is kept from one to the next, and opened again when it was lost.
//
// It runs in a thread of its own (ftp.h), since libcurl waits for a server's word on the end of a transfer without
// giving control back, for as long as a minute.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "vandry/ftp_place.h"

namespace zelkor::vandry {

// What became of a request.
struct FtpAnswer {
  enum class Kind {
    Done,
    NoFile,        // the server has no such file
    NoDirectory,   // nor such a directory, or it may not be entered or made
    NoHost,        // the server's name is unknown
    NotReached,    // nobody listens there
    LoginRefused,  // the user name or password is wrong
    TlsFailed,     // no encryption, or a certificate that is not trusted
    Refused,       // the server says no, for good
    ServerFull,    // it has no room, or the user's is used up
    TryLater,      // it says no, for now
    TimedOut,      // it said nothing for too long
    Lost,          // the connection broke
    LocalFailed,   // the caller's own reader or writer failed
    Stopped,       // the caller wants no more
  };
  Kind kind = Kind::Done;
  int number = 0;     // the server's last number when it was a refusal, else 0
  std::string words;  // what the server said last, or libcurl of the failure; raw bytes, without number and password
  std::int64_t size = -1;     // of the file that was looked for; -1: not told
  std::int64_t written = -1;  // its date, seconds since 1970 in UTC; -1: not told

  [[nodiscard]] bool Ok() const { return kind == Kind::Done; }
};

class FtpSession {
 public:
  // How many of how many bytes of a transfer are over; the total is 0 while it is unknown.
  using Progress = std::function<void(std::int64_t done, std::int64_t total)>;
  // Gives bytes of the file to send, from a position on; fewer than there is room for only at its end. -1: it can not.
  using Reader = std::function<std::int64_t(std::int64_t offset, std::span<char> out)>;
  // Takes the next bytes that came. False: it can not.
  using Writer = std::function<bool(std::span<const char> bytes)>;

  // `stopped` is asked about once a second, and before each request. All three must outlive the session.
  FtpSession(const FtpSettings& settings, const FtpPlace& place, const std::function<bool()>& stopped);
  ~FtpSession();
  FtpSession(const FtpSession&) = delete;
  FtpSession& operator=(const FtpSession&) = delete;

  // Makes the directories that are missing on the way, from here on.
  void MakeDirectories();
  void OnProgress(Progress progress);

  // Size and date of a file.
  [[nodiscard]] FtpAnswer Look(const std::string& name);
  // `command` is "MLSD" or "LIST".
  [[nodiscard]] FtpAnswer List(const std::string& command, const Writer& writer);
  // Beyond offset 0 the bytes are put behind what the server has.
  [[nodiscard]] FtpAnswer Send(const std::string& name, std::int64_t offset, std::int64_t size, const Reader& reader);
  [[nodiscard]] FtpAnswer Get(const std::string& name, std::int64_t offset, const Writer& writer);
  // Commands given in the directory, in order, up to the first that the server refuses; one that begins with "*" may
  // be.
  [[nodiscard]] FtpAnswer Give(const std::vector<std::string>& commands);

 private:
  FtpAnswer Connect();

  struct State;
  std::unique_ptr<State> state_;
};

// To be called once, before any session; libcurl overwrites what it frees from then on, since its copies of passwords
// are among it.
void PrepareFtp();

}  // namespace zelkor::vandry
