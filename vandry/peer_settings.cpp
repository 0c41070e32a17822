// The settings of the connections to other computers, as "orlim.ini" holds them.

#include "lib/code_page.h"
#include "lib/settings.h"
#include "lib/text.h"
#include "vandry/pairings.h"
#include "vandry/peer.h"
#include "vandry/peer_address.h"

namespace zelkor::vandry {

PeerSettings ReadPeerSettings(const std::string& programDir) {
  constexpr std::size_t kLongestId = 6;
  PeerSettings settings;
  settings.programDir = programDir;
  settings.computerId = lib::Lower(lib::GetIniString("Orlim", "User", "")).substr(0, kLongestId);
  settings.accept = lib::LeadingNumber(lib::GetIniString("Zelkor", "AcceptNetConn", "0")) != 0;
  settings.port = ParsePort(lib::Trim(lib::GetIniString("Vandry", "Port", ""))).value_or(kDefaultPort);
  // Several IPv6 addresses are longer than an ordinary setting may be.
  std::string addresses = lib::GetIniPath("Vandry", "Listen");
  for (char& c : addresses) {
    if (c == ',' || c == ';' || c == '\t') c = ' ';
  }
  settings.listen = lib::SplitWords(addresses, ' ', "\"");
  return settings;
}

}  // namespace zelkor::vandry
