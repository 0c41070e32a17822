#include "tests/support/full_disk.h"

#include <csignal>
#include <sys/resource.h>

namespace zelkor::tests {

struct FullDisk::State {
  rlimit before{};
  void (*handler)(int) = nullptr;
};

bool FullDisk::Possible() { return true; }

FullDisk::FullDisk(std::uint64_t largestFileBytes) : state_(std::make_unique<State>()) {
  state_->handler = std::signal(SIGXFSZ, SIG_IGN);
  getrlimit(RLIMIT_FSIZE, &state_->before);
  rlimit limit = state_->before;
  limit.rlim_cur = largestFileBytes;
  setrlimit(RLIMIT_FSIZE, &limit);
}

FullDisk::~FullDisk() {
  setrlimit(RLIMIT_FSIZE, &state_->before);
  std::signal(SIGXFSZ, state_->handler);
}

}  // namespace zelkor::tests
