// A user whose answers a test has written down beforehand, and who remembers everything that was said.
#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "lib/user.h"

namespace zelkor::tests {

class ScriptedUser : public lib::User {
 public:
  // Answers to the questions (boxes with more than one button), in order. When they run out the safe answer is given
  // and InputEnded() is true, as in an unattended run.
  std::deque<lib::Button> answers;
  std::deque<std::string> inputs;
  std::deque<std::string> choices;
  bool canChooseFile = false;
  // Called before each answer, with the box; a place to change the world, such as the disk in the drive.
  std::function<void(const lib::Box&)> beforeAnswer;
  // What Retry answers.
  std::function<bool(const lib::Box&)> retry = [](const lib::Box&) { return false; };
  // Called at each PendingEvents; a place to press Cancel.
  std::function<void()> onPendingEvents;
  bool cancelled = false;
  // Called after each look that found a wait not over, with the caption; a place to press Cancel by `cancelled`, or to
  // let happen what is waited for. Whatever is not over after `patience` counts as cancelled.
  std::function<void(const std::string&)> onWaiting;
  std::chrono::seconds patience{30};

  // What was said: every box in order, every log line.
  std::vector<lib::Box> boxes;
  std::vector<std::string> log;
  std::vector<std::string> statuses;
  std::vector<std::string> waits;  // the captions

  [[nodiscard]] std::vector<std::string> Messages() const {
    std::vector<std::string> texts;
    for (const lib::Box& box : boxes) texts.push_back(box.text);
    return texts;
  }

  lib::Button Ask(const lib::Box& box) override {
    boxes.push_back(box);
    if (beforeAnswer) beforeAnswer(box);
    inputEnded_ = false;
    if (box.buttons == lib::Buttons::Ok) return lib::Button::Ok;
    if (answers.empty()) {
      inputEnded_ = true;
      return box.buttons == lib::Buttons::YesNo ? lib::Button::No : lib::Button::Cancel;
    }
    const lib::Button answer = answers.front();
    answers.pop_front();
    return answer;
  }
  [[nodiscard]] bool InputEnded() const override { return inputEnded_; }
  bool Retry(const lib::Box& box) override {
    boxes.push_back(box);
    return retry(box);
  }
  std::string Input(const std::string& prompt, const std::string& title, const std::string& /*preset*/) override {
    boxes.push_back({.text = prompt, .title = title});
    inputEnded_ = inputs.empty();
    if (inputs.empty()) return {};
    std::string answer = inputs.front();
    inputs.pop_front();
    return answer;
  }
  [[nodiscard]] bool CanChooseFile() const override { return canChooseFile; }
  std::string ChooseFile(const std::string& title, const std::string& /*filter*/,
                         const std::string& /*folder*/) override {
    boxes.push_back({.text = title, .title = {}});
    if (choices.empty()) return {};
    std::string choice = choices.front();
    choices.pop_front();
    return choice;
  }
  void PendingEvents() override {
    if (onPendingEvents) onPendingEvents();
  }
  [[nodiscard]] bool Cancelled() const override { return cancelled; }
  bool WaitFor(const std::string& caption, const std::function<bool()>& done) override {
    waits.push_back(caption);
    const auto end = std::chrono::steady_clock::now() + patience;
    for (;;) {
      if (done()) return true;
      if (cancelled || std::chrono::steady_clock::now() > end) return false;
      if (onWaiting) onWaiting(caption);
    }
  }
  void SetStatus(const std::string& text, bool /*busy*/) override { statuses.push_back(text); }
  void ShowLog(const std::string& /*caption*/) override {}
  void LogLine(const std::string& line) override { log.push_back(line); }
  [[nodiscard]] bool ShowsProgress() const override { return false; }
  void ShowProgress(const lib::Progress& /*progress*/) override {}
  void EndProgress() override {}

 private:
  bool inputEnded_ = false;
};

}  // namespace zelkor::tests
