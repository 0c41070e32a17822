#include "lib/channel.h"

#include <atomic>
#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "lib/channel_frame.h"
#include "tests/support/sandbox.h"

namespace zelkor::lib {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using EventKind = ChannelEvent::Kind;
using RequestKind = ChannelRequest::Kind;

// A client and a server in one process: while one waits the other is turned by a thread.
class Channel : public tests::Sandbox {
 protected:
  [[nodiscard]] fs::path Run() const { return Root() / "run"; }
  // The one socket of the run-time directory.
  [[nodiscard]] fs::path SocketPath() const { return fs::directory_iterator(Run() / "zelkor")->path(); }

  void Listen() {
    Result<std::unique_ptr<ChannelServer>> server = ChannelServer::Listen(ProgramDir());
    ASSERT_TRUE(server.Ok()) << server.Failure().Message();
    server_ = std::move(*server);
  }
  Result<std::unique_ptr<ChannelClient>> TryConnect() {
    std::atomic<bool> over = false;
    std::thread turning([&] {
      while (!over) TurnServer(milliseconds(5));
    });
    Result<std::unique_ptr<ChannelClient>> client = ChannelClient::Connect(ProgramDir(), seconds(20));
    over = true;
    turning.join();
    return client;
  }
  void Connect() {
    Result<std::unique_ptr<ChannelClient>> client = TryConnect();
    ASSERT_TRUE(client.Ok()) << client.Failure().Message();
    client_ = std::move(*client);
    const ChannelRequest opened = Request();
    ASSERT_EQ(opened.kind, RequestKind::Opened);
    id_ = opened.client;
  }
  void TurnServer(milliseconds patience) {
    Awaited awaited{.handle = server_->ReadyHandle(), .wantRead = true};
    WaitUntilReady({&awaited, 1}, patience);
    if (awaited.canRead) server_->Turn();
  }
  // The next thing heard; fails the test when none comes.
  ChannelRequest Request() {
    for (int i = 0; i < 1000; ++i) {
      if (const std::optional<ChannelRequest> request = server_->Next()) return *request;
      if (client_) client_->Turn(milliseconds(0));
      TurnServer(milliseconds(20));
    }
    ADD_FAILURE() << "the server heard nothing";
    return {};
  }
  ChannelEvent Event() {
    for (int i = 0; i < 1000; ++i) {
      if (const std::optional<ChannelEvent> event = client_->Next()) return *event;
      if (server_) TurnServer(milliseconds(0));
      client_->Turn(milliseconds(20));
    }
    ADD_FAILURE() << "the client heard nothing";
    return {};
  }

