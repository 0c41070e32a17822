#include "lib/locale_dates.h"

#include <array>
#include <cstdlib>
#include <initializer_list>
#include <langinfo.h>
#include <locale.h>  // NOLINT(modernize-deprecated-headers): newlocale
#include <time.h>    // NOLINT(modernize-deprecated-headers): strftime_l, strptime_l, timegm

#include "lib/code_page.h"
#include "lib/code_page_table.h"
#include "lib/text.h"

namespace zelkor::lib {
namespace {

// What is used of a locale. Formats are strftime's, and like all its texts in its own character set.
struct Locale {
  locale_t handle = nullptr;  // null: the C locale
  std::string characterSet;
  std::string dateFormat;
  std::string timeFormat;
};

Locale& Current() {
  static Locale locale;
  return locale;
}

// The name that rules LC_TIME. Source: POSIX, "Environment Variables".
std::string NameInEnvironment() {
  for (const char* variable : {"LC_ALL", "LC_TIME", "LANG"}) {
    const char* name = std::getenv(variable);
    if (name != nullptr && *name != '\0') return name;
  }
  return "C";
}

bool IsCLocale(const std::string& name) { return name == "C" || name == "POSIX" || name.rfind("C.", 0) == 0; }

// A locale's format for strftime. A narrow no-break space, which code pages lack, is a blank here.
std::string FormatOf(nl_item item, locale_t handle) {
  return ReplaceAll(nl_langinfo_l(item, handle), "\xE2\x80\xAF", " ");
}

tm ToTm(const CalendarTime& time) {
  tm parts{};
  parts.tm_year = time.year - 1900;
  parts.tm_mon = time.month - 1;
  parts.tm_mday = time.day;
  parts.tm_hour = time.hour;
  parts.tm_min = time.minute;
  parts.tm_sec = time.second;
  timegm(&parts);      // finds the day of the week
  parts.tm_zone = "";  // a format that names the zone would name the wrong one
  return parts;
}

std::optional<std::string> Formatted(const std::string& format, const CalendarTime& time) {
  const Locale& locale = Current();
  const tm parts = ToTm(time);
  std::array<char, 256> buffer{};
  const std::size_t length = strftime_l(buffer.data(), buffer.size(), format.c_str(), &parts, locale.handle);
  if (length == 0) return std::nullopt;
  const auto utf8 = ConvertText({buffer.data(), length}, locale.characterSet, "UTF-8");
  return utf8 ? FromUtf8(*utf8) : std::nullopt;
}

std::optional<CalendarTime> Scanned(const std::string& text, const std::string& format) {
  tm parts = ToTm({});
  const char* end = strptime_l(text.c_str(), format.c_str(), &parts, Current().handle);
  if (end == nullptr || *end != '\0') return std::nullopt;
  return CalendarTime{.year = parts.tm_year + 1900,
                      .month = parts.tm_mon + 1,
                      .day = parts.tm_mday,
                      .hour = parts.tm_hour,
                      .minute = parts.tm_min,
                      .second = parts.tm_sec};
}

}  // namespace

void TakeLocaleOfDates() {
  Locale& locale = Current();
  if (locale.handle != nullptr) freelocale(locale.handle);
  locale = {};
  const std::string name = NameInEnvironment();
  if (IsCLocale(name)) return;
  locale.handle = newlocale(LC_TIME_MASK | LC_CTYPE_MASK, name.c_str(), nullptr);
  if (locale.handle == nullptr) return;
  locale.characterSet = nl_langinfo_l(CODESET, locale.handle);
  locale.dateFormat = FormatOf(D_FMT, locale.handle);
  locale.timeFormat = FormatOf(T_FMT, locale.handle);
}

bool DatesAreInCLocale() { return Current().handle == nullptr; }

std::optional<std::string> LocaleDate(const CalendarTime& time) { return Formatted(Current().dateFormat, time); }

std::optional<std::string> LocaleTime(const CalendarTime& time) { return Formatted(Current().timeFormat, time); }

std::optional<CalendarTime> ReadLocaleDate(std::string_view text) {
  const Locale& locale = Current();
  if (text.find('\0') != std::string_view::npos) return std::nullopt;
  const auto native = ConvertText(ToUtf8(text), "UTF-8", locale.characterSet);
  if (!native) return std::nullopt;
  const std::string fullDate = ReplaceAll(locale.dateFormat, "%y", "%Y");
  for (const std::string& format : {fullDate + " " + locale.timeFormat, locale.dateFormat + " " + locale.timeFormat,
                                    fullDate, locale.dateFormat, locale.timeFormat}) {
    const auto parts = Scanned(*native, format);
    // A year below 100 was typed with two digits: the next format knows its century.
    if (parts && parts->year >= 100) return parts;
  }
  return std::nullopt;
}

}  // namespace zelkor::lib
