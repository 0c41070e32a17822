// Opening the link to Vandry, commands, and their waits.

#include <gmock/gmock.h>

#include "lib/clock.h"
#include "net/link_fixture.h"

namespace zelkor::net {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using tests::FakeVandry;

TEST_F(LinkTest, OpensToARunningVandryWithoutAGreeting) {
  Run();
  EXPECT_EQ(link_.StartLink(), 0);
  EXPECT_EQ(link_.StartLink(), 0);
  EXPECT_FALSE(link_.VandryStarted());
  EXPECT_EQ(launches_, 0);
  EXPECT_THAT(user_.statuses, IsEmpty());
  EXPECT_THAT(vandry_->Commands(), IsEmpty());
}

TEST_F(LinkTest, StartsVandryGreetsItAndShowsItsVersion) {
  RunWhenLaunched([](FakeVandry&, const std::string&) { return "OK 3.1"; });
  EXPECT_EQ(link_.StartLink(), 0);
  EXPECT_EQ(launches_, 1);
  EXPECT_EQ(waits_, 1);
  EXPECT_TRUE(link_.VandryStarted());
  EXPECT_THAT(vandry_->Commands(), ElementsAre("Hello"));
  EXPECT_THAT(user_.statuses, ElementsAre("Vandry! ver 3.1"));
  EXPECT_THAT(user_.boxes, IsEmpty());
}

TEST_F(LinkTest, IsOpenWhateverBecomesOfTheGreeting) {
  RunWhenLaunched([](FakeVandry&, const std::string&) { return "Error 5 not in the mood"; });
  EXPECT_EQ(link_.StartLink(), 0);
}

TEST_F(LinkTest, SaysThatVandryCanNotBeReached) {
  const double started = lib::Stopwatch();
  EXPECT_EQ(link_.StartLink(), 1);
  EXPECT_TRUE(link_.VandryStarted());
  ASSERT_THAT(user_.Messages(), ElementsAre("DDE Init error!"));
  EXPECT_EQ(user_.boxes[0].icon, lib::Icon::Critical);
  EXPECT_LT(lib::Stopwatch() - started, 10);
}

TEST_F(LinkTest, SaysThatVandryCanNotBeFoundWhenTheLaunchFails) {
  launchFails_ = true;
  EXPECT_EQ(Send("NetTrans a NetPing"), 1);
  EXPECT_THAT(user_.Messages(), ElementsAre("Cannot find vandry.exe!"));
  EXPECT_EQ(waits_, 0);
}

TEST_F(LinkTest, DoesNotStartASecondVandryBesideOneThatDoesNotAnswer) {
  const auto stopped = lib::ChannelServer::Listen(ProgramDir());
  ASSERT_TRUE(stopped.Ok());
  EXPECT_EQ(link_.StartLink(), 1);
  EXPECT_EQ(launches_, 0);
  EXPECT_THAT(user_.Messages(), ElementsAre("DDE Init error!"));
}

TEST_F(LinkTest, FindsTheOwnVandryByTheSettings) {
  const std::filesystem::path program = Root() / "a folder" / "other.exe";
  tests::PutTellingProgram(program);
  WriteNative(SettingsFile(), "[Vandry]\nExe=" + program.string() + "\n");
  EXPECT_EQ(RealLinkMeans(ProgramDir(), user_).launch(), 0);
  EXPECT_EQ(tests::ToldBy(program), ProgramFolder().string() + "\n");
}

TEST_F(LinkTest, FindsTheOwnVandryBesideItsData) {
  tests::PutTellingProgram(ProgramFolder() / "vandry.exe");
  EXPECT_EQ(RealLinkMeans(ProgramDir(), user_).launch(), 0);
  EXPECT_NE(tests::ToldBy(ProgramFolder() / "vandry.exe"), "");
}

TEST_F(LinkTest, ReportsNothingOfALaunchThatComesToNothing) {
  WriteNative(SettingsFile(), "[Vandry]\nExe=/does/not/exist\n");
  EXPECT_EQ(RealLinkMeans(ProgramDir(), user_).launch(), 0);
}

TEST_F(LinkTest, SucceedsByAReplyWithOkWhateverElseItSays) {
  Run([](FakeVandry&, const std::string& command) { return command == "one" ? "OK 12" : "not OK, Error"; });
  EXPECT_EQ(Send("one"), 0);
  EXPECT_EQ(link_.Text(), "OK 12");
  EXPECT_EQ(Send("two"), 0);
  EXPECT_EQ(link_.Text(), "not OK, Error");
}

TEST_F(LinkTest, FailsByAReplyWithError) {
  Run([](FakeVandry&, const std::string&) { return "Error 4 nobody there"; });
  EXPECT_EQ(Send("one"), 1);
  EXPECT_EQ(link_.Text(), "Error 4 nobody there");
}

TEST_F(LinkTest, ComparesTheMarkOfSuccessWithItsCase) {
  Run([](FakeVandry&, const std::string&) { return "Error: not ok"; });
  EXPECT_EQ(Send("one"), 1);
}

TEST_F(LinkTest, ShowsTheCaptionWhileItWaits) {
  Run([](FakeVandry&, const std::string&) { return std::string(); });
  user_.onWaiting = [&](const std::string& caption) { vandry_->ReplyTo(caption == "Looking" ? 0 : 1, "OK"); };
  EXPECT_EQ(Send("one", "Looking"), 0);
  EXPECT_EQ(Send("two"), 0);
  EXPECT_THAT(user_.waits, ElementsAre("Looking", "Communicating..."));
}

TEST_F(LinkTest, JudgesAReplyThatCameDuringTheExecuteWithoutShowingTheDialog) {
  // The reply is on its way before the command is acknowledged.
  Run([](FakeVandry& vandry, const std::string&) {
    vandry.ReplyTo(vandry.Commands().size() - 1, "OK at once");
    return std::string();
  });
  EXPECT_EQ(Send("one", "Looking"), 0);
  EXPECT_THAT(user_.waits, IsEmpty());
}

TEST_F(LinkTest, FailsByCancelAndDropsTheReplyThatComesAfterIt) {
  Run([](FakeVandry&, const std::string&) { return std::string(); });
  user_.onWaiting = [&](const std::string&) { user_.cancelled = true; };
  EXPECT_EQ(Send("one"), 1);
  EXPECT_EQ(link_.Text(), "");
  user_.cancelled = false;
  user_.onWaiting = [&](const std::string&) {
    vandry_->ReplyTo(0, "OK late");
    vandry_->ReplyTo(1, "Error 1 in time");
  };
  EXPECT_EQ(Send("two"), 1);
  EXPECT_EQ(link_.Text(), "Error 1 in time");
}

TEST_F(LinkTest, SendsCommandsAfterARunThatWasCancelled) {
  Run();
  vandry_->WorkBeforeTaking(milliseconds(100));
  user_.cancelled = true;
  EXPECT_EQ(link_.SendCommand("one", {}, true), 0);
  EXPECT_TRUE(link_.Taken());
}

TEST_F(LinkTest, DoesNotWaitForTheAcknowledgementInARunThatIsCancelled) {
  Run();
  vandry_->WorkBeforeTaking(seconds(5));
  user_.onPendingEvents = [this] { user_.cancelled = true; };
  const lib::Occupation::Guard run(occupied_);
  const double started = lib::Stopwatch();
  EXPECT_EQ(Send("one"), 1);
  EXPECT_FALSE(link_.Taken());
  EXPECT_LT(lib::Stopwatch() - started, 4);
}

TEST_F(LinkTest, DoesNotWaitForACommandThatIsFireAndForget) {
  Run([](FakeVandry&, const std::string&) { return std::string(); });
  EXPECT_EQ(link_.SendCommand("one", "never shown", true), 0);
  EXPECT_TRUE(link_.Taken());
  EXPECT_THAT(user_.waits, IsEmpty());
  EXPECT_THAT(vandry_->Commands(), ElementsAre("one"));
}

TEST_F(LinkTest, DoesNotReportAFireAndForgetCommandThatWasNotTaken) {
  Run();
  ASSERT_EQ(link_.StartLink(), 0);
  vandry_->DieOfNextCommand();
  EXPECT_EQ(link_.SendCommand("one", {}, true), 0);
  EXPECT_FALSE(link_.Taken());
  EXPECT_THAT(user_.boxes, IsEmpty());
}

TEST_F(LinkTest, OpensByItselfForACommand) {
  Run();
  EXPECT_EQ(Send("one"), 0);
  EXPECT_THAT(vandry_->Commands(), ElementsAre("one"));
}

TEST_F(LinkTest, DoesNotTakeTheAnswerToTheGreetingForThatToTheCommand) {
  RunWhenLaunched([](FakeVandry&, const std::string& command) { return command == "Hello" ? "OK 1.0" : "Error 2 no"; });
  EXPECT_EQ(Send("one"), 1);
  EXPECT_EQ(link_.Text(), "Error 2 no");
}

TEST_F(LinkTest, DoesNotSendWithoutALink) {
  EXPECT_EQ(Send("one"), 1);
  EXPECT_THAT(user_.waits, IsEmpty());
}

TEST_F(LinkTest, NoticesAStoppedVandryAtTheExecute) {
  Run();
  ASSERT_EQ(link_.StartLink(), 0);
  vandry_->TakeNothing();
  const double started = lib::Stopwatch();
  EXPECT_EQ(Send("one"), 1);
  EXPECT_GE(lib::Stopwatch() - started, 0.4);
  EXPECT_EQ(link_.Text(), "Error: Vandry does not answer");
  EXPECT_THAT(user_.waits, IsEmpty());
}

TEST_F(LinkTest, GivesVandryFiveSecondsInEarnest) {
  EXPECT_EQ(RealLinkMeans(ProgramDir(), user_).patience, seconds(5));
}

TEST_F(LinkTest, NoticesThatVandryDiesOfACommand) {
  Run();
  ASSERT_EQ(link_.StartLink(), 0);
  vandry_->DieOfNextCommand();
  EXPECT_EQ(Send("one"), 1);
  EXPECT_EQ(link_.Text(), "Error: Vandry has gone");
  // The next one opens the conversation anew.
  EXPECT_EQ(Send("two"), 0);
}

TEST_F(LinkTest, NoticesThatVandryGoesWhileItIsWaitedFor) {
  Run([](FakeVandry&, const std::string&) { return std::string(); });
  user_.onWaiting = [&](const std::string&) { vandry_.reset(); };
  EXPECT_EQ(Send("one"), 1);
  EXPECT_EQ(link_.Text(), "Error: Vandry has gone");
}

TEST_F(LinkTest, WaitsForAVandryThatSaysThatItIsWorking) {
  Run();
  vandry_->WorkBeforeTaking(3 * patience_);
  EXPECT_EQ(Send("one"), 0);
}

TEST_F(LinkTest, ShowsHowFarSomethingIs) {
  Run([](FakeVandry& vandry, const std::string&) {
    vandry.Progress("Sending to [lap]: 12 kb");
    return "OK";
  });
  EXPECT_EQ(Send("one"), 0);
  EXPECT_THAT(user_.statuses, ElementsAre("Sending to [lap]: 12 kb", ""));
}

// What Vandry does by itself has no end that is told of here.
TEST_F(LinkTest, LeavesTheStatusAloneThatIsNotOfItsCommand) {
  Run([](FakeVandry&, const std::string&) { return "OK"; });
  ASSERT_EQ(link_.StartLink(), 0);
  vandry_->Progress("Sending to [lap]: 12 kb");
  while (user_.statuses.empty()) link_.TakeMessages();
  EXPECT_EQ(Send("one"), 0);
  EXPECT_THAT(user_.statuses, ElementsAre("Sending to [lap]: 12 kb"));
}

TEST_F(LinkTest, TellsVandryToEndWhenItHasLaunchedIt) {
  RunWhenLaunched();
  ASSERT_EQ(link_.StartLink(), 0);
  link_.Exit();
  EXPECT_THAT(vandry_->Commands(), ElementsAre("Hello", "Exit"));
}

TEST_F(LinkTest, LeavesAVandryRunningThatItHasNotLaunched) {
  Run();
  ASSERT_EQ(link_.StartLink(), 0);
  link_.Exit();
  EXPECT_EQ(Send("one"), 0);
  EXPECT_THAT(vandry_->Commands(), ElementsAre("one"));
}

TEST_F(LinkTest, StartsNoVandryInOrderToEndIt) {
  RunWhenLaunched();
  ASSERT_EQ(link_.StartLink(), 0);
  vandry_.reset();
  link_.Exit();
  EXPECT_EQ(launches_, 1);
}

TEST_F(LinkTest, LimitsWaitsThatNobodyCanCancel) {
  Run([](FakeVandry&, const std::string&) { return std::string(); });
  link_.LimitWaits(seconds(1));
  const double started = lib::Stopwatch();
  EXPECT_EQ(Send("one"), 1);
  EXPECT_GE(lib::Stopwatch() - started, 1);
  EXPECT_EQ(link_.Text(), "Error: nothing has moved for 1 seconds");
}

TEST_F(LinkTest, DoesNotTakeProgressForAStandstill) {
  Run([](FakeVandry&, const std::string&) { return std::string(); });
  link_.LimitWaits(seconds(1));
  const double started = lib::Stopwatch();
  user_.onWaiting = [&](const std::string&) {
    vandry_->Progress("on its way");
    if (lib::Stopwatch() - started > 2.5) vandry_->ReplyTo(0, "OK");
  };
  EXPECT_EQ(Send("one"), 0);
}

}  // namespace
}  // namespace zelkor::net
