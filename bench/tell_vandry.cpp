// The program's end of Vandry's local link, for a script:  tell_vandry < COMMANDS
//
// Each line of standard input is a command; each reply and each message is a line of standard output, "reply" or
// "push" in front. Messages count as dealt with at once. Ends with its input, or with Vandry (status 1).

#include <chrono>
#include <iostream>
#include <memory>
#include <span>
#include <string>
#include <thread>

#include "lib/channel.h"
#include "lib/native_path.h"
#include "lib/readiness.h"

namespace {

namespace lib = zelkor::lib;
using std::chrono::milliseconds;

void Show(const char* kind, const std::string& text) { std::cout << kind << ' ' << text << std::endl; }

// What came by now; false when Vandry is gone.
bool Read(lib::ChannelClient& client) {
  // Commands that come meanwhile wait so long.
  client.Turn(milliseconds(2));
  while (const std::optional<lib::ChannelEvent> event = client.Next()) {
    if (event->kind == lib::ChannelEvent::Kind::Closed) return false;
    if (event->kind == lib::ChannelEvent::Kind::Reply) Show("reply", event->text);
    if (event->kind == lib::ChannelEvent::Kind::Push) {
      client.Handled(event->number);
      Show("push", event->text);
    }
  }
  return true;
}

}  // namespace

int main() {
  const lib::Result<std::string> programDir = lib::FindProgramDir();
  if (!programDir.Ok()) return 1;
  lib::Result<std::unique_ptr<lib::ChannelClient>> client = lib::Status(lib::Cause::NotFound, "");
  for (int i = 0; i < 200 && !client.Ok(); ++i) {
    client = lib::ChannelClient::Connect(*programDir, milliseconds(1000));
    if (!client.Ok()) std::this_thread::sleep_for(milliseconds(20));
  }
  if (!client.Ok()) {
    std::cerr << client.Failure().Message() << '\n';
    return 1;
  }
  Show("ready", "");
  std::uint32_t number = 0;
  for (;;) {
    lib::Awaited input{.handle = 0, .wantRead = true};
    lib::WaitUntilReady(std::span(&input, 1), milliseconds(0));
    if (input.canRead || std::cin.rdbuf()->in_avail() > 0) {
      std::string command;
      if (!std::getline(std::cin, command)) return 0;
      if (!(*client)->Execute(++number, command).Ok()) return 1;
    }
    if (!Read(**client)) return 1;
  }
}
