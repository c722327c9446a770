#pragma once
// What a run leaves for the user to keep: the analysis report (lines of a
// Unicode text file) and the English summary of the unattended mode.
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// How the report writes its numbers and its date.
class ReportFormat {
 public:
  virtual ~ReportFormat() = default;
  // A whole number grouped by the user's locale.
  virtual std::wstring GroupDigits(int64_t value) const = 0;
  // A number with two decimals ("12.34") in the locale's form.
  virtual std::wstring Decimal(const std::wstring& twoDecimals) const = 0;
  // The current local date (short form) and time without seconds.
  virtual std::wstring Date() const = 0;
  virtual std::wstring Time() const = 0;
};

// Fixed formats ("1,234", "12.34"); the clock's date and time in UTC.
class PortableReportFormat : public ReportFormat {
 public:
  std::wstring GroupDigits(int64_t value) const override;
  std::wstring Decimal(const std::wstring& twoDecimals) const override;
  std::wstring Date() const override;
  std::wstring Time() const override;
};

// Bytes as kilobytes for the report: a remainder of 500 or more rounds up,
// a non-zero size never shows as 0.
std::wstring ReportKBSize(uint64_t bytes, const ReportFormat& format);

// The text right-aligned in a field of 16, never cut.
std::wstring RightAligned16(const std::wstring& text);

// Every line of the report of the last analysis, without line ends. `eachLine`
// is called after each line of the fragmented-file list.
std::vector<std::wstring> AnalysisReportLines(const ReportFormat& format,
                                              const std::function<void()>& eachLine = {});

class MessagePump;

// Writes the report (".txt" appended when missing), keeping the window alive
// through `pump` while a long list is formatted. False when the file could
// not be created.
bool SaveAnalysisReport(std::wstring path, const ReportFormat& format, MessagePump& pump);

// The console summary, as the texts to write one after another (each short
// enough for one console write), for the analysis of every item and for the
// defragmentation.
std::vector<std::wstring> ConsoleAnalysisSection();
std::vector<std::wstring> ConsoleDefragSection();
// What follows each section in the unattended mode: every file that failed
// with the error list's text, one line each, and how many files the include
// and exclude masks and the size limit left out.
std::vector<std::wstring> ConsoleFailuresAndLeftOut();
