#include "vandry/program.h"

#include <filesystem>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <optional>

#include "lib/channel.h"
#include "lib/files.h"
#include "tests/support/matches.h"
#include "tests/support/sandbox.h"
#include "vandry/fake_peers.h"

namespace zelkor::vandry {
namespace {

namespace fs = std::filesystem;
using lib::ChannelEvent;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using EventKind = ChannelEvent::Kind;

constexpr milliseconds kLong{30'000};

class ProgramTest : public tests::Sandbox {
 protected:
  ProgramTest() {
    // No other directory than the sandbox's for the link's socket.
    tests::SetVariable("XDG_RUNTIME_DIR", (Root() / "tmp").string());
    Start();
  }

  void Start() {
    program = std::make_unique<Program>(loop, ProgramDir());
    const lib::Status opened = program->Open([this](Loop&, PeerUser& peerUser) {
      user = &peerUser;
      auto made = std::make_unique<FakePeers>();
      peers = made.get();
      return lib::Result<std::unique_ptr<Peers>>(std::move(made));
    });
    ASSERT_TRUE(opened.Ok()) << opened.Message();
  }
  void Restart() {
    ASSERT_TRUE(program->Close());
    program.reset();
    Start();
  }

  // The program at the other end.
  void Connect() {
    lib::Result<std::unique_ptr<lib::ChannelClient>> made = Failed();
    // Both ends live in this thread: the connection wants the loop to turn.
    auto connected =
        std::async(std::launch::async, [this] { return lib::ChannelClient::Connect(ProgramDir(), kLong); });
    EXPECT_TRUE(loop.RunUntil([&] { return connected.wait_for(milliseconds{1}) == std::future_status::ready; }, kLong));
    made = connected.get();
    ASSERT_TRUE(made.Ok()) << made.Failure().Message();
    client = std::move(*made);
  }
  static lib::Status Failed() { return {lib::Cause::Failed, "not tried"}; }
  // The next event but progress.
  ChannelEvent Next() {
    std::optional<ChannelEvent> event;
    const bool came = loop.RunUntil(
        [&] {
          client->Turn(milliseconds{1});
          do event = client->Next();
          while (event && event->kind == EventKind::Progress);
          return event.has_value();
        },
        kLong);
    EXPECT_TRUE(came);
    return event.value_or(ChannelEvent{});
  }
  void Execute(std::uint32_t number, const std::string& command) { EXPECT_TRUE(client->Execute(number, command).Ok()); }
  // The command is taken; what comes then is the reply.
  void Take(std::uint32_t number, const std::string& command) {
    Execute(number, command);
    const ChannelEvent taken = Next();
    EXPECT_EQ(taken.kind, EventKind::Taken);
    EXPECT_EQ(taken.number, number);
  }
  std::string Ask(std::uint32_t number, const std::string& command) {
    Take(number, command);
    return Reply(number);
  }
  std::string Reply(std::uint32_t number) {
    const ChannelEvent reply = Next();
    EXPECT_EQ(reply.kind, EventKind::Reply);
    EXPECT_EQ(reply.number, number);
    return reply.text;
  }
  std::string Pushed() {
    const ChannelEvent push = Next();
    EXPECT_EQ(push.kind, EventKind::Push);
    lastPush = push.number;
    return push.text;
  }
  void Settle() {
    bool turned = false;
    loop.Post([&] { turned = true; });
    EXPECT_TRUE(loop.RunUntil([&] { return turned; }, kLong));
  }
  void WaitForCalls(std::size_t count) {
    EXPECT_TRUE(loop.RunUntil([&] { return peers->calls.size() >= count; }, kLong));
  }
  void Answer(std::size_t call, const PeerReply& reply) { FakePeers::Done(peers->calls.at(call).done)(reply); }
  [[nodiscard]] std::string LogText() const { return ReadNative(ProgramFolder() / "Vandry.log"); }

  Loop loop;
  FakePeers* peers = nullptr;
  PeerUser* user = nullptr;
  std::unique_ptr<Program> program;
  std::unique_ptr<lib::ChannelClient> client;
  std::uint32_t lastPush = 0;
};

TEST_F(ProgramTest, AnswersHelloWithItsVersion) {
  Connect();
  EXPECT_EQ(Ask(7, "Hello"), "OK 1.00");
}

TEST_F(ProgramTest, IsTheOnlyOneForItsProgramDir) {
  Loop otherLoop;
  Program other(otherLoop, ProgramDir());
  const lib::Status opened =
      other.Open([](Loop&, PeerUser&) { return lib::Result<std::unique_ptr<Peers>>(std::make_unique<FakePeers>()); });
  EXPECT_EQ(opened.Why(), lib::Cause::Exists);
}

TEST_F(ProgramTest, RefusesWhatItDoesNotUnderstand) {
  Connect();
  EXPECT_THAT(Ask(1, "Nonsense \"secret\""), tests::Matches("Error 1 .*Nonsense.*"));
  EXPECT_THAT(Ask(2, "FTPDir \"a\""), tests::Matches("Error 1 .*"));
  EXPECT_THAT(LogText(), Not(HasSubstr("secret")));
}

TEST_F(ProgramTest, AnswersAPingWithTheOtherComputersId) {
  Connect();
  Take(1, "NetTrans 10.0.0.2 NetPing");
  ASSERT_THAT(peers->calls, SizeIs(1));
  EXPECT_EQ(peers->calls[0].address, "10.0.0.2");
  Answer(0, Success("lap"));
  EXPECT_EQ(Reply(1), "OK lap");
  Take(2, "NetTrans 10.0.0.2 NetPing");
  Answer(1, ForGood());
  EXPECT_EQ(Reply(2), "Error 6 the key is not known");
}

TEST_F(ProgramTest, SendsTheRestOfANetTransWithoutAReply) {
  Connect();
  Take(1, "NetTrans host SyncMe office");
  WaitForCalls(1);
  EXPECT_EQ(peers->calls[0].text, "SyncMe office");
  Answer(0, Success());
  EXPECT_EQ(Ask(2, "Hello"), "OK 1.00");
}

TEST_F(ProgramTest, PushesThatAMessageCameToNothing) {
  Connect();
  Take(1, "NetTrans host SyncMe office");
  Answer(0, ForGood());
  EXPECT_EQ(Pushed(), "NetFailed NetTrans host the key is not known");
}

TEST_F(ProgramTest, TakesAFileIntoItsQueueBeforeItSaysSo) {
  WriteNative(Home() / "~sync 00.tmp", "content");
  Connect();
  Take(1, "NetFileSend host Office LAP c:\\~sync 00.tmp");
  EXPECT_FALSE(fs::exists(Home() / "~sync 00.tmp"));
  ASSERT_THAT(peers->files, SizeIs(1));
  EXPECT_EQ(peers->files[0].ownId, "office");
  EXPECT_EQ(peers->files[0].targetId, "lap");
  EXPECT_EQ(lib::ReadSmallFile(peers->files[0].path, 100).Value(), "content");
  // A Vandry that is killed here finds it again.
  Restart();
  WaitForCalls(1);
  EXPECT_EQ(lib::ReadSmallFile(peers->files.at(0).path, 100).Value(), "content");
}

TEST_F(ProgramTest, SaysThatAFileToSendIsNotThere) {
  Connect();
  Take(1, "NetFileSend host office lap c:\\missing.tmp");
  EXPECT_THAT(Pushed(), tests::Matches("NetFailed NetFileSend host .*missing.tmp.*"));
  EXPECT_THAT(peers->calls, IsEmpty());
}

TEST_F(ProgramTest, CopiesAFileFromAnotherFileSystem) {
  const fs::path folder = tests::MakeFolderElsewhere();
  if (folder.empty()) GTEST_SKIP() << "there is no other file system";
  const std::string content(3'000'000, 'x');
  WriteNative(folder / "sync.tmp", content);
  Connect();
  Execute(1, "NetFileSend host office lap " + OnDriveZ(folder / "sync.tmp"));
  ChannelEvent event = Next();
  while (event.kind == EventKind::Working) event = Next();
  EXPECT_EQ(event.kind, EventKind::Taken);
  EXPECT_FALSE(fs::exists(folder / "sync.tmp"));
  ASSERT_THAT(peers->files, SizeIs(1));
  EXPECT_EQ(lib::ReadSmallFile(peers->files[0].path, 4'000'000).Value(), content);
  fs::remove_all(folder);
}

TEST_F(ProgramTest, TakesAnAnnouncedFileAndRepliesWithItsSize) {
  Connect();
  EXPECT_TRUE(user->Announce("FileSendReq lap office 12345 10.0.0.2:4223").Ok());
  EXPECT_EQ(Pushed(), "FileSendReq lap office 12345 10.0.0.2:4223");
  Take(1, "NetFileRec c:\\office.cas");
  ASSERT_THAT(peers->calls, SizeIs(1));
  EXPECT_EQ(peers->calls[0].text, "c:\\office.cas");
  Answer(0, Success("12345"));
  EXPECT_EQ(Reply(1), "OK 12345");
  EXPECT_TRUE(user->Announce("NetReceived").Ok());
  EXPECT_EQ(Pushed(), "NetReceived");
}

TEST_F(ProgramTest, TellsThatAReceivedFileWasDealtWith) {
  Connect();
  EXPECT_TRUE(user->Announce("FileSendReq lap office 5 10.0.0.2").Ok());
  EXPECT_EQ(Pushed(), "FileSendReq lap office 5 10.0.0.2");
  client->Handled(lastPush);
  EXPECT_TRUE(user->Announce("NetReceived").Ok());
  EXPECT_EQ(Pushed(), "NetReceived");
  EXPECT_EQ(Ask(1, "Hello"), "OK 1.00");
  EXPECT_EQ(peers->handled, 0);
  client->Handled(lastPush);
  EXPECT_EQ(Ask(2, "Hello"), "OK 1.00");
  EXPECT_EQ(peers->handled, 1);
}

TEST_F(ProgramTest, TriesWhatPausesWhenAComputerComes) {
  Connect();
  Take(1, "NetTrans host SyncMe office");
  Answer(0, Unreachable());
  user->Reached("lap");
  Settle();
  EXPECT_THAT(peers->calls, SizeIs(2));
}

TEST_F(ProgramTest, RepeatsAMessageUntilTheProgramHasDealtWithIt) {
  Connect();
  EXPECT_TRUE(user->Push("SyncSuccessfull lap").Ok());
  EXPECT_EQ(Pushed(), "SyncSuccessfull lap");
  client.reset();
  Restart();
  Connect();
  EXPECT_EQ(Pushed(), "SyncSuccessfull lap");
  client->Handled(lastPush);
  EXPECT_EQ(Ask(1, "Hello"), "OK 1.00");
  client.reset();
  Connect();
  EXPECT_EQ(Ask(2, "Hello"), "OK 1.00");
}

TEST_F(ProgramTest, PushesTwoEqualMessagesAsTwo) {
  Connect();
  EXPECT_TRUE(user->Push("SyncSuccessfull lap").Ok());
  EXPECT_TRUE(user->Push("SyncSuccessfull lap").Ok());
  EXPECT_EQ(Pushed(), "SyncSuccessfull lap");
  EXPECT_EQ(Pushed(), "SyncSuccessfull lap");
}

TEST_F(ProgramTest, RepeatsAnAnnouncementBeforeTheMessagesThatWait) {
  Connect();
  EXPECT_TRUE(user->Push("SyncSuccessfull lap").Ok());
  EXPECT_EQ(Pushed(), "SyncSuccessfull lap");
  client.reset();
  EXPECT_TRUE(loop.RunUntil([&] { return peers->left == 1; }, kLong));
  peers->onCame = [&] { EXPECT_TRUE(user->Announce("FileSendReq lap office 5 10.0.0.2").Ok()); };
  Connect();
  EXPECT_EQ(Pushed(), "FileSendReq lap office 5 10.0.0.2");
  EXPECT_EQ(Pushed(), "SyncSuccessfull lap");
}

TEST_F(ProgramTest, ShowsHowFarAFileIs) {
  Connect();
  user->Progress({.sending = true, .computerId = "lap", .done = 1000, .total = 12345});
  std::string shown;
  EXPECT_TRUE(loop.RunUntil(
      [&] {
        client->Turn(milliseconds{1});
        const std::optional<ChannelEvent> event = client->Next();
        if (event && event->kind == EventKind::Progress) shown = event->text;
        return !shown.empty();
      },
      kLong));
  EXPECT_EQ(shown, "Sending data to [lap]: 1 000 of 12 345 bytes");
}

TEST_F(ProgramTest, SaysThatNobodyIsThereUnlessItMayStartTheProgram) {
  EXPECT_EQ(user->Push("SyncMe lap 10.0.0.2").Why(), lib::Cause::AccessDenied);
  EXPECT_EQ(user->Announce("FileSendReq lap office 5 10.0.0.2").Why(), lib::Cause::AccessDenied);
  Connect();
  EXPECT_THAT(Ask(1, "Hello"), "OK 1.00");  // nothing was kept
}

// The program to start is one of the test's own, which tells that it was started.
class StartingTest : public ProgramTest {
 protected:
  StartingTest() {
    tests::PutTellingProgram(Zelkor());
    WriteNative(SettingsFile(), "[Zelkor]\r\nAcceptNetConn=1\r\nExe=" + Zelkor().string() + "\r\n");
  }
  [[nodiscard]] fs::path Zelkor() const { return Root() / "bin" / "zelkor.exe"; }
  // What it tells when it was started once.
  [[nodiscard]] std::string StartedOnce() const { return ProgramFolder().string() + "\n"; }
};

TEST_F(StartingTest, StartsTheProgramForAMessageAndPushesItThen) {
  EXPECT_TRUE(user->Push("SyncMe lap 10.0.0.2").Ok());
  EXPECT_EQ(tests::ToldBy(Zelkor()), StartedOnce());
  // On its way already: not started a second time.
  EXPECT_TRUE(user->Push("SyncSuccessfull lap").Ok());
  Connect();
  EXPECT_EQ(Pushed(), "SyncMe lap 10.0.0.2");
  EXPECT_EQ(Pushed(), "SyncSuccessfull lap");
  EXPECT_EQ(tests::ToldBy(Zelkor()), StartedOnce());
}

TEST_F(StartingTest, StartsTheProgramForAnAnnouncementAndDoesNotKeepIt) {
  EXPECT_TRUE(user->Announce("FileSendReq lap office 5 10.0.0.2").Ok());
  EXPECT_EQ(tests::ToldBy(Zelkor()), StartedOnce());
  Connect();
  EXPECT_EQ(peers->came, 1);
  EXPECT_EQ(Ask(1, "Hello"), "OK 1.00");
}

TEST_F(StartingTest, SaysThatTheProgramCanNotBeStarted) {
  fs::remove(Zelkor());
  EXPECT_EQ(user->Push("SyncMe lap 10.0.0.2").Why(), lib::Cause::NotFound);
  EXPECT_THAT(LogText(), HasSubstr("zelkor"));
}

TEST_F(ProgramTest, EndsOnExitWhenNothingIsLeftToDo) {
  Connect();
  Execute(1, "Exit");
  client->Turn(milliseconds{100});
  loop.Run();
  EXPECT_TRUE(program->Close());
}

TEST_F(ProgramTest, EndsOnExitOnlyWhenTheQueueIsEmpty) {
  Connect();
  Take(1, "NetTrans host SyncSuccessfull office");
  Take(2, "Exit");
  const Loop::Timer later = loop.After(milliseconds{300}, [&] { Answer(0, Success()); });
  loop.Run();
  EXPECT_FALSE(later.IsActive());
  EXPECT_TRUE(fs::is_empty(ProgramFolder() / "vandry.dat/queue"));
}

TEST_F(ProgramTest, EndsOnExitWithWhatCanNotBeDeliveredNowAndKeepsIt) {
  Connect();
  Take(1, "NetTrans host SyncSuccessfull office");
  Answer(0, Unreachable());
  Take(2, "Exit");
  // Tried once more.
  ASSERT_THAT(peers->calls, SizeIs(2));
  const Loop::Timer later = loop.After(milliseconds{50}, [&] { Answer(1, Unreachable()); });
  loop.Run();
  Restart();
  WaitForCalls(1);
  EXPECT_EQ(peers->calls[0].text, "SyncSuccessfull office");
}

TEST_F(ProgramTest, StaysWhenAProgramComesAfterExit) {
  peers->busy = true;
  Connect();
  Take(1, "Exit");
  client.reset();
  Connect();
  peers->busy = false;
  EXPECT_EQ(Ask(1, "Hello"), "OK 1.00");
  bool passed = false;
  const Loop::Timer later = loop.After(milliseconds{500}, [&] {
    passed = true;
    loop.Stop();
  });
  loop.Run();
  EXPECT_TRUE(passed);
}

}  // namespace
}  // namespace zelkor::vandry