  std::unique_ptr<ChannelServer> server_;
  std::unique_ptr<ChannelClient> client_;
  ChannelClientId id_ = 0;
};

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

TEST_F(Channel, SaysThatNobodyServes) {
  EXPECT_EQ(ChannelClient::Connect(ProgramDir(), seconds(5)).Why(), Cause::NotFound);
}

TEST_F(Channel, SaysThatNobodyServesWhereAKilledServerLeftItsSocket) {
  const pid_t child = fork();
  if (child == 0) {
    const Result<std::unique_ptr<ChannelServer>> server = ChannelServer::Listen(ProgramDir());
    raise(SIGKILL);
  }
  ASSERT_EQ(waitpid(child, nullptr, 0), child);
  ASSERT_TRUE(fs::exists(SocketPath()));
  EXPECT_EQ(ChannelClient::Connect(ProgramDir(), seconds(5)).Why(), Cause::NotFound);
  Listen();
  Connect();
  EXPECT_TRUE(client_->IsOpen());
}

TEST_F(Channel, GivesUpAServerThatDoesNotAnswer) {
  Listen();
  const auto started = std::chrono::steady_clock::now();
  EXPECT_EQ(ChannelClient::Connect(ProgramDir(), milliseconds(100)).Why(), Cause::Failed);
  EXPECT_GE(std::chrono::steady_clock::now() - started, milliseconds(100));
  EXPECT_LT(std::chrono::steady_clock::now() - started, seconds(5));
}

TEST_F(Channel, HasOneServerForEachProgramDirectory) {
  Listen();
  EXPECT_EQ(ChannelServer::Listen(ProgramDir()).Why(), Cause::Exists);
  fs::create_directory(Root() / "other");
  const Result<std::unique_ptr<ChannelServer>> other = ChannelServer::Listen(OnDriveZ(Root() / "other"));
  ASSERT_TRUE(other.Ok());
  // The one that was refused did not take the socket of the living one with it.
  Connect();
  EXPECT_TRUE(client_->IsOpen());
}

TEST_F(Channel, IsTheSameUnderAnotherSpellingOfTheProgramDirectory) {
  Listen();
  fs::create_directory_symlink(ProgramFolder(), Root() / "link");
  EXPECT_EQ(ChannelServer::Listen(OnDriveZ(Root() / "link")).Why(), Cause::Exists);
}

TEST_F(Channel, StandsWhereOnlyItsUserCanReachIt) {
  Listen();
  struct stat info {};
  ASSERT_EQ(stat((Run() / "zelkor").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0700U);
  ASSERT_EQ(stat(SocketPath().c_str(), &info), 0);
  EXPECT_TRUE(S_ISSOCK(info.st_mode));
  EXPECT_EQ(info.st_mode & 0777, 0600U);
  const fs::path socket = SocketPath();
  server_.reset();
  EXPECT_FALSE(fs::exists(socket));
}

TEST_F(Channel, DoesNotUseAFolderThatOthersMayEnter) {
  fs::create_directory(Run() / "zelkor");
  fs::permissions(Run() / "zelkor", fs::perms::owner_all | fs::perms::others_exec);
  Listen();
  EXPECT_TRUE(fs::is_empty(Run() / "zelkor"));
  Connect();
  EXPECT_TRUE(client_->IsOpen());
}

TEST_F(Channel, DoesNotFollowALinkInPlaceOfItsFolder) {
  fs::create_directory(Root() / "elsewhere");
  fs::permissions(Root() / "elsewhere", fs::perms::owner_all);
  fs::create_directory_symlink(Root() / "elsewhere", Run() / "zelkor");
  Listen();
  EXPECT_TRUE(fs::is_empty(Root() / "elsewhere"));
}

TEST_F(Channel, StandsInTheTemporaryFolderWithoutARunTimeDirectory) {
  fs::remove(Run());
  Listen();
  Connect();
  EXPECT_TRUE(client_->IsOpen());
  const std::string name = "zelkor-" + std::to_string(geteuid());
  EXPECT_FALSE(fs::is_empty(Root() / "tmp" / name));
}

TEST_F(Channel, WorksBelowAFolderOfAnyLength) {
  const fs::path run = Root() / std::string(200, 'r');
  fs::create_directory(run);
  setenv("XDG_RUNTIME_DIR", run.c_str(), 1);
  Listen();
  Connect();
  EXPECT_TRUE(client_->IsOpen());
  EXPECT_FALSE(fs::is_empty(run / "zelkor"));
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

TEST_F(Channel, GivesUpAClientThatReadsNothing) {
  Listen();
  Connect();
  const std::string text(kMostChannelText, 'x');
  for (int i = 0; i < 1000; ++i) server_->Push(id_, 1, text);
  const std::optional<ChannelRequest> request = server_->Next();
  ASSERT_TRUE(request.has_value());
  EXPECT_EQ(request->kind, RequestKind::Closed);
}

TEST_F(Channel, ServesSeveralClientsApart) {
  Listen();
  Connect();
  const ChannelClientId firstId = id_;
  const std::unique_ptr<ChannelClient> first = std::move(client_);
  Connect();
  EXPECT_NE(firstId, id_);
  server_->Push(firstId, 1, "one");
  server_->Push(id_, 1, "two");
  EXPECT_EQ(Event().text, "two");
  first->Turn(seconds(5));
  EXPECT_EQ(first->Next()->text, "one");
}

// A client that speaks no frames of ours.
class RawClient : public Channel {
 protected:
  void Say(const std::string& bytes) {
    socket_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    SocketPath().string().copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
  }
  // True when the server hangs up.
  bool HungUp() {
    for (int i = 0; i < 1000; ++i) {
      TurnServer(milliseconds(5));
      char c = 0;
      const ssize_t got = recv(socket_, &c, 1, MSG_DONTWAIT);
      if (got == 0 || (got < 0 && errno == ECONNRESET)) return true;
    }
    return false;
  }
  ~RawClient() override { close(socket_); }
  int socket_ = -1;
};

TEST_F(RawClient, IsLeftWhenItDoesNotGreet) {
  Listen();
  Say(EncodeFrame(FrameKind::Execute, 1, "Hello"));
  EXPECT_TRUE(HungUp());
  EXPECT_FALSE(server_->Next().has_value());
}

TEST_F(RawClient, IsLeftWhenItAnnouncesMoreThanATextMayHold) {
  Listen();
  // 65,537 bytes of text are announced; the limit is 65,536.
  Say(EncodeFrame(FrameKind::Open, kFrameVersion, {}) + std::string("\x01\x00\x01\x00\x02\x01\x00\x00\x00", 9));
  EXPECT_TRUE(HungUp());
}

TEST_F(RawClient, IsLeftWhenItIsOfAnotherVersion) {
  Listen();
  Say(EncodeFrame(FrameKind::Open, kFrameVersion + 1, {}));
  EXPECT_TRUE(HungUp());
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
