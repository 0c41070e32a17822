#include "lib/interaction.h"

#include <chrono>
#include <optional>
#include <thread>

#include "lib/clock.h"
#include "lib/user.h"

namespace zelkor::lib {

Date InputDate(User& user, const std::string& prompt, const std::string& title, const std::string& preset) {
  for (;;) {
    const std::string answer = user.Input(prompt, title, preset);
    if (answer.empty()) return 0;
    if (const std::optional<Date> date = ParseDate(answer)) return *date;
    user.Message("Invalid date!", Icon::Critical);
  }
}

void Wait(float seconds, User& user, const std::function<double()>& clock) {
  // In single precision, as the seconds are: at the end of a day that is a 128th of a second.
  const float end = static_cast<float>(clock()) + seconds;
  while (static_cast<float>(clock()) < end) user.PendingEvents();
}

void Wait(float seconds, User& user) {
  Wait(seconds, user, [] {
    // Events are asked for often enough to seem at once, without keeping the processor busy in between.
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return SecondsSinceMidnight();
  });
}

}  // namespace zelkor::lib
