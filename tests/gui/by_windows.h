// Two computers that reach each other by network or FTP, each with the built Vandry, and what somebody does who
// synchronises them with the windows alone.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/gui/desktop.h"
#include "tests/support/ports.h"

namespace zelkor::tests {

class ByWindows : public WithDisplay {
 protected:
  static constexpr const char* kSynchronisation = "Synchronisation";
  static constexpr const char* kLog = "Sync Log";
  // For a key before it counts as lost.
  static constexpr auto kUntilTaken = std::chrono::seconds(3);
  static constexpr std::time_t kPlanWritten = 1'700'000'001;
  static constexpr std::time_t kMapWritten = 1'650'000'059;

  ByWindows() {
    for (const Computer* each : {&office, &lap}) {
      each->AddSetting("Vandry", std::string("Exe=") + ZELKOR_VANDRY);
      each->AddSetting("Zelkor", std::string("Exe=") + ZELKOR_PROGRAM);
    }
    office.WriteFile("job/plan.txt", EveryByte(), kPlanWritten);
    office.AddItem({.fileName = "c:\\job\\plan.txt", .description = "Plan", .memoId = 101});
    lap.WriteFile("trip/map.txt", "of lap\n", kMapWritten);
    lap.AddItem({.fileName = "c:\\trip\\map.txt", .description = "Map", .memoId = 102});
  }

  static std::string EveryByte() {
    std::string bytes;
    for (int i = 0; i < 4096; ++i) bytes.push_back(static_cast<char>(i * 7 % 256));
    return bytes;
  }
  static Outcome RunVandry(const Computer& computer, const std::vector<std::string>& words) {
    return computer.Run(words, {.program = ZELKOR_VANDRY});
  }

  // By the toolbar's first button. A window that has just come up may still be on its way to its place.
  void OpenSynchronisation(const Computer& computer) const {
    const auto click = [&] {
      screen.Activate(MainTitle(computer));
      screen.Click(MainTitle(computer), 18, 45);
    };
    ActUntil(click, [&] { return screen.Has(kSynchronisation); });
    screen.Activate(kSynchronisation);
  }
  // A new target in the synchronisation window; `choice` is the key that leads to its connection in the list of them.
  void MakeTarget(const Computer& computer, const std::string& target, const std::string& choice) const {
    OpenSynchronisation(computer);
    screen.Press("Ctrl+n");
    screen.WaitUntilActive(kBox);
    screen.Type(target + "\n");
    screen.WaitUntilActive(kSynchronisation);
    ASSERT_TRUE(screen.Until([&] { return computer.TargetWithId(target).has_value(); }));
    screen.Press("Alt+c");
    screen.Press(choice);
  }
  void Save(const Computer& computer, const std::string& target, int connectionType) const {
    screen.Press("Ctrl+s");
    EXPECT_TRUE(screen.Until([&] { return computer.TargetWithId(target)->connectionType == connectionType; }));
  }
  // Presses a key in a window until it has had its effect: another window that comes up may take it away.
  void PressUntil(const std::string& title, const std::string& key, const std::function<bool()>& done) const {
    const auto press = [&] {
      if (screen.ActivateIfThere(title)) screen.Press(key);
    };
    ActUntil(press, done);
  }
  // Does something again and again, each time with a while to show, until it has had its effect.
  void ActUntil(const std::function<void()>& act, const std::function<bool()>& done) const {
    EXPECT_TRUE(screen.Until([&] {
      act();
      const auto end = std::chrono::steady_clock::now() + kUntilTaken;
      screen.Until([&] { return done() || std::chrono::steady_clock::now() > end; });
      return done();
    }));
  }
  // Starts a run by its key. A window that has just come back from a box may not take commands yet.
  void Run(const std::string& key) const {
    CloseLogs();
    PressUntil(kSynchronisation, key, [&] { return screen.Has(kLog); });
  }
  // A run may still have a moment's work after what it stored; then the window says that it can not be closed yet.
  void CloseSynchronisation() const {
    constexpr int kTries = 20;
    for (int i = 0; i < kTries && screen.ActivateIfThere(kSynchronisation); ++i) {
      screen.Press("Ctrl+w");
      const auto end = std::chrono::steady_clock::now() + kUntilTaken;
      screen.Until([&] {
        return !screen.Has(kSynchronisation) || screen.Active() == kBox || std::chrono::steady_clock::now() > end;
      });
      if (screen.Active() != kBox) continue;
      screen.Press("Return");
      screen.WaitUntilGone(kBox);
    }
    screen.WaitUntilGone(kSynchronisation);
  }
  void CloseLogs() const {
    EXPECT_TRUE(screen.Until([&] {
      screen.CloseIfThere(kLog);
      return !screen.Has(kLog);
    }));
  }
  [[nodiscard]] std::string TextOfTheTest() const {
    const std::string text = screen.TextOfBox("Test Connection");
    screen.Press("Return");
    screen.WaitUntilGone("Test Connection");
    screen.WaitUntilActive(kSynchronisation);
    return text;
  }

  // What every road must have brought in the end: the same files and times on both sides, and all the dates.
  void ExpectBothInStep() const {
    for (const Computer* each : {&office, &lap}) {
      SCOPED_TRACE(each->Id());
      EXPECT_THAT(each->Files(), testing::ElementsAre("job/plan.txt", "trip/map.txt"));
      EXPECT_TRUE(each->ReadFile("job/plan.txt") == EveryByte());
      EXPECT_EQ(each->FileTime("job/plan.txt"), kPlanWritten);
      EXPECT_EQ(each->ReadFile("trip/map.txt"), "of lap\n");
      EXPECT_EQ(each->FileTime("trip/map.txt"), kMapWritten);
      EXPECT_EQ(each->Items().size(), 2U);
      const std::optional<Target> target = each->TargetWithId(each == &office ? "lap" : "office");
      ASSERT_TRUE(target.has_value());
      EXPECT_GT(target->lastExport, 0);
      EXPECT_GT(target->lastImport, 0);
    }
  }

  Computer office{folder.Path(), "office"};
  Computer lap{folder.Path(), "lap"};
};

}  // namespace zelkor::tests
