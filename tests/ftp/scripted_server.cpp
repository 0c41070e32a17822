#include "tests/ftp/scripted_server.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "tests/support/sockets.h"

namespace zelkor::tests {

namespace {

constexpr std::chrono::seconds kPatience{30};
constexpr std::size_t kPiece = 4096;

// A waiting session looks so often whether the server ends.
constexpr std::chrono::milliseconds kTurn{20};

// On a free port of 127.0.0.1.
lib::Socket Listen() {
  lib::Result<lib::Socket> listener = lib::ListenOn(*lib::NumericAddress("127.0.0.1", 0));
  if (!listener.Ok()) throw std::runtime_error(listener.Failure().Message());
  return std::move(*listener);
}

}  // namespace

// One connection.
class ScriptedFtpServer::Session {
 public:
  Session(ScriptedFtpServer& server, lib::Socket control) : server_(server), control_(std::move(control)) {}

  void Run() {
    Handle(kGreeting, "");
    for (std::optional<std::string> line; (line = ReadLine());) {
      const std::string word = line->substr(0, line->find(' '));
      const std::string argument = line->size() > word.size() ? line->substr(word.size() + 1) : std::string();
      if (!Handle(word, argument)) break;
    }
    dataListener_.Close();
    control_.Close();
  }

 private:
  // In place of a command: what is said first.
  static constexpr const char* kGreeting = "GREETING";

  // Until the socket is ready; false when the server ends.
  [[nodiscard]] bool Await(lib::Awaited awaited) const {
    while (!server_.ending_) {
      lib::WaitUntilReady({&awaited, 1}, kTurn);
      if (awaited.canRead || awaited.canWrite) return true;
    }
    return false;
  }
  // How many bytes came; 0 at the end of the connection or the server.
  [[nodiscard]] std::size_t Receive(const lib::Socket& socket, std::span<char> out) const {
    while (Await({.handle = socket.Get(), .wantRead = true})) {
      const Passed got = ReceiveNow(socket, out);
      if (got.how != Passed::How::NotNow) return got.bytes;
    }
    return 0;
  }
  [[nodiscard]] std::size_t Send(const lib::Socket& socket, std::string_view bytes) const {
    while (Await({.handle = socket.Get(), .wantWrite = true})) {
      const Passed put = SendNow(socket, bytes);
      if (put.how != Passed::How::NotNow) return put.bytes;
    }
    return 0;
  }

  std::optional<std::string> ReadLine() {
    for (;;) {
      const std::size_t end = input_.find("\r\n");
      if (end != std::string::npos) {
        std::string line = input_.substr(0, end);
        input_.erase(0, end + 2);
        return line;
      }
      std::array<char, 1024> piece{};
      const std::size_t length = Receive(control_, piece);
      if (length == 0) return std::nullopt;
      input_.append(piece.data(), length);
    }
  }

  void Say(const std::string& line) const {
    const std::string text = line + "\r\n";
    for (std::size_t done = 0, length = 1; done < text.size() && length > 0; done += length) {
      length = Send(control_, std::string_view(text).substr(done));
    }
  }

  // Until the client goes or the server ends.
  void BeSilent() const {
    std::array<char, 1024> piece{};
    while (Receive(control_, piece) > 0) continue;
  }

  // False when the connection is to be closed.
  bool Handle(const std::string& word, const std::string& argument) {
    std::string answer;
    bool silent = false;
    bool closes = false;
    {
      // What the script says of a command is settled when somebody can see that it came.
      const std::lock_guard lock(server_.mutex_);
      if (word != kGreeting) {
        const bool secret = word == "USER" || word == "PASS";
        server_.commands_.push_back(secret || argument.empty() ? word : word + " " + argument);
        server_.changed_.notify_all();
      }
      FtpScript& script = server_.script_;
      if (const auto at = script.answers.find(word); at != script.answers.end()) answer = at->second;
      silent = script.silentAt == word && script.times-- > 0;
      closes = script.closesAt == word && script.times-- > 0;
    }
    if (silent) BeSilent();
    if (silent || closes) return false;
    if (!answer.empty()) {
      Say(answer);
      return answer.compare(0, 3, "421") != 0;
    }
    if (word == "STOR" || word == "APPE") return Take(argument, word == "APPE");
    if (word == "RETR") return Give(argument);
    if (word == "LIST" || word == "MLSD") return List(word == "MLSD");
    Say(Answer(word, argument));
    return word != "QUIT";
  }

