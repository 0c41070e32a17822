#include "lib/channel_frame.h"

#include "lib/channel.h"
#include "lib/secret.h"

namespace zelkor::lib {

namespace {

void PutNumber(std::string& out, std::uint32_t number) {
  for (int shift = 0; shift < 32; shift += 8) out.push_back(static_cast<char>(number >> shift & 0xFF));
}

std::uint32_t TakeNumber(std::string_view bytes) {
  std::uint32_t number = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    number |= static_cast<std::uint32_t>(static_cast<std::uint8_t>(bytes[i])) << (8 * i);
  }
  return number;
}

}  // namespace

std::string EncodeFrame(FrameKind kind, std::uint32_t number, std::string_view text) {
  text = text.substr(0, kMostChannelText);
  std::string frame;
  frame.reserve(kFrameHeadBytes + text.size());
  PutNumber(frame, static_cast<std::uint32_t>(text.size()));
  frame.push_back(static_cast<char>(kind));
  PutNumber(frame, number);
  frame.append(text);
  return frame;
}

void FrameReader::Add(std::string_view bytes) { AppendWiped(bytes_, bytes); }

std::optional<Frame> FrameReader::Next() {
  if (broken_ || bytes_.size() < kFrameHeadBytes) return std::nullopt;
  const std::uint32_t length = TakeNumber(bytes_);
  const auto kind = static_cast<std::uint8_t>(bytes_[4]);
  if (length > kMostChannelText || kind == 0 || kind > static_cast<std::uint8_t>(kLastFrameKind)) {
    broken_ = true;
    Wipe(bytes_);
    return std::nullopt;
  }
  if (bytes_.size() < kFrameHeadBytes + length) return std::nullopt;
  Frame frame{.kind = static_cast<FrameKind>(kind),
              .number = TakeNumber(std::string_view(bytes_).substr(5)),
              .text = bytes_.substr(kFrameHeadBytes, length)};
  EraseFrontWiped(bytes_, kFrameHeadBytes + length);
  return frame;
}

}  // namespace zelkor::lib
