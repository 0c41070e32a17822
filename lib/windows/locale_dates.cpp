#include "lib/locale_dates.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>

#include "lib/code_page.h"
#include "lib/windows/system.h"
#include "lib/windows/wide.h"

namespace zelkor::lib {
namespace {

// What is used of the user's locale: its forms ("M/d/yyyy", "h:mm:ss tt") and the words for the halves of the day.
struct Locale {
  bool taken = false;
  std::wstring date;
  std::wstring time;
  std::wstring morning;
  std::wstring afternoon;
};

Locale& Current() {
  static Locale locale;
  return locale;
}

std::wstring Told(LCTYPE what) {
  std::array<wchar_t, 128> text{};
  const int length = GetLocaleInfoEx(LOCALE_NAME_USER_DEFAULT, what, text.data(), static_cast<int>(text.size()));
  std::wstring told(text.data(), length > 0 ? static_cast<std::size_t>(length) - 1 : 0);
  // A narrow no-break space, which code pages lack, is a blank here.
  for (wchar_t& unit : told) {
    if (unit == 0x202F) unit = L' ';
  }
  return told;
}

// The same letter at the beginning of `form`, how often.
std::size_t RunLength(std::wstring_view form) {
  std::size_t length = 1;
  while (length < form.size() && form[length] == form[0]) ++length;
  return length;
}

std::wstring Digits(int number, std::size_t least) {
  std::wstring digits = std::to_wstring(number);
  if (digits.size() < least) digits.insert(0, least - digits.size(), L'0');
  return digits;
}

std::wstring NameOfDay(const CalendarTime& time, bool whole) {
  // 30 December 1899 was a Saturday; the system counts from Monday.
  const std::int64_t day = DateToSeconds(FromCalendar(time).value_or(0)) / kSecondsPerDay;
  const auto weekday = static_cast<LCTYPE>(((day + 5) % 7 + 7) % 7);
  return Told((whole ? LOCALE_SDAYNAME1 : LOCALE_SABBREVDAYNAME1) + weekday);
}

std::wstring NameOfMonth(int month, bool whole) {
  return Told((whole ? LOCALE_SMONTHNAME1 : LOCALE_SABBREVMONTHNAME1) + static_cast<LCTYPE>(month - 1));
}

// One run of a letter of a form. Source: Microsoft's "Day, Month, Year, and Era Format Pictures" and "Hour, Minute,
// and Second Format Pictures".
std::wstring Written(wchar_t letter, std::size_t run, const CalendarTime& time) {
  const Locale& locale = Current();
  switch (letter) {
    case L'd':
      return run >= 3 ? NameOfDay(time, run > 3) : Digits(time.day, run);
    case L'M':
      return run >= 3 ? NameOfMonth(time.month, run > 3) : Digits(time.month, run);
    case L'y':
      return run <= 2 ? Digits(time.year % 100, run) : Digits(time.year, 4);
    case L'H':
      return Digits(time.hour, run);
    case L'h':
      return Digits((time.hour + 11) % 12 + 1, run);
    case L'm':
      return Digits(time.minute, run);
    case L's':
      return Digits(time.second, run);
    case L't': {
      const std::wstring& half = time.hour < 12 ? locale.morning : locale.afternoon;
      return run == 1 ? half.substr(0, 1) : half;
    }
    default:
      return {};  // an era
  }
}

bool IsFormLetter(wchar_t unit) { return std::wstring_view(L"dMyHhmstg").find(unit) != std::wstring_view::npos; }

std::optional<std::string> Formatted(std::wstring_view form, const CalendarTime& time) {
  std::wstring text;
  while (!form.empty()) {
    if (form.front() == L'\'') {
      // Quoted words stand for themselves.
      const std::size_t end = std::min(form.find(L'\'', 1), form.size());
      text += form.substr(1, end - 1);
      form.remove_prefix(std::min(end + 1, form.size()));
      continue;
    }
    if (!IsFormLetter(form.front())) {
      text += form.front();
      form.remove_prefix(1);
      continue;
    }
    const std::size_t run = RunLength(form);
    text += Written(form.front(), run, time);
    form.remove_prefix(run);
  }
  return FromUtf8(windows::FromWide(text));
}

// Reads a text by a form, piece by piece.
class Scanner {
 public:
  explicit Scanner(std::wstring_view text) : text_(text) {}

