// A run-time error that nothing in the program catches but `main`, which names it and ends the program. Objects on the
// way out clean up after themselves, so nothing half-written stays behind.
#pragma once

#include <stdexcept>
#include <string>

namespace zelkor::lib {

class RunTimeError : public std::runtime_error {
 public:
  // Reads "Run-time error 9: Subscript out of range (more than 9999 items)".
  RunTimeError(int number, const std::string& text, const std::string& where)
      : std::runtime_error("Run-time error " + std::to_string(number) + ": " + text +
                           (where.empty() ? std::string() : " (" + where + ")")) {}
};

[[noreturn]] inline void SubscriptOutOfRange(const std::string& where) {
  throw RunTimeError(9, "Subscript out of range", where);
}
[[noreturn]] inline void Overflow(const std::string& where) { throw RunTimeError(6, "Overflow", where); }
// `message` names the file and the cause.
[[noreturn]] inline void InputOutputError(const std::string& message) {
  throw RunTimeError(57, "Device input/output error", message);
}

}  // namespace zelkor::lib
