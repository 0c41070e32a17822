// Which record holds which memo ID.
#pragma once

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

namespace zelkor::db {

class MemoIndex {
 public:
  // Forgets everything; the next use starts from an index that is not built.
  void Drop();
  [[nodiscard]] bool Built() const { return built_; }
  // Starts an index of `count` records; Put then gives each its memo ID, in order.
  void Start(std::size_t count);

  // Record `recno` has this memo ID from now on; it is one of those known, or the next one. Nothing on an index that
  // is not built.
  void Put(std::int32_t recno, std::int32_t memoId);
  // The first record with this memo ID, 0 when there is none.
  [[nodiscard]] std::int32_t Find(std::int32_t memoId) const;

 private:
  bool built_ = false;
  std::vector<std::int32_t> memoIds_;  // of record i + 1
  std::unordered_map<std::int32_t, std::int32_t> firstRecno_;
};

}  // namespace zelkor::db
