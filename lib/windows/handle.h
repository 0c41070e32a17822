// A handle of the system's, closed when the object goes.
#pragma once

#include <utility>

#include "lib/windows/system.h"

namespace zelkor::lib::windows {

class OwnedHandle {
 public:
  OwnedHandle() = default;
  // INVALID_HANDLE_VALUE, which opening a file reports, is the same as none.
  explicit OwnedHandle(HANDLE handle) : handle_(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
  ~OwnedHandle() { Close(); }
  OwnedHandle(OwnedHandle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  OwnedHandle& operator=(OwnedHandle&& other) noexcept {
    if (this != &other) {
      Close();
      handle_ = std::exchange(other.handle_, nullptr);
    }
    return *this;
  }
  OwnedHandle(const OwnedHandle&) = delete;
  OwnedHandle& operator=(const OwnedHandle&) = delete;

  [[nodiscard]] bool IsOpen() const { return handle_ != nullptr; }
  [[nodiscard]] HANDLE Get() const { return handle_; }
  void Close() {
    if (handle_ != nullptr) CloseHandle(handle_);
    handle_ = nullptr;
  }

 private:
  HANDLE handle_ = nullptr;
};

}  // namespace zelkor::lib::windows
