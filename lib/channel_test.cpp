#include "lib/channel.h"

#include <filesystem>
#include <future>
#include <gmock/gmock.h>
#include <vector>

#include "lib/channel_fixture.h"
#include "lib/channel_frame.h"
#include "lib/readiness.h"

namespace zelkor::lib {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using EventKind = ChannelEvent::Kind;
using RequestKind = ChannelRequest::Kind;

TEST_F(Channel, TakesACommandAndRepliesUnderItsNumber) {
  Listen();
  Connect();
  ASSERT_TRUE(client_->Execute(7, "Hello").Ok());
  const ChannelRequest request = Request();
  EXPECT_EQ(request.kind, RequestKind::Execute);
  EXPECT_EQ(request.number, 7U);
  EXPECT_EQ(request.text, "Hello");
  server_->Working(id_, 7);
  server_->Taken(id_, 7);
  server_->Reply(id_, 7, "OK 1.0");
  EXPECT_EQ(Event().kind, EventKind::Working);
  const ChannelEvent taken = Event();
  EXPECT_EQ(taken.kind, EventKind::Taken);
  EXPECT_EQ(taken.number, 7U);
  const ChannelEvent reply = Event();
  EXPECT_EQ(reply.kind, EventKind::Reply);
  EXPECT_EQ(reply.number, 7U);
  EXPECT_EQ(reply.text, "OK 1.0");
}

TEST_F(Channel, DeliversEqualPushesEachAsAnEventInOrder) {
  Listen();
  Connect();
  for (const std::uint32_t number : {1U, 2U, 3U}) server_->Push(id_, number, number == 2 ? "other" : "same");
  std::vector<std::string> texts;
  std::vector<std::uint32_t> numbers;
  for (int i = 0; i < 3; ++i) {
    const ChannelEvent event = Event();
    EXPECT_EQ(event.kind, EventKind::Push);
    texts.push_back(event.text);
    numbers.push_back(event.number);
  }
  EXPECT_THAT(texts, ElementsAre("same", "other", "same"));
  EXPECT_THAT(numbers, ElementsAre(1U, 2U, 3U));
  client_->Handled(2);
  const ChannelRequest handled = Request();
  EXPECT_EQ(handled.kind, RequestKind::Handled);
  EXPECT_EQ(handled.number, 2U);
}

TEST_F(Channel, CarriesTextsOfEveryByteUpToTheLimit) {
  Listen();
  Connect();
  std::string text;
  for (std::size_t i = 0; i < kMostChannelText; ++i) text.push_back(static_cast<char>(i * 7 + i / 256));
  ASSERT_TRUE(client_->Execute(1, text).Ok());
  EXPECT_EQ(Request().text, text);
  server_->Progress(id_, text);
  server_->Reply(id_, 1, text + "cut");
  const ChannelEvent progress = Event();
  EXPECT_EQ(progress.kind, EventKind::Progress);
  EXPECT_EQ(progress.text, text);
  EXPECT_EQ(Event().text, text);
  EXPECT_EQ(client_->Execute(2, text + "x").Why(), Cause::Damaged);
}

TEST_F(Channel, LosesNothingOfManyCommandsAndReplies) {
  Listen();
  Connect();
  constexpr std::uint32_t kCommands = 200;
  for (std::uint32_t i = 0; i < kCommands; ++i) ASSERT_TRUE(client_->Execute(i, std::to_string(i)).Ok());
  for (std::uint32_t i = 0; i < kCommands; ++i) {
    const ChannelRequest request = Request();
    ASSERT_EQ(request.number, i);
    server_->Reply(id_, i, request.text + "!");
  }
  for (std::uint32_t i = 0; i < kCommands; ++i) {
    const ChannelEvent reply = Event();
    ASSERT_EQ(reply.number, i);
    ASSERT_EQ(reply.text, std::to_string(i) + "!");
  }
}

TEST_F(Channel, SaysThatNobodyServesThisProgramDirectory) {
  EXPECT_EQ(ChannelClient::Connect(ProgramDir(), seconds(5)).Why(), Cause::NotFound);
  Listen();
  std::filesystem::create_directory(Root() / "other");
  EXPECT_EQ(TryConnect(OnDriveZ(Root() / "other") + "\\").Why(), Cause::NotFound);
}

TEST_F(Channel, GivesUpAServerThatDoesNotAnswer) {
  Listen();
  const auto started = std::chrono::steady_clock::now();
  EXPECT_EQ(ChannelClient::Connect(ProgramDir(), milliseconds(100)).Why(), Cause::Failed);
  EXPECT_GE(std::chrono::steady_clock::now() - started, milliseconds(100));
  EXPECT_LT(std::chrono::steady_clock::now() - started, seconds(5));
}

TEST_F(Channel, FindsNobodyWhereTheServerEndsWhileItIsConnectedTo) {
  Listen();
  // Connects for as long as the server lasts, which lets nobody in.
  auto connecting =
      std::async(std::launch::async, [this] { return ChannelClient::Connect(ProgramDir(), seconds(20)); });
  Awaited awaited{.handle = server_->ReadyHandle(), .wantRead = true};
  WaitUntilReady({&awaited, 1}, seconds(20));
  EXPECT_TRUE(awaited.canRead);
  server_.reset();
  EXPECT_EQ(connecting.get().Why(), Cause::NotFound);
}

TEST_F(Channel, HasOneServerForEachProgramDirectory) {
  Listen();
  EXPECT_EQ(ChannelServer::Listen(ProgramDir()).Why(), Cause::Exists);
  std::filesystem::create_directory(Root() / "other");
  const Result<std::unique_ptr<ChannelServer>> other = ChannelServer::Listen(OnDriveZ(Root() / "other") + "\\");
  ASSERT_TRUE(other.Ok());
  // The one that was refused did not take the place of the living one.
  Connect();
  EXPECT_TRUE(client_->IsOpen());
}

TEST_F(Channel, TellsTheClientThatTheServerIsGoneBehindItsLastWords) {
  Listen();
  Connect();
  server_->Push(id_, 1, "last");
  server_.reset();
  EXPECT_EQ(Event().text, "last");
  EXPECT_EQ(Event().kind, EventKind::Closed);
  EXPECT_FALSE(client_->IsOpen());
  EXPECT_FALSE(client_->Execute(1, "Hello").Ok());
  client_->Turn(milliseconds(0));
  EXPECT_FALSE(client_->Next().has_value());
}

TEST_F(Channel, TellsTheServerThatAClientIsGoneBehindItsLastWords) {
  Listen();
  Connect();
  ASSERT_TRUE(client_->Execute(1, "last").Ok());
  client_.reset();
  EXPECT_EQ(Request().text, "last");
  EXPECT_EQ(Request().kind, RequestKind::Closed);
  // Answers to it go nowhere.
  server_->Taken(id_, 1);
  server_->Close(id_);
  EXPECT_FALSE(server_->Next().has_value());
}

TEST_F(Channel, CanBeClosedByTheServer) {
  Listen();
  Connect();
  server_->Close(id_);
  EXPECT_EQ(Event().kind, EventKind::Closed);
  EXPECT_EQ(Request().kind, RequestKind::Closed);
}

TEST_F(Channel, GivesUpAClientThatReadsNothing) {
  Listen();
  Connect();
  const std::string text(kMostChannelText, 'x');
  for (int i = 0; i < 1000; ++i) server_->Push(id_, 1, text);
  const std::unique_ptr<ChannelClient> silent = std::move(client_);
  EXPECT_EQ(Request().kind, RequestKind::Closed);
}

TEST_F(Channel, ServesSeveralClientsApart) {
  Listen();
  Connect();
  const ChannelClientId firstId = id_;
  std::unique_ptr<ChannelClient> first = std::move(client_);
  Connect();
  EXPECT_NE(firstId, id_);
  server_->Push(firstId, 1, "one");
  server_->Push(id_, 1, "two");
  EXPECT_EQ(Event().text, "two");
  client_ = std::move(first);
  EXPECT_EQ(Event().text, "one");
}

TEST(ChannelFrame, WritesLengthKindNumberAndText) {
  EXPECT_EQ(EncodeFrame(FrameKind::Push, 0x04030201, "ab"), std::string("\x02\0\0\0\x06\x01\x02\x03\x04"
                                                                        "ab",
                                                                        11));
}

TEST(ChannelFrame, IsPutTogetherFromPiecesOfAnySize) {
  const std::string bytes = EncodeFrame(FrameKind::Push, 1, "first") + EncodeFrame(FrameKind::Progress, 2, "");
  for (std::size_t piece = 1; piece <= bytes.size(); ++piece) {
    FrameReader reader;
    std::vector<std::string> texts;
    for (std::size_t at = 0; at < bytes.size(); at += piece) {
      reader.Add(std::string_view(bytes).substr(at, piece));
      while (const std::optional<Frame> frame = reader.Next()) texts.push_back(frame->text);
    }
    EXPECT_THAT(texts, ElementsAre("first", "")) << piece;
    EXPECT_FALSE(reader.Broken());
  }
}

TEST(ChannelFrame, IsRefusedWithAKindThatThereIsNot) {
  for (const char kind : {'\0', '\x09', '\xff'}) {
    FrameReader reader;
    reader.Add(std::string("\0\0\0\0", 4) + kind + std::string(4, '\0'));
    EXPECT_FALSE(reader.Next().has_value());
    EXPECT_TRUE(reader.Broken());
  }
}

}  // namespace
}  // namespace zelkor::lib
