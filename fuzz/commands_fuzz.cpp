// Feeds any text to Vandry as a command, as what an FTP server says of a directory, and as another's words in a reply.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "lib/date.h"
#include "lib/paths.h"
#include "lib/remote_listing.h"
#include "lib/text.h"
#include "vandry/command.h"
#include "vandry/ftp_listing.h"
#include "vandry/ftp_place.h"
#include "vandry/reply.h"

namespace {

namespace lib = zelkor::lib;
using zelkor::vandry::Command;
using Word = Command::Word;

constexpr lib::Date kNow = 46000;

void Check(bool holds) {
  if (!holds) std::abort();
}

bool HoldsControl(std::string_view text) {
  return std::any_of(text.begin(), text.end(), [](char c) { return (c >= 0 && c < ' ') || c == '\x7f'; });
}

// What was read is what was written, and nothing else.
std::string Written(const Command& command, std::string_view name) {
  const bool quoted = command.word == Word::FtpSend || command.word == Word::FtpGet || command.word == Word::FtpDir;
  std::string text(name);
  for (const std::string& argument : command.arguments) text += quoted ? " \"" + argument + "\"" : " " + argument;
  return command.word == Word::NetPing ? text + " NetPing" : text;
}

void TryPlace(const std::vector<std::string>& arguments) {
  const auto place = zelkor::vandry::FtpPlace::From(arguments[0], arguments[1], arguments[2], arguments[3]);
  const auto name = zelkor::vandry::RemoteName(arguments[4]);
  if (!place.Ok() || !name.Ok()) return;
  const std::string url = place->Url(*name);
  Check(url.compare(0, 6, "ftp://") == 0);
  // Only the server stands between the scheme and the first slash: nobody else is sent the password.
  const std::string server = url.substr(6, url.find('/', 6) - 6);
  Check(server == place->Server() && server.find_first_of("@?# ") == std::string::npos);
  Check(url.find_first_of("?# \"\r\n", 6) == std::string::npos);
}

void TryCommand(std::string_view text) {
  const Command command = zelkor::vandry::ParseCommand(text);
  if (command.word == Word::None) {
    Check(!command.problem.empty());
    return;
  }
  for (const std::string& argument : command.arguments) Check(!HoldsControl(argument));
  if (command.word == Word::NetFileSend) {
    // IDs come out in lower case, so only the length is the text's.
    Check(Written(command, "NetFileSend").size() == text.size() && lib::IsDrivePath(command.arguments[3]));
    return;
  }
  Check(Written(command, text.substr(0, text.find(' '))) == text);
  if (command.word == Word::FtpSend || command.word == Word::FtpGet) TryPlace(command.arguments);
}

void TryListing(const std::vector<lib::RemoteEntry>& entries) {
  for (const lib::RemoteEntry& entry : entries) {
    Check(!entry.name.empty() && entry.name != "." && entry.name != ".." && !HoldsControl(entry.name));
    Check(lib::ParseRemoteListingLine(lib::RemoteListingLine(entry)) == entry);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  for (const std::string& line : lib::SplitLines(text)) TryCommand(line);
  TryCommand(text);
  TryListing(zelkor::vandry::ParseListing(text, kNow));
  TryListing(zelkor::vandry::ParseMachineListing(text));
  const std::string quiet = zelkor::vandry::QuietText(text);
  Check(quiet.find("OK") == std::string::npos && quiet.find("Error") == std::string::npos && !HoldsControl(quiet));
  return 0;
}