  // False when the text is not of that form.
  bool Read(std::wstring_view form) {
    while (!form.empty()) {
      std::size_t run = 1;
      if (form.front() == L'\'') {
        const std::size_t end = std::min(form.find(L'\'', 1), form.size());
        if (!Word(form.substr(1, end - 1))) return false;
        run = std::min(end + 1, form.size());
      } else if (IsFormLetter(form.front())) {
        run = RunLength(form);
        if (!Part(form.front(), run)) return false;
      } else if (!Word(form.substr(0, 1))) {
        return false;
      }
      form.remove_prefix(run);
    }
    return true;
  }
  bool Blank() { return Word(L" "); }
  [[nodiscard]] bool AtEnd() const { return text_.empty(); }
  [[nodiscard]] CalendarTime Time() const {
    CalendarTime time = time_;
    if (half_) {
      const bool valid = time.hour >= 1 && time.hour <= 12;
      time.hour = valid ? time.hour % 12 + (*half_ ? 12 : 0) : -1;  // no such hour: the parts are no date then
    }
    return time;
  }

 private:
  bool Part(wchar_t letter, std::size_t run) {
    switch (letter) {
      case L'd':
        return run >= 3
                   ? Name([&](int i) { return Told((run > 3 ? LOCALE_SDAYNAME1 : LOCALE_SABBREVDAYNAME1) + Count(i)); },
                          7, nullptr)
                   : Number(2, time_.day);
      case L'M':
        return run >= 3 ? Name([&](int i) { return NameOfMonth(i + 1, run > 3); }, 12, &time_.month)
                        : Number(2, time_.month);
      case L'y':
        return Year();
      case L'H':
      case L'h':
        return Number(2, time_.hour);
      case L'm':
        return Number(2, time_.minute);
      case L's':
        return Number(2, time_.second);
      case L't':
        return Half();
      default:
        return true;
    }
  }
  static LCTYPE Count(int number) { return static_cast<LCTYPE>(number); }
  bool Number(std::size_t most, int& number) {
    std::size_t length = 0;
    number = 0;
    while (length < most && length < text_.size() && text_[length] >= L'0' && text_[length] <= L'9') {
      number = number * 10 + (text_[length++] - L'0');
    }
    text_.remove_prefix(length);
    return length > 0;
  }
  bool Year() {
    const std::size_t before = text_.size();
    if (!Number(4, time_.year)) return false;
    // With two digits the system's own window counts: up to this year it is of this century.
    if (before - text_.size() > 2) return true;
    constexpr int kLastOfThisCentury = 49;
    time_.year += time_.year <= kLastOfThisCentury ? 2000 : 1900;
    return true;
  }
  bool Word(std::wstring_view word) {
    if (CompareStringOrdinal(text_.data(), static_cast<int>(std::min(word.size(), text_.size())), word.data(),
                             static_cast<int>(word.size()), TRUE) != CSTR_EQUAL) {
      return false;
    }
    text_.remove_prefix(word.size());
    return true;
  }
  template <class NameAt>
  bool Name(NameAt nameAt, int count, int* number) {
    for (int i = 0; i < count; ++i) {
      const std::wstring name = nameAt(i);
      if (name.empty() || !Word(name)) continue;
      if (number != nullptr) *number = i + 1;
      return true;
    }
    return false;
  }
  bool Half() {
    const Locale& locale = Current();
    if (!locale.afternoon.empty() && Word(locale.afternoon)) {
      half_ = true;
      return true;
    }
    if (locale.morning.empty() || !Word(locale.morning)) return false;
    half_ = false;
    return true;
  }

  std::wstring_view text_;
  CalendarTime time_;
  std::optional<bool> half_;  // true: the afternoon
};

}  // namespace

void TakeLocaleOfDates() {
  Current() = {.taken = true,
               .date = Told(LOCALE_SSHORTDATE),
               .time = Told(LOCALE_STIMEFORMAT),
               .morning = Told(LOCALE_S1159),
               .afternoon = Told(LOCALE_S2359)};
}

bool DatesAreInCLocale() { return !Current().taken; }

std::optional<std::string> LocaleDate(const CalendarTime& time) { return Formatted(Current().date, time); }

std::optional<std::string> LocaleTime(const CalendarTime& time) { return Formatted(Current().time, time); }

std::optional<CalendarTime> ReadLocaleDate(std::string_view text) {
  const Locale& locale = Current();
  const std::wstring wide = windows::ToWide(ToUtf8(text));
  Scanner both(wide);
  if (both.Read(locale.date) && both.Blank() && both.Read(locale.time) && both.AtEnd()) return both.Time();
  Scanner date(wide);
  if (date.Read(locale.date) && date.AtEnd()) return date.Time();
  Scanner time(wide);
  if (time.Read(locale.time) && time.AtEnd()) return time.Time();
  return std::nullopt;
}

}  // namespace zelkor::lib
