#include "util/Numbers.h"

#include <algorithm>

std::wstring GroupDigitsUnsigned(uint64_t value, wchar_t separator) {
  wchar_t buffer[32];
  size_t pos = sizeof(buffer) / sizeof(buffer[0]);
  int inGroup = 0;
  do {
    if (inGroup == 3) {
      buffer[--pos] = separator;
      inGroup = 0;
    }
    buffer[--pos] = static_cast<wchar_t>(L'0' + value % 10);
    value /= 10;
    ++inGroup;
  } while (value != 0);
  return std::wstring(buffer + pos, buffer + sizeof(buffer) / sizeof(buffer[0]));
}

std::wstring GroupDigits(int64_t value, wchar_t separator) {
  if (value >= 0) return GroupDigitsUnsigned(static_cast<uint64_t>(value), separator);
  // Negating through unsigned arithmetic keeps INT64_MIN exact.
  return L"-" + GroupDigitsUnsigned(0 - static_cast<uint64_t>(value), separator);
}

std::wstring FormatKBSizeFixed(uint64_t bytes, wchar_t separator) {
  uint64_t kilobytes = bytes / 1024 + (bytes % 1024 != 0 ? 1 : 0);
  return GroupDigitsUnsigned(kilobytes, separator) + L" KB";
}

std::wstring FormatHundredths(uint64_t hundredths, wchar_t groupSeparator, wchar_t decimalSeparator) {
  std::wstring text = GroupDigitsUnsigned(hundredths / 100, groupSeparator);
  text += decimalSeparator;
  text += static_cast<wchar_t>(L'0' + (hundredths / 10) % 10);
  text += static_cast<wchar_t>(L'0' + hundredths % 10);
  return text;
}

std::wstring ZeroPadded(int64_t value, int digits) {
  uint64_t magnitude = value < 0 ? 0 - static_cast<uint64_t>(value) : static_cast<uint64_t>(value);
  std::wstring text;
  do {
    text += static_cast<wchar_t>(L'0' + magnitude % 10);
    magnitude /= 10;
  } while (magnitude != 0);
  while (static_cast<int>(text.size()) < digits) text += L'0';
  if (value < 0) text += L'-';
  std::reverse(text.begin(), text.end());
  return text;
}
