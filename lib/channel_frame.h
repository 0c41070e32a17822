// How the local link writes what it carries: frames of a kind, a number and a text.
//   offset  bytes  field
//        0      4  length of the text, unsigned, low byte first; at most kMostChannelText
//        4      1  kind
//        5      4  number, unsigned, low byte first
//        9      …  text
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zelkor::lib {

inline constexpr std::size_t kFrameHeadBytes = 9;

enum class FrameKind : std::uint8_t {
  Open = 1,  // the first one of each side; its number is the version of this form
  Execute = 2,
  Taken = 3,
  Working = 4,
  Reply = 5,
  Push = 6,
  Handled = 7,
  Progress = 8,
};
inline constexpr FrameKind kLastFrameKind = FrameKind::Progress;
inline constexpr std::uint32_t kFrameVersion = 1;

struct Frame {
  FrameKind kind = FrameKind::Open;
  std::uint32_t number = 0;
  std::string text;
};

// A text that is too long is cut.
[[nodiscard]] std::string EncodeFrame(FrameKind kind, std::uint32_t number, std::string_view text);

// Puts frames together from bytes that come in pieces of any size. It never holds more than one piece and one frame.
class FrameReader {
 public:
  void Add(std::string_view bytes);
  // The next whole frame.
  [[nodiscard]] std::optional<Frame> Next();
  // True once bytes came that no frame begins with; there is no way on from there.
  [[nodiscard]] bool Broken() const { return broken_; }

 private:
  std::string bytes_;
  bool broken_ = false;
};

}  // namespace zelkor::lib