  std::string Answer(const std::string& word, const std::string& argument) {
    if (word == kGreeting) return "220 ready";
    if (word == "USER") return user_ = argument, "331 password?";
    if (word == "PASS") return user_ == "lap" && argument == "secret word" ? "230 welcome" : "530 Login incorrect.";
    if (word == "PWD") return "257 \"" + directory_ + "\" is where you are";
    if (word == "TYPE") return "200 fine";
    if (word == "EPSV") return OpenData();
    if (word == "REST") return restart_ = std::stoll(argument), "350 from there";
    if (word == "QUIT") return "221 good-bye";
    const std::lock_guard lock(server_.mutex_);
    return FileAnswer(word, argument);
  }

  // With the files locked.
  std::string FileAnswer(const std::string& word, const std::string& argument) {
    const std::string path = PathOf(argument);
    const auto file = server_.files_.find(path);
    const bool there = file != server_.files_.end();
    if (word == "CWD") {
      if (server_.directories_.count(path) == 0) return "550 no such directory";
      directory_ = path;
      return "250 there";
    }
    if (word == "MKD") {
      if (!server_.directories_.insert(path).second) return "550 it exists";
      return "257 \"" + path + "\" made";
    }
    if (word == "SIZE") return there ? "213 " + std::to_string(file->second.size()) : "550 no such file";
    if (word == "MDTM") return there ? "213 20261121141537" : "550 no such file";
    if (word == "DELE") {
      if (!there) return "550 no such file";
      server_.files_.erase(file);
      return "250 gone";
    }
    if (word == "RNFR") {
      from_ = path;
      return there ? "350 to what?" : "550 no such file";
    }
    if (word == "RNTO") {
      server_.files_[path] = server_.files_[from_];
      server_.files_.erase(from_);
      server_.changed_.notify_all();
      return "250 renamed";
    }
    return "502 not known";
  }

  [[nodiscard]] std::string PathOf(const std::string& name) const {
    if (!name.empty() && name.front() == '/') return name;
    return (directory_ == "/" ? "/" : directory_ + "/") + name;
  }

  std::string OpenData() {
    dataListener_ = Listen();
    return "229 here (|||" + std::to_string(lib::LocalPort(dataListener_)) + "|)";
  }

  lib::Socket AcceptData() {
    lib::Socket data;
    while (!data.IsOpen() && Await({.handle = dataListener_.Get(), .wantRead = true})) {
      if (auto connection = lib::AcceptConnection(dataListener_)) data = std::move(connection->socket);
    }
    dataListener_.Close();
    return data;
  }

  // What becomes of a transfer after so many bytes.
  enum class Turn { GoOn, Cut, Stall };
  Turn At(std::int64_t bytes) {
    const std::lock_guard lock(server_.mutex_);
    FtpScript& script = server_.script_;
    if (script.stallAfter >= 0 && bytes >= script.stallAfter) return Turn::Stall;
    if (script.cutAfter >= 0 && bytes >= script.cutAfter && script.times > 0) {
      --script.times;
      return Turn::Cut;
    }
    return Turn::GoOn;
  }

  bool Take(const std::string& name, bool append) {
    const std::string path = PathOf(name);
    Say("150 go on");
    lib::Socket data = AcceptData();
    {
      const std::lock_guard lock(server_.mutex_);
      if (!append) server_.files_[path].clear();
    }
    std::array<char, kPiece> piece{};
    std::int64_t taken = 0;
    bool refused = false;
    for (std::size_t length = 0; (length = Receive(data, piece)) > 0;) {
      taken += static_cast<std::int64_t>(length);
      bool full = false;
      bool breaks = false;
      {
        const std::lock_guard lock(server_.mutex_);
        server_.files_[path].append(piece.data(), length);
        server_.uploaded_ += static_cast<std::int64_t>(length);
        server_.changed_.notify_all();
        full = server_.script_.fullAfter >= 0 && taken >= server_.script_.fullAfter;
        breaks = full && server_.script_.breaksWhenFull;
      }
      if (breaks) data.Close();
      if (full && !refused) Say("552 disk full");
      refused = refused || full;
      if (breaks) break;
      const Turn turn = At(taken);
      if (turn == Turn::Stall) BeSilent();
      if (turn != Turn::GoOn) {
        data.Close();
        return false;
      }
    }
    data.Close();
    std::string end;
    bool silent = false;
    {
      const std::lock_guard lock(server_.mutex_);
      end = server_.script_.endOfUpload;
      silent = server_.script_.silentAt == "226";
    }
    if (silent) BeSilent();
    if (!refused) Say(end.empty() ? "226 done" : end);
    return !silent;
  }

  // Sends a text over the data connection. False when the connection is to be closed.
  bool Transfer(std::string_view content) {
    Say("150 here it comes");
    lib::Socket data = AcceptData();
    for (std::size_t done = 0; done < content.size();) {
      const Turn turn = At(static_cast<std::int64_t>(done));
      if (turn == Turn::Stall) BeSilent();
      if (turn != Turn::GoOn) {
        data.Close();
        return false;
      }
      const std::size_t length = Send(data, content.substr(done, kPiece));
      if (length == 0) break;
      done += length;
    }
    data.Close();
    Say("226 done");
    return true;
  }

