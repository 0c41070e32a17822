#include "net/commands.h"

#include <algorithm>
#include <array>
#include <span>

#include "lib/code_page.h"
#include "lib/text.h"

namespace zelkor::net {

namespace {

struct Argument {
  std::string_view name;
  std::string_view value;
};

lib::Status Refuse(const Argument& argument, std::string_view why) {
  return {lib::Cause::Refused, "The " + std::string(argument.name) + " " + std::string(why)};
}

bool HasLineBreak(std::string_view text) { return text.find_first_of(std::string_view("\r\n\0", 3)) != text.npos; }

// A word that stands between blanks.
lib::Status CheckWord(const Argument& argument) {
  if (argument.value.empty()) return Refuse(argument, "is empty");
  if (argument.value.find_first_of(" \"") != std::string_view::npos || HasLineBreak(argument.value)) {
    return Refuse(argument, "[" + std::string(argument.value) + "] holds a blank, a double quote or a line break");
  }
  return {};
}

lib::Status CheckRest(const Argument& argument) {
  if (argument.value.empty()) return Refuse(argument, "is empty");
  return HasLineBreak(argument.value) ? Refuse(argument, "holds a line break") : lib::Status();
}

lib::Result<std::string> FtpCommand(std::string_view name, const FtpPlace& place, std::span<const Argument> files) {
  if (lib::Trim(place.server).empty()) return Refuse({"name of the FTP server", {}}, "is empty");
  std::vector<Argument> arguments = {{"name of the FTP server", place.server},
                                     {"user name", place.userName},
                                     {"password", place.password},
                                     {"directory", place.directory}};
  arguments.insert(arguments.end(), files.begin(), files.end());
  std::string command(name);
  for (const Argument& argument : arguments) {
    if (argument.value.find('"') != std::string_view::npos) return Refuse(argument, "holds a double quote");
    if (HasLineBreak(argument.value)) return Refuse(argument, "holds a line break");
    command += " \"" + std::string(lib::Trim(argument.value)) + "\"";
  }
  return command;
}

}  // namespace

lib::Result<std::string> NetTrans(std::string_view address, std::string_view rest) {
  address = lib::Trim(address);
  if (const lib::Status status = CheckWord({"address", address}); !status.Ok()) return status;
  if (const lib::Status status = CheckRest({"message", rest}); !status.Ok()) return status;
  return "NetTrans " + std::string(address) + " " + std::string(rest);
}

lib::Result<std::string> NetTransOfComputer(std::string_view address, std::string_view message,
                                            std::string_view ownId) {
  const std::string id = lib::Lower(lib::Trim(ownId));
  if (const lib::Status status = CheckWord({"computer ID", id}); !status.Ok()) return status;
  return NetTrans(address, std::string(message) + " " + id);
}

lib::Result<std::string> NetFileSend(std::string_view address, std::string_view ownId, std::string_view targetId,
                                     std::string_view path) {
  const std::string own = lib::Lower(lib::Trim(ownId));
  const std::string target = lib::Lower(lib::Trim(targetId));
  address = lib::Trim(address);
  for (const Argument& word :
       std::array<Argument, 3>{{{"address", address}, {"computer ID", own}, {"target", target}}}) {
    if (const lib::Status status = CheckWord(word); !status.Ok()) return status;
  }
  if (const lib::Status status = CheckRest({"path", path}); !status.Ok()) return status;
  return "NetFileSend " + std::string(address) + " " + own + " " + target + " " + std::string(path);
}

lib::Result<std::string> NetFileRec(std::string_view path) {
  if (const lib::Status status = CheckRest({"path", path}); !status.Ok()) return status;
  return "NetFileRec " + std::string(path);
}

lib::Result<std::string> FtpSend(const FtpPlace& place, std::string_view localFile, std::string_view remoteFile) {
  return FtpCommand("FTPSend", place,
                    std::array<Argument, 2>{{{"local file", localFile}, {"remote file", remoteFile}}});
}

lib::Result<std::string> FtpGet(const FtpPlace& place, std::string_view remoteFile, std::string_view localFile) {
  return FtpCommand("FTPGet", place, std::array<Argument, 2>{{{"remote file", remoteFile}, {"local file", localFile}}});
}

lib::Result<std::string> FtpDir(const FtpPlace& place, std::string_view localFile) {
  return FtpCommand("FTPDir", place, std::array<Argument, 1>{{{"local file", localFile}}});
}

}  // namespace zelkor::net
