// Addresses of other computers as people and messages write them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zelkor::vandry {

// Not assigned to any service by IANA.
inline constexpr std::uint16_t kDefaultPort = 4223;

struct PeerAddress {
  std::string host;  // a name, or an IP address without brackets
  std::uint16_t port = kDefaultPort;

  bool operator==(const PeerAddress&) const = default;
};

// A decimal number from 1 to 65535 and nothing else.
[[nodiscard]] std::optional<std::uint16_t> ParsePort(std::string_view text);
// "host", "host:port", "[v6]", "[v6]:port" or a bare IPv6 address; the host in lower case. Nothing for what can be no
// address.
[[nodiscard]] std::optional<PeerAddress> ParsePeerAddress(std::string_view text);
// "host:port", with brackets around an IPv6 address.
[[nodiscard]] std::string PeerAddressText(const PeerAddress& address);

}  // namespace zelkor::vandry
