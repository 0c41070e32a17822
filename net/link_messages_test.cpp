// Messages that come over the link to Vandry.

#include <gmock/gmock.h>
#include <stdexcept>

#include "net/link_fixture.h"

namespace zelkor::net {
namespace {

using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;
using tests::FakeVandry;

TEST_F(LinkTest, EndsAWaitByAMessageAndJudgesTheCommandByIt) {
  Run([](FakeVandry&, const std::string&) { return std::string(); });
  WriteDownMessages();
  user_.onWaiting = [&](const std::string&) { vandry_->Push("SyncMe lap 10.0.0.2"); };
  EXPECT_EQ(Send("one"), 1);
  EXPECT_EQ(link_.Text(), "SyncMe lap 10.0.0.2");
  EXPECT_THAT(messages_, ElementsAre("SyncMe lap 10.0.0.2"));
}

TEST_F(LinkTest, SendsCommandsWhileItHandlesAMessageThatEndedAWait) {
  Run([](FakeVandry&, const std::string& command) { return command == "outer" ? "" : "OK"; });
  std::int16_t inner = -1;
  link_.OnMessage([&](const std::string&, const std::function<void()>&) { inner = Send("inner"); });
  user_.onWaiting = [&](const std::string&) { vandry_->Push("SyncMe lap 10.0.0.2"); };
  // The outer one is not taken for a success because of the inner one's reply.
  EXPECT_EQ(Send("outer"), 1);
  EXPECT_EQ(inner, 0);
}

TEST_F(LinkTest, TakesAReplyThatIsNoneForAMessage) {
  Run([](FakeVandry&, const std::string&) { return "neither"; });
  WriteDownMessages();
  EXPECT_EQ(Send("one"), 1);
  EXPECT_THAT(messages_, ElementsAre("neither"));
}

TEST_F(LinkTest, HandlesMessagesInOrderAlsoEqualOnes) {
  Run();
  WriteDownMessages();
  ASSERT_EQ(link_.StartLink(), 0);
  for (const char* text : {"a", "a", "b"}) vandry_->Push(text);
  TakeMessages(3);
  EXPECT_THAT(messages_, ElementsAre("a", "a", "b"));
  EXPECT_TRUE(vandry_->WaitForHandled(3));
}

TEST_F(LinkTest, LetsMessagesWaitWhileTheProgramIsOccupied) {
  Run([](FakeVandry& vandry, const std::string&) {
    vandry.Push("first");
    vandry.Push("second");
    return "OK";
  });
  WriteDownMessages();
  {
    const lib::Occupation::Guard run(occupied_);
    // The wait for the reply is not ended by them.
    EXPECT_EQ(Send("one"), 0);
    link_.TakeMessages();
    EXPECT_THAT(messages_, IsEmpty());
    EXPECT_THAT(vandry_->HandledPushes(), IsEmpty());
  }
  TakeMessages(2);
  EXPECT_THAT(messages_, ElementsAre("first", "second"));
}

TEST_F(LinkTest, LetsAMessageWaitWhileAnotherIsHandled) {
  Run();
  std::vector<std::string> begun;
  link_.OnMessage([&](const std::string& text, const std::function<void()>&) {
    begun.push_back(text);
    // As a box in front of the user would, whose events go on.
    link_.TakeMessages();
    messages_.push_back(text);
    EXPECT_EQ(begun.size(), messages_.size());
  });
  ASSERT_EQ(link_.StartLink(), 0);
  vandry_->Push("first");
  vandry_->Push("second");
  TakeMessages(2);
  EXPECT_THAT(begun, ElementsAre("first", "second"));
}

TEST_F(LinkTest, TellsThatAMessageIsHandledOnlyAfterwards) {
  Run();
  link_.OnMessage([&](const std::string& text, const std::function<void()>&) {
    EXPECT_EQ(Send("inner"), 0);  // what was said before it has arrived when the reply comes
    EXPECT_THAT(vandry_->HandledPushes(), IsEmpty());
    messages_.push_back(text);
  });
  ASSERT_EQ(link_.StartLink(), 0);
  vandry_->Push("a");
  TakeMessages(1);
  EXPECT_TRUE(vandry_->WaitForHandled(1));
}

TEST_F(LinkTest, TellsThatAMessageIsHandledWhenTheHandlerSaysSo) {
  Run();
  link_.OnMessage([&](const std::string& text, const std::function<void()>& handled) {
    handled();
    EXPECT_EQ(Send("inner"), 0);
    EXPECT_THAT(vandry_->HandledPushes(), ElementsAre("a"));
    messages_.push_back(text);
  });
  ASSERT_EQ(link_.StartLink(), 0);
  vandry_->Push("a");
  TakeMessages(1);
  EXPECT_EQ(Send("last"), 0);
  EXPECT_THAT(vandry_->HandledPushes(), ElementsAre("a"));  // once
}

TEST_F(LinkTest, TellsThatAMessageIsHandledAlsoWhenItEndsTheProgram) {
  Run();
  link_.OnMessage([](const std::string&, const std::function<void()>&) { throw std::runtime_error("damaged"); });
  ASSERT_EQ(link_.StartLink(), 0);
  vandry_->Push("a");
  EXPECT_THROW(TakeMessages(1), std::runtime_error);
  EXPECT_TRUE(vandry_->WaitForHandled(1));
}

TEST_F(LinkTest, GetsAMessageAgainThatItDidNotHandle) {
  Run();
  WriteDownMessages();
  {
    Link dying(user_, occupied_, Means());
    const lib::Occupation::Guard run(occupied_);
    ASSERT_EQ(dying.StartLink(), 0);
    vandry_->Push("a");
    dying.SendCommand("one", {}, false);
  }
  ASSERT_EQ(link_.StartLink(), 0);
  TakeMessages(1);
  EXPECT_THAT(messages_, ElementsAre("a"));
}

TEST_F(LinkTest, PassesNoReplyOnAsAMessage) {
  Run();
  WriteDownMessages();
  ASSERT_EQ(link_.StartLink(), 0);
  vandry_->Push("all is OK");
  vandry_->Push("Error 1");
  vandry_->Push("a");
  TakeMessages(1);
  EXPECT_THAT(messages_, ElementsAre("a"));
  EXPECT_TRUE(vandry_->WaitForHandled(3));
}

TEST_F(LinkTest, OpensAConversationAnewThatBrokeOff) {
  Run();
  WriteDownMessages();
  ASSERT_EQ(link_.StartLink(), 0);
  vandry_.reset();
  link_.TakeMessages();
  Run();
  vandry_->Push("a");
  TakeMessages(1);
  EXPECT_THAT(messages_, ElementsAre("a"));
  EXPECT_EQ(launches_, 0);
}

TEST_F(LinkTest, DoesNotOpenByItselfWhatWasNeverOpen) {
  Run();
  link_.TakeMessages();
  EXPECT_EQ(connections_, 0);
  EXPECT_EQ(launches_, 0);
}

TEST_F(LinkTest, HandlesMessagesUntilSomethingHasHappened) {
  Run();
  WriteDownMessages();
  ASSERT_EQ(link_.StartLink(), 0);
  for (const char* text : {"a", "b", "c"}) vandry_->Push(text);
  EXPECT_TRUE(link_.HandleMessagesUntil([&] { return messages_.size() == 2; }, "Waiting"));
  EXPECT_THAT(messages_, ElementsAre("a", "b"));
}

TEST_F(LinkTest, StopsHandlingMessagesWhenNothingMoves) {
  Run();
  ASSERT_EQ(link_.StartLink(), 0);
  link_.LimitWaits(seconds(1));
  EXPECT_FALSE(link_.HandleMessagesUntil([] { return false; }, "Waiting"));
  EXPECT_EQ(link_.Text(), "nothing has moved for 1 seconds");
}

TEST_F(LinkTest, StopsHandlingMessagesWhenVandryGoesOrByCancel) {
  Run();
  ASSERT_EQ(link_.StartLink(), 0);
  user_.onWaiting = [&](const std::string&) { user_.cancelled = true; };
  EXPECT_FALSE(link_.HandleMessagesUntil([] { return false; }, "Waiting"));
  EXPECT_EQ(link_.Text(), "");
  user_.cancelled = false;
  user_.onWaiting = [&](const std::string&) { vandry_.reset(); };
  EXPECT_FALSE(link_.HandleMessagesUntil([] { return false; }, "Waiting"));
  EXPECT_EQ(link_.Text(), "Vandry has gone");
}

}  // namespace
}  // namespace zelkor::net
