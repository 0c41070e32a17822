// The local link over DDE, its two ends in one process, and a client that knows only the old way of speaking.
#include "lib/channel.h"

#include <atomic>
#include <gmock/gmock.h>
#include <thread>
#include <vector>

#include "lib/windows/dde.h"
#include "tests/support/sandbox.h"

namespace zelkor::lib {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using EventKind = ChannelEvent::Kind;
using RequestKind = ChannelRequest::Kind;

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
      while (!over) TurnServer(milliseconds(5));
    });
    Result<std::unique_ptr<ChannelClient>> client = ChannelClient::Connect(programDir, seconds(20));
    over = true;
    turning.join();
    return client;
  }
  void Connect() {
    Result<std::unique_ptr<ChannelClient>> client = TryConnect(ProgramDir());
    ASSERT_TRUE(client.Ok()) << client.Failure().Message();
    client_ = std::move(*client);
    const ChannelRequest opened = Request();
    ASSERT_EQ(opened.kind, RequestKind::Opened);
    id_ = opened.client;
  }
  void TurnServer(milliseconds patience) {
    if (!server_) return std::this_thread::sleep_for(patience);
    Awaited awaited{.handle = server_->ReadyHandle(), .wantRead = true};
    WaitUntilReady({&awaited, 1}, patience);
    if (awaited.canRead) server_->Turn();
  }
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
  EXPECT_EQ(Event().kind, EventKind::Taken);
  const ChannelEvent reply = Event();
  EXPECT_EQ(reply.kind, EventKind::Reply);
  EXPECT_EQ(reply.number, 7U);
  EXPECT_EQ(reply.text, "OK 1.0");
}

