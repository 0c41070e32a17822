#include "lib/windows/file_info.h"

#include "lib/clock.h"
#include "lib/windows/handle.h"

namespace zelkor::lib::windows {
namespace {

// The system counts time in units of 100 ns from 1 January 1601, 11,644,473,600 seconds before 1970. Source:
// Microsoft's description of FILETIME.
constexpr std::int64_t kUnitsPerSecond = 10'000'000;
constexpr std::int64_t kEpoch = 11'644'473'600;

std::int64_t Joined(DWORD high, DWORD low) { return static_cast<std::int64_t>(std::uint64_t{high} << 32 | low); }

std::int64_t Units(const FILETIME& time) { return Joined(time.dwHighDateTime, time.dwLowDateTime); }

}  // namespace

DWORD ReadFacts(HANDLE file, Facts& facts) {
  BY_HANDLE_FILE_INFORMATION told{};
  if (GetFileInformationByHandle(file, &told) == 0) return GetLastError();
  facts.attributes = told.dwFileAttributes;
  facts.created = told.ftCreationTime;
  facts.written = told.ftLastWriteTime;
  facts.size = Joined(told.nFileSizeHigh, told.nFileSizeLow);
  facts.device = told.dwVolumeSerialNumber;
  facts.index = std::uint64_t{told.nFileIndexHigh} << 32 | told.nFileIndexLow;
  FILE_BASIC_INFO basic{};
  // File systems without a time of change tell 0.
  if (GetFileInformationByHandleEx(file, FileBasicInfo, &basic, sizeof basic) != 0) {
    facts.changed = basic.ChangeTime.QuadPart;
  }
  return 0;
}

DWORD ReadFacts(const std::wstring& systemPath, Facts& facts) {
  const OwnedHandle opened(CreateFileW(systemPath.c_str(), FILE_READ_ATTRIBUTES,
                                       FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                       FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  return opened.IsOpen() ? ReadFacts(opened.Get(), facts) : GetLastError();
}

bool IsLink(const std::wstring& systemPath) {
  const DWORD attributes = GetFileAttributesW(systemPath.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) return false;
  // Files that a store in the network keeps have such a mark too; they are no links.
  WIN32_FIND_DATAW found{};
  auto* const search = FindFirstFileW(systemPath.c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return false;
  FindClose(search);
  return found.dwReserved0 == IO_REPARSE_TAG_SYMLINK || found.dwReserved0 == IO_REPARSE_TAG_MOUNT_POINT;
}

std::int64_t ChangeStamp(const Facts& facts) {
  constexpr std::uint64_t kMix = 0x9E3779B97F4A7C15U;  // 2^64 divided by the golden ratio: spreads the bits
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(Units(facts.written)) * kMix +
                                   static_cast<std::uint64_t>(facts.changed));
}

FileInfo ToFileInfo(const Facts& facts) {
  FileInfo info;
  info.size = facts.size;
  info.created = UtcToDate(ToUtc(facts.created));
  info.written = UtcToDate(ToUtc(facts.written));
  info.directory = facts.IsDirectory();
  info.readOnly = facts.IsReadOnly();
  info.changeStamp = ChangeStamp(facts);
  info.device = facts.device;
  info.index = facts.index;
  return info;
}

std::int64_t ToUtc(const FILETIME& time) { return Units(time) / kUnitsPerSecond - kEpoch; }

FILETIME FromUtc(std::int64_t utcSeconds) {
  const auto units = static_cast<std::uint64_t>((utcSeconds + kEpoch) * kUnitsPerSecond);
  return {.dwLowDateTime = static_cast<DWORD>(units & 0xFFFFFFFF), .dwHighDateTime = static_cast<DWORD>(units >> 32)};
}

}  // namespace zelkor::lib::windows
