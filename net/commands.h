// The commands that Vandry understands, as text. Network commands put their arguments side by side, FTP commands put
// each in double quotes; nothing can be escaped. What can therefore not be sent is refused, with a sentence that says
// which argument it is.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "lib/status.h"

namespace zelkor::net {

// `rest` is delivered to the Vandry at the address as it stands.
[[nodiscard]] lib::Result<std::string> NetTrans(std::string_view address, std::string_view rest);
// A message about this computer for the other one: "SyncMe" or "SyncSuccessfull".
[[nodiscard]] lib::Result<std::string> NetTransOfComputer(std::string_view address, std::string_view message,
                                                          std::string_view ownId);
[[nodiscard]] lib::Result<std::string> NetFileSend(std::string_view address, std::string_view ownId,
                                                   std::string_view targetId, std::string_view path);
[[nodiscard]] lib::Result<std::string> NetFileRec(std::string_view path);

// Where an FTP command goes.
struct FtpPlace {
  std::string server;
  std::string userName;
  std::string password;
  std::string directory;
};
[[nodiscard]] lib::Result<std::string> FtpSend(const FtpPlace& place, std::string_view localFile,
                                               std::string_view remoteFile);
[[nodiscard]] lib::Result<std::string> FtpGet(const FtpPlace& place, std::string_view remoteFile,
                                              std::string_view localFile);
[[nodiscard]] lib::Result<std::string> FtpDir(const FtpPlace& place, std::string_view localFile);

}  // namespace zelkor::net