TEST_F(Channel, CarriesEveryByteAndTheLongestText) {
  Listen();
  Connect();
  std::string text;
  while (text.size() < kMostChannelText) text += static_cast<char>(text.size() % 256);
  ASSERT_TRUE(client_->Execute(1, text).Ok());
  EXPECT_EQ(Request().text, text);
  server_->Push(id_, 2, text);
  EXPECT_EQ(Event().text, text);
  EXPECT_EQ(client_->Execute(3, text + "x").Why(), Cause::Damaged);
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

TEST_F(Channel, FindsNobodyWhereNobodyServes) {
  EXPECT_EQ(TryConnect(ProgramDir()).Why(), Cause::NotFound);
  Listen();
  std::filesystem::create_directory(Root() / "other");
  EXPECT_EQ(TryConnect(OnDriveZ(Root() / "other") + "\\").Why(), Cause::NotFound) << "another ProgramDir's";
}

TEST_F(Channel, HasOneServerForEachProgramDir) {
  Listen();
  EXPECT_EQ(ChannelServer::Listen(ProgramDir()).Why(), Cause::Exists);
  std::filesystem::create_directory(Root() / "other");
  const Result<std::unique_ptr<ChannelServer>> other = ChannelServer::Listen(OnDriveZ(Root() / "other") + "\\");
  EXPECT_TRUE(other.Ok());
  Connect();
  ASSERT_TRUE(client_->Execute(1, "for the first").Ok());
  EXPECT_EQ(Request().text, "for the first");
}

TEST_F(Channel, GivesUpAServerThatDoesNotGreet) {
  Listen();
  EXPECT_EQ(ChannelClient::Connect(ProgramDir(), milliseconds(300)).Why(), Cause::Failed) << "nobody turns it";
}

TEST_F(Channel, TellsEachEndWhenTheOtherIsGone) {
  Listen();
  Connect();
  client_.reset();
  EXPECT_EQ(Request().kind, RequestKind::Closed);
  Connect();
  server_->Push(id_, 1, "the last one");
  EXPECT_EQ(Event().text, "the last one");
  server_.reset();
  EXPECT_EQ(Event().kind, EventKind::Closed);
  EXPECT_FALSE(client_->IsOpen());
  EXPECT_FALSE(client_->Execute(1, "too late").Ok());
}

TEST_F(Channel, CanBeClosedByTheServer) {
  Listen();
  Connect();
  server_->Close(id_);
  EXPECT_EQ(Event().kind, EventKind::Closed);
  EXPECT_EQ(Request().kind, RequestKind::Closed);
}

// A client of the system's DDE library alone: application VANDRY, topic mw, item dde.
class PlainClient {
 public:
  PlainClient() {
    Present() = this;
    DdeInitializeA(&instance_, OnEvent, APPCMD_CLIENTONLY, 0);
    const windows::DdeString application(instance_, "VANDRY");
    const windows::DdeString topic(instance_, "mw");
    const windows::DdeString item(instance_, "dde");
    talk_ = DdeConnect(instance_, application.Get(), topic.Get(), nullptr);
    DWORD result = 0;
    advised_ = talk_ != nullptr &&
               DdeClientTransaction(nullptr, 0, talk_, item.Get(), CF_TEXT, XTYP_ADVSTART, 5000, &result) != nullptr;
  }
  ~PlainClient() {
    if (talk_ != nullptr) DdeDisconnect(talk_);
    DdeUninitialize(instance_);
    Present() = nullptr;
  }
  PlainClient(const PlainClient&) = delete;
  PlainClient& operator=(const PlainClient&) = delete;

  [[nodiscard]] bool Advised() const { return advised_; }
  bool Execute(std::string command) {
    DWORD result = 0;
    return DdeClientTransaction(reinterpret_cast<BYTE*>(command.data()), static_cast<DWORD>(command.size() + 1), talk_,
                                nullptr, 0, XTYP_EXECUTE, 5000, &result) != nullptr;
  }
  // What the item became, up to so many texts.
  std::vector<std::string> Texts(std::size_t count) {
    for (int i = 0; i < 500 && texts_.size() < count; ++i) {
      MSG message{};
      while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != 0) DispatchMessageW(&message);
      MsgWaitForMultipleObjects(0, nullptr, FALSE, 20, QS_ALLINPUT);
    }
    return texts_;
  }

 private:
  static PlainClient*& Present() {
    static PlainClient* present = nullptr;
    return present;
  }
  static HDDEDATA CALLBACK OnEvent(UINT type, UINT, HCONV, HSZ, HSZ, HDDEDATA data, ULONG_PTR, ULONG_PTR) {
    if (type != XTYP_ADVDATA || data == nullptr) return nullptr;
    Present()->texts_.push_back(windows::DdeTextOf(data));
    return reinterpret_cast<HDDEDATA>(static_cast<UINT_PTR>(DDE_FACK));  // NOLINT(performance-no-int-to-ptr)
  }

  DWORD instance_ = 0;
  HCONV talk_ = nullptr;
  bool advised_ = false;
  std::vector<std::string> texts_;
};

TEST_F(Channel, SpeaksPlainlyWithAClientOfTheSystemsLibrary) {
  Listen();
  PlainClient plain;
  ASSERT_TRUE(plain.Advised());
  const ChannelRequest opened = Request();
  ASSERT_EQ(opened.kind, RequestKind::Opened);
  ASSERT_TRUE(plain.Execute("Hello"));
  const ChannelRequest hello = Request();
  EXPECT_EQ(hello.kind, RequestKind::Execute);
  EXPECT_EQ(hello.text, "Hello");
  server_->Taken(opened.client, hello.number);
  server_->Reply(opened.client, hello.number, "OK 2.23");
  server_->Push(opened.client, 5, "SyncMe lap 10.0.0.2");
  server_->Push(opened.client, 6, "SyncMe lap 10.0.0.2");
  EXPECT_THAT(plain.Texts(3), ElementsAre("OK 2.23", "SyncMe lap 10.0.0.2", "SyncMe lap 10.0.0.2"));
  EXPECT_EQ(Request().kind, RequestKind::Handled) << "there is nobody to say so later";
}

}  // namespace
}  // namespace zelkor::lib
