#include "app/edit_history.h"

#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace zelkor::app {
namespace {

// A text with its history, as a text box would change it.
class EditHistoryTest : public testing::Test {
 protected:
  void Become(const std::wstring& text, std::size_t caret = std::wstring::npos) {
    text_ = text;
    history_.Record(text_, caret);
  }
  void Typed(const std::wstring& characters) {
    for (const wchar_t character : characters) Become(text_ + character);
  }
  void Do(const std::optional<EditStep>& step) {
    ASSERT_TRUE(step);
    ASSERT_LE(step->at + step->length, text_.size());
    text_.replace(step->at, step->length, step->text);
    history_.Record(text_, step->at + step->text.size());  // the box tells of this change too
  }
  void Undo() { Do(history_.Undo()); }
  void Redo() { Do(history_.Redo()); }

  EditHistory history_;
  std::wstring text_;
};

TEST_F(EditHistoryTest, HasNothingToUndoInATextThatWasOnlyRead) {
  history_.Reset(L"as read");
  EXPECT_FALSE(history_.CanUndo());
  EXPECT_FALSE(history_.CanRedo());
  EXPECT_FALSE(history_.Undo());
  EXPECT_FALSE(history_.Redo());
  history_.Record(L"as read", 0);
  EXPECT_FALSE(history_.CanUndo());
}

TEST_F(EditHistoryTest, TakesWhatWasTypedBackWordByWord) {
  Typed(L"one two ");
  Undo();
  EXPECT_EQ(text_, L"one ");
  Undo();
  EXPECT_EQ(text_, L"");
  EXPECT_FALSE(history_.CanUndo());
}

TEST_F(EditHistoryTest, DoesAgainWhatWasTakenBack) {
  Typed(L"one two");
  Undo();
  Undo();
  Redo();
  EXPECT_EQ(text_, L"one ");
  Redo();
  EXPECT_EQ(text_, L"one two");
  EXPECT_FALSE(history_.CanRedo());
}

TEST_F(EditHistoryTest, TakesDeletedCharactersBackTogether) {
  history_.Reset(L"abcdef");
  text_ = L"abcdef";
  Become(L"abcde");  // backspace
  Become(L"abcd");
  Become(L"bcd", 0);  // elsewhere
  Become(L"cd", 0);   // by the delete key
  Undo();
  EXPECT_EQ(text_, L"abcd");
  Undo();
  EXPECT_EQ(text_, L"abcdef");
  EXPECT_FALSE(history_.CanUndo());
}

TEST_F(EditHistoryTest, TakesAPastedTextThatReplacedAnotherBackAtOnce) {
  history_.Reset(L"keep this, drop that");
  text_ = L"keep this, drop that";
  Become(L"keep it, drop that", 7);
  Undo();
  EXPECT_EQ(text_, L"keep this, drop that");
  Redo();
  EXPECT_EQ(text_, L"keep it, drop that");
}

TEST_F(EditHistoryTest, TypingOverASelectionIsOneStep) {
  history_.Reset(L"old word");
  text_ = L"old word";
  Become(L"old ");  // a box deletes first
  Typed(L"text");
  Undo();
  EXPECT_EQ(text_, L"old word");
}

TEST_F(EditHistoryTest, KnowsByTheCaretWhichOfEqualCharactersIsNew) {
  history_.Reset(L"one");
  text_ = L"one";
  Become(L"tone", 1);
  Become(L"twone", 2);
  Become(L"twoone", 3);  // either o might be the new one
  Undo();
  EXPECT_EQ(text_, L"one");
  EXPECT_FALSE(history_.CanUndo());
}

TEST_F(EditHistoryTest, TypingAtAnotherPlaceIsAStepOfItsOwn) {
  Typed(L"ac");
  Become(L"abc", 2);
  Undo();
  EXPECT_EQ(text_, L"ac");
}

TEST_F(EditHistoryTest, AStepThatWasEndedDoesNotGrow) {
  Typed(L"ab");
  history_.EndStep();
  Typed(L"cd");
  Undo();
  EXPECT_EQ(text_, L"ab");
}

TEST_F(EditHistoryTest, ANewChangeDropsWhatWasTakenBack) {
  Typed(L"one two");
  Undo();
  Typed(L"x");
  EXPECT_FALSE(history_.CanRedo());
  Undo();
  EXPECT_EQ(text_, L"one ");
}

TEST_F(EditHistoryTest, ForgetsTheOldestStepsOfVeryMany) {
  for (int i = 0; i < 10'005; ++i) {
    history_.EndStep();
    Typed(L"x");
  }
  int steps = 0;
  for (; history_.CanUndo(); ++steps) Undo();
  EXPECT_EQ(steps, 10'000);
  EXPECT_EQ(text_, L"xxxxx");
}

TEST_F(EditHistoryTest, LeadsBackThroughAnyChangesAndForthAgain) {
  std::mt19937 random(7);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same texts each time
  const auto below = [&random](std::size_t most) {
    return std::uniform_int_distribution<std::size_t>(0, most)(random);
  };
  std::vector<std::wstring> texts(1);
  for (int i = 0; i < 300; ++i) {
    std::wstring text = text_;
    const std::size_t at = below(text.size());
    const std::size_t length = below(std::min<std::size_t>(4, text.size() - at));
    std::wstring inserted;
    for (std::size_t n = below(3); n > 0; --n) inserted += L"ab \n"[below(3)];
    text.replace(at, length, inserted);
    if (text == text_) continue;
    history_.EndStep();
    Become(text, at + inserted.size());
    texts.push_back(text);
  }
  ASSERT_GT(texts.size(), 200U);
  for (std::size_t i = texts.size() - 1; i > 0; --i) {
    Undo();
    ASSERT_EQ(text_, texts[i - 1]) << i;
  }
  EXPECT_FALSE(history_.CanUndo());
  for (std::size_t i = 1; i < texts.size(); ++i) {
    Redo();
    ASSERT_EQ(text_, texts[i]) << i;
  }
}

}  // namespace
}  // namespace zelkor::app
