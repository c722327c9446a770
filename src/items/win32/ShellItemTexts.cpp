// The Windows forms of the item texts: the shell's type names and the
// user's locale for dates and numbers.
#ifdef _WIN32
#include <windows.h>
#include <shellapi.h>
#include <shlwapi.h>

#include <string>

#include "items/win32/ShellItemTexts.h"

#include "items/ItemCells.h"
#include "util/Numbers.h"

std::wstring ShellTypeName(const std::wstring& path, bool isFolder) {
  SHFILEINFOW info{};
  DWORD attributes = isFolder ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_NORMAL;
  // With the given attributes the shell answers from the name alone, so the
  // file is never opened.
  if (SHGetFileInfoW(path.c_str(), attributes, &info, sizeof(info), SHGFI_TYPENAME | SHGFI_USEFILEATTRIBUTES) == 0) {
    return std::wstring();
  }
  return info.szTypeName;
}

void LocalDateTexts(uint64_t lastWriteTime, std::wstring& text, std::wstring& key) {
  FILETIME utc;
  utc.dwLowDateTime = static_cast<DWORD>(lastWriteTime);
  utc.dwHighDateTime = static_cast<DWORD>(lastWriteTime >> 32);
  FILETIME local;
  SYSTEMTIME time;
  if (!FileTimeToLocalFileTime(&utc, &local) || !FileTimeToSystemTime(&local, &time)) {
    text.clear();
    key.clear();
    return;
  }
  wchar_t date[128] = L"";
  wchar_t clock[128] = L"";
  wchar_t sortable[32] = L"";
  GetDateFormatW(LOCALE_USER_DEFAULT, DATE_SHORTDATE, &time, nullptr, date, 128);
  GetTimeFormatW(LOCALE_USER_DEFAULT, TIME_NOSECONDS, &time, nullptr, clock, 128);
  GetDateFormatW(LOCALE_USER_DEFAULT, 0, &time, L"yyyyMMdd", sortable, 32);
  text = std::wstring(date) + L" " + clock;
  key = std::wstring(sortable) + clock;
}

namespace {

// The user's number format with the given number of decimals.
struct LocaleNumberShape {
  wchar_t decimal[8] = L".";
  wchar_t thousand[8] = L",";
  NUMBERFMTW format{};

  explicit LocaleNumberShape(UINT digits) {
    wchar_t grouping[16] = L"3;0";
    DWORD value = 0;
    GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_SDECIMAL, decimal, 8);
    GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_STHOUSAND, thousand, 8);
    GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_SGROUPING, grouping, 16);
    format.NumDigits = digits;
    format.LeadingZero = 1;
    // "3;0" means groups of three; "3;2;0" (three, then twos) is written 32.
    UINT groups = 0;
    for (const wchar_t* c = grouping; *c != L'\0'; ++c) {
      if (*c >= L'1' && *c <= L'9') groups = groups * 10 + static_cast<UINT>(*c - L'0');
    }
    format.Grouping = groups == 0 ? 3 : groups;
    format.lpDecimalSep = decimal;
    format.lpThousandSep = thousand;
    if (GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_INEGNUMBER | LOCALE_RETURN_NUMBER,
                       reinterpret_cast<LPWSTR>(&value), sizeof(value) / sizeof(wchar_t)) != 0) {
      format.NegativeOrder = value;
    } else {
      format.NegativeOrder = 1;
    }
  }
};

std::wstring FormatNumberText(const std::wstring& plain, UINT digits) {
  LocaleNumberShape locale(digits);
  wchar_t buffer[96];
  if (GetNumberFormatW(LOCALE_USER_DEFAULT, 0, plain.c_str(), &locale.format, buffer, 96) == 0) return plain;
  return buffer;
}

// The shell's KB formatter, the locale's number format with a blank before
// "%".
class LocaleNumberFormat final : public NumberFormat {
 public:
  std::wstring KBSize(uint64_t bytes) const override {
    wchar_t buffer[64];
    if (StrFormatKBSizeW(static_cast<LONGLONG>(bytes), buffer, 64) == nullptr) return FormatKBSizeFixed(bytes);
    return buffer;
  }
  std::wstring GroupDigits(int64_t value) const override { return FormatNumberText(std::to_wstring(value), 0); }
  std::wstring Percent(uint32_t hundredths) const override {
    std::wstring plain = std::to_wstring(hundredths / 100) + L".";
    plain += static_cast<wchar_t>(L'0' + (hundredths / 10) % 10);
    plain += static_cast<wchar_t>(L'0' + hundredths % 10);
    return FormatNumberText(plain, 2) + L" %";
  }
};

}  // namespace

const NumberFormat& LocaleNumbers() {
  static const LocaleNumberFormat numbers;
  return numbers;
}
#endif
