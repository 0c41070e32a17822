// What was done to a text in the editor, step by step, and the way back and forth.
#pragma once

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <string_view>

namespace zelkor::app {

// Looking for what changed takes longer the longer the text is; a longer one than this, in characters, has no history.
inline constexpr std::size_t kLongestWithHistory = 1'000'000;

// Characters to be replaced: `length` of them from `at` by `text`.
struct EditStep {
  std::size_t at = 0;
  std::size_t length = 0;
  std::wstring text;
};

class EditHistory {
 public:
  // Begins anew with this text.
  void Reset(std::wstring text);
  // The text as it is after something was done to it before `caret`, which tells where among equal characters. What is
  // typed, or deleted, character by character counts as one step up to the end of a word, and so does what takes the
  // place of something deleted.
  void Record(std::wstring_view text, std::size_t caret);
  // What comes next is a step of its own.
  void EndStep() { open_ = false; }

  [[nodiscard]] bool CanUndo() const { return done_ > 0; }
  [[nodiscard]] bool CanRedo() const { return done_ < changes_.size(); }
  // What takes the last step back, or does it again; nothing when there is none. The text counts as changed so.
  [[nodiscard]] std::optional<EditStep> Undo();
  [[nodiscard]] std::optional<EditStep> Redo();

 private:
  struct Change {
    std::size_t at = 0;
    std::wstring removed;
    std::wstring inserted;
    [[nodiscard]] std::size_t Size() const { return removed.size() + inserted.size(); }
  };

  [[nodiscard]] bool Joins(const Change& change) const;
  void ForgetOldest();

  std::wstring text_;
  std::deque<Change> changes_;
  std::size_t done_ = 0;  // changes that stand; those after them were taken back
  std::size_t held_ = 0;  // characters in the changes
  bool open_ = false;     // the last change may grow
};

}  // namespace zelkor::app
