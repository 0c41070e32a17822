#include "vandry/peer_address.h"

#include <algorithm>

#include "lib/code_page.h"

namespace zelkor::vandry {

namespace {

// Longest name of the domain name system (RFC 1035 section 2.3.4).
constexpr std::size_t kLongestHost = 253;

bool IsHostCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '.' || c == '-' || c == '_';
}

// The scope behind "%" may be any interface's name.
bool IsSixCharacter(char c) { return IsHostCharacter(c) || c == ':' || c == '%'; }

}  // namespace

std::optional<std::uint16_t> ParsePort(std::string_view text) {
  constexpr std::size_t kMostDigits = 5;
  unsigned number = 0;
  if (text.empty() || text.size() > kMostDigits) return std::nullopt;
  for (const char c : text) {
    if (c < '0' || c > '9') return std::nullopt;
    number = number * 10 + static_cast<unsigned>(c - '0');
  }
  if (number == 0 || number > UINT16_MAX) return std::nullopt;
  return static_cast<std::uint16_t>(number);
}

std::optional<PeerAddress> ParsePeerAddress(std::string_view text) {
  const std::string lower = lib::Lower(text);
  PeerAddress address;
  std::string_view host = lower;
  std::optional<std::string_view> port;
  bool six = false;
  if (host.starts_with('[')) {
    const std::size_t end = host.find(']');
    if (end == std::string_view::npos) return std::nullopt;
    const std::string_view rest = host.substr(end + 1);
    if (!rest.empty() && !rest.starts_with(':')) return std::nullopt;
    if (!rest.empty()) port = rest.substr(1);
    host = host.substr(1, end - 1);
    six = true;
  } else if (const auto colons = std::count(host.begin(), host.end(), ':'); colons > 1) {
    six = true;
  } else if (colons == 1) {
    const std::size_t at = host.find(':');
    port = host.substr(at + 1);
    host = host.substr(0, at);
  }
  if (port) {
    const std::optional<std::uint16_t> number = ParsePort(*port);
    if (!number) return std::nullopt;
    address.port = *number;
  }
  if (host.empty() || host.size() > kLongestHost ||
      !std::all_of(host.begin(), host.end(), six ? IsSixCharacter : IsHostCharacter)) {
    return std::nullopt;
  }
  address.host = host;
  return address;
}

std::string PeerAddressText(const PeerAddress& address) {
  const bool six = address.host.find(':') != std::string::npos;
  return (six ? "[" + address.host + "]" : address.host) + ":" + std::to_string(address.port);
}

}  // namespace zelkor::vandry
