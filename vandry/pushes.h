// Messages for the program at the other end of the local link, kept on disk until it has dealt with them, over the end
// of the program and of Vandry.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "lib/status.h"

namespace zelkor::vandry {

class Pushes {
 public:
  // `folder` with a final backslash; it is made when it is needed. Messages older than 30 days are deleted, and
  // requests that nobody waits for any more.
  explicit Pushes(std::string folder);

  // Number and text, in order.
  [[nodiscard]] const std::map<std::uint32_t, std::string>& Waiting() const { return waiting_; }

  // The number of a new message. DiskFull also when more wait than a program that ever looks at them leaves.
  [[nodiscard]] lib::Result<std::uint32_t> Keep(std::string_view text);
  // A number for a message that is not kept.
  [[nodiscard]] std::uint32_t NextNumber() { return ++last_; }
  // The program has dealt with it; a number that is not kept is no error.
  void Handled(std::uint32_t number);

 private:
  [[nodiscard]] std::string PathOf(std::uint32_t number) const;

  std::string folder_;
  std::map<std::uint32_t, std::string> waiting_;
  std::uint32_t last_ = 0;
};

}  // namespace zelkor::vandry
