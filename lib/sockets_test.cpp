#include "lib/sockets.h"

#include <array>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/sockets.h"

namespace zelkor::lib {
namespace {

using std::chrono::seconds;
using testing::EndsWith;

constexpr seconds kLong{20};

void AwaitReading(const Socket& socket) {
  Awaited awaited{.handle = socket.Get(), .wantRead = true};
  WaitUntilReady({&awaited, 1}, kLong);
  EXPECT_TRUE(awaited.canRead);
}
void AwaitWriting(const Socket& socket) {
  Awaited awaited{.handle = socket.Get(), .wantWrite = true};
  WaitUntilReady({&awaited, 1}, kLong);
  EXPECT_TRUE(awaited.canWrite);
}
Socket Listening() { return std::move(*ListenOn(*NumericAddress("127.0.0.1", 0))); }
Socket ConnectedTo(std::uint16_t port) {
  Socket socket = std::move(*StartConnecting(*NumericAddress("127.0.0.1", port)));
  AwaitWriting(socket);
  return socket;
}

TEST(Sockets, TakeNumericAddressesOnly) {
  EXPECT_EQ(NumericAddress("127.0.0.1", 4223)->Host(), "127.0.0.1");
  EXPECT_EQ(NumericAddress("127.0.0.1", 4223)->Port(), 4223);
  EXPECT_EQ(NumericAddress("::1", 80)->Host(), "::1");
  EXPECT_EQ(NumericAddress("::1", 80)->Port(), 80);
  EXPECT_FALSE(NumericAddress("localhost", 80).has_value());
}

TEST(Sockets, ShowAnIpv4AddressThatCameByIpv6AsSuch) {
  EXPECT_EQ(NumericAddress("::ffff:10.0.0.2", 80)->Host(), "10.0.0.2");
}

TEST(Sockets, CarryBytesBothWays) {
  const Socket listening = Listening();
  const Socket near = ConnectedTo(LocalPort(listening));
  EXPECT_TRUE(ConnectOutcome(near).Ok());
  AwaitReading(listening);
  const std::optional<AcceptedConnection> far = AcceptConnection(listening);
  ASSERT_TRUE(far.has_value());
  EXPECT_EQ(far->from.Host(), "127.0.0.1");
  EXPECT_EQ(far->from.Port(), LocalPort(near));
  EXPECT_FALSE(AcceptConnection(listening).has_value());
  std::array<char, 8> bytes{};
  EXPECT_EQ(tests::ReceiveNow(near, bytes).how, tests::Passed::How::NotNow);
  for (const auto& [from, to] : {std::pair(&near, &far->socket), std::pair(&far->socket, &near)}) {
    ASSERT_EQ(tests::SendNow(*from, "hello").bytes, 5U);
    AwaitReading(*to);
    EXPECT_EQ(tests::ReceiveNow(*to, bytes).bytes, 5U);
    EXPECT_EQ(std::string(bytes.data(), 5), "hello");
  }
  HangUp(near.Get());
  AwaitReading(far->socket);
  EXPECT_EQ(tests::ReceiveNow(far->socket, bytes).how, tests::Passed::How::Ended);
}

TEST(Sockets, SayWhyNobodyIsConnected) {
  const std::uint16_t port = LocalPort(Listening());  // nobody listens there any more
  const Socket socket = ConnectedTo(port);
  EXPECT_THAT(ConnectOutcome(socket).Message(), EndsWith(": Connection refused"));
}

TEST(Sockets, SayThatAPortIsTaken) {
  const Socket listening = Listening();
  const Result<Socket> second = ListenOn(*NumericAddress("127.0.0.1", LocalPort(listening)));
  ASSERT_FALSE(second.Ok());
  EXPECT_EQ(second.Failure().Message(),
            "Can not listen on 127.0.0.1 port " + std::to_string(LocalPort(listening)) + ": Address already in use");
}

TEST(Sockets, SayWhatBrokeAConnection) {
  const Socket listening = Listening();
  const Socket near = ConnectedTo(LocalPort(listening));
  AwaitReading(listening);
  std::optional<AcceptedConnection> far = AcceptConnection(listening);
  ASSERT_TRUE(far.has_value());
  ForgetSocketError();
  EXPECT_EQ(SocketErrorSaid(), "");
  tests::BreakWhenClosed(far->socket);
  far.reset();
  AwaitReading(near);
  std::array<char, 8> bytes{};
  EXPECT_EQ(tests::ReceiveNow(near, bytes).how, tests::Passed::How::Broken);
  EXPECT_EQ(SocketErrorSaid(), "Connection reset by peer");
}

TEST(Sockets, LookUpNamesBesideTheProgram) {
  const HostLookup own("localhost", 4223);
  Awaited awaited{.handle = own.Readiness(), .wantRead = true};
  WaitUntilReady({&awaited, 1}, kLong);
  ASSERT_TRUE(awaited.canRead);
  const Result<std::vector<SocketAddress>> found = own.Found();
  ASSERT_TRUE(found.Ok()) << found.Failure().Message();
  EXPECT_EQ(found->front().Port(), 4223);
}

TEST(Sockets, SayThatANameIsNotKnown) {
  const HostLookup nobody("no-such-computer.invalid", 4223);  // a name that is kept from ever being one (RFC 2606)
  Awaited awaited{.handle = nobody.Readiness(), .wantRead = true};
  WaitUntilReady({&awaited, 1}, seconds{60});
  ASSERT_TRUE(awaited.canRead);
  EXPECT_EQ(nobody.Found().Failure().Message(), "No computer is known under the name \"no-such-computer.invalid\"");
}

}  // namespace
}  // namespace zelkor::lib
