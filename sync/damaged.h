// A damaged sync file ends the program on the spot, on purpose: nothing further is read or written. `main` names it
// and ends with the exit status for damaged files.
#pragma once

#include <stdexcept>

namespace zelkor::sync {

// The message says which record of which file is damaged, and how.
class DamagedSyncFile : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace zelkor::sync
