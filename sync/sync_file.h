// The format of a sync file (".cas"): a header, then blocks. Each block is a block header and its item records, each
// followed by its file entries: a file header and the file's content. Everything is little-endian and packed; text is
// in the code page, padded with blanks. docs/formats.md describes it in words.
#pragma once

#include <array>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

#include "db/file_rec.h"
#include "lib/fields.h"
#include "lib/version.h"

namespace zelkor::sync {

inline constexpr std::string_view kSyncFileSignature = "SyncFile";
inline constexpr std::string_view kBlockSignature = "ZELKOR";
inline constexpr std::string_view kFileSignature = "FileHdr";  // readers compare these 7 characters only
inline constexpr std::int32_t kFormatNumber = 200;
inline constexpr std::int32_t kOldestVersion = 214;  // blocks of programs before 2.14 are not read
inline constexpr std::int32_t kTrue = -1;            // a flag that is set
inline constexpr std::string_view kSyncFileExtension = "cas";
// Lengths on disk are signed 32-bit numbers.
inline constexpr std::int64_t kMaxLength = std::numeric_limits<std::int32_t>::max();

// At the start of a sync file, and of each disk's file when it spans several.
struct SyncFileHeader : lib::Record<256> {
  using Type = lib::FieldType;
  static constexpr lib::Field kSender{"sender computer ID", 0, 8, Type::Text};
  static constexpr lib::Field kCreated{"created", 8, 8, Type::Date};
  static constexpr lib::Field kFormat{"format number", 16, 2, Type::Int16};
  static constexpr lib::Field kDisk{"disk number", 18, 2, Type::Int16};  // from 1
  static constexpr lib::Field kSignature{"signature", 20, 8, Type::Text};
  static constexpr lib::Field kLastDisk{"last-disk flag", 28, 2, Type::Int16};  // -1 on the last disk, else 0
  static constexpr lib::Field kReserved{"reserved", 30, 226, Type::Text};
  static constexpr std::array kTable{kSender, kCreated, kFormat, kDisk, kSignature, kLastDisk, kReserved};

  [[nodiscard]] bool IsSyncFile() const { return RawText(kSignature) == kSyncFileSignature; }
  [[nodiscard]] bool LastDisk() const { return Number(kLastDisk) != 0; }
  // The sender's ID trimmed and in lower case.
  [[nodiscard]] std::string Sender() const;
};
static_assert(lib::Packed(SyncFileHeader::kTable, SyncFileHeader::kBytes));

// The header of a file that `sender` writes at this moment, on one disk.
[[nodiscard]] SyncFileHeader MakeSyncFileHeader(std::string_view sender, lib::Date created);

struct BlockHeader : lib::Record<256> {
  using Type = lib::FieldType;
  static constexpr lib::Field kSignature{"block signature", 0, 8, Type::Text};
  static constexpr lib::Field kDataLength{"data length", 8, 4, Type::Int32};  // 0: too long for the field, or empty
  static constexpr lib::Field kReserved1{"reserved", 12, 2, Type::Int16};
  static constexpr lib::Field kItemCount{"item count", 14, 4, Type::Int32};
  static constexpr lib::Field kVersion{"version", 18, 2, Type::Int16};  // of the writing program, major * 100 + minor
  static constexpr lib::Field kReserved2{"reserved", 20, 12, Type::Text};
  static constexpr lib::Field kReserved3{"reserved", 32, 224, Type::Text};
  static constexpr std::array kTable{kSignature, kDataLength, kReserved1, kItemCount, kVersion, kReserved2, kReserved3};

  [[nodiscard]] bool IsOurs() const { return lib::EqualNoCase(Text(kSignature), kBlockSignature); }
};
static_assert(lib::Packed(BlockHeader::kTable, BlockHeader::kBytes));

struct FileHeader : lib::Record<256> {
  using Type = lib::FieldType;
  static constexpr lib::Field kSignature{"signature", 0, 8, Type::Text};
  static constexpr lib::Field kPath{"path", 8, 200, Type::Text};  // in the shared form
  static constexpr lib::Field kSize{"size", 208, 4, Type::Int32};
  // Local times to the whole second. The access time is never written.
  static constexpr lib::Field kCreated{"time 0", 212, 8, Type::Date};
  static constexpr lib::Field kAccessed{"time 1", 220, 8, Type::Date};
  static constexpr lib::Field kWritten{"time 2", 228, 8, Type::Date};
  static constexpr lib::Field kReserved{"reserved", 236, 20, Type::Text};
  static constexpr std::array kTable{kSignature, kPath, kSize, kCreated, kAccessed, kWritten, kReserved};

  [[nodiscard]] bool HasSignature() const {
    return lib::EqualNoCase(RawText(kSignature).substr(0, kFileSignature.size()), kFileSignature);
  }
};
static_assert(lib::Packed(FileHeader::kTable, FileHeader::kBytes));

}  // namespace zelkor::sync
