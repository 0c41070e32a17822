#include "app/list_editing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/scripted_user.h"

namespace zelkor::app {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(ListEditing, AddsAnAnswerAtTheEndAndSelectsIt) {
  tests::ScriptedUser user;
  user.inputs = {"new"};
  lib::ListDialog dialog{.title = "Select", .label = {}, .entries = {"a", "b"}, .selected = 0};
  EXPECT_TRUE(AddEntry(dialog, user));
  EXPECT_THAT(dialog.entries, ElementsAre("a", "b", "new"));
  EXPECT_EQ(dialog.selected, 2);
  ASSERT_EQ(user.boxes.size(), 1U);
  EXPECT_EQ(user.boxes[0].text, "Add:");
}

TEST(ListEditing, AddsNothingForAnEmptyAnswer) {
  tests::ScriptedUser user;
  lib::ListDialog dialog{.title = {}, .label = {}, .entries = {"a", "b"}, .selected = 0};
  EXPECT_FALSE(AddEntry(dialog, user));
  EXPECT_THAT(dialog.entries, ElementsAre("a", "b"));
  EXPECT_EQ(dialog.selected, 0);
}

TEST(ListEditing, DeletesTheSelectedEntryAndSelectsTheOneInItsPlace) {
  lib::ListDialog dialog{.title = {}, .label = {}, .entries = {"a", "b", "c"}, .selected = 1};
  EXPECT_TRUE(DeleteEntry(dialog));
  EXPECT_THAT(dialog.entries, ElementsAre("a", "c"));
  EXPECT_EQ(dialog.selected, 1);
}

TEST(ListEditing, SelectsTheLastEntryAfterTheLastWasDeleted) {
  lib::ListDialog dialog{.title = {}, .label = {}, .entries = {"a", "b"}, .selected = 1};
  EXPECT_TRUE(DeleteEntry(dialog));
  EXPECT_EQ(dialog.selected, 0);
}

TEST(ListEditing, SelectsNothingInAnEmptyList) {
  lib::ListDialog dialog{.title = {}, .label = {}, .entries = {"a"}, .selected = 0};
  EXPECT_TRUE(DeleteEntry(dialog));
  EXPECT_THAT(dialog.entries, IsEmpty());
  EXPECT_EQ(dialog.selected, -1);
}

TEST(ListEditing, DeletesNothingWhenNothingIsSelected) {
  lib::ListDialog dialog{.title = {}, .label = {}, .entries = {"a"}, .selected = -1};
  EXPECT_FALSE(DeleteEntry(dialog));
  EXPECT_THAT(dialog.entries, ElementsAre("a"));
}

}  // namespace
}  // namespace zelkor::app
