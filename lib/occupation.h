// Whether something is in hand that nothing else may start inside: a run, a fill of the list, a filter. While it is,
// commands that would start another are disabled, incoming messages wait, and leaving the program stops a run first.
#pragma once

#include <functional>
#include <utility>

namespace zelkor::lib {

class Occupation {
 public:
  Occupation() = default;
  Occupation(const Occupation&) = delete;
  Occupation& operator=(const Occupation&) = delete;

  [[nodiscard]] bool InHand() const { return depth_ > 0; }
  // Called each time the answer of InHand() changes; one listener.
  void OnChange(std::function<void()> listener) { listener_ = std::move(listener); }

  // Keeps the program occupied while it lives; they nest.
  class Guard {
   public:
    explicit Guard(Occupation& occupation) : occupation_(occupation) {
      if (occupation_.depth_++ == 0) occupation_.Tell();
    }
    ~Guard() {
      if (--occupation_.depth_ == 0) occupation_.Tell();
    }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

   private:
    Occupation& occupation_;
  };

 private:
  void Tell() const {
    if (listener_) listener_();
  }

  int depth_ = 0;
  std::function<void()> listener_;
};

}  // namespace zelkor::lib
