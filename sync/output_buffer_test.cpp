#include "sync/output_buffer.h"

#include "tests/support/sandbox.h"

namespace zelkor::sync {
namespace {

// Also more than goes to the medium at a time.
constexpr std::int64_t kMoreThanTheBuffer = 10'000'000;

// With a file that is only passed on, and with one that lasts.
class Output : public tests::Sandbox, public testing::WithParamInterface<bool> {
 protected:
  Output()
      : file_(std::move(*lib::File::Open(OnDriveZ(Root() / "out"), lib::OpenMode::CreateNew))),
        output_(file_, GetParam()) {}

  void Append(std::int64_t count, char c) {
    ASSERT_TRUE(output_.Append(std::string(static_cast<std::size_t>(count), c)).Ok());
  }
  std::string Written() {
    EXPECT_TRUE(output_.Flush().Ok());
    return ReadNative(Root() / "out");
  }

  lib::File file_;
  OutputBuffer output_;
};

INSTANTIATE_TEST_SUITE_P(PassedOnOrLasting, Output, testing::Bool());

TEST_P(Output, StandsInTheFileInOrder) {
  Append(10, 'a');
  Append(kMoreThanTheBuffer, 'b');
  Append(10, 'c');
  EXPECT_EQ(output_.Position(), kMoreThanTheBuffer + 20);
  EXPECT_EQ(Written(), std::string(10, 'a') + std::string(kMoreThanTheBuffer, 'b') + std::string(10, 'c'));
}

TEST_P(Output, IsMendedInTheBufferInTheFileAndAcrossBoth) {
  Append(kMoreThanTheBuffer, 'a');
  std::string expected(kMoreThanTheBuffer, 'a');
  // Every place around the end of what has been flushed is tried, wherever that is.
  for (std::int64_t at = 0; at + 70'000 < kMoreThanTheBuffer; at += 150'000) {
    const std::string patch(70'000, static_cast<char>('b' + at / 150'000 % 20));
    ASSERT_TRUE(output_.Patch(at, patch).Ok());
    expected.replace(static_cast<std::size_t>(at), patch.size(), patch);
  }
  EXPECT_EQ(Written(), expected);
}

TEST_P(Output, IsTakenBackFromTheBufferAndFromTheFile) {
  Append(kMoreThanTheBuffer, 'a');
  ASSERT_TRUE(output_.Rewind(kMoreThanTheBuffer - 1).Ok());
  ASSERT_TRUE(output_.Rewind(5).Ok());
  EXPECT_EQ(output_.Position(), 5);
  Append(3, 'b');
  EXPECT_EQ(Written(), "aaaaabbb");
}

TEST_P(Output, TakesShortAndLongStretchesOfAnotherFile) {
  std::string content;
  for (int i = 0; i < 700'000; ++i) content.push_back(static_cast<char>(i % 253));
  WriteNative(Root() / "in", content);
  const lib::Result<lib::File> in = lib::File::Open(OnDriveZ(Root() / "in"), lib::OpenMode::Read);
  Append(1, 'x');
  EXPECT_EQ(output_.AppendFrom(*in, 0, 1000).copied, 1000);
  EXPECT_EQ(output_.AppendFrom(*in, 1000, 699'000).copied, 699'000);
  EXPECT_EQ(Written(), "x" + content);
}

TEST_P(Output, SaysWhenTheOtherFileIsShort) {
  WriteNative(Root() / "in", "12345");
  const lib::Result<lib::File> in = lib::File::Open(OnDriveZ(Root() / "in"), lib::OpenMode::Read);
  const lib::CopyOutcome outcome = output_.AppendFrom(*in, 0, 6);
  EXPECT_TRUE(outcome.sourceEnded);
  EXPECT_TRUE(output_.AppendFrom(*in, 0, 1'000'000).sourceEnded);
}

}  // namespace
}  // namespace zelkor::sync
