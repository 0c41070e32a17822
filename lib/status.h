// What became of an operation that can fail for reasons outside the program: a cause to decide by, a message to show.
#pragma once

#include <optional>
#include <string>
#include <utility>

namespace zelkor::lib {

// Why an operation failed. `None` is success.
enum class Cause {
  None,
  NotFound,      // the file itself does not exist
  PathNotFound,  // a directory on the way to it does not exist
  Exists,        // the name is taken
  ReadOnly,      // its owner may not write it
  AccessDenied,  // the system refuses
  DiskFull,      // no room left (or a quota or size limit reached)
  Refused,       // a name that the program's form of paths cannot carry, or a drive without a directory
  Damaged,       // the content is not what it should be
  Failed,        // any other failure of input or output
};

class [[nodiscard]] Status {
 public:
  Status() = default;  // success
  Status(Cause cause, std::string message) : cause_(cause), message_(std::move(message)) {}

  [[nodiscard]] bool Ok() const { return cause_ == Cause::None; }
  [[nodiscard]] Cause Why() const { return cause_; }
  // One sentence without a final full stop, in the code page, naming the object and the cause; empty on success.
  [[nodiscard]] const std::string& Message() const { return message_; }

 private:
  Cause cause_ = Cause::None;
  std::string message_;
};

// A value, or the status that says why there is none.
template <class T>
class [[nodiscard]] Result {
 public:
  Result(T value) : value_(std::move(value)) {}          // NOLINT(google-explicit-constructor)
  Result(Status status) : status_(std::move(status)) {}  // NOLINT(google-explicit-constructor)

  [[nodiscard]] bool Ok() const { return value_.has_value(); }
  [[nodiscard]] Cause Why() const { return status_.Why(); }
  [[nodiscard]] const Status& Failure() const { return status_; }
  // REQUIRES: Ok().
  [[nodiscard]] T& Value() { return *value_; }
  [[nodiscard]] const T& Value() const { return *value_; }
  T* operator->() { return &*value_; }
  const T* operator->() const { return &*value_; }
  T& operator*() { return *value_; }
  const T& operator*() const { return *value_; }

 private:
  std::optional<T> value_;
  Status status_;
};

// The number that the program's file procedures report for a cause (0 for success): 53 file not found, 58 file
// exists, 61 disk full, 70 permission denied, 75 path/file access error, 76 path not found, 52 bad file name,
// 57 device input/output error.
[[nodiscard]] int ErrorNumber(Cause cause);

}  // namespace zelkor::lib
