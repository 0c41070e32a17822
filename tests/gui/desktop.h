// The scene of a test with the built program in its windows: a display, and a folder for computers.
#pragma once

#include "tests/support/desktop_program.h"
#include "tests/support/e2e.h"

namespace zelkor::tests {

// The title of every box that asks or tells something.
inline constexpr const char* kBox = "Zelkor";

// Computers as somebody gets them: without settings, database and targets.
class WithDisplay : public testing::Test {
 protected:
  ~WithDisplay() override {
    if (HasFailure()) screen.Picture(testing::UnitTest::GetInstance()->current_test_info()->name());
  }

  Screen screen;
  TemporaryFolder folder;
};

// The two that know each other and exchange sync files by the folder "stick".
class TwoDesktops : public TwoComputers {
 protected:
  ~TwoDesktops() override {
    if (HasFailure()) screen.Picture(testing::UnitTest::GetInstance()->current_test_info()->name());
  }

  Screen screen;
};

}  // namespace zelkor::tests
