#include "lib/file_times.h"

#include <string>

#include "lib/clock.h"
#include "lib/windows/drives.h"
#include "lib/windows/file_info.h"
#include "lib/windows/open_file.h"
#include "lib/windows/wide.h"

namespace zelkor::lib {
namespace {

struct Times {
  FILETIME created{};
  FILETIME accessed{};
  FILETIME written{};

  FILETIME& Of(FileTime which) {
    return which == FileTime::Created ? created : which == FileTime::Accessed ? accessed : written;
  }
};

// The file opened with sharing allowed to everybody; closed when the object goes.
class SharedFile {
 public:
  SharedFile(std::string_view path, bool writes) {
    const Result<std::string> native = windows::Drives::Current().ToNative(path);
    if (!native.Ok()) return;
    // OpenFile has room for short names in the system's code page only.
    const std::optional<std::string> name = windows::ToSystemAnsi(*native);
    if (name && name->size() < OFS_MAXPATHNAME) {
      OFSTRUCT told{};
      const auto mode = static_cast<UINT>(writes ? OF_READWRITE : OF_READ) | OF_SHARE_DENY_NONE;
      opened_ = OpenFile(name->c_str(), &told, mode);
      byOpenFile_ = true;
    }
    // It also knows nothing of those who would rename or delete.
    if (IsOpen() || (byOpenFile_ && GetLastError() != ERROR_SHARING_VIOLATION)) return;
    byOpenFile_ = false;
    auto* const file =
        CreateFileW(windows::ToSystemPath(*native).c_str(), writes ? GENERIC_READ | GENERIC_WRITE : GENERIC_READ,
                    windows::kShareAll, nullptr, OPEN_EXISTING, 0, nullptr);
    opened_ = file == INVALID_HANDLE_VALUE ? HFILE_ERROR : static_cast<HFILE>(reinterpret_cast<INT_PTR>(file));
  }
  ~SharedFile() {
    if (IsOpen()) _lclose(opened_);
  }
  SharedFile(const SharedFile&) = delete;
  SharedFile& operator=(const SharedFile&) = delete;

  [[nodiscard]] bool IsOpen() const { return opened_ != HFILE_ERROR; }
  // The system's handles fit into 32 bits, sign and all.
  [[nodiscard]] HANDLE Get() const {
    return reinterpret_cast<HANDLE>(static_cast<INT_PTR>(opened_));  // NOLINT(performance-no-int-to-ptr)
  }

 private:
  HFILE opened_ = HFILE_ERROR;
  bool byOpenFile_ = false;
};

// The named conversions know the offset of today only: their result is corrected by what the file's own date asks for.
Date ToLocalDate(const FILETIME& time) {
  FILETIME local{};
  if (FileTimeToLocalFileTime(&time, &local) == 0) return 0;
  const std::int64_t utc = windows::ToUtc(time);
  const std::int64_t wanted = DateToSeconds(UtcToDate(utc)) - kUnixEpoch;
  const std::int64_t difference = wanted - windows::ToUtc(local);
  SYSTEMTIME parts{};
  if (FileTimeToSystemTime(&local, &parts) == 0) return 0;
  const std::optional<Date> date = FromCalendar({.year = parts.wYear,
                                                 .month = parts.wMonth,
                                                 .day = parts.wDay,
                                                 .hour = parts.wHour,
                                                 .minute = parts.wMinute,
                                                 .second = parts.wSecond});
  return date ? SecondsToDate(DateToSeconds(*date) + difference) : 0;
}

// Likewise on the way back. False when the system has no such time.
bool ToFileTime(Date date, FILETIME& time) {
  const CalendarTime calendar = ToCalendar(date);
  SYSTEMTIME parts{};
  parts.wYear = static_cast<WORD>(calendar.year);
  parts.wMonth = static_cast<WORD>(calendar.month);
  parts.wDay = static_cast<WORD>(calendar.day);
  parts.wHour = static_cast<WORD>(calendar.hour);
  parts.wMinute = static_cast<WORD>(calendar.minute);
  parts.wSecond = static_cast<WORD>(calendar.second);
  FILETIME local{};
  FILETIME utc{};
  if (SystemTimeToFileTime(&parts, &local) == 0 || LocalFileTimeToFileTime(&local, &utc) == 0) return false;
  const std::int64_t difference = DateToUtc(date) - windows::ToUtc(utc);
  time = windows::FromUtc(windows::ToUtc(utc) + difference);
  return true;
}

bool ReadTimes(const SharedFile& file, Times& times) {
  return GetFileTime(file.Get(), &times.created, &times.accessed, &times.written) != 0;
}

}  // namespace

Date GetFileDate(std::string_view path, FileTime which) {
  const SharedFile file(path, false);
  Times times;
  if (!file.IsOpen() || !ReadTimes(file, times)) return 0;
  return ToLocalDate(times.Of(which));
}

bool SetFileDate(std::string_view path, FileTime which, Date date) {
  constexpr bool kFailed = true;
  if (!IsDate(date) || date == 0) return kFailed;
  const SharedFile file(path, true);
  Times times;
  if (!file.IsOpen() || !ReadTimes(file, times)) return kFailed;
  windows::Facts facts;
  if (windows::ReadFacts(file.Get(), facts) != 0 || facts.IsReadOnly()) return kFailed;
  if (!ToFileTime(date, times.Of(which))) return kFailed;
  return SetFileTime(file.Get(), &times.created, &times.accessed, &times.written) == 0;
}

}  // namespace zelkor::lib
