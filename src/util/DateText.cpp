#include "util/DateText.h"

#include <initializer_list>

namespace {

constexpr uint64_t kTicksPerSecond = 10000000;
// Days from 1601-01-01 to 1970-01-01.
constexpr int64_t kDays1601To1970 = 134774;

struct DigitField {
  int value;
  int digits;  // zero-padded to this width
};

// The fields, each zero-padded, with `separator` between them (none when 0).
std::wstring JoinedDigits(std::initializer_list<DigitField> fields, wchar_t separator) {
  std::wstring text;
  for (const DigitField& field : fields) {
    if (separator != 0 && !text.empty()) text += separator;
    wchar_t buffer[8];
    int value = field.value;
    for (int i = field.digits - 1; i >= 0; --i) {
      buffer[i] = static_cast<wchar_t>(L'0' + value % 10);
      value /= 10;
    }
    text.append(buffer, field.digits);
  }
  return text;
}

}  // namespace

CivilTime CivilFromTicks(uint64_t ticks) {
  uint64_t seconds = ticks / kTicksPerSecond;
  int64_t days = static_cast<int64_t>(seconds / 86400) - kDays1601To1970;
  uint64_t secondOfDay = seconds % 86400;
  // Days since 1970-01-01 to a proleptic Gregorian date.
  int64_t z = days + 719468;
  int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  int64_t dayOfEra = z - era * 146097;
  int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  int64_t mp = (5 * dayOfYear + 2) / 153;
  CivilTime time;
  time.day = static_cast<int>(dayOfYear - (153 * mp + 2) / 5 + 1);
  time.month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
  time.year = static_cast<int>(yearOfEra + era * 400 + (time.month <= 2 ? 1 : 0));
  time.hour = static_cast<int>(secondOfDay / 3600);
  time.minute = static_cast<int>(secondOfDay / 60 % 60);
  time.second = static_cast<int>(secondOfDay % 60);
  return time;
}

std::wstring FixedDateText(const CivilTime& time) {
  return JoinedDigits({{time.day, 2}, {time.month, 2}, {time.year, 4}}, L'/');
}

std::wstring FixedTimeText(const CivilTime& time) {
  return JoinedDigits({{time.hour, 2}, {time.minute, 2}}, L':');
}

std::wstring SortableDateText(const CivilTime& time) {
  return JoinedDigits({{time.year, 4}, {time.month, 2}, {time.day, 2}}, 0);
}
