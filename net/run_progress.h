// What a window shows of a run's progress: how much of the bar is filled, and a text with items, bytes, rate and time
// left. A run tells its progress far more often than it need be drawn.
#pragma once

#include <optional>
#include <string>

#include "lib/user.h"

namespace zelkor::net {

class RunProgress {
 public:
  // The bar, in thousandths; nothing when the total is not known.
  struct Shown {
    std::optional<int> permille;
    std::string text;
  };

  // What to draw now; nothing when the last drawing is too recent. `now` is in seconds, on a clock that only goes
  // forward.
  std::optional<Shown> Tell(const lib::Progress& progress, double now);
  // The stretch told of is over; the next one counts its rate anew.
  void End();

 private:
  std::optional<double> started_;
  double drawn_ = 0;
};

}  // namespace zelkor::net
