#include "vandry/frames.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace zelkor::vandry {
namespace {

using std::string_literals::operator""s;

// Gives the reader bytes as they might come, some at a time, and collects the frames.
std::vector<std::pair<FrameKind, std::string>> ReadAll(FrameReader& reader, std::string_view bytes,
                                                       std::size_t atOnce) {
  std::vector<std::pair<FrameKind, std::string>> frames;
  while (!bytes.empty() && !reader.Broken()) {
    const std::span<char> space = reader.Space();
    const std::size_t count = std::min({bytes.size(), atOnce, space.size()});
    EXPECT_GT(count, 0U);
    std::copy_n(bytes.begin(), count, space.begin());
    reader.Filled(count);
    bytes.remove_prefix(count);
    while (const std::optional<Frame> frame = reader.Next()) frames.emplace_back(frame->kind, frame->content);
  }
  return frames;
}

// Kind 4, length 5 low byte first, content; kind 2, empty.
const std::string kAskAndPing = "\x04\x05\0\0\0t abc\x02\0\0\0\0"s;

TEST(Frames, AreKindLengthAndContent) {
  std::string out;
  AppendFrame(out, FrameKind::Ask, "t abc");
  AppendFrame(out, FrameKind::Ping, "");
  EXPECT_EQ(out, kAskAndPing);
}

TEST(Frames, AreReadInWhateverPiecesTheyCome) {
  for (std::size_t atOnce = 1; atOnce <= kAskAndPing.size(); ++atOnce) {
    FrameReader reader;
    const auto frames = ReadAll(reader, kAskAndPing, atOnce);
    ASSERT_EQ(frames.size(), 2U) << atOnce;
    EXPECT_EQ(frames[0], std::make_pair(FrameKind::Ask, "t abc"s));
    EXPECT_EQ(frames[1], std::make_pair(FrameKind::Ping, ""s));
    EXPECT_FALSE(reader.Broken());
  }
}

TEST(Frames, CutAnywhereAreNoFramesYet) {
  for (std::size_t length = 0; length < kAskAndPing.size(); ++length) {
    FrameReader reader;
    const auto frames = ReadAll(reader, std::string_view(kAskAndPing).substr(0, length), 100);
    EXPECT_EQ(frames.size(), length < 10 ? 0U : 1U) << length;
    EXPECT_FALSE(reader.Broken());
  }
}

TEST(Frames, OfAnUnknownKindBreakTheReader) {
  for (const char kind : {'\0', '\x0e', '\xff'}) {
    FrameReader reader;
    EXPECT_TRUE(ReadAll(reader, std::string(1, kind) + "\0\0\0\0"s + kAskAndPing, 100).empty());
    EXPECT_TRUE(reader.Broken());
    EXPECT_FALSE(reader.Next());
  }
}

TEST(Frames, OfWordsMayBeAsLongAs2048Bytes) {
  FrameReader reader;
  const auto frames = ReadAll(reader, "\x04\x00\x08\0\0"s + std::string(2048, 'x'), 100);
  ASSERT_EQ(frames.size(), 1U);
  EXPECT_EQ(frames[0].second, std::string(2048, 'x'));
  FrameReader strict;
  EXPECT_TRUE(ReadAll(strict, "\x04\x01\x08\0\0"s, 100).empty());
  EXPECT_TRUE(strict.Broken());
}

TEST(Frames, ThatAnnounceFourGigabytesTakeNoMemory) {
  FrameReader reader;
  reader.AdmitPieces();
  EXPECT_TRUE(ReadAll(reader, "\x08\xff\xff\xff\xff"s, 100).empty());
  EXPECT_TRUE(reader.Broken());
  EXPECT_LE(reader.Space().size(), 1U << 20);
}

TEST(Frames, CarryPiecesOnlyWhenTheseAreAdmitted) {
  // Kind 8, length 8 + 3, place 0x0102 low byte first, three bytes.
  const std::string piece = "\x08\x0b\0\0\0\x02\x01\0\0\0\0\0\0abc"s;
  FrameReader stranger;
  EXPECT_TRUE(ReadAll(stranger, piece, 100).empty());
  EXPECT_TRUE(stranger.Broken());

  FrameReader reader;
  reader.AdmitPieces();
  const auto frames = ReadAll(reader, piece, 100);
  ASSERT_EQ(frames.size(), 1U);
  std::string_view content = frames[0].second;
  EXPECT_EQ(TakePieceOffset(content), 0x0102);
  EXPECT_EQ(content, "abc");
}

TEST(Frames, WriteTheHeaderOfAPieceAsItIsRead) {
  std::array<char, kFrameHeaderBytes + kPieceOffsetBytes> header{};
  WritePieceHeader(header, 0x0102, 3);
  EXPECT_EQ(std::string(header.data(), header.size()), "\x08\x0b\0\0\0\x02\x01\0\0\0\0\0\0"s);
}

TEST(Frames, OfPiecesMayBeAsLongAsTheLongestPieceAndNoLonger) {
  std::string piece = "\x08\x08\x00\x04\0"s + std::string(8, '\0') + std::string(256 * 1024, 'x');
  FrameReader reader;
  reader.AdmitPieces();
  std::string twice = piece + piece;
  const auto frames = ReadAll(reader, twice, 100'000);
  ASSERT_EQ(frames.size(), 2U);
  EXPECT_EQ(frames[1].second.size(), 8 + 256 * 1024U);
  piece[1] = '\x09';
  FrameReader strict;
  strict.AdmitPieces();
  EXPECT_TRUE(ReadAll(strict, piece, 100).empty());
  EXPECT_TRUE(strict.Broken());
}

TEST(Frames, HaveNoPlaceInAFileThatIsNegativeOrCut) {
  std::string_view negative("\0\0\0\0\0\0\0\x80", 8);
  EXPECT_EQ(TakePieceOffset(negative), std::nullopt);
  std::string_view cut("\1\0\0\0\0\0\0", 7);
  EXPECT_EQ(TakePieceOffset(cut), std::nullopt);
}

TEST(Frames, KeepTheReadersMemoryBoundedHoweverMuchComes) {
  FrameReader reader;
  std::string many;
  for (int i = 0; i < 1000; ++i) AppendFrame(many, FrameKind::Ask, "t " + std::string(1000, 'x'));
  EXPECT_EQ(ReadAll(reader, many, 700).size(), 1000U);
  EXPECT_LE(reader.Space().size(), kFrameHeaderBytes + kMostWordsBytes);
}

}  // namespace
}  // namespace zelkor::vandry
