// What two Vandrys send each other: frames of a kind, a length and that many bytes.
//
//   offset  bytes  field
//        0      1  kind
//        1      4  length of what follows, unsigned, low byte first
//        5      …  content: words of text for every kind but Data
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zelkor::vandry {

// The numbers stand on the wire. docs/network.md says what each carries.
enum class FrameKind : std::uint8_t {
  Hello = 1,
  Ping = 2,
  Pong = 3,
  Ask = 4,
  Answer = 5,
  Offer = 6,
  Take = 7,
  Data = 8,
  End = 9,
  Whole = 10,
  Stop = 11,
  Pair = 12,
  Refusal = 13,
};
inline constexpr std::uint8_t kLastFrameKind = 13;

inline constexpr std::size_t kFrameHeaderBytes = 5;
// The longest content of a frame of words.
inline constexpr std::size_t kMostWordsBytes = 2048;
// A piece of a file: its place in the file, 8 bytes, low byte first, and the bytes.
inline constexpr std::size_t kPieceOffsetBytes = 8;
inline constexpr std::size_t kMostPieceBytes = 256 * 1024;

struct Frame {
  FrameKind kind = FrameKind::Ping;
  std::string_view content;  // valid until the reader is given more
};

// REQUIRES: content not longer than its kind may have.
void AppendFrame(std::string& out, FrameKind kind, std::string_view content);
// The header of a Data frame and its place, for `pieceBytes` bytes that follow.
void WritePieceHeader(std::span<char, kFrameHeaderBytes + kPieceOffsetBytes> out, std::int64_t offset,
                      std::size_t pieceBytes);
// The place of a Data frame's content, which leaves the bytes in it; nothing when it is no such content.
[[nodiscard]] std::optional<std::int64_t> TakePieceOffset(std::string_view& content);

// Cuts what arrives into frames. It never holds more than the longest frame that may come.
class FrameReader {
 public:
  FrameReader();

  // Until they are admitted, pieces of files are as wrong as a kind that does not exist.
  void AdmitPieces();

  // Where to put what arrives next; never empty. Frames taken so far are gone.
  [[nodiscard]] std::span<char> Space();
  // So many bytes were put there.
  void Filled(std::size_t bytes);

  // The next whole frame. Nothing when the rest of it has not come, and for ever after something that is no frame.
  [[nodiscard]] std::optional<Frame> Next();
  // Something came that is no frame, or longer than its kind may be.
  [[nodiscard]] bool Broken() const { return broken_; }

 private:
  [[nodiscard]] std::size_t MostContent(FrameKind kind) const;

  std::vector<char> buffer_;
  std::size_t from_ = 0;  // taken up to here
  std::size_t to_ = 0;    // filled up to here
  bool pieces_ = false;
  bool broken_ = false;
};

}  // namespace zelkor::vandry
