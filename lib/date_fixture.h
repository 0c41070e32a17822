// Dates as tests write them down.
#pragma once

#include "lib/date.h"

namespace zelkor::lib {

inline Date DateOf(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  return FromCalendar({.year = year, .month = month, .day = day, .hour = hour, .minute = minute, .second = second})
      .value();
}

}  // namespace zelkor::lib
