#include "vandry/ftp_listing.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <string>

#include "lib/clock.h"
#include "lib/code_page.h"
#include "lib/text.h"

namespace zelkor::vandry {

namespace {

using lib::RemoteEntry;

constexpr std::array<std::string_view, 12> kMonths = {"jan", "feb", "mar", "apr", "may", "jun",
                                                      "jul", "aug", "sep", "oct", "nov", "dec"};

template <class Number>
std::optional<Number> WholeNumber(std::string_view text) {
  Number number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (text.empty() || error != std::errc() || end != text.data() + text.size() || number < 0) return std::nullopt;
  return number;
}

// A name as a server sends it, mostly in UTF-8; one that is not is taken to be in the code page.
std::string NameText(std::string_view raw) {
  std::string name = lib::FromUtf8Lossy(raw);
  // Where no two bytes made one character, none of them was UTF-8.
  if (name.size() == raw.size()) name = raw;
  std::replace_if(
      name.begin(), name.end(), [](char c) { return (c >= 0 && c < ' ') || c == '\x7f'; }, '?');
  return name;
}

bool IsItselfOrAbove(std::string_view name) { return name.empty() || name == "." || name == ".."; }

// One blank-separated field at the start of `rest`, which then begins behind it.
std::string_view TakeField(std::string_view& rest) {
  const std::size_t begin = std::min(rest.find_first_not_of(' '), rest.size());
  const std::size_t end = std::min(rest.find(' ', begin), rest.size());
  const std::string_view field = rest.substr(begin, end - begin);
  rest.remove_prefix(end);
  return field;
}

// 20261121141537, with or without a fraction.
lib::Date MachineDate(std::string_view text) {
  constexpr std::size_t kDigits = 14;
  if (text.size() < kDigits || !WholeNumber<std::int64_t>(text.substr(0, kDigits))) return 0;
  const auto part = [&](std::size_t from, std::size_t length) { return *WholeNumber<int>(text.substr(from, length)); };
  const std::optional<lib::Date> utc = lib::FromCalendar({.year = part(0, 4),
                                                          .month = part(4, 2),
                                                          .day = part(6, 2),
                                                          .hour = part(8, 2),
                                                          .minute = part(10, 2),
                                                          .second = part(12, 2)});
  return utc ? lib::UtcToDate(lib::DateToSeconds(*utc) - lib::kUnixEpoch) : 0;
}

std::optional<RemoteEntry> MachineLine(std::string_view line) {
  const std::size_t blank = line.find(' ');
  if (blank == std::string_view::npos) return std::nullopt;
  RemoteEntry entry{.name = NameText(line.substr(blank + 1))};
  std::string_view facts = line.substr(0, blank);
  while (!facts.empty()) {
    const std::string_view fact = facts.substr(0, facts.find(';'));
    facts.remove_prefix(std::min(fact.size() + 1, facts.size()));
    const std::size_t equals = fact.find('=');
    if (equals == std::string_view::npos) return std::nullopt;
    const std::string_view value = fact.substr(equals + 1);
    const std::string name = lib::Lower(fact.substr(0, equals));
    if (name == "type") {
      const std::string type = lib::Lower(value);
      if (type == "cdir" || type == "pdir") return std::nullopt;
      entry.directory = type == "dir";
    } else if (name == "size") {
      entry.size = WholeNumber<std::int64_t>(value).value_or(0);
    } else if (name == "modify") {
      entry.written = MachineDate(value);
    }
  }
  if (entry.directory) entry.size = 0;
  return IsItselfOrAbove(entry.name) ? std::nullopt : std::optional(entry);
}

std::optional<int> MonthNumber(std::string_view text) {
  for (std::size_t i = 0; i < kMonths.size(); ++i) {
    if (lib::EqualNoCase(text, kMonths[i])) return static_cast<int>(i) + 1;
  }
  return std::nullopt;
}

// "14:15"
bool ReadTime(std::string_view text, lib::CalendarTime& time) {
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos) return false;
  const std::optional<int> hour = WholeNumber<int>(text.substr(0, colon));
  const std::optional<int> minute = WholeNumber<int>(text.substr(colon + 1));
  if (!hour || !minute) return false;
  time.hour = *hour;
  time.minute = *minute;
  return true;
}

// "Nov 21 14:15" of the last twelve months, or "Nov 21 2026".
std::optional<lib::Date> UnixDate(int month, std::string_view dayText, std::string_view last, lib::Date now) {
  const std::optional<int> day = WholeNumber<int>(dayText);
  if (!day) return std::nullopt;
  lib::CalendarTime time{.year = lib::ToCalendar(now).year, .month = month, .day = *day};
  if (!ReadTime(last, time)) {
    const std::optional<int> year = WholeNumber<int>(last);
    if (!year || last.size() != 4) return std::nullopt;
    time.year = *year;
    return lib::FromCalendar(time);
  }
  // The server may be a day ahead of us.
  std::optional<lib::Date> date = lib::FromCalendar(time);
  if (!date || *date > now + 1) {
    --time.year;
    date = lib::FromCalendar(time);
  }
  return date;
}

// -rw-r--r--   1 owner    group       12345 Nov 21 14:15 lap.cas
std::optional<RemoteEntry> UnixLine(std::string_view line, lib::Date now) {
  constexpr std::string_view kTypes = "-dl";
  const std::string_view rights = line.substr(0, line.find(' '));
  if (rights.size() < 10 || kTypes.find(rights[0]) == std::string_view::npos) return std::nullopt;
  std::string_view rest = line.substr(rights.size());
  std::string_view size;
  std::optional<int> month;
  // The links, the owner and perhaps a group, whose names may be anything, stand before the size and the month.
  for (int fields = 0; !month || !WholeNumber<std::int64_t>(size); ++fields) {
    if (rest.empty() || fields > 8) return std::nullopt;
    const std::string_view field = TakeField(rest);
    month = fields < 2 ? std::nullopt : MonthNumber(field);
    if (!month || !WholeNumber<std::int64_t>(size)) size = field;
  }
  const std::string_view day = TakeField(rest);
  const std::optional<lib::Date> date = UnixDate(*month, day, TakeField(rest), now);
  // Exactly one blank stands before the name, which may begin with more.
  if (!date || rest.size() < 2) return std::nullopt;
  std::string_view name = rest.substr(1);
  if (rights[0] == 'l') name = name.substr(0, name.find(" -> "));
  if (IsItselfOrAbove(name)) return std::nullopt;
  const bool directory = rights[0] == 'd';
  return RemoteEntry{.written = *date,
                     .size = directory ? 0 : *WholeNumber<std::int64_t>(size),
                     .directory = directory,
                     .name = NameText(name)};
}

// 11-21-26  02:15PM                12345 lap.cas
std::optional<RemoteEntry> WindowsLine(std::string_view line) {
  std::string_view rest = line;
  const std::string_view day = TakeField(rest);
  std::string_view time = TakeField(rest);
  const std::string_view size = TakeField(rest);
  if (rest.size() < 2 || (day.size() != 8 && day.size() != 10) || day[2] != '-' || day[5] != '-') return std::nullopt;
  const std::optional<int> month = WholeNumber<int>(day.substr(0, 2));
  const std::optional<int> dayOfMonth = WholeNumber<int>(day.substr(3, 2));
  std::optional<int> year = WholeNumber<int>(day.substr(6));
  if (!month || !dayOfMonth || !year) return std::nullopt;
  if (day.size() == 8) *year += *year < 70 ? 2000 : 1900;
  lib::CalendarTime calendar{.year = *year, .month = *month, .day = *dayOfMonth};
  const std::string half = time.size() > 2 ? lib::Lower(time.substr(time.size() - 2)) : std::string();
  const bool twelveHours = half == "am" || half == "pm";
  if (twelveHours) time.remove_suffix(2);
  if (!ReadTime(time, calendar)) return std::nullopt;
  if (twelveHours) calendar.hour = calendar.hour % 12 + (half == "pm" ? 12 : 0);
  const std::optional<lib::Date> date = lib::FromCalendar(calendar);
  const bool directory = lib::EqualNoCase(size, "<dir>");
  const std::optional<std::int64_t> bytes = directory ? 0 : WholeNumber<std::int64_t>(size);
  const std::string_view name = rest.substr(std::min(rest.find_first_not_of(' '), rest.size()));
  if (!date || !bytes || IsItselfOrAbove(name)) return std::nullopt;
  return RemoteEntry{.written = *date, .size = *bytes, .directory = directory, .name = NameText(name)};
}

}  // namespace

std::vector<RemoteEntry> ParseMachineListing(std::string_view text) {
  std::vector<RemoteEntry> entries;
  for (const std::string& line : lib::SplitLines(text)) {
    if (std::optional<RemoteEntry> entry = MachineLine(line)) entries.push_back(std::move(*entry));
  }
  return entries;
}

std::vector<RemoteEntry> ParseListing(std::string_view text, lib::Date now) {
  std::vector<RemoteEntry> entries;
  for (const std::string& line : lib::SplitLines(text)) {
    std::optional<RemoteEntry> entry = UnixLine(line, now);
    if (!entry) entry = WindowsLine(line);
    if (entry) entries.push_back(std::move(*entry));
  }
  return entries;
}

}  // namespace zelkor::vandry
