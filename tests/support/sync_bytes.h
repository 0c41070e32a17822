// Sync files written and read by hand, byte by byte, independent of the code under test: to make valid, damaged and
// hostile files, and to look into those that the program made.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelkor::tests {

inline constexpr std::size_t kSyncHeaderBytes = 256;
inline constexpr std::size_t kBlockHeaderBytes = 256;
inline constexpr std::size_t kRecordBytes = 1024;
inline constexpr std::size_t kFileHeaderBytes = 256;

// A file as a sync file carries it. Dates are local day counts.
struct SyncEntry {
  std::string path{};  // X:\… in the shared form
  std::string content{};
  double written = 0;
  double created = 0;
  double accessed = 0;
  std::string signature = "FileHdr ";
  std::optional<std::int64_t> size{};  // in place of the content's length
};

struct SyncRecord {
  std::string fileName{};
  std::string description{};
  std::string source{};  // the exporting computer; empty: the sync file's sender
  int flags = 0;
  double exported = 0;
  std::string signature = "memosign";
  int syncMethod = 0;
  std::string codes{};
  std::int32_t memoId = 0;
  int syncTo = 1;
  std::vector<SyncEntry> files{};
  std::optional<std::int64_t> dataLength{};  // in place of the true ones
  std::optional<std::int64_t> fileCount{};
};

struct SyncBlock {
  std::string signature = "ZELKOR  ";
  int version = 223;
  std::vector<SyncRecord> records{};
  std::optional<std::int64_t> dataLength{};
  std::optional<std::int64_t> itemCount{};
  std::string data{};  // in place of records, for blocks of an unknown kind
};

struct SyncImage {
  std::string sender{};
  double created = 45000;
  int format = 200;
  int disk = 1;
  std::string signature = "SyncFile";
  int lastDisk = -1;
  std::vector<SyncBlock> blocks{};
};

[[nodiscard]] std::string EncodeSync(const SyncImage& image);

// The offsets at which a structure or the content of a file begins, and the end of the file.
struct SyncBoundary {
  std::size_t offset{};
  std::string what{};
};
[[nodiscard]] std::vector<SyncBoundary> SyncBoundaries(const SyncImage& image);

// Reads a whole sync file strictly: every length must be true, every signature exact, reserved bytes zero. Throws
// std::runtime_error with what is wrong and where.
[[nodiscard]] SyncImage DecodeSync(std::string_view bytes);

// The one block's records, for the usual sync file.
[[nodiscard]] inline SyncImage OneBlock(std::string sender, std::vector<SyncRecord> records) {
  SyncImage image;
  image.sender = std::move(sender);
  image.blocks.emplace_back().records = std::move(records);
  return image;
}

}  // namespace zelkor::tests
