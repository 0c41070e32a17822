// Where on which server, and as whom.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "lib/status.h"

namespace zelkor::vandry {

// Section "Vandry" of "orlim.ini".
struct FtpSettings {
  enum class Tls { Never = 0, WhenOffered = 1, Required = 2 };
  Tls tls = Tls::WhenOffered;
  // The server connects to us for each transfer, instead of we to it.
  bool active = false;
  // How long a server may be silent.
  std::chrono::seconds patience{30};
  // A native file of certificates to trust when TLS is required, instead of the system's; empty: the system's.
  std::string certificates;
};

[[nodiscard]] FtpSettings ReadFtpSettings();

// The user name and password are overwritten when the object goes.
class FtpPlace {
 public:
  FtpPlace() = default;
  ~FtpPlace();
  FtpPlace(FtpPlace&&) = default;
  FtpPlace& operator=(FtpPlace&&) = delete;
  FtpPlace(const FtpPlace&) = delete;
  FtpPlace& operator=(const FtpPlace&) = delete;

  // In the code page. Refused: a server that is no host with or without a port, control characters anywhere.
  [[nodiscard]] static lib::Result<FtpPlace> From(std::string_view server, std::string_view user,
                                                  std::string_view password, std::string_view directory);

  [[nodiscard]] const std::string& Server() const { return server_; }
  // In UTF-8, as servers want them; no user stands for "anonymous".
  [[nodiscard]] const std::string& User() const { return user_; }
  [[nodiscard]] const std::string& Password() const { return password_; }
  // Of a file in the directory, or with an empty name of the directory itself. Neither user nor password is in it.
  [[nodiscard]] std::string Url(std::string_view fileName) const;
  // Names the directory on the server for notes on disk.
  [[nodiscard]] std::string Key() const { return user_ + "@" + Url(""); }

 private:
  std::string server_;
  std::string user_;
  std::string password_;
  std::string directory_;  // in UTF-8
};

// The name of a file on a server, in UTF-8. Refused: an empty one, "." and "..", one with a slash or a control
// character.
[[nodiscard]] lib::Result<std::string> RemoteName(std::string_view name);

}  // namespace zelkor::vandry
