// The item record of "zelkor.ind" and of sync files: 1024 bytes, little-endian, packed; text in the code page, padded
// with blanks. The table in docs/formats.md says the same in words.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "lib/fields.h"

namespace zelkor::db {

inline constexpr std::int32_t kItemDeleted = 1;  // bit 0 of the flags
inline constexpr std::string_view kItemSignature = "memosign";

// What export sends of an item, and the targets that it goes to; the values of the two fields.
enum class SyncMethod : std::int32_t { Auto = 0, On = 1, Off = 2 };
enum class SyncTo : std::int32_t { All = 0, AllButExcluded = 1, OnlyIncluded = 2 };

struct FileRec : lib::Record<1024> {
  using Type = lib::FieldType;
  static constexpr lib::Field kFileName{"file name", 0, 512, Type::Text};  // the selection: one path a line
  static constexpr lib::Field kDescription{"description", 512, 64, Type::Text};
  static constexpr lib::Field kImportSource{"import source", 576, 16, Type::Text};  // computer ID
  static constexpr lib::Field kFlags{"flags", 592, 2, Type::Int16};
  static constexpr lib::Field kFileDataLength{"file data length", 594, 4, Type::Int32};  // bytes; sync files only
  static constexpr lib::Field kFileCount{"file count", 598, 4, Type::Int32};             // sync files only
  static constexpr lib::Field kImportDate{"import date", 602, 8, Type::Date};
  static constexpr lib::Field kSignature{"signature", 610, 8, Type::Text};
  static constexpr lib::Field kSyncMethod{"sync method", 618, 2, Type::Int16};
  static constexpr lib::Field kCodes{"codes", 620, 128, Type::Text};
  static constexpr lib::Field kMemoId{"memo ID", 748, 4, Type::Int32};
  static constexpr lib::Field kSyncTo{"sync to", 752, 2, Type::Int16};
  static constexpr lib::Field kReserved{"reserved 3", 754, 270, Type::Text};
  static constexpr std::array kTable{kFileName,  kDescription, kImportSource, kFlags,      kFileDataLength,
                                     kFileCount, kImportDate,  kSignature,    kSyncMethod, kCodes,
                                     kMemoId,    kSyncTo,      kReserved};

  [[nodiscard]] bool Deleted() const { return (Number(kFlags) & kItemDeleted) != 0; }
  [[nodiscard]] bool HasSignature() const { return lib::EqualNoCase(RawText(kSignature), kItemSignature); }
};
static_assert(lib::Packed(FileRec::kTable, FileRec::kBytes));

// The item record of format versions below 220: 512 bytes.
struct OldFileRec : lib::Record<512> {
  using Type = lib::FieldType;
  static constexpr lib::Field kFileName{"file name", 0, 200, Type::Text};
  static constexpr lib::Field kDescription{"description", 200, 64, Type::Text};
  static constexpr lib::Field kImportSource{"import source", 264, 16, Type::Text};
  static constexpr lib::Field kFlags{"flags", 280, 2, Type::Int16};
  static constexpr lib::Field kReserved1{"reserved 1", 282, 4, Type::Int32};
  static constexpr lib::Field kReserved2{"reserved 2", 286, 4, Type::Int32};
  static constexpr lib::Field kImportDate{"import date", 290, 8, Type::Date};
  static constexpr lib::Field kOldField{"old field", 298, 16, Type::Text};  // not carried over
  static constexpr lib::Field kSignature{"signature", 314, 8, Type::Text};
  static constexpr lib::Field kSyncMethod{"sync method", 322, 2, Type::Int16};
  static constexpr lib::Field kCodes{"codes", 324, 60, Type::Text};
  static constexpr lib::Field kMemoId{"memo ID", 384, 4, Type::Int32};
  static constexpr lib::Field kSyncTo{"sync to", 388, 2, Type::Int16};
  static constexpr lib::Field kReserved{"reserved", 390, 122, Type::Text};  // not carried over
  static constexpr std::array kTable{kFileName,  kDescription, kImportSource, kFlags,     kReserved1,
                                     kReserved2, kImportDate,  kOldField,     kSignature, kSyncMethod,
                                     kCodes,     kMemoId,      kSyncTo,       kReserved};
};
static_assert(lib::Packed(OldFileRec::kTable, OldFileRec::kBytes));

// Whether an item goes to the target with this ID (trimmed, in any case), by its sync-to rule and the marks +ID and
// -ID among its codes.
[[nodiscard]] bool ItemGoesToTarget(const FileRec& item, std::string_view targetId, bool excludedByDefault);

}  // namespace zelkor::db
