// The configuration record: the first 4096 bytes of "zelkor.cfg", packed, little-endian.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "lib/fields.h"

namespace zelkor::db {

inline constexpr std::string_view kConfigSignature = "Zelkor!";

struct ConfigRec : lib::Record<4096> {
  using Type = lib::FieldType;
  static constexpr lib::Field kSignature{"signature", 0, 8, Type::Text};
  static constexpr lib::Field kVersion{"version", 8, 2, Type::Int16};  // database format, major * 100 + minor
  static constexpr lib::Field kReserved1{"reserved 1", 10, 3062, Type::Text};
  // Extensions, each with a blank before it, of items opened by the system's programs and in the editor.
  static constexpr lib::Field kShellTypes{"shell types", 3072, 256, Type::Text};
  static constexpr lib::Field kEditorTypes{"editor types", 3328, 256, Type::Text};
  static constexpr lib::Field kReserved2{"reserved 2", 3584, 512, Type::Text};
  static constexpr std::array kTable{kSignature, kVersion, kReserved1, kShellTypes, kEditorTypes, kReserved2};
};
static_assert(lib::Packed(ConfigRec::kTable, ConfigRec::kBytes));

// "zelkor.cfg" is the configuration record followed by 16 slots of 256 bytes for the targets.
inline constexpr std::int64_t kConfigFileBytes = 8192;

}  // namespace zelkor::db
