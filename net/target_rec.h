// One target: a slot of 256 bytes in the second half of "zelkor.cfg", packed, little-endian.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "lib/fields.h"

namespace zelkor::net {

enum class ConnectionType : std::int32_t { File = 0, Ip = 1, Ftp = 2 };

struct TargetRec : lib::Record<256> {
  using Type = lib::FieldType;
  static constexpr lib::Field kComputerId{"computer ID", 0, 8, Type::Text};  // empty: the slot is free
  static constexpr lib::Field kLastImport{"last import", 8, 8, Type::Date};
  static constexpr lib::Field kLastExport{"last export", 16, 8, Type::Date};
  static constexpr lib::Field kMediaPath{"media path", 24, 64, Type::Text};
  static constexpr lib::Field kConnectionType{"connection type", 88, 2, Type::Int16};
  static constexpr lib::Field kAddress{"address", 90, 64, Type::Text};  // network address or FTP server
  static constexpr lib::Field kUserName{"user name", 154, 32, Type::Text};
  static constexpr lib::Field kPassword{"password", 186, 32, Type::Text};
  static constexpr lib::Field kDirectory{"directory", 218, 32, Type::Text};
  static constexpr lib::Field kDefaultExclude{"excluded by default", 250, 1, Type::Int8};
  static constexpr lib::Field kReserved{"reserved", 251, 5, Type::Text};
  static constexpr std::array kTable{kComputerId, kLastImport, kLastExport, kMediaPath,      kConnectionType, kAddress,
                                     kUserName,   kPassword,   kDirectory,  kDefaultExclude, kReserved};

  // The ID trimmed and in lower case, as IDs are compared.
  [[nodiscard]] std::string Id() const;
};
static_assert(lib::Packed(TargetRec::kTable, TargetRec::kBytes));

}  // namespace zelkor::net
