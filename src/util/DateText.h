#pragma once
// Date and time texts with fixed formats, for where the user's locale is not
// available (the native build) and for keys that must sort by time.
#include <cstdint>
#include <string>

struct CivilTime {
  int year = 1601;
  int month = 1;  // 1-12
  int day = 1;    // 1-31
  int hour = 0;
  int minute = 0;
  int second = 0;
};

// The calendar form of a time in 100-nanosecond ticks since 1601-01-01 (no
// time-zone conversion).
CivilTime CivilFromTicks(uint64_t ticks);

// "dd/MM/yyyy" and "HH:mm".
std::wstring FixedDateText(const CivilTime& time);
std::wstring FixedTimeText(const CivilTime& time);
// "yyyyMMdd": sorts in time order.
std::wstring SortableDateText(const CivilTime& time);
