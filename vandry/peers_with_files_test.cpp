// Files between two computers: whole, gone on with, announced again, and what is said when one does not come.

#include <filesystem>
#include <gtest/gtest.h>
#include <string>

#include "tests/support/peer_computers.h"
#include "vandry/peer.h"

namespace zelkor::vandry {
namespace {

namespace fs = std::filesystem;
using std::string_literals::operator""s;

class PeersWithFiles : public tests::PeerComputers {};

TEST_F(PeersWithFiles, CarryAFileWholeToThePathThatTheProgramNames) {
  OpenPaired();
  const std::string content = Content(1'234'567);
  WriteNative(office.folder / "queue" / "out", content);
  const auto sent = StartSending(office, lap.Address(), "lap", office.settings.programDir + "queue\\out");
  ASSERT_TRUE(RunUntil([&] { return !lap.program.told.empty(); }));
  EXPECT_EQ(lap.program.told, std::vector{"FileSendReq office lap 1234567 " + office.Address()});
  EXPECT_FALSE(sent->over);

  const auto received = StartReceiving(lap, lap.settings.programDir + "lap.cas");
  EXPECT_FALSE(received->over) << "answered inside the call";
  const PeerReply reply = Await(received);
  EXPECT_TRUE(reply.Ok()) << reply.text;
  EXPECT_EQ(reply.text, "1234567");
  EXPECT_EQ(ReadNative(lap.folder / "lap.cas"), content);
  EXPECT_TRUE(Await(sent).Ok());
  ASSERT_EQ(lap.program.told.size(), 2U);
  EXPECT_EQ(lap.program.told[1], "NetReceived");
  EXPECT_EQ(ReadNative(office.folder / "queue" / "out"), content);
}

TEST_F(PeersWithFiles, SayNetReceivedOnlyBehindTheReply) {
  OpenPaired();
  WriteNative(office.folder / "out", "content");
  StartSending(office, lap.Address(), "lap", office.settings.programDir + "out");
  ASSERT_TRUE(RunUntil([&] { return !lap.program.told.empty(); }));
  std::size_t toldAtReply = 0;
  bool over = false;
  lap.peers->ReceiveFile(lap.settings.programDir + "lap.cas", [&](const PeerReply&) {
    toldAtReply = lap.program.told.size();
    over = true;
  });
  ASSERT_TRUE(RunUntil([&] { return over; }));
  EXPECT_EQ(toldAtReply, 1U);
  EXPECT_EQ(lap.program.told.size(), 2U);
}

TEST_F(PeersWithFiles, CarryAnEmptyFile) {
  OpenPaired();
  WriteNative(office.folder / "out", "");
  const auto sent = StartSending(office, lap.Address(), "lap", office.settings.programDir + "out");
  ASSERT_TRUE(RunUntil([&] { return !lap.program.told.empty(); }));
  EXPECT_EQ(Await(StartReceiving(lap, lap.settings.programDir + "lap.cas")).text, "0");
  EXPECT_TRUE(fs::exists(lap.folder / "lap.cas"));
  EXPECT_TRUE(Await(sent).Ok());
}

TEST_F(PeersWithFiles, ShowHowFarATransferIs) {
  OpenPaired();
  WriteNative(office.folder / "out", Content(3'000'000));
  const auto sent = StartSending(office, lap.Address(), "lap", office.settings.programDir + "out");
  ASSERT_TRUE(RunUntil([&] { return !lap.program.told.empty(); }));
  StartReceiving(lap, lap.settings.programDir + "lap.cas");
  EXPECT_TRUE(Await(sent).Ok());
  ASSERT_FALSE(office.program.progress.empty());
  ASSERT_FALSE(lap.program.progress.empty());
  EXPECT_TRUE(office.program.progress[0].sending);
  EXPECT_EQ(office.program.progress[0].computerId, "lap");
  EXPECT_EQ(office.program.progress[0].total, 3'000'000);
  EXPECT_FALSE(lap.program.progress[0].sending);
  EXPECT_EQ(lap.program.progress[0].computerId, "office");
  EXPECT_GT(lap.program.progress[0].done, 0);
}

// The road of a whole synchronisation to a computer that listens nowhere.
TEST_F(PeersWithFiles, DeliverOverTheConnectionThatTheRequesterMade) {
  lap.settings.accept = false;
  OpenPaired();
  ASSERT_TRUE(Say(lap, office.Address(), "SyncMe lap", "1").Ok());
  const std::string back = office.program.told.at(0).substr("SyncMe lap "s.size());
  WriteNative(office.folder / "out", "content");
  const auto sent = StartSending(office, back, "lap", office.settings.programDir + "out");
  ASSERT_TRUE(RunUntil([&] { return !lap.program.told.empty(); }));
  EXPECT_EQ(lap.program.told[0], "FileSendReq office lap 7 " + office.Address());
  EXPECT_TRUE(Await(StartReceiving(lap, lap.settings.programDir + "lap.cas")).Ok());
  EXPECT_TRUE(Await(sent).Ok());
  EXPECT_TRUE(Say(lap, office.Address(), "SyncSuccessfull lap", "2").Ok());
  EXPECT_EQ(office.program.told.back(), "SyncSuccessfull lap");
}

TEST_F(PeersWithFiles, MakeTheRequestersConnectionAgainWhenItBreaks) {
  lap.settings.accept = false;
  OpenPaired();
  ASSERT_TRUE(Say(lap, office.Address(), "SyncMe lap").Ok());
  office.peers.reset();
  office.program.reached.clear();
  RunFor(Milliseconds{200});
  Open(office);
  // Nobody here does anything; lap comes back by itself.
  ASSERT_TRUE(RunUntil([&] { return !office.program.reached.empty(); }));
  WriteNative(office.folder / "out", "content");
  const auto sent = StartSending(office, lap.Address(), "lap", office.settings.programDir + "out");
  ASSERT_TRUE(RunUntil([&] { return !lap.program.told.empty(); }));
  EXPECT_TRUE(Await(StartReceiving(lap, lap.settings.programDir + "lap.cas")).Ok());
}

TEST_F(PeersWithFiles, GoOnWhereATransferStopped) {
  OpenPaired();
  const std::string content = Content(30'000'000);
  WriteNative(office.folder / "out", content);
  StartSending(office, lap.Address(), "lap", office.settings.programDir + "out");
  ASSERT_TRUE(RunUntil([&] { return !lap.program.told.empty(); }));
  const auto received = StartReceiving(lap, lap.settings.programDir + "lap.cas");
  const fs::path part = lap.folder / "vandry.dat" / "in-office-f1.part";
  ASSERT_TRUE(RunUntil([&] { return fs::exists(part) && fs::file_size(part) > 5'000'000; }));
  // The sender goes, in the middle, and comes back.
  office.peers.reset();
  RunFor(Milliseconds{50});
  EXPECT_FALSE(received->over);
  EXPECT_FALSE(fs::exists(lap.folder / "lap.cas"));
  const auto before = static_cast<std::int64_t>(fs::file_size(part));
  ASSERT_LT(before, 30'000'000);
  lap.program.progress.clear();
  Open(office);
  const auto again = StartSending(office, lap.Address(), "lap", office.settings.programDir + "out");
  EXPECT_EQ(Await(received).text, "30000000");
  EXPECT_TRUE(Await(again).Ok());
  EXPECT_TRUE(ReadNative(lap.folder / "lap.cas") == content);
  // One announcement was enough, and nothing came twice.
  EXPECT_EQ(std::count(lap.program.told.begin(), lap.program.told.end(),
                       "FileSendReq office lap 30000000 " + office.Address()),
            1);
  ASSERT_FALSE(lap.program.progress.empty());
  EXPECT_GE(lap.program.progress[0].done, before);
}

TEST_F(PeersWithFiles, GoOnWhereATransferStoppedAfterTheReceiversRestart) {
  OpenPaired();
  const std::string content = Content(30'000'000);
  WriteNative(office.folder / "out", content);
  const auto sent = StartSending(office, lap.Address(), "lap", office.settings.programDir + "out");
  ASSERT_TRUE(RunUntil([&] { return !lap.program.told.empty(); }));
  StartReceiving(lap, lap.settings.programDir + "lap.cas");
  const fs::path part = lap.folder / "vandry.dat" / "in-office-f1.part";
  ASSERT_TRUE(RunUntil([&] { return fs::exists(part) && fs::file_size(part) > 5'000'000; }));
  lap.peers.reset();
  const PeerReply lost = Await(sent);
  EXPECT_EQ(lost.error, PeerError::Lost);
  EXPECT_TRUE(lost.worthRepeating);
  const auto before = static_cast<std::int64_t>(fs::file_size(part));
  Open(lap);
  lap.program = {};
  const auto again = StartSending(office, lap.Address(), "lap", office.settings.programDir + "out");
  ASSERT_TRUE(RunUntil([&] { return !lap.program.told.empty(); }));
  EXPECT_TRUE(Await(StartReceiving(lap, lap.settings.programDir + "lap.cas")).Ok());
  EXPECT_TRUE(ReadNative(lap.folder / "lap.cas") == content);
  EXPECT_TRUE(Await(again).Ok());
  ASSERT_FALSE(lap.program.progress.empty());
  EXPECT_GE(lap.program.progress[0].done, before);
}

TEST_F(PeersWithFiles, BeginAnewWhenThePartIsOfAnotherFile) {
  OpenPaired();
  const std::string content = Content(3'000'000);
  WriteNative(office.folder / "out", content);
  WriteNative(lap.folder / "vandry.dat" / "in-office-f1.part", std::string(2'000'000, 'x'));
  const auto sent = StartSending(office, lap.Address(), "lap", office.settings.programDir + "out");
  ASSERT_TRUE(RunUntil([&] { return !lap.program.told.empty(); }));
  EXPECT_TRUE(Await(StartReceiving(lap, lap.settings.programDir + "lap.cas")).Ok());
  EXPECT_TRUE(ReadNative(lap.folder / "lap.cas") == content);
  EXPECT_TRUE(Await(sent).Ok());
}

TEST_F(PeersWithFiles, BeginAnewWhenThePartIsLongerThanTheFile) {
  OpenPaired();
  WriteNative(office.folder / "out", "short");
  WriteNative(lap.folder / "vandry.dat" / "in-office-f1.part", "shorter, and longer");
  const auto sent = StartSending(office, lap.Address(), "lap", office.settings.programDir + "out");
  ASSERT_TRUE(RunUntil([&] { return !lap.program.told.empty(); }));
  EXPECT_TRUE(Await(StartReceiving(lap, lap.settings.programDir + "lap.cas")).Ok());
  EXPECT_EQ(ReadNative(lap.folder / "lap.cas"), "short");
}

TEST_F(PeersWithFiles, GiveTheProgramAnAnswerWhenTheSenderStaysAway) {
  lap.settings.times.resume = Milliseconds{100};
  OpenPaired();
  WriteNative(office.folder / "out", Content(30'000'000));
  StartSending(office, lap.Address(), "lap", office.settings.programDir + "out");
  ASSERT_TRUE(RunUntil([&] { return !lap.program.told.empty(); }));
  const auto received = StartReceiving(lap, lap.settings.programDir + "lap.cas");
  const fs::path part = lap.folder / "vandry.dat" / "in-office-f1.part";
  ASSERT_TRUE(RunUntil([&] { return fs::exists(part) && fs::file_size(part) > 0; }));
  office.peers.reset();
  EXPECT_EQ(Await(received).error, PeerError::Lost);
  EXPECT_TRUE(fs::exists(part)) << "there is nothing to go on from";
  EXPECT_FALSE(fs::exists(lap.folder / "lap.cas"));
  // When it comes back later, the file is announced anew.
  lap.program.told.clear();
  Open(office);
  StartSending(office, lap.Address(), "lap", office.settings.programDir + "out");
  ASSERT_TRUE(RunUntil([&] { return !lap.program.told.empty(); }));
  EXPECT_TRUE(Await(StartReceiving(lap, lap.settings.programDir + "lap.cas")).Ok());
}

TEST_F(PeersWithFiles, AnnounceASecondFileWhenTheFirstIsOver) {
  tests::PeerComputer home;
  SetUpComputer(home, "home");
  Introduce(lap, home);
  Introduce(home, lap);
  OpenPaired();
  Open(home);
  WriteNative(office.folder / "out", "of office");
  WriteNative(office.folder / "out2", "second of office");
  WriteNative(home.folder / "out", "of home");
  StartSending(office, lap.Address(), "lap", office.settings.programDir + "out", "a");
  ASSERT_TRUE(RunUntil([&] { return !lap.program.told.empty(); }));
  const auto second = StartSending(office, lap.Address(), "lap", office.settings.programDir + "out2", "b");
  const auto third = StartSending(home, lap.Address(), "lap", home.settings.programDir + "out", "c");
  RunFor(Milliseconds{200});
  EXPECT_EQ(lap.program.told.size(), 1U);
  for (const char* content : {"of office", "", ""}) {
    const std::string announcement = lap.program.told.back();
    EXPECT_TRUE(announcement.starts_with("FileSendReq ")) << announcement;
    EXPECT_TRUE(Await(StartReceiving(lap, lap.settings.programDir + "lap.cas")).Ok());
    const std::string came = ReadNative(lap.folder / "lap.cas");
    EXPECT_EQ(announcement.find("FileSendReq home") == 0, came == "of home") << announcement << ": " << came;
    if (*content != '\0') {
      EXPECT_EQ(came, content);
    }
    const std::size_t before = lap.program.told.size();
    (void)loop.RunUntil([&] { return lap.program.told.size() > before; }, Milliseconds{300});
  }
  EXPECT_TRUE(Await(second).Ok());
  EXPECT_TRUE(Await(third).Ok());
  EXPECT_EQ(std::count(lap.program.told.begin(), lap.program.told.end(), "NetReceived"), 3);
  home.peers.reset();
}

TEST_F(PeersWithFiles, RefuseToReceiveWhatNobodyAnnounced) {
  OpenPaired();
  const PeerReply reply = Await(StartReceiving(lap, lap.settings.programDir + "lap.cas"));
  EXPECT_EQ(reply.error, PeerError::Refused);
  EXPECT_FALSE(fs::exists(lap.folder / "lap.cas"));
}

TEST_F(PeersWithFiles, TakeAFileOnceThoughItsConfirmationWasLost) {
  OpenPaired();
  WriteNative(office.folder / "out", "content");
  const auto sent = StartSending(office, lap.Address(), "lap", office.settings.programDir + "out");
  ASSERT_TRUE(RunUntil([&] { return !lap.program.told.empty(); }));
  EXPECT_TRUE(Await(StartReceiving(lap, lap.settings.programDir + "lap.cas")).Ok());
  EXPECT_TRUE(Await(sent).Ok());
  lap.program.told.clear();
  // The sender did not hear of it, for all that is known here, and sends it again.
  EXPECT_TRUE(Await(StartSending(office, lap.Address(), "lap", office.settings.programDir + "out")).Ok());
  EXPECT_TRUE(lap.program.told.empty());
}

TEST_F(PeersWithFiles, AnnounceAFileAgainToAProgramThatComesBack) {
  OpenPaired();
  WriteNative(office.folder / "out", "content");
  const auto sent = StartSending(office, lap.Address(), "lap", office.settings.programDir + "out");
  ASSERT_TRUE(RunUntil([&] { return !lap.program.told.empty(); }));
  const std::string announcement = lap.program.told[0];
  lap.peers->ProgramLeft();
  lap.program.told.clear();
  lap.peers->ProgramCame();
  EXPECT_EQ(lap.program.told, std::vector{announcement});
  // Now it is received, but the program ends before it has imported it.
  EXPECT_TRUE(Await(StartReceiving(lap, lap.settings.programDir + "lap.cas")).Ok());
  EXPECT_TRUE(Await(sent).Ok());
  lap.peers->ProgramLeft();
  lap.program.told.clear();
  lap.peers->ProgramCame();
  EXPECT_EQ(lap.program.told, std::vector{announcement});
  // The file is safe here although the program begins by deleting what is at the path.
  EXPECT_FALSE(fs::exists(lap.folder / "lap.cas"));
  EXPECT_TRUE(Await(StartReceiving(lap, lap.settings.programDir + "lap.cas")).Ok());
  EXPECT_EQ(ReadNative(lap.folder / "lap.cas"), "content");
  EXPECT_EQ(lap.program.told.back(), "NetReceived");
  // A file that ends the program each time is not given to it for ever.
  lap.peers->ProgramLeft();
  lap.program.told.clear();
  lap.peers->ProgramCame();
  EXPECT_TRUE(lap.program.told.empty());
  EXPECT_TRUE(lap.program.HasLogged("was delivered 2 times"));
}

TEST_F(PeersWithFiles, AnnounceAFileAgainAfterARestart) {
  OpenPaired();
  WriteNative(office.folder / "out", "content");
  const auto sent = StartSending(office, lap.Address(), "lap", office.settings.programDir + "out");
  ASSERT_TRUE(RunUntil([&] { return !lap.program.told.empty(); }));
  const std::string announcement = lap.program.told[0];
  EXPECT_TRUE(Await(StartReceiving(lap, lap.settings.programDir + "lap.cas")).Ok());
  EXPECT_TRUE(Await(sent).Ok());
  lap.peers.reset();
  lap.program.told.clear();
  Open(lap);
  lap.peers->ProgramCame();
  EXPECT_EQ(lap.program.told, std::vector{announcement});
}

TEST_F(PeersWithFiles, ForgetAFileThatTheProgramHasDealtWith) {
  OpenPaired();
  WriteNative(office.folder / "out", "content");
  for (const bool byConfirmation : {false, true}) {
    lap.program.told.clear();
    const auto sent =
        StartSending(office, lap.Address(), "lap", office.settings.programDir + "out", byConfirmation ? "a" : "b");
    ASSERT_TRUE(RunUntil([&] { return !lap.program.told.empty(); }));
    EXPECT_TRUE(Await(StartReceiving(lap, lap.settings.programDir + "lap.cas")).Ok());
    EXPECT_TRUE(Await(sent).Ok());
    if (byConfirmation) {
      EXPECT_TRUE(Say(lap, office.Address(), "SyncSuccessfull lap").Ok());
    } else {
      lap.peers->ReceivedHandled();
    }
    lap.program.told.clear();
    lap.peers->ProgramLeft();
    lap.peers->ProgramCame();
    EXPECT_TRUE(lap.program.told.empty());
    EXPECT_EQ(ReadNative(lap.folder / "lap.cas"), "content") << "the program's file was touched";
  }
}

TEST_F(PeersWithFiles, KeepReceivingForAProgramThatLeft) {
  OpenPaired();
  const std::string content = Content(20'000'000);
  WriteNative(office.folder / "out", content);
  const auto sent = StartSending(office, lap.Address(), "lap", office.settings.programDir + "out");
  ASSERT_TRUE(RunUntil([&] { return !lap.program.told.empty(); }));
  const auto received = StartReceiving(lap, lap.settings.programDir + "lap.cas");
  const fs::path part = lap.folder / "vandry.dat" / "in-office-f1.part";
  ASSERT_TRUE(RunUntil([&] { return fs::exists(part) && fs::file_size(part) > 0; }));
  lap.peers->ProgramLeft();
  EXPECT_TRUE(Await(sent).Ok());
  EXPECT_FALSE(received->over);
  EXPECT_FALSE(fs::exists(lap.folder / "lap.cas"));
  lap.program.told.clear();
  lap.peers->ProgramCame();
  ASSERT_EQ(lap.program.told.size(), 1U);
  EXPECT_TRUE(Await(StartReceiving(lap, lap.settings.programDir + "lap.cas")).Ok());
  EXPECT_TRUE(ReadNative(lap.folder / "lap.cas") == content);
}

TEST_F(PeersWithFiles, TellTheSenderThatNobodyIsThereToTakeItsFile) {
  lap.program.there = false;
  OpenPaired();
  WriteNative(office.folder / "out", "content");
  EXPECT_EQ(Await(StartSending(office, lap.Address(), "lap", office.settings.programDir + "out")).error,
            PeerError::NobodyThere);
}

TEST_F(PeersWithFiles, SayWhenThePathCanNotBeWritten) {
  OpenPaired();
  WriteNative(office.folder / "out", "content");
  const auto sent = StartSending(office, lap.Address(), "lap", office.settings.programDir + "out");
  ASSERT_TRUE(RunUntil([&] { return !lap.program.told.empty(); }));
  const PeerReply reply = Await(StartReceiving(lap, lap.settings.programDir + "missing\\lap.cas"));
  EXPECT_EQ(reply.error, PeerError::LocalFile);
  EXPECT_FALSE(lap.program.WasTold("NetReceived"));
  // It is safe here: the program gets it when it comes anew.
  EXPECT_TRUE(Await(sent).Ok());
}

TEST_F(PeersWithFiles, SayWhenTheFileToSendIsNotThere) {
  OpenPaired();
  const PeerReply reply = Await(StartSending(office, lap.Address(), "lap", office.settings.programDir + "out"));
  EXPECT_EQ(reply.error, PeerError::LocalFile);
  EXPECT_TRUE(lap.program.told.empty());
}

TEST_F(PeersWithFiles, SendAFileToNobodyButItsTarget) {
  tests::PeerComputer home;
  SetUpComputer(home, "home");
  Introduce(office, home);
  Introduce(home, office);
  OpenPaired();
  Open(home);
  WriteNative(office.folder / "out", "content");
  // lap's address has become home's, which is paired too.
  const PeerReply reply = Await(StartSending(office, home.Address(), "lap", office.settings.programDir + "out"));
  EXPECT_EQ(reply.error, PeerError::NotPaired);
  EXPECT_EQ(reply.text, "The computer at that address is [home], not [lap]");
  EXPECT_TRUE(home.program.told.empty());
  home.peers.reset();
}

}  // namespace
}  // namespace zelkor::vandry
