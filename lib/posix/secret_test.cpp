#include "lib/secret.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <sys/prctl.h>
#include <sys/resource.h>

namespace zelkor::lib {
namespace {

TEST(Secret, LeavesNothingOfALongTextInItsMemory) {
  std::string text = "a password that is longer than the text object itself";
  const char* memory = text.data();
  const std::size_t size = text.size();
  text.resize(4);  // the rest still stands behind the end
  Wipe(text);
  EXPECT_TRUE(text.empty());
  // The memory is still the text's own, all of it.
  ASSERT_TRUE(text.data() == memory);
  ASSERT_GE(text.capacity(), size);
  EXPECT_EQ(memmem(memory, size, "password", 8), nullptr);  // NOLINT(clang-analyzer-cplusplus.InnerPointer)
}

TEST(Secret, WipesAShortText) {
  std::string text = "pw";
  { const WipedAtEnd end(text); }
  EXPECT_TRUE(text.empty());
  EXPECT_EQ(std::memcmp(text.data(), "\0\0", 2), 0);
}

TEST(Secret, GrowsAndShrinksATextWithoutLeavingAnythingBehind) {
  std::string text = "a password that is longer than the text object itself";
  const std::string more(text.capacity(), 'x');
  const std::string whole = text + more;
  AppendWiped(text, more);
  EXPECT_EQ(text, whole);
  const char* memory = text.data();
  EraseFrontWiped(text, whole.size() - 3);
  EXPECT_EQ(text, "xxx");
  EXPECT_EQ(memmem(memory, whole.size(), "xxxx", 4), nullptr);
}

TEST(Secret, MovesMemoryWithItsContent) {
  char* memory = static_cast<char*>(std::malloc(16));
  std::memcpy(memory, "a password here", 16);
  memory = static_cast<char*>(ReallocateWiped(memory, 100'000));
  EXPECT_STREQ(memory, "a password here");
  memory = static_cast<char*>(ReallocateWiped(memory, 16));
  EXPECT_STREQ(memory, "a password here");
  FreeWiped(memory);
  FreeWiped(ReallocateWiped(nullptr, 8));
  FreeWiped(nullptr);
}

TEST(Secret, ForbidsCoreFiles) {
  EXPECT_EXIT(
      {
        KeepMemoryPrivate();
        _exit(prctl(PR_GET_DUMPABLE) == 0 ? 7 : 1);
      },
      testing::ExitedWithCode(7), "");
}

// What a user opens from here is not ours to limit.
TEST(Secret, LeavesTheProgramsItStartsAlone) {
  EXPECT_EXIT(
      {
        rlimit before{};
        getrlimit(RLIMIT_CORE, &before);
        KeepMemoryPrivate();
        rlimit after{};
        getrlimit(RLIMIT_CORE, &after);
        _exit(before.rlim_cur == after.rlim_cur && before.rlim_max == after.rlim_max ? 7 : 1);
      },
      testing::ExitedWithCode(7), "");
}

}  // namespace
}  // namespace zelkor::lib