  bool Give(const std::string& name) {
    std::string content;
    {
      const std::lock_guard lock(server_.mutex_);
      const auto file = server_.files_.find(PathOf(name));
      if (file == server_.files_.end()) {
        Say("550 no such file");
        return true;
      }
      content = file->second.substr(std::min(file->second.size(), static_cast<std::size_t>(restart_)));
      restart_ = 0;
    }
    return Transfer(content);
  }

  bool List(bool machine) {
    std::string text;
    {
      const std::lock_guard lock(server_.mutex_);
      if (machine && !server_.script_.machineListings) {
        Say("500 MLSD not understood");
        return true;
      }
      const std::string prefix = PathOf("");
      for (const auto& [path, content] : server_.files_) {
        if (path.compare(0, prefix.size(), prefix) != 0 || path.find('/', prefix.size()) != std::string::npos) continue;
        const std::string size = std::to_string(content.size());
        const std::string name = path.substr(prefix.size());
        text += machine ? "type=file;size=" + size + ";modify=20261121141537; " + name + "\r\n"
                        : "-rw-r--r-- 1 ftp ftp " + size + " Nov 21 14:15 " + name + "\r\n";
      }
      if (!server_.script_.listing.empty()) text = server_.script_.listing;
      if (server_.script_.endlessListing) text.assign(std::size_t{20} << 20U, 'x');
    }
    return Transfer(text);
  }

  ScriptedFtpServer& server_;
  lib::Socket control_;
  lib::Socket dataListener_;
  std::string input_;
  std::string user_;
  std::string directory_ = "/home";
  std::string from_;
  long long restart_ = 0;
};

ScriptedFtpServer::ScriptedFtpServer(FtpScript script) : script_(std::move(script)) {
  listener_ = Listen();
  acceptor_ = std::thread([this] { Accept(); });
}

ScriptedFtpServer::~ScriptedFtpServer() {
  ending_ = true;
  acceptor_.join();
  for (std::thread& session : sessions_) session.join();
}

void ScriptedFtpServer::Accept() {
  while (!ending_) {
    lib::Awaited awaited{.handle = listener_.Get(), .wantRead = true};
    lib::WaitUntilReady({&awaited, 1}, kTurn);
    auto connection = lib::AcceptConnection(listener_);
    if (!connection) continue;
    const std::lock_guard lock(mutex_);
    ++connections_;
    const auto session = std::make_shared<Session>(*this, std::move(connection->socket));
    sessions_.emplace_back([session] { session->Run(); });
  }
}

std::string ScriptedFtpServer::Address() const { return "127.0.0.1:" + std::to_string(lib::LocalPort(listener_)); }

void ScriptedFtpServer::Change(const std::function<void(FtpScript&)>& change) {
  const std::lock_guard lock(mutex_);
  change(script_);
}

void ScriptedFtpServer::PutFile(const std::string& path, const std::string& content) {
  const std::lock_guard lock(mutex_);
  files_[path] = content;
}

std::string ScriptedFtpServer::File(const std::string& path) {
  const std::lock_guard lock(mutex_);
  const auto at = files_.find(path);
  return at == files_.end() ? std::string() : at->second;
}

bool ScriptedFtpServer::HasFile(const std::string& path) {
  const std::lock_guard lock(mutex_);
  return files_.count(path) != 0;
}

std::vector<std::string> ScriptedFtpServer::Files() {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> names;
  for (const auto& [path, content] : files_) names.push_back(path);
  return names;
}

std::vector<std::string> ScriptedFtpServer::Commands() {
  const std::lock_guard lock(mutex_);
  return commands_;
}

int ScriptedFtpServer::Connections() {
  const std::lock_guard lock(mutex_);
  return connections_;
}

std::int64_t ScriptedFtpServer::Uploaded() {
  const std::lock_guard lock(mutex_);
  return uploaded_;
}

bool ScriptedFtpServer::WaitForBytes(const std::string& ending, std::size_t bytes) {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, kPatience, [&] {
    return std::any_of(files_.begin(), files_.end(), [&](const auto& file) {
      const auto& [path, content] = file;
      return path.size() >= ending.size() && path.compare(path.size() - ending.size(), ending.size(), ending) == 0 &&
             content.size() >= bytes;
    });
  });
}

bool ScriptedFtpServer::WaitForCommand(const std::string& word) {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, kPatience, [&] {
    return std::any_of(commands_.begin(), commands_.end(),
                       [&](const std::string& command) { return command.substr(0, command.find(' ')) == word; });
  });
}

}  // namespace zelkor::tests
