// The two ends of the local link in one process: while one waits the other is turned, by a thread where need be.
#pragma once

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "lib/channel.h"
#include "tests/support/sandbox.h"

namespace zelkor::lib {

class Channel : public tests::Sandbox {
 protected:
  void Listen() {
    Result<std::unique_ptr<ChannelServer>> server = ChannelServer::Listen(ProgramDir());
    ASSERT_TRUE(server.Ok()) << server.Failure().Message();
    server_ = std::move(*server);
  }
  Result<std::unique_ptr<ChannelClient>> TryConnect(const std::string& programDir) {
    std::atomic<bool> over = false;
    std::thread turning([&] {
      while (!over) TurnServer(std::chrono::milliseconds(5));
    });
    Result<std::unique_ptr<ChannelClient>> client = ChannelClient::Connect(programDir, std::chrono::seconds(20));
    over = true;
    turning.join();
    return client;
  }
  void Connect() {
    Result<std::unique_ptr<ChannelClient>> client = TryConnect(ProgramDir());
    ASSERT_TRUE(client.Ok()) << client.Failure().Message();
    client_ = std::move(*client);
    const ChannelRequest opened = Request();
    ASSERT_EQ(opened.kind, ChannelRequest::Kind::Opened);
    id_ = opened.client;
  }
  void TurnServer(std::chrono::milliseconds patience) {
    if (!server_) return std::this_thread::sleep_for(patience);
    Awaited awaited{.handle = server_->ReadyHandle(), .wantRead = true};
    WaitUntilReady({&awaited, 1}, patience);
    if (awaited.canRead) server_->Turn();
  }
  // The next thing heard; fails the test when none comes.
  ChannelRequest Request() {
    for (int i = 0; i < 1000; ++i) {
      if (const std::optional<ChannelRequest> request = server_->Next()) return *request;
      if (client_) client_->Turn(std::chrono::milliseconds(0));
      TurnServer(std::chrono::milliseconds(20));
    }
    ADD_FAILURE() << "the server heard nothing";
    return {};
  }
  ChannelEvent Event() {
    for (int i = 0; i < 1000; ++i) {
      // There is one: a test that gave it away has connected again. NOLINTNEXTLINE(clang-analyzer-cplusplus.Move)
      if (const std::optional<ChannelEvent> event = client_->Next()) return *event;
      if (server_) TurnServer(std::chrono::milliseconds(0));
      client_->Turn(std::chrono::milliseconds(20));
    }
    ADD_FAILURE() << "the client heard nothing";
    return {};
  }

  std::unique_ptr<ChannelServer> server_;
  std::unique_ptr<ChannelClient> client_;
  ChannelClientId id_ = 0;
};

}  // namespace zelkor::lib
