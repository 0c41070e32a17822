#include "vandry/frames.h"

#include <algorithm>
#include <cstring>

namespace zelkor::vandry {

namespace {

void PutNumber(char* out, std::uint64_t number, int bytes) {
  for (int i = 0; i < bytes; ++i) out[i] = static_cast<char>(number >> (8 * i) & 0xff);
}

std::uint64_t GetNumber(const char* in, int bytes) {
  std::uint64_t number = 0;
  for (int i = 0; i < bytes; ++i) number |= static_cast<std::uint64_t>(static_cast<unsigned char>(in[i])) << (8 * i);
  return number;
}

// A reader of words alone takes little memory; computers that are not known yet get no more.
constexpr std::size_t kWordsBuffer = kFrameHeaderBytes + kMostWordsBytes;
// Room for a whole piece and what already follows it.
constexpr std::size_t kPiecesBuffer = 2 * (kFrameHeaderBytes + kPieceOffsetBytes + kMostPieceBytes);

}  // namespace

void AppendFrame(std::string& out, FrameKind kind, std::string_view content) {
  char header[kFrameHeaderBytes];  // NOLINT(modernize-avoid-c-arrays)
  header[0] = static_cast<char>(kind);
  PutNumber(header + 1, content.size(), 4);
  out.append(header, sizeof header);
  out.append(content);
}

void WritePieceHeader(std::span<char, kFrameHeaderBytes + kPieceOffsetBytes> out, std::int64_t offset,
                      std::size_t pieceBytes) {
  out[0] = static_cast<char>(FrameKind::Data);
  PutNumber(&out[1], kPieceOffsetBytes + pieceBytes, 4);
  PutNumber(&out[kFrameHeaderBytes], static_cast<std::uint64_t>(offset), kPieceOffsetBytes);
}

std::optional<std::int64_t> TakePieceOffset(std::string_view& content) {
  if (content.size() < kPieceOffsetBytes) return std::nullopt;
  const std::uint64_t offset = GetNumber(content.data(), kPieceOffsetBytes);
  if (offset > static_cast<std::uint64_t>(INT64_MAX)) return std::nullopt;
  content.remove_prefix(kPieceOffsetBytes);
  return static_cast<std::int64_t>(offset);
}

FrameReader::FrameReader() : buffer_(kWordsBuffer) {}

void FrameReader::AdmitPieces() { pieces_ = true; }

std::size_t FrameReader::MostContent(FrameKind kind) const {
  if (kind != FrameKind::Data) return kMostWordsBytes;
  return pieces_ ? kPieceOffsetBytes + kMostPieceBytes : 0;
}

std::span<char> FrameReader::Space() {
  if (pieces_ && buffer_.size() < kPiecesBuffer) buffer_.resize(kPiecesBuffer);
  // Moved only when little room is left, so that a long frame is not moved for each part of it that comes.
  if (from_ == to_) {
    from_ = to_ = 0;
  } else if (from_ > 0 && buffer_.size() - to_ < buffer_.size() / 2) {
    std::memmove(buffer_.data(), buffer_.data() + from_, to_ - from_);
    to_ -= from_;
    from_ = 0;
  }
  return std::span(buffer_).subspan(to_);
}

void FrameReader::Filled(std::size_t bytes) { to_ = std::min(to_ + bytes, buffer_.size()); }

std::optional<Frame> FrameReader::Next() {
  if (broken_ || to_ - from_ < kFrameHeaderBytes) return std::nullopt;
  const char* header = buffer_.data() + from_;
  const auto number = static_cast<std::uint8_t>(header[0]);
  const auto kind = static_cast<FrameKind>(number);
  const auto length = static_cast<std::size_t>(GetNumber(header + 1, 4));  // of four bytes
  if (number == 0 || number > kLastFrameKind || (kind == FrameKind::Data && !pieces_) || length > MostContent(kind)) {
    broken_ = true;
    return std::nullopt;
  }
  if (to_ - from_ < kFrameHeaderBytes + length) return std::nullopt;
  from_ += kFrameHeaderBytes + length;
  return Frame{.kind = kind, .content = {header + kFrameHeaderBytes, length}};
}

}  // namespace zelkor::vandry
