// A link, and a scripted Vandry at its other end.
#pragma once

#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "net/link.h"
#include "tests/support/fake_vandry.h"
#include "tests/support/sandbox.h"
#include "tests/support/scripted_user.h"
#include "tests/support/until.h"

namespace zelkor::net {

class LinkTest : public tests::Sandbox {
 protected:
  // Shorter than in earnest.
  const std::chrono::milliseconds patience_ = tests::LinkPatience();

  // A Vandry that is running already.
  void Run(tests::FakeVandry::Script script = {}) {
    vandry_ = std::make_unique<tests::FakeVandry>(ProgramDir(), std::move(script));
  }
  // One that runs once it is launched.
  void RunWhenLaunched(const tests::FakeVandry::Script& script = {}) {
    launch_ = [this, script] { Run(script); };
  }
  LinkMeans Means() {
    LinkMeans means = RealLinkMeans(ProgramDir(), user_);
    means.launch = [this] {
      ++launches_;
      if (launch_) launch_();
      return launchFails_ ? 1 : 0;
    };
    means.connect = [this, connect = means.connect](std::chrono::milliseconds patience) {
      ++connections_;
      return connect(patience);
    };
    means.waitASecond = [this] { ++waits_; };
    means.patience = patience_;
    return means;
  }
  std::int16_t Send(const std::string& command, const std::string& caption = {}) {
    return link_.SendCommand(command, caption, false);
  }
  // Messages that are handled are written down here.
  void WriteDownMessages() {
    link_.OnMessage(
        [this](const std::string& text, const std::function<void()>& /*handled*/) { messages_.push_back(text); });
  }
  // Takes messages until so many have been handled.
  void TakeMessages(std::size_t count) {
    constexpr auto kPatience = std::chrono::seconds(10);
    EXPECT_TRUE(tests::HoldsWithin(kPatience, [&] {
      link_.TakeMessages();
      return messages_.size() >= count;
    }));
  }

  tests::ScriptedUser user_;
  lib::Occupation occupied_;
  std::unique_ptr<tests::FakeVandry> vandry_;
  std::function<void()> launch_;
  bool launchFails_ = false;
  int connections_ = 0;
  int launches_ = 0;
  int waits_ = 0;
  std::vector<std::string> messages_;
  Link link_{user_, occupied_, Means()};
};

}  // namespace zelkor::net
