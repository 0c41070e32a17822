#include "vandry/peer_address.h"

#include <gtest/gtest.h>
#include <string>

namespace zelkor::vandry {
namespace {

std::string Read(std::string_view text) {
  const std::optional<PeerAddress> address = ParsePeerAddress(text);
  return address ? address->host + " " + std::to_string(address->port) : "none";
}

TEST(PeerAddress, HasTheDefaultPortUnlessItNamesOne) {
  EXPECT_EQ(Read("10.0.0.2"), "10.0.0.2 4223");
  EXPECT_EQ(Read("Office.lan"), "office.lan 4223");
  EXPECT_EQ(Read("office.lan:5000"), "office.lan 5000");
  EXPECT_EQ(Read("[fe80::1%eth0]:5000"), "fe80::1%eth0 5000");
  EXPECT_EQ(Read("[::1]"), "::1 4223");
  EXPECT_EQ(Read("2001:db8::2"), "2001:db8::2 4223");
}

TEST(PeerAddress, IsNotWhatCanBeNone) {
  for (const char* wrong : {"", ":", ":5000", "a:", "a:0", "a:65536", "a:5000x", "a b", "a/b", "[::1", "[::1]x", "[]",
                            "[]:5", "a:+5", "a:123456", "\xe4.lan", "http://a"}) {
    EXPECT_EQ(Read(wrong), "none") << wrong;
  }
  EXPECT_EQ(Read(std::string(254, 'a')), "none");
}

TEST(PeerAddress, IsWrittenSoThatItCanBeRead) {
  for (const char* text : {"10.0.0.2:4223", "[2001:db8::2]:4223", "office:5000"}) {
    const std::optional<PeerAddress> address = ParsePeerAddress(text);
    ASSERT_TRUE(address);
    EXPECT_EQ(PeerAddressText(*address), text);
  }
}

}  // namespace
}  // namespace zelkor::vandry
