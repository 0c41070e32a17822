// Names of files that only some systems have, and the program's form of paths can not carry.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "db/item_editing_fixture.h"

namespace zelkor::db {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

using RefusedNames = ItemEditingTest;

TEST_F(RefusedNames, AreToldInOneBoxWhenAnItemsFilesAreListed) {
  for (int i = 10; i < 22; ++i) WriteFile("a:" + std::to_string(i) + ".txt", "");
  WriteFile("good.txt", "");
  OpenWith({{.description = "a", .fileName = "c:\\*.txt"}});
  Editing().ListItemFiles();
  ASSERT_EQ(user_.boxes.size(), 1U);
  EXPECT_THAT(user_.boxes[0].text, AllOf(HasSubstr("a:10.txt"), HasSubstr("a:19.txt"), HasSubstr("and 2 more")));
  EXPECT_THAT(user_.boxes[0].text, testing::Not(HasSubstr("a:20.txt")));
  EXPECT_THAT(desktop_.lists.at(0).entries, ElementsAre("c:\\good.txt"));
}

}  // namespace
}  // namespace zelkor::db
