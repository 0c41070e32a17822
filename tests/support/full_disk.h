// A disk that is full: no file can grow past a limit while the object lives.
#pragma once

#include <csignal>
#include <sys/resource.h>

namespace zelkor::tests {

class FullDisk {
 public:
  explicit FullDisk(rlim_t largestFileBytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &before_);
    rlimit limit = before_;
    limit.rlim_cur = largestFileBytes;
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

 private:
  rlimit before_{};
  void (*handler_)(int);
};

}  // namespace zelkor::tests
