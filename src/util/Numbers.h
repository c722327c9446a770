#pragma once
// Number texts with fixed formats, independent of the user's locale. The
// Windows program shows numbers with the locale's formats (the item cells take
// those through their hooks); these are the fixed forms used where no locale
// applies and as the defaults of the native build: "," groups thousands and
// "." separates decimals.
#include <cstdint>
#include <string>

// The decimal digits of value, grouped by three with separator
// ("1,234,567"; "-1,234" for negative values).
std::wstring GroupDigits(int64_t value, wchar_t separator = L',');
std::wstring GroupDigitsUnsigned(uint64_t value, wchar_t separator = L',');

// Bytes as whole kilobytes, rounded up, grouped, followed by " KB": 0 → "0 KB",
// 1 → "1 KB", 1025 → "2 KB".
std::wstring FormatKBSizeFixed(uint64_t bytes, wchar_t separator = L',');

// A value in hundredths with two decimals: 12345 → "123.45".
std::wstring FormatHundredths(uint64_t hundredths, wchar_t groupSeparator = L',', wchar_t decimalSeparator = L'.');

// Like printf's "%N.Nlli": at least `digits` digits, zero-padded, a leading
// "-" for negative values.
std::wstring ZeroPadded(int64_t value, int digits);
