#include "lib/remote_listing.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

#include "lib/text.h"

namespace zelkor::lib {

namespace {

constexpr std::size_t kDateWidth = 19;
constexpr std::size_t kSizeWidth = 14;
constexpr std::string_view kNoDate = "---------- --------";
constexpr std::string_view kDirectory = "<DIR>";
constexpr std::string_view kDatePattern = "0000-00-00 00:00:00";  // 0: any digit

int NumberAt(std::string_view text, std::size_t from, std::size_t length) {
  int number = 0;
  std::from_chars(text.data() + from, text.data() + from + length, number);
  return number;
}

std::optional<Date> ParseWritten(std::string_view text) {
  if (text == kNoDate) return 0;
  for (std::size_t i = 0; i < kDateWidth; ++i) {
    const bool digit = text[i] >= '0' && text[i] <= '9';
    if (kDatePattern[i] == '0' ? !digit : text[i] != kDatePattern[i]) return std::nullopt;
  }
  return FromCalendar({.year = NumberAt(text, 0, 4),
                       .month = NumberAt(text, 5, 2),
                       .day = NumberAt(text, 8, 2),
                       .hour = NumberAt(text, 11, 2),
                       .minute = NumberAt(text, 14, 2),
                       .second = NumberAt(text, 17, 2)});
}

}  // namespace

std::string RemoteListingLine(const RemoteEntry& entry) {
  std::string line(kNoDate);
  if (entry.written != 0) {
    const CalendarTime time = ToCalendar(entry.written);
    std::array<char, 80> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02d %02d:%02d:%02d", time.year, time.month, time.day, time.hour,
                  time.minute, time.second);
    line = text.data();
  }
  const std::string size = entry.directory ? std::string(kDirectory) : std::to_string(entry.size);
  line += ' ';
  line.append(kSizeWidth - std::min(kSizeWidth, size.size()), ' ');
  return line + size + " " + entry.name;
}

std::optional<RemoteEntry> ParseRemoteListingLine(std::string_view line) {
  if (line.size() <= kDateWidth || line[kDateWidth] != ' ') return std::nullopt;
  const std::optional<Date> written = ParseWritten(line.substr(0, kDateWidth));
  if (!written) return std::nullopt;
  line.remove_prefix(kDateWidth + 1);
  // A size of more digits than the column has moves the name on.
  const std::size_t begin = line.find_first_not_of(' ');
  const std::size_t end = line.find(' ', std::min(begin, line.size()));
  if (end == std::string_view::npos || end < kSizeWidth || end + 1 == line.size()) return std::nullopt;
  RemoteEntry entry{.written = *written, .name = std::string(line.substr(end + 1))};
  const std::string_view size = line.substr(begin, end - begin);
  if (size == kDirectory) {
    entry.directory = true;
    return entry;
  }
  const auto [stop, error] = std::from_chars(size.data(), size.data() + size.size(), entry.size);
  if (error != std::errc() || stop != size.data() + size.size() || entry.size < 0) return std::nullopt;
  return entry;
}

}  // namespace zelkor::lib
