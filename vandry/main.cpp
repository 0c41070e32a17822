// Vandry: the companion that carries sync files and messages between computers. It starts quietly, needs no display,
// and ends when the program that started it says so.

#include <cstdlib>
#include <string>
#include <vector>

#include "lib/code_page.h"
#include "lib/command_line.h"
#include "lib/format.h"
#include "lib/native_path.h"
#include "lib/secret.h"
#include "lib/settings.h"
#include "lib/terminal.h"
#include "vandry/ftp_session.h"
#include "vandry/loop.h"
#include "vandry/pairing_command.h"
#include "vandry/peer.h"
#include "vandry/program.h"
#include "vandry/version.h"

namespace {

namespace lib = zelkor::lib;
namespace vandry = zelkor::vandry;

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kNotUnderstood = 2;

// Another one that is ending has its place no longer than this.
constexpr vandry::Loop::Milliseconds kTimeToEnd{2000};

// Around what there is to say of pairing.
constexpr const char* kHelpBefore =
    "Usage: vandry [SWITCH]\n"
    "Carries Zelkor's sync files and messages between computers. Zelkor starts it when it is needed;\n"
    "started by hand it runs without a window until it is interrupted.\n"
    "\n";
constexpr const char* kHelpBehind =
    "  --help                   this text\n"
    "  --version                the version\n";

int Fail(const std::string& message) {
  lib::WriteToStandardError("Vandry: " + lib::ToUtf8(message) + "\n");
  return kFailed;
}

int Run(const std::string& programDir) {
  vandry::Loop loop;
  vandry::PrepareFtp();
  vandry::Program program(loop, programDir);
  lib::Status opened;
  const auto open = [&] {
    opened = program.Open([&](vandry::Loop& peersLoop, vandry::PeerUser& user) {
      return vandry::OpenPeers(peersLoop, user, [programDir] { return vandry::ReadPeerSettings(programDir); });
    });
    return opened.Why() != lib::Cause::Exists;
  };
  // The one before may be on its way out: Zelkor does not wait for its end, and the next Zelkor may come at once.
  (void)loop.RunUntil(open, kTimeToEnd);
  if (opened.Why() == lib::Cause::Exists) return Fail("Vandry is already running");
  if (!opened.Ok()) return Fail(opened.Message());
  loop.Run();
  // A transfer may hang in a library for a while; nothing of it is wanted any more.
  if (!program.Close()) std::_Exit(kDone);
  return kDone;
}

}  // namespace

int main(int argc, char** argv) {
  lib::KeepMemoryPrivate();
  const std::vector<std::string> words = lib::CommandLineWords(argc, argv);
  if (!words.empty() && (words[0] == "--help" || words[0] == "--version")) {
    const std::string version = "Vandry " + lib::FormatTwoDecimals(vandry::kVandryVersion / 100.0) + "\n";
    lib::WriteToStandardOutput(words[0] == "--help" ? kHelpBefore + std::string(vandry::kPairingHelp) + kHelpBehind
                                                    : version);
    return kDone;
  }
  const bool pairing = !words.empty() && vandry::IsPairingCommand(words[0]);
  if (!words.empty() && !pairing) {
    lib::WriteToStandardError("Vandry: unknown word \"" + words[0] + "\"; vandry --help says what there is\n");
    return kNotUnderstood;
  }
  lib::UseLocaleOfEnvironment();
  lib::WatchForInterrupt();
  const std::string codePage = lib::GetIniString("Zelkor", "CodePage", "");
  if (!codePage.empty() && !lib::SetCodePage(codePage)) {
    return Fail("The code page [" + codePage + "] of the settings is unknown or not a single-byte one");
  }
  const lib::Result<std::string> programDir = lib::FindProgramDir();
  if (!programDir.Ok()) return Fail(programDir.Failure().Message());
  return pairing ? vandry::RunPairingCommand(words, *programDir) : Run(*programDir);
}
