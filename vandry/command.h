// One line of text that asks Vandry for something, taken apart.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zelkor::vandry {

// What it was made of is overwritten when it goes, since a password is among the arguments of some.
struct Command {
  enum class Word {
    Hello,        // no arguments
    Exit,         // no arguments
    NetPing,      // address
    NetTrans,     // address, text
    NetFileSend,  // address, own ID, target ID, path
    NetFileRec,   // path
    FtpSend,      // server, user, password, directory, local file, remote file
    FtpGet,       // server, user, password, directory, remote file, local file
    FtpDir,       // server, user, password, directory, local file
    None,         // nothing that can be understood: `problem` says why
  };

  Command() = default;
  ~Command();
  Command(Command&&) = default;
  Command& operator=(Command&&) = delete;
  Command(const Command&) = delete;
  Command& operator=(const Command&) = delete;

  Word word = Word::None;
  std::vector<std::string> arguments;
  std::string problem;
};

// The word, and its arguments behind single blanks. Those of the FTP commands stand in double quotes, which nothing can
// escape; of the others the last one is the rest of the line, unchanged. IDs come out in lower case.
[[nodiscard]] Command ParseCommand(std::string_view text);

}  // namespace zelkor::vandry
