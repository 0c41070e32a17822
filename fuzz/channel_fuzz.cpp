// Feeds any bytes, in pieces of any size, to the reader of the local link's frames. What comes out must be what goes
// in: written again, the frames are the bytes that were read, up to where they stopped being any.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "lib/channel.h"
#include "lib/channel_frame.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  // The first byte is the size of the pieces.
  const std::size_t piece = std::size_t{1} + data[0];
  const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  zelkor::lib::FrameReader reader;
  std::string written;
  for (std::size_t at = 0; at < bytes.size(); at += piece) {
    reader.Add(bytes.substr(at, piece));
    while (const std::optional<zelkor::lib::Frame> frame = reader.Next()) {
      if (frame->text.size() > zelkor::lib::kMostChannelText) std::abort();
      written += zelkor::lib::EncodeFrame(frame->kind, frame->number, frame->text);
    }
  }
  if (bytes.substr(0, written.size()) != written) std::abort();
  // Whatever is left is less than one frame, or none.
  if (!reader.Broken() &&
      bytes.size() - written.size() >= zelkor::lib::kFrameHeadBytes + zelkor::lib::kMostChannelText) {
    std::abort();
  }
  return 0;
}
