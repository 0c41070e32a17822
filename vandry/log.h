// Vandry's log, "Vandry.log" in ProgramDir: one line an event, with date and time. It never holds a password.
#pragma once

#include <string>
#include <string_view>

namespace zelkor::vandry {

class Log {
 public:
  // `programDir` with a final backslash. Nothing is created before the first line.
  explicit Log(std::string_view programDir);

  // Control characters are shown as "?", so that one event stays one line. Failures are ignored.
  void Line(std::string_view text) const;

 private:
  std::string path_;
  std::string oldPath_;
};

}  // namespace zelkor::vandry
