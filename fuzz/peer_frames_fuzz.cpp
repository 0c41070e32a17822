// Feeds what another computer might send to the reader of frames, in pieces of sizes that the input chooses, and each
// frame to the readers of words. No input may make the reader hold more than the longest frame, and words that were
// read and written again read as the same.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <string_view>

#include "vandry/frames.h"
#include "vandry/pairings.h"
#include "vandry/peer_address.h"
#include "vandry/peer_words.h"

namespace {

namespace vandry = zelkor::vandry;

void Require(bool holds) {
  if (!holds) std::abort();
}

// Written and read again, words must stay what they are.
template <class Read>
void RoundTrip(std::string_view content, Read read) {
  const auto words = read(content);
  if (!words) return;
  const std::string written = WriteWords(*words);
  const auto again = read(written);
  Require(again.has_value());
  Require(WriteWords(*again) == written);
  Require(written.size() <= vandry::kMostWordsBytes + 600);
}

void ReadWords(const vandry::Frame& frame) {
  RoundTrip(frame.content, vandry::ReadAsk);
  RoundTrip(frame.content, vandry::ReadAnswer);
  RoundTrip(frame.content, vandry::ReadOffer);
  RoundTrip(frame.content, vandry::ReadTake);
  RoundTrip(frame.content, vandry::ReadEnd);
  // Of another version only the number is known.
  if (const auto hello = vandry::ReadHello(frame.content); hello && hello->version == vandry::kProtocolVersion) {
    RoundTrip(frame.content, vandry::ReadHello);
    Require(vandry::IsComputerId(hello->computerId) && hello->port != 0);
  }
  if (const auto pair = vandry::ReadPair(frame.content); pair && pair->version == vandry::kProtocolVersion) {
    RoundTrip(frame.content, vandry::ReadPair);
  }
  if (const auto offer = vandry::ReadOffer(frame.content)) {
    // These become names of files.
    for (const std::string& part : {offer->ticket, offer->senderId, offer->targetId}) {
      Require(!part.empty() && part.find_first_of("/\\:*?\" ") == std::string::npos && part != "..");
    }
    Require(offer->size >= 0);
  }
  if (const auto answer = vandry::ReadAnswer(frame.content)) {
    Require(answer->text.find("OK") == std::string::npos && answer->text.find("Error") == std::string::npos);
    Require(answer->text.find_first_of("\r\n") == std::string::npos);
  }
  if (const auto address = vandry::ParsePeerAddress(frame.content)) {
    Require(vandry::ParsePeerAddress(vandry::PeerAddressText(*address)) == address);
  }
  if (frame.kind == vandry::FrameKind::Data) {
    std::string_view bytes = frame.content;
    if (const auto offset = vandry::TakePieceOffset(bytes))
      Require(*offset >= 0 && bytes.size() + 8 == frame.content.size());
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const std::size_t atOnce = data[0] + 1U;
  vandry::FrameReader reader;
  if ((data[1] & 1) != 0) reader.AdmitPieces();
  std::string_view rest(reinterpret_cast<const char*>(data + 2), size - 2);
  while (!rest.empty() && !reader.Broken()) {
    const std::span<char> space = reader.Space();
    Require(!space.empty() && space.size() <= 1 << 20);
    const std::size_t count = std::min({atOnce, rest.size(), space.size()});
    std::copy_n(rest.begin(), count, space.begin());
    reader.Filled(count);
    rest.remove_prefix(count);
    while (const std::optional<vandry::Frame> frame = reader.Next()) ReadWords(*frame);
  }
  return 0;
}
