// Dates as text: the procedures of format.h and date.h that write and read them.
#include <optional>
#include <string>
#include <string_view>

#include "lib/code_page.h"
#include "lib/date.h"
#include "lib/format.h"
#include "lib/locale_dates.h"
#include "lib/text.h"

namespace zelkor::lib {
namespace {

// The C locale's forms: 11/21/2026 and 2:15:37 PM.
std::string PlainDate(const CalendarTime& time) {
  return std::to_string(time.month) + "/" + std::to_string(time.day) + "/" + std::to_string(time.year);
}
std::string PlainTime(const CalendarTime& time) {
  return std::to_string(time.hour % 12 == 0 ? 12 : time.hour % 12) + ":" + FormatTwoDigits(time.minute) + ":" +
         FormatTwoDigits(time.second) + (time.hour < 12 ? " AM" : " PM");
}

// Year-month-day and hour:minute:second, for locales whose own forms the code page cannot express.
std::string NeutralDate(const CalendarTime& time) {
  return std::to_string(time.year) + "-" + FormatTwoDigits(time.month) + "-" + FormatTwoDigits(time.day);
}
std::string NeutralTime(const CalendarTime& time) {
  return FormatTwoDigits(time.hour) + ":" + FormatTwoDigits(time.minute) + ":" + FormatTwoDigits(time.second);
}

std::string DateText(const CalendarTime& time) {
  return DatesAreInCLocale() ? PlainDate(time) : LocaleDate(time).value_or(NeutralDate(time));
}
std::string TimeText(const CalendarTime& time) {
  return DatesAreInCLocale() ? PlainTime(time) : LocaleTime(time).value_or(NeutralTime(time));
}

// Takes a text apart from its beginning. Once something is missing it stays failed.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : text_(text) {}

  // A number of one to four digits.
  Scanner& Number(int& number) {
    constexpr std::size_t kMaxDigits = 4;
    std::size_t digits = 0;
    number = 0;
    while (digits < text_.size() && digits < kMaxDigits && text_[digits] >= '0' && text_[digits] <= '9') {
      number = number * 10 + (text_[digits++] - '0');
    }
    ok_ = ok_ && digits > 0;
    text_.remove_prefix(digits);
    return *this;
  }
  Scanner& Expect(std::string_view part) {
    ok_ = Accept(part) && ok_;
    return *this;
  }
  // Takes the part when it comes next; letters in either case.
  bool Accept(std::string_view part) {
    if (!BeginsWithNoCase(text_, part)) return false;
    text_.remove_prefix(part.size());
    return true;
  }
  void SkipBlanks() { text_ = Trim(text_); }
  [[nodiscard]] bool AtEnd() const { return text_.empty(); }
  [[nodiscard]] bool Ok() const { return ok_; }

 private:
  std::string_view text_;
  bool ok_ = true;
};

// hour:minute[:second], with AM or PM behind it where `twelveHours` allows that.
void ReadTime(Scanner& scanner, CalendarTime& time, bool twelveHours) {
  scanner.Number(time.hour).Expect(":").Number(time.minute);
  if (scanner.Accept(":")) scanner.Number(time.second);
  if (!twelveHours) return;
  scanner.SkipBlanks();
  const bool morning = scanner.Accept("AM");
  if (!morning && !scanner.Accept("PM")) return;
  if (time.hour < 1 || time.hour > 12) {
    time.hour = -1;  // no such hour: the parts are no date then
  } else {
    time.hour = time.hour % 12 + (morning ? 0 : 12);
  }
}

std::optional<CalendarTime> ReadNeutral(std::string_view text) {
  CalendarTime time;
  Scanner scanner(text);
  scanner.Number(time.year).Expect("-").Number(time.month).Expect("-").Number(time.day);
  if (!scanner.AtEnd()) {
    scanner.Expect(" ").SkipBlanks();
    ReadTime(scanner, time, false);
  }
  return scanner.Ok() && scanner.AtEnd() ? std::optional(time) : std::nullopt;
}

std::optional<CalendarTime> ReadPlain(std::string_view text) {
  CalendarTime time;
  Scanner scanner(text);
  if (text.find('/') != std::string_view::npos) {
    scanner.Number(time.month).Expect("/").Number(time.day).Expect("/").Number(time.year);
    if (!scanner.AtEnd()) scanner.Expect(" ").SkipBlanks();
  }
  if (!scanner.AtEnd()) ReadTime(scanner, time, true);
  return scanner.Ok() && scanner.AtEnd() ? std::optional(time) : std::nullopt;
}

}  // namespace

std::string GeneralDate(Date date) {
  if (!IsDate(date)) return {};
  const CalendarTime time = ToCalendar(date);
  const CalendarTime midnight{.year = time.year, .month = time.month, .day = time.day};
  const bool dayZero = midnight == CalendarTime{};
  if (dayZero) return TimeText(time);
  if (time == midnight) return DateText(time);
  return DateText(time) + " " + TimeText(time);
}

std::string ShortDate(Date date) { return IsDate(date) ? DateText(ToCalendar(date)) : std::string(); }

std::optional<Date> ParseDate(std::string_view text) {
  text = Trim(text);
  if (text.empty()) return std::nullopt;
  std::optional<CalendarTime> time = ReadNeutral(text);
  if (!time) time = DatesAreInCLocale() ? ReadPlain(text) : ReadLocaleDate(text);
  return time ? FromCalendar(*time) : std::nullopt;
}

void UseLocaleOfEnvironment() { TakeLocaleOfDates(); }

}  // namespace zelkor::lib
