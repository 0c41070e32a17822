// An FTP server in the test's own process, on a free port of 127.0.0.1, with its files in memory: well-behaved unless
// told otherwise.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "lib/sockets.h"

namespace zelkor::tests {

// How the server misbehaves. Commands are named by their words; "GREETING" stands for what it says first.
struct FtpScript {
  std::map<std::string, std::string> answers{};  // given instead of doing what is asked for
  std::string silentAt{};                        // nothing comes from there on
  std::string closesAt{};                        // the connection is closed instead of an answer
  std::int64_t cutAfter = -1;                    // bytes of a transfer, after which everything is closed
  std::int64_t stallAfter = -1;                  // bytes of a transfer, after which nothing more comes or is taken
  std::int64_t fullAfter = -1;                   // bytes of an upload, after which it is refused and the rest dropped
  bool breaksWhenFull = false;  // the connection for content is broken first, what is under way is lost
  int times = 1000;             // how often silentAt, closesAt and cutAfter happen
  std::string endOfUpload{};    // instead of "226 …"
  bool machineListings = true;  // MLSD is known
  bool endlessListing = false;
  std::string listing{};  // what LIST sends instead of its own lines
};

class ScriptedFtpServer {
 public:
  explicit ScriptedFtpServer(FtpScript script = {});
  ~ScriptedFtpServer();
  ScriptedFtpServer(const ScriptedFtpServer&) = delete;
  ScriptedFtpServer& operator=(const ScriptedFtpServer&) = delete;

  // "127.0.0.1:12345". The only user is "lap" with the password "secret word".
  [[nodiscard]] std::string Address() const;

  void Change(const std::function<void(FtpScript&)>& change);
  void PutFile(const std::string& path, const std::string& content);
  // Nothing when there is none: an empty file and none look alike here, so ask for both.
  [[nodiscard]] std::string File(const std::string& path);
  [[nodiscard]] bool HasFile(const std::string& path);
  [[nodiscard]] std::vector<std::string> Files();
  // What came, "WORD argument", without the user's name and password.
  [[nodiscard]] std::vector<std::string> Commands();
  [[nodiscard]] int Connections();
  // Bytes of content that were sent to it.
  [[nodiscard]] std::int64_t Uploaded();
  // Waits until a file whose path ends so has so many bytes, or a command of that word has come. False after half a
  // minute.
  [[nodiscard]] bool WaitForBytes(const std::string& ending, std::size_t bytes);
  [[nodiscard]] bool WaitForCommand(const std::string& word);

 private:
  class Session;
  void Accept();

  std::mutex mutex_;
  std::condition_variable changed_;
  FtpScript script_;
  std::map<std::string, std::string> files_;
  std::set<std::string> directories_{"/", "/home"};
  std::vector<std::string> commands_;
  int connections_ = 0;
  std::int64_t uploaded_ = 0;
  std::atomic<bool> ending_ = false;
  lib::Socket listener_;
  std::list<std::thread> sessions_;
  std::thread acceptor_;
};

}  // namespace zelkor::tests
