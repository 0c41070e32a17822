#include "lib/single_copy.h"

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <utility>

#include "lib/native_path.h"
#include "lib/paths.h"
#include "lib/posix/descriptor.h"

namespace zelkor::lib {

// The lock goes with its holder, however that ends; the file stays, since taking it away would let two others each
// lock a file of that name.
struct SingleCopy::State {
  posix::Descriptor lock;
  bool first = true;
};

SingleCopy::SingleCopy(std::string_view programDir, std::string_view program) : state_(std::make_unique<State>()) {
  const Result<std::string> native = ToNative(SlashPath(programDir) + std::string(program) + ".lock");
  if (!native.Ok()) return;
  state_->lock = posix::Descriptor(posix::Uninterrupted(
      [&] { return open(native->c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600); }));
  if (!state_->lock.IsOpen()) return;  // who can not write here finds out at the database, with a better message
  const int failed = posix::Uninterrupted([&] { return flock(state_->lock.Get(), LOCK_EX | LOCK_NB); });
  state_->first = failed == 0 || errno != EWOULDBLOCK;
}

SingleCopy::~SingleCopy() = default;

bool SingleCopy::First() const { return state_->first; }

}  // namespace zelkor::lib
