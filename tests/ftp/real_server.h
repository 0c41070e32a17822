// A real FTP server, run by the test for each connection that comes to a free port of 127.0.0.1, with its files in a
// folder of the test's.
#pragma once

#include <filesystem>
#include <mutex>
#include <string>
#include <sys/types.h>
#include <thread>
#include <vector>

namespace zelkor::tests {

struct RealFtpOptions {
  enum class Kind { Vsftpd, PureFtpd };
  enum class Tls { No, Offered, Demanded };
  Kind kind = Kind::Vsftpd;
  Tls tls = Tls::No;
  int bytesPerSecond = 0;  // 0: as fast as it goes
  int megabytes = 0;       // room for files, of PureFtpd; 0: all there is
};

class RealFtpServer {
 public:
  // Why there can be no such server here; empty when there can.
  [[nodiscard]] static std::string WhyNot(RealFtpOptions::Kind kind);

  // Keeps its configuration in `folder`, and the users' files in `folder`/files.
  RealFtpServer(const RealFtpOptions& options, std::filesystem::path folder);
  ~RealFtpServer();
  RealFtpServer(const RealFtpServer&) = delete;
  RealFtpServer& operator=(const RealFtpServer&) = delete;

  [[nodiscard]] std::string Address() const;
  [[nodiscard]] std::string User() const;
  [[nodiscard]] std::string Password() const { return "secret word"; }
  [[nodiscard]] std::filesystem::path Files() const { return folder_ / "files"; }
  // The directory of the users' files as the server names it, with a final slash.
  [[nodiscard]] std::string Root() const;
  // What proves who the server is.
  [[nodiscard]] std::filesystem::path Certificate() const { return folder_ / "certificate.pem"; }

  // Kills what serves the connections that there are.
  void KillConnections();
  [[nodiscard]] int Connections();
  void PutFile(const std::string& name, const std::string& content) const;

 private:
  void Configure(const RealFtpOptions& options);
  void ConfigureVsftpd(const RealFtpOptions& options);
  void ConfigurePureFtpd(const RealFtpOptions& options);
  void MakeCertificate() const;
  void Accept();
  void Serve(int connection);

  RealFtpOptions options_;
  std::filesystem::path folder_;
  std::vector<std::string> command_;
  std::vector<std::string> environment_;
  int listener_ = -1;
  int port_ = 0;
  std::mutex mutex_;
  std::vector<pid_t> serving_;
  int connections_ = 0;
  std::thread acceptor_;
};

}  // namespace zelkor::tests
