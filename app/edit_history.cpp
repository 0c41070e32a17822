#include "app/edit_history.h"

#include <algorithm>
#include <utility>

namespace zelkor::app {

namespace {

constexpr std::size_t kMostSteps = 10'000;
constexpr std::size_t kMostHeld = 16'000'000;  // characters

bool IsBlank(wchar_t character) { return character == L' ' || character == L'\t' || character == L'\n'; }

}  // namespace

void EditHistory::Reset(std::wstring text) {
  text_ = std::move(text);
  changes_.clear();
  done_ = 0;
  held_ = 0;
  open_ = false;
}

bool EditHistory::Joins(const Change& change) const {
  if (!open_ || done_ == 0) return false;
  const Change& last = changes_[done_ - 1];
  if (change.removed.empty()) {
    if (last.inserted.empty()) return change.at == last.at;
    if (change.inserted.size() != 1 || change.at != last.at + last.inserted.size()) return false;
    return !IsBlank(last.inserted.back()) || IsBlank(change.inserted.front());
  }
  // By the backspace key, or by the delete key.
  return last.inserted.empty() && change.Size() == 1 && (change.at + 1 == last.at || change.at == last.at);
}

void EditHistory::Record(std::wstring_view text, std::size_t caret) {
  const std::size_t most = std::min(text_.size(), text.size());
  const std::size_t behind = std::min(most, text.size() - std::min(caret, text.size()));
  std::size_t after = 0;
  while (after < behind && text_[text_.size() - 1 - after] == text[text.size() - 1 - after]) ++after;
  std::size_t same = 0;
  while (same < most - after && text_[same] == text[same]) ++same;
  Change change{.at = same,
                .removed = text_.substr(same, text_.size() - after - same),
                .inserted = std::wstring(text.substr(same, text.size() - after - same))};
  if (change.Size() == 0) return;
  text_.replace(change.at, change.removed.size(), change.inserted);

  while (changes_.size() > done_) {
    held_ -= changes_.back().Size();
    changes_.pop_back();
  }
  held_ += change.Size();
  if (Joins(change)) {
    Change& last = changes_.back();
    last.inserted += change.inserted;
    last.removed = change.at < last.at ? change.removed + last.removed : last.removed + change.removed;
    last.at = std::min(last.at, change.at);
  } else {
    changes_.push_back(std::move(change));
    ++done_;
  }
  open_ = true;
  ForgetOldest();
}

void EditHistory::ForgetOldest() {
  while (changes_.size() > 1 && (changes_.size() > kMostSteps || held_ > kMostHeld)) {
    held_ -= changes_.front().Size();
    changes_.pop_front();
    --done_;
  }
}

std::optional<EditStep> EditHistory::Undo() {
  if (!CanUndo()) return std::nullopt;
  open_ = false;
  const Change& change = changes_[--done_];
  text_.replace(change.at, change.inserted.size(), change.removed);
  return EditStep{.at = change.at, .length = change.inserted.size(), .text = change.removed};
}

std::optional<EditStep> EditHistory::Redo() {
  if (!CanRedo()) return std::nullopt;
  open_ = false;
  const Change& change = changes_[done_++];
  text_.replace(change.at, change.removed.size(), change.inserted);
  return EditStep{.at = change.at, .length = change.removed.size(), .text = change.inserted};
}

}  // namespace zelkor::app
