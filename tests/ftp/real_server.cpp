#include "tests/ftp/real_server.h"

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <netinet/in.h>
#include <pwd.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

#include "tests/support/process.h"

namespace zelkor::tests {

namespace {

namespace fs = std::filesystem;
using Kind = RealFtpOptions::Kind;
using Tls = RealFtpOptions::Tls;

// Where cmake/servers.sh puts them.
const fs::path kUnpacked = ZELKOR_FTP_SERVERS;

// One that is installed, or the unpacked one.
fs::path Find(const std::string& name) {
  for (const fs::path& folder :
       {fs::path("/usr/sbin"), fs::path("/usr/bin"), kUnpacked / "usr/sbin", kUnpacked / "usr/bin"}) {
    if (fs::exists(folder / name)) return folder / name;
  }
  return {};
}

void Write(const fs::path& path, const std::string& text) {
  std::ofstream(path) << text;
  fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write);
}

std::string OwnName() {
  const passwd* const user = getpwuid(getuid());
  return user == nullptr ? "root" : user->pw_name;
}

// The user that files belong to where the server wants another one than root.
constexpr uid_t kNobody = 65534;

}  // namespace

std::string RealFtpServer::WhyNot(Kind kind) {
  const std::string name = kind == Kind::Vsftpd ? "vsftpd" : "pure-ftpd";
  if (Find(name).empty()) return name + " is not here; cmake/servers.sh fetches it";
  if (kind == Kind::PureFtpd && getuid() != 0) return "pure-ftpd runs for root only";
  return {};
}

RealFtpServer::RealFtpServer(const RealFtpOptions& options, fs::path folder)
    : options_(options), folder_(std::move(folder)) {
  fs::create_directories(Files());
  fs::create_directories(folder_ / "empty");
  // Another user than the test's has to get here.
  for (fs::path above = folder_; above != fs::temp_directory_path() && above.has_relative_path();
       above = above.parent_path()) {
    std::error_code ignored;
    fs::permissions(above, fs::perms::group_exec | fs::perms::others_exec, fs::perm_options::add, ignored);
  }
  if (options.tls != Tls::No) MakeCertificate();
  environment_ = {"LD_LIBRARY_PATH=" + (kUnpacked / "usr/lib/x86_64-linux-gnu").string(), "PATH=/usr/bin:/bin"};
  if (options.kind == Kind::Vsftpd) {
    ConfigureVsftpd(options);
  } else {
    ConfigurePureFtpd(options);
  }
  listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  if (bind(listener_, reinterpret_cast<sockaddr*>(&address), length) != 0 || listen(listener_, 8) != 0 ||
      getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    throw std::runtime_error("no listening socket");
  }
  port_ = ntohs(address.sin_port);
  acceptor_ = std::thread([this] { Accept(); });
}

RealFtpServer::~RealFtpServer() {
  shutdown(listener_, SHUT_RDWR);
  acceptor_.join();
  KillConnections();
  close(listener_);
}

std::string RealFtpServer::Address() const { return "127.0.0.1:" + std::to_string(port_); }
std::string RealFtpServer::User() const { return options_.kind == Kind::Vsftpd ? "anonymous" : "lap"; }

// Without its own user vsftpd can not make the users' folder the root of what they see.
std::string RealFtpServer::Root() const { return options_.kind == Kind::Vsftpd ? Files().string() + "/" : "/"; }

void RealFtpServer::MakeCertificate() const {
  const Outcome made = RunCommand({.program = "/usr/bin/openssl",
                                   .arguments = {"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj",
                                                 "/CN=127.0.0.1", "-addext", "subjectAltName=IP:127.0.0.1", "-keyout",
                                                 (folder_ / "key.pem").string(), "-out", Certificate().string()}});
  if (made.status != 0) throw std::runtime_error("no certificate: " + made.err);
  std::ifstream key(folder_ / "key.pem");
  std::ifstream certificate(Certificate());
  std::ofstream both(folder_ / "both.pem");
  both << key.rdbuf() << certificate.rdbuf();
}

