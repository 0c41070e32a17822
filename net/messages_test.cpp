#include "net/messages.h"

#include "lib/clock.h"
#include "net/run_notes.h"
#include "sync/damaged.h"
#include "tests/support/networked.h"

namespace zelkor::net {
namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::StartsWith;
using tests::FakeVandry;

class MessagesTest : public tests::Networked {
 protected:
  // A Vandry that delivers this file when it is asked to.
  void StartDelivering(const std::string& content) {
    StartVandry([this, content](FakeVandry&, const std::string& command) -> std::string {
      if (!command.starts_with("NetFileRec ")) return {};
      WriteNative(NativePath(command.substr(11)), content);
      return "OK " + std::to_string(content.size());
    });
  }
  void ExpectDatesKept() {
    EXPECT_EQ(LastExport("lap"), kOld);
    EXPECT_EQ(LastImport("lap"), 0);
  }
  [[nodiscard]] fs::path ReceivedPath() const { return ProgramFolder() / "office.cas"; }
  // The path of the file that was handed over for sending, in the program's form.
  [[nodiscard]] std::string SentCommand() const {
    for (const std::string& command : vandry_->Commands()) {
      if (command.starts_with("NetFileSend ")) return command;
    }
    return {};
  }

  int refills_ = 0;
  Messages messages_{context_, {.beforeMessage = {}, .targetsChanged = [this] { ++refills_; }, .itemsChanged = {}}};
};

TEST_F(MessagesTest, ShowWhatTheyDoNotKnowInABox) {
  messages_.ProcessMessage("Surprise");
  ASSERT_EQ(user_.boxes.size(), 1U);
  EXPECT_EQ(user_.boxes[0].text, "Surprise");
  EXPECT_EQ(user_.boxes[0].icon, lib::Icon::None);
  EXPECT_EQ(user_.boxes[0].buttons, lib::Buttons::Ok);
}

TEST_F(MessagesTest, CompareNamesWithTheirCase) {
  messages_.ProcessMessage("syncsuccessfull lap");
  EXPECT_THAT(user_.Messages(), ElementsAre("syncsuccessfull lap"));
  EXPECT_EQ(refills_, 0);
}

TEST_F(MessagesTest, ApplyFirstWhatWindowsHold) {
  std::vector<std::string> order;
  messages_.SetHooks({.beforeMessage = [&] { order.emplace_back("apply"); },
                      .targetsChanged = [&] { order.emplace_back("refill"); },
                      .itemsChanged = {}});
  messages_.ProcessMessage("SyncSuccessfull lap");
  EXPECT_THAT(order, ElementsAre("apply", "refill"));
}

// A confirmation.

TEST_F(MessagesTest, ConfirmedByAnUnknownComputerChangeNothingButShowIt) {
  messages_.ProcessMessage("SyncSuccessfull other");
  ExpectDatesKept();
  EXPECT_EQ(refills_, 1);
  EXPECT_THAT(user_.statuses, ElementsAre("Sync confirmation received from [other]"));
  EXPECT_THAT(user_.boxes, IsEmpty());
}

TEST_F(MessagesTest, ConfirmedThatNobodyWaitsForChangeNoDate) {
  messages_.ProcessMessage("SyncSuccessfull lap");
  ExpectDatesKept();
  EXPECT_EQ(refills_, 1);
  EXPECT_THAT(user_.statuses, ElementsAre("Sync confirmation received from [lap]"));
}

TEST_F(MessagesTest, ConfirmedStoreOnlyTheExportDateOfTheRun) {
  ASSERT_TRUE(RunNotes(ProgramDir()).Add("lap", kOld, kNew, "10.0.0.2").Ok());
  messages_.ProcessMessage("SyncSuccessfull LAP");
  EXPECT_EQ(LastExport("lap"), kNew);
  EXPECT_EQ(LastImport("lap"), 0);
  // The same once more, as after a crash: it is not for the next file.
  messages_.ProcessMessage("SyncSuccessfull lap");
  EXPECT_EQ(LastExport("lap"), kNew);
}

TEST_F(MessagesTest, ConfirmedLeaveTheCurrentTargetAsItWas) {
  targets_.FindTarget("home", false);
  messages_.ProcessMessage("SyncSuccessfull lap");
  EXPECT_EQ(targets_.Current().Id(), "home");
}

TEST_F(MessagesTest, ConfirmedAreTakenFromVandryBeforeTheyAreUsed) {
  StartVandry();
  std::vector<std::string> handledBefore;
  messages_.SetHooks({.beforeMessage = {},
                      .targetsChanged =
                          [&] {
                            EXPECT_EQ(link_.SendCommand("sync", {}, false), 0);
                            handledBefore = vandry_->HandledPushes();
                          },
                      .itemsChanged = {}});
  vandry_->Push("SyncSuccessfull lap");
  HandleMessages(1);
  EXPECT_THAT(handledBefore, ElementsAre("SyncSuccessfull lap"));
}

// A file that comes.

TEST_F(MessagesTest, ImportTheAnnouncedFileUnderThisComputersIdAndConfirmIt) {
  AddItem("a.txt", "from lap");
  StartDelivering(SyncFileOf("lap"));
  fs::remove(Home() / "a.txt");
  messages_.ProcessMessage("FileSendReq lap office 1234 10.0.0.7:4223");
  EXPECT_TRUE(fs::exists(ReceivedPath()));
  messages_.ProcessMessage("NetReceived");
  EXPECT_EQ(Content("a.txt"), "from lap");
  EXPECT_NE(LastImport("lap"), 0);
  EXPECT_EQ(LastExport("lap"), kOld);
  EXPECT_TRUE(vandry_->WaitForCommand("NetTrans 10.0.0.7:4223 SyncSuccessfull office"));
  EXPECT_THAT(vandry_->Commands(), ElementsAre("NetFileRec " + ProgramDir() + "office.cas",
                                               "NetTrans 10.0.0.7:4223 SyncSuccessfull office"));
  // Nobody needs it any more.
  EXPECT_FALSE(fs::exists(ReceivedPath()));
  EXPECT_THAT(user_.boxes, IsEmpty());
}

TEST_F(MessagesTest, ShowWhoseFileIsComing) {
  StartVandry([](FakeVandry&, const std::string&) { return std::string(); });
  user_.onWaiting = [&](const std::string&) { vandry_->ReplyTo(0, "OK 12"); };
  messages_.ProcessMessage("FileSendReq lap office 1234 10.0.0.7");
  EXPECT_THAT(user_.waits, ElementsAre("Receiving data from [lap]"));
}

TEST_F(MessagesTest, ImportWithoutAskingForTheFileAgain) {
  AddItem("a.txt", "from lap");
  StartDelivering(SyncFileOf("lap"));
  messages_.ProcessMessage("FileSendReq lap office 1234 10.0.0.7");
  messages_.ProcessMessage("NetReceived");
  EXPECT_THAT(vandry_->Commands(), Not(Contains(HasSubstr("SyncMe"))));
}

TEST_F(MessagesTest, DeleteAnEarlierFileBeforeTheNewOneComes) {
  WriteNative(ReceivedPath(), "old");
  bool there = true;
  StartVandry([&](FakeVandry&, const std::string&) {
    there = fs::exists(ReceivedPath());
    return "Error 9 disk full";
  });
  messages_.ProcessMessage("FileSendReq lap office 1234 10.0.0.7");
  EXPECT_FALSE(there);
}

TEST_F(MessagesTest, ReceiveOnlyTheFileThatWasAnnouncedLast) {
  AddItem("a.txt", "from home");
  StartDelivering(SyncFileOf("home"));
  messages_.ProcessMessage("FileSendReq lap office 1234 10.0.0.7");
  messages_.ProcessMessage("FileSendReq home office 1234 10.0.0.8");
  messages_.ProcessMessage("NetReceived");
  EXPECT_TRUE(vandry_->WaitForCommand("NetTrans 10.0.0.8 SyncSuccessfull office"));
  EXPECT_NE(LastImport("home"), 0);
  EXPECT_EQ(LastImport("lap"), 0);
}

TEST_F(MessagesTest, ImportNothingThatWasNotAnnounced) {
  StartVandry();
  messages_.ProcessMessage("NetReceived");
  EXPECT_THAT(user_.Messages(), ElementsAre("No file to import!"));
  EXPECT_THAT(vandry_->Commands(), IsEmpty());
}

TEST_F(MessagesTest, ConfirmNoFileThatIsNotThere) {
  StartVandry([](FakeVandry&, const std::string&) { return "OK 0"; });
  messages_.ProcessMessage("FileSendReq lap office 0 10.0.0.7");
  messages_.ProcessMessage("NetReceived");
  EXPECT_THAT(user_.Messages(), ElementsAre("Import file [" + ProgramDir() + "office.cas] does not exist!"));
  EXPECT_EQ(vandry_->Commands().size(), 1U);
}

TEST_F(MessagesTest, RefuseAFileOfAnotherComputerWithoutAQuestion) {
  AddItem("a.txt", "from home");
  StartDelivering(SyncFileOf("home"));
  fs::remove(Home() / "a.txt");
  user_.answers = {lib::Button::Yes};
  messages_.ProcessMessage("FileSendReq lap office 1234 10.0.0.7");
  messages_.ProcessMessage("NetReceived");
  EXPECT_THAT(user_.Messages(), ElementsAre("Sync file is not from [lap] but from [home]."));
  EXPECT_FALSE(fs::exists(Home() / "a.txt"));
  EXPECT_EQ(vandry_->Commands().size(), 1U);
  ExpectDatesKept();
}

TEST_F(MessagesTest, RefuseAFileThatSaysItHasMoreDisks) {
  AddItem("a.txt", "from lap");
  std::string bytes = SyncFileOf("lap");
  // The header's flag of the last disk: -1 there, 0 before it; found by its signature, eight bytes before the flag.
  const std::size_t flag = bytes.find("SyncFile") + 8;
  ASSERT_EQ(bytes.substr(flag, 2), "\xff\xff");
  bytes[flag] = bytes[flag + 1] = '\0';
  StartDelivering(bytes);
  messages_.ProcessMessage("FileSendReq lap office 1234 10.0.0.7");
  messages_.ProcessMessage("NetReceived");
  EXPECT_THAT(user_.Messages(), ElementsAre("File is not a Sync-file!"));
  EXPECT_EQ(vandry_->Commands().size(), 1U);
}

TEST_F(MessagesTest, RefuseAFileOfAComputerThatIsNoTarget) {
  AddItem("a.txt", "from other");
  StartDelivering(SyncFileOf("other"));
  messages_.ProcessMessage("FileSendReq other office 1234 10.0.0.7");
  messages_.ProcessMessage("NetReceived");
  EXPECT_THAT(user_.Messages(), ElementsAre("Can not find target [other] in database!"));
  EXPECT_EQ(vandry_->Commands().size(), 1U);
}

TEST_F(MessagesTest, ConfirmNothingWhenAFileCouldNotBeTaken) {
  AddItem("a.txt", "from lap");
  StartDelivering(SyncFileOf("lap"));
  fs::remove(Home() / "a.txt");
  fs::create_directory(Home() / "a.txt");  // its name is taken
  messages_.ProcessMessage("FileSendReq lap office 1234 10.0.0.7");
  messages_.ProcessMessage("NetReceived");
  EXPECT_THAT(user_.log, Contains("  [c:\\a.txt]: Can not import"));
  EXPECT_EQ(vandry_->Commands().size(), 1U);
}

TEST_F(MessagesTest, TakeADamagedFileFromVandryBeforeTheProgramEnds) {
  AddItem("a.txt", "from lap");
  std::string bytes = SyncFileOf("lap");
  bytes.replace(bytes.find("memosign"), 8, "memosigh");
  StartDelivering(bytes);
  vandry_->Push("FileSendReq lap office 1234 10.0.0.7");
  HandleMessages(1);
  vandry_->Push("NetReceived");
  EXPECT_THROW(HandleMessages(2), sync::DamagedSyncFile);
  EXPECT_TRUE(vandry_->WaitForHandled(2));
}

// A request for a file.

TEST_F(MessagesTest, ExportToWhoAsksForIt) {
  AddItem("a.txt", "of office");
  StartVandry([](FakeVandry&, const std::string&) { return std::string(); });
  messages_.ProcessMessage("SyncMe Lap 10.0.0.9:4223");
  EXPECT_EQ(user_.statuses.at(0), "Sync request received form [Lap]");
  // To where the request came from, not to where the target is said to be.
  EXPECT_THAT(SentCommand(), StartsWith("NetFileSend 10.0.0.9:4223 office lap z:\\"));
  EXPECT_THAT(user_.log, Contains(StartsWith("Sending file to [lap] at 10.0.0.9:4223 ")));
  ExpectDatesKept();
}

TEST_F(MessagesTest, ExportOverTheNetworkWhateverTheTargetsConnection) {
  StartVandry([](FakeVandry&, const std::string&) { return std::string(); });
  messages_.ProcessMessage("SyncMe home 10.0.0.9");
  EXPECT_THAT(SentCommand(), StartsWith("NetFileSend 10.0.0.9 office home "));
}

TEST_F(MessagesTest, KeepTheRequestersDateUntilItConfirmsAlsoAfterARestart) {
  AddItem("a.txt", "of office");
  StartVandry([](FakeVandry&, const std::string&) { return std::string(); });
  const lib::Date before = lib::Now();
  messages_.ProcessMessage("SyncMe lap 10.0.0.9");
  const lib::Date after = lib::Now();
  EXPECT_EQ(LastExport("lap"), kOld);
  messages_.ProcessMessage("SyncSuccessfull lap");
  // Two seconds before the end of the run, not the moment of the confirmation.
  EXPECT_GE(lib::DateToSeconds(LastExport("lap")), lib::DateToSeconds(before) - 2);
  EXPECT_LE(lib::DateToSeconds(LastExport("lap")), lib::DateToSeconds(after) - 2);
}

TEST_F(MessagesTest, RefuseARequestWhenConnectionsAreNotAccepted) {
  lib::PutIniValue("Zelkor", "AcceptNetConn", 0);
  StartVandry();
  messages_.ProcessMessage("SyncMe lap 10.0.0.9");
  EXPECT_THAT(vandry_->Commands(), IsEmpty());
  EXPECT_THAT(user_.log, Contains("Sync request of [lap] at 10.0.0.9 refused: network connections are not accepted"));
  EXPECT_THAT(ReadNative(ProgramFolder() / "ZELKOR.log"), HasSubstr("refused"));
}

TEST_F(MessagesTest, RefuseARequestOfAComputerThatIsNoTarget) {
  StartVandry();
  messages_.ProcessMessage("SyncMe other 10.0.0.9");
  messages_.ProcessMessage("SyncMe \"\" 10.0.0.9");
  EXPECT_THAT(vandry_->Commands(), IsEmpty());
  EXPECT_THAT(user_.log, Contains("Sync request of [other] at 10.0.0.9 refused: the computer is no target"));
  EXPECT_THAT(user_.boxes, IsEmpty());
}

TEST_F(MessagesTest, TakeQuotedWordsWithoutTheirQuotes) {
  StartVandry([](FakeVandry&, const std::string&) { return std::string(); });
  messages_.ProcessMessage("\"SyncMe\" \"lap\" \"10.0.0.9\"");
  EXPECT_THAT(SentCommand(), StartsWith("NetFileSend 10.0.0.9 office lap "));
}

TEST_F(MessagesTest, SendNothingToAnAddressThatIsNone) {
  StartVandry();
  messages_.ProcessMessage("SyncMe lap");
  EXPECT_THAT(user_.Messages(), ElementsAre("The address is empty", "Sync export failed!"));
  EXPECT_THAT(vandry_->Commands(), IsEmpty());
}

TEST_F(MessagesTest, WaitWhileARunIsInHandAndComeInOrder) {
  AddItem("a.txt", "of office");
  StartVandry([](FakeVandry& vandry, const std::string& command) -> std::string {
    if (command.starts_with("NetFileSend ")) {
      vandry.Push("first");
      vandry.Push("second");
    }
    return {};
  });
  vandry_->Push("SyncMe lap 10.0.0.9");
  HandleMessages(3);
  EXPECT_THAT(vandry_->HandledPushes(), ElementsAre("SyncMe lap 10.0.0.9", "first", "second"));
  EXPECT_THAT(user_.Messages(), ElementsAre("first", "second"));
}

// What goes wrong on the way.

TEST_F(MessagesTest, ShowAFailureAndWaitNoLongerForItsConfirmation) {
  ASSERT_TRUE(RunNotes(ProgramDir()).Add("lap", kOld, kNew, "10.0.0.2").Ok());
  messages_.ProcessMessage("NetFailed NetFileSend 10.0.0.2 nobody answers");
  EXPECT_THAT(user_.Messages(), ElementsAre("NetFailed NetFileSend 10.0.0.2 nobody answers"));
  messages_.ProcessMessage("SyncSuccessfull lap");
  EXPECT_EQ(LastExport("lap"), kOld);
}

// It is still on its way: its confirmation, when it comes, is not the later file's.
TEST_F(MessagesTest, ShowThatAFileIsLateAndKeepItsDateForItsConfirmation) {
  ASSERT_TRUE(RunNotes(ProgramDir()).Add("lap", kOld, kNew, "10.0.0.2").Ok());
  ASSERT_TRUE(RunNotes(ProgramDir()).Add("lap", kOld, kNew + 1, "10.0.0.2").Ok());
  messages_.ProcessMessage("NetDelayed NetFileSend 10.0.0.2 its disk is full");
  EXPECT_THAT(user_.Messages(), ElementsAre("NetDelayed NetFileSend 10.0.0.2 its disk is full"));
  messages_.ProcessMessage("SyncSuccessfull lap");
  EXPECT_EQ(LastExport("lap"), kNew);
  messages_.ProcessMessage("SyncSuccessfull lap");
  EXPECT_EQ(LastExport("lap"), kNew + 1);
}

TEST_F(MessagesTest, KeepWaitingAfterAFailureOfSomethingElse) {
  ASSERT_TRUE(RunNotes(ProgramDir()).Add("lap", kOld, kNew, "10.0.0.2").Ok());
  messages_.ProcessMessage("NetFailed NetTrans 10.0.0.2 nobody answers");
  messages_.ProcessMessage("SyncSuccessfull lap");
  EXPECT_EQ(LastExport("lap"), kNew);
}

// Waiting for an end, unattended.

TEST_F(MessagesTest, AwaitedEndWithTheImport) {
  AddItem("a.txt", "from lap");
  StartDelivering(SyncFileOf("lap"));
  for (const char* text : {"SyncSuccessfull lap", "FileSendReq lap office 1 10.0.0.7", "NetReceived"}) {
    vandry_->Push(text);
  }
  ASSERT_EQ(link_.StartLink(), 0);
  EXPECT_TRUE(messages_.AwaitImport("LAP", "10.0.0.2"));
  EXPECT_NE(LastImport("lap"), 0);
}

TEST_F(MessagesTest, AwaitedEndAsFailedWhenTheFileCanNotBeReceived) {
  StartVandry([](FakeVandry&, const std::string&) { return "Error 9 disk full"; });
  vandry_->Push("FileSendReq lap office 1 10.0.0.7");
  ASSERT_EQ(link_.StartLink(), 0);
  EXPECT_FALSE(messages_.AwaitImport("lap", "10.0.0.2"));
  EXPECT_THAT(user_.log, Contains(HasSubstr("disk full")));
}

TEST_F(MessagesTest, AwaitedEndWithTheConfirmationOfTheRightComputer) {
  StartVandry();
  vandry_->Push("SyncSuccessfull home");
  vandry_->Push("SyncSuccessfull lap");
  ASSERT_EQ(link_.StartLink(), 0);
  EXPECT_TRUE(messages_.AwaitConfirmation("lap", "10.0.0.2"));
  EXPECT_TRUE(vandry_->WaitForHandled(2));
}

// What a computer asked for before the run sent it, or while it waits, is that very file.
TEST_F(MessagesTest, AwaitedFileAnswersTheTargetsOwnRequest) {
  StartVandry();
  for (const char* text : {"SyncMe LAP 10.0.0.9", "SyncMe home 10.0.0.8", "SyncSuccessfull lap"}) vandry_->Push(text);
  ASSERT_EQ(link_.StartLink(), 0);
  EXPECT_TRUE(messages_.AwaitConfirmation("lap", "10.0.0.2"));
  EXPECT_THAT(vandry_->Commands(), ElementsAre(StartsWith("NetFileSend 10.0.0.8 office home ")));
  EXPECT_THAT(user_.log, Contains("Sync request of [LAP] is answered by the file that was sent"));
}

// It may not have got on with the first one.
TEST_F(MessagesTest, AwaitedFileAnswersOneRequestOnly) {
  StartVandry();
  for (const char* text : {"SyncMe lap 10.0.0.9", "SyncMe lap 10.0.0.9", "SyncSuccessfull lap"}) vandry_->Push(text);
  ASSERT_EQ(link_.StartLink(), 0);
  EXPECT_TRUE(messages_.AwaitConfirmation("lap", "10.0.0.2"));
  EXPECT_THAT(vandry_->Commands(), ElementsAre(StartsWith("NetFileSend 10.0.0.9 office lap ")));
}

TEST_F(MessagesTest, AwaitedEndAsFailedByAFailureAtTheAddress) {
  StartVandry();
  vandry_->Push("NetFailed NetTrans 10.0.0.99 elsewhere");
  vandry_->Push("NetFailed NetTrans 10.0.0.2 nobody answers");
  ASSERT_EQ(link_.StartLink(), 0);
  EXPECT_FALSE(messages_.AwaitImport("lap", "10.0.0.2"));
  EXPECT_TRUE(vandry_->WaitForHandled(2));
}

TEST_F(MessagesTest, AwaitedEndAsFailedWhenNothingMoves) {
  StartVandry();
  ASSERT_EQ(link_.StartLink(), 0);
  link_.LimitWaits(std::chrono::seconds(1));
  EXPECT_FALSE(messages_.AwaitConfirmation("lap", "10.0.0.2"));
  EXPECT_THAT(user_.Messages(), ElementsAre(HasSubstr("nothing has moved for 1 seconds")));
}

}  // namespace
}  // namespace zelkor::net