// Who logs in anonymously gives a password all the same; the file of "mail addresses" lists the only good one. So no
// user of this computer is needed.
void RealFtpServer::ConfigureVsftpd(const RealFtpOptions& options) {
  Write(folder_ / "passwords", Password() + "\n");
  std::string text =
      "listen=NO\nbackground=NO\nrun_as_launching_user=YES\nanonymous_enable=YES\nallow_writeable_chroot=YES\n"
      "secure_email_list_enable=YES\nwrite_enable=YES\nanon_upload_enable=YES\nanon_mkdir_write_enable=YES\n"
      "anon_other_write_enable=YES\nanon_world_readable_only=NO\nanon_umask=022\nseccomp_sandbox=NO\n"
      "port_enable=YES\nconnect_from_port_20=NO\n";
  text += "anon_root=" + Files().string() + "\n";
  text += "email_password_file=" + (folder_ / "passwords").string() + "\n";
  text += "secure_chroot_dir=" + (folder_ / "empty").string() + "\n";
  text += "ftp_username=" + OwnName() + "\nnopriv_user=" + OwnName() + "\n";
  if (options.bytesPerSecond > 0) text += "anon_max_rate=" + std::to_string(options.bytesPerSecond) + "\n";
  if (options.tls != Tls::No) {
    const std::string demanded = options.tls == Tls::Demanded ? "YES" : "NO";
    text += "ssl_enable=YES\nallow_anon_ssl=YES\nforce_anon_logins_ssl=" + demanded +
            "\nforce_anon_data_ssl=" + demanded + "\nssl_ciphers=HIGH\nrsa_cert_file=" + Certificate().string() +
            "\nrsa_private_key_file=" + (folder_ / "key.pem").string() + "\n";
  }
  Write(folder_ / "vsftpd.conf", text);
  command_ = {Find("vsftpd").string(), (folder_ / "vsftpd.conf").string()};
}

void RealFtpServer::ConfigurePureFtpd(const RealFtpOptions& options) {
  const Outcome hash = RunCommand({.program = "/usr/bin/openssl", .arguments = {"passwd", "-6", Password()}});
  if (hash.status != 0) throw std::runtime_error("no password: " + hash.err);
  const std::string number = std::to_string(kNobody);
  const std::string megabytes =
      options.megabytes > 0 ? std::to_string(static_cast<long>(options.megabytes) * 1024 * 1024) : std::string();
  const std::string rate = options.bytesPerSecond > 0 ? std::to_string(options.bytesPerSecond) : std::string();
  // Account, password, numbers of user and group, comment, home, bandwidths up and down, two ratios, connections,
  // files, bytes, and six fields that limit from where and when.
  Write(folder_ / "users", "lap:" + hash.out.substr(0, hash.out.find('\n')) + ":" + number + ":" + number +
                               "::" + Files().string() + "/./:" + rate + ":" + rate +
                               "::::" + (megabytes.empty() ? "" : "1000") + ":" + megabytes + "::::::\n");
  const Outcome made =
      RunCommand({.program = Find("pure-pw"),
                  .arguments = {"mkdb", (folder_ / "users.pdb").string(), "-f", (folder_ / "users").string()},
                  .environment = environment_});
  if (made.status != 0) throw std::runtime_error("no users: " + made.err);
  if (chown(Files().c_str(), kNobody, kNobody) != 0) throw std::runtime_error("the users' folder stays root's");
  command_ = {Find("pure-ftpd").string(), "-l", "puredb:" + (folder_ / "users.pdb").string(), "-E", "-A", "-u", "1"};
  if (options.tls != Tls::No) {
    command_.insert(command_.end(),
                    {"-Y", options.tls == Tls::Demanded ? "2" : "1", "-2", (folder_ / "both.pem").string()});
  }
}

void RealFtpServer::Accept() {
  for (int connection = 0; (connection = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC)) >= 0;) {
    Serve(connection);
    close(connection);
  }
}

// As a super-server does: the connection is the server's standard input and output.
void RealFtpServer::Serve(int connection) {
  std::vector<char*> arguments;
  for (std::string& word : command_) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  std::vector<char*> environment;
  for (std::string& setting : environment_) environment.push_back(setting.data());
  environment.push_back(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    setpgid(0, 0);
    const int nothing = open("/dev/null", O_WRONLY);
    for (const int standard : {0, 1}) dup2(connection, standard);
    dup2(nothing, 2);
    execve(arguments[0], arguments.data(), environment.data());
    _exit(127);
  }
  if (child < 0) return;  // the client sees its connection closed
  setpgid(child, child);
  const std::lock_guard lock(mutex_);
  serving_.push_back(child);
  ++connections_;
}

void RealFtpServer::KillConnections() {
  const std::lock_guard lock(mutex_);
  for (const pid_t child : serving_) {
    kill(-child, SIGKILL);
    waitpid(child, nullptr, 0);
  }
  serving_.clear();
}

int RealFtpServer::Connections() {
  const std::lock_guard lock(mutex_);
  return connections_;
}

void RealFtpServer::PutFile(const std::string& name, const std::string& content) const {
  const fs::path path = Files() / name;
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << content;
  if (options_.kind == Kind::PureFtpd && chown(path.c_str(), kNobody, kNobody) != 0) {
    throw std::runtime_error("the file stays root's");
  }
}

}  // namespace zelkor::tests
