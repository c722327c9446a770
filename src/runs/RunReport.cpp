#include "runs/RunReport.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

#include "engine/EngineUi.h"
#include "items/ItemList.h"
#include "runs/RunResults.h"
#include "util/DateText.h"
#include "util/Numbers.h"
#include "options/StringIds.h"
#include "util/Text.h"
#include "util/UnicodeTextFile.h"
#include "util/WideString.h"

namespace {

constexpr size_t kReportField = 16;
constexpr size_t kReportRuleLength = 128;
// Ticks (100 ns) between 1601-01-01 and 1970-01-01.
constexpr uint64_t kUnixEpochTicks = 116444736000000000ull;

uint64_t NowTicks() {
  using namespace std::chrono;
  const auto since = duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
  return kUnixEpochTicks + static_cast<uint64_t>(since) * 10;
}

std::wstring Grouped(const ReportFormat& format, uint64_t value) {
  return format.GroupDigits(static_cast<int64_t>(value));
}

std::wstring PercentText(uint32_t hundredths, const ReportFormat& format) {
  char plain[32];
  std::snprintf(plain, sizeof plain, "%4.2f", hundredths / 100.0);
  return format.Decimal(std::wstring(plain, plain + std::char_traits<char>::length(plain)));
}

std::wstring StatisticLine(uint32_t id, const wchar_t* literal, const std::wstring& value) {
  return std::wstring(L"    ") + Text(id, literal) + L" = " + value;
}

std::wstring Narrowable(const char* format, int64_t value) {
  char buffer[128];
  std::snprintf(buffer, sizeof buffer, format, static_cast<int>(value));
  return std::wstring(buffer, buffer + std::char_traits<char>::length(buffer));
}

}  // namespace

std::wstring PortableReportFormat::GroupDigits(int64_t value) const { return ::GroupDigits(value); }

std::wstring PortableReportFormat::Decimal(const std::wstring& twoDecimals) const {
  const size_t point = twoDecimals.find(L'.');
  const std::wstring whole = twoDecimals.substr(0, point);
  const int64_t value = std::stoll(whole);
  return ::GroupDigits(value) + (point == std::wstring::npos ? L"" : twoDecimals.substr(point));
}

std::wstring PortableReportFormat::Date() const { return FixedDateText(CivilFromTicks(NowTicks())); }
std::wstring PortableReportFormat::Time() const { return FixedTimeText(CivilFromTicks(NowTicks())); }

std::wstring ReportKBSize(uint64_t bytes, const ReportFormat& format) {
  uint64_t kilobytes = bytes / 1024 + (bytes % 1024 >= 500 ? 1 : 0);
  if (bytes != 0 && kilobytes == 0) kilobytes = 1;
  return Grouped(format, kilobytes) + L" KB";
}

std::wstring RightAligned16(const std::wstring& text) {
  if (text.size() >= kReportField) return text;
  return std::wstring(kReportField - text.size(), L' ') + text;
}

std::vector<std::wstring> AnalysisReportLines(const ReportFormat& format,
                                              const std::function<void()>& eachLine) {
  std::vector<std::wstring> lines;
  lines.push_back(std::wstring(Text(kStrReportHeader, L"Rapporto di analisi di Ordalis creato il:")) +
                  L" " + format.Date() + L" " + format.Time() + L"\n\r\n\r");
  lines.push_back(Text(kStrReportStatistics, L"Statistiche sui file"));
  lines.push_back(StatisticLine(kStrReportTotalAnalysed, L"File totali analizzati",
                                Grouped(format, gRun.counters.filesSeen)));
  lines.push_back(StatisticLine(kStrReportFragmented, L"File frammentati",
                                Grouped(format, gRun.fragmented.size())));
  lines.push_back(StatisticLine(kStrReportContiguous, L"File contigui",
                                Grouped(format, gRun.counters.notFragmented)));
  lines.push_back(StatisticLine(kStrReportNotAnalysed, L"File non analizzati a causa di errori",
                                Grouped(format, gRun.errors.size())) +
                  L"\n\r\n\r\n\r");
  lines.push_back(Text(kStrReportFragmentedList, L"Elenco dei file frammentati:"));
  if (gRun.fragmented.empty()) {
    lines.push_back(std::wstring());
    lines.push_back(Text(kStrReportNoFragmented, L"Non sono presenti file frammentati."));
  } else {
    const std::wstring rule(kReportRuleLength, L'-');
    lines.push_back(rule);
    lines.push_back(RightAligned16(Text(kStrReportFragments, L"Frammenti")) +
                    RightAligned16(Text(kStrReportClusters, L"Cluster")) +
                    RightAligned16(Text(kStrReportSize, L"Dimensione")) +
                    RightAligned16(Text(kStrReportSizeOnDisk, L"Dimensione su disco")) +
                    RightAligned16(Text(kStrReportPercent, L"% su disco")) + L"  " +
                    Text(kStrReportName, L"Nome"));
    lines.push_back(rule);
    for (const FragmentedFileRecord& record : gRun.fragmented) {
      lines.push_back(RightAligned16(Grouped(format, record.fragments)) +
                      RightAligned16(Grouped(format, record.clusters)) +
                      RightAligned16(ReportKBSize(record.size, format)) +
                      RightAligned16(ReportKBSize(record.sizeOnDisk, format)) +
                      RightAligned16(PercentText(record.percentOnDisk, format)) + L"  " + record.path);
      if (eachLine) eachLine();
    }
  }
  lines.push_back(std::wstring());
  if (gRun.errors.empty()) {
    lines.push_back(Text(kStrReportNoErrors, L"Non sono presenti file non analizzati."));
  } else {
    lines.push_back(std::wstring(Text(kStrReportErrorList, L"Elenco dei file non analizzati:")) +
                    L"\n\r\n\r");
    for (const ErrorEntry& entry : gRun.errors) {
      lines.push_back(std::wstring(Text(kStrReportFile, L"File")) + L":  " + entry.displayPath);
      lines.push_back(std::wstring(Text(kStrReportError, L"Errore")) + L":  " + entry.message +
                      L"\n\r\n\r");
    }
  }
  return lines;
}

bool SaveAnalysisReport(std::wstring path, const ReportFormat& format, MessagePump& pump) {
  if (path.size() < 4 || !EqualNoCase(std::wstring_view(path).substr(path.size() - 4), L".txt")) {
    path += L".txt";
  }
  UnicodeTextWriter writer;
  if (!writer.Create(path)) return false;
  for (const std::wstring& line : AnalysisReportLines(format, [&pump] { pump.PumpMessages(); })) {
    writer.WriteLine(line);
  }
  writer.Close();
  return true;
}

std::vector<std::wstring> ConsoleAnalysisSection() {
  std::vector<std::wstring> texts;
  for (ItemNode* node = ItemListHead(); node != nullptr; node = node->next) {
    const ItemRecord& record = node->record;
    const bool failed = record.state == ItemState::Error;
    std::wstring text;
    if (record.flags & ItemFlags::kFolder) {
      text = L"Analyzed folder : " + record.path + L"\r\n";
      if (failed) {
        text += L"An error was encountered while processing the folder";
      } else {
        text += L"Folder is ";
        text += record.state == ItemState::FragmentedFolder ? L"Fragmented" : L"Not Fragmented";
      }
    } else {
      text = L"Analyzed file : " + record.path + L"\r\n";
      if (failed) {
        text += L"An error was encountered while processing the file";
      } else {
        // Printed as a signed 32-bit number, special values included.
        const int32_t fragments = static_cast<int32_t>(record.fragments);
        text += Narrowable("File is in %d fragments", fragments);
        if (fragments < 2) text += L" (Contiguous)";
      }
    }
    texts.push_back(text + L"\r\n\r\n");
  }
  texts.push_back(Narrowable("\r\nNumber of items processed : %d \r\n", static_cast<int64_t>(ItemCount())));
  return texts;
}

std::vector<std::wstring> ConsoleDefragSection() {
  // The fragmented files are those the run left in pieces without an error
  // (a stopped move), so the four kinds add up to the processed files.
  std::vector<std::wstring> texts;
  texts.push_back(L"Summary:\r\n\r\n");
  texts.push_back(Narrowable("Number of processed files : %d\r\n", static_cast<int64_t>(gRun.counters.filesSeen)));
  texts.push_back(Narrowable("Number of fragmented files : %d\r\n", static_cast<int64_t>(gRun.counters.fragmented)));
  texts.push_back(Narrowable("Number of already contiguous files : %d\r\n",
                             static_cast<int64_t>(gRun.counters.notFragmented)));
  texts.push_back(Narrowable("Number of defragmented files : %d\r\n",
                             static_cast<int64_t>(gRun.counters.filesMoved)));
  texts.push_back(Narrowable("Number of files that were not defragmented due to processing errors : %d\r\n",
                             static_cast<int64_t>(gRun.errors.size())));
  texts.push_back(L"\r\n");
  return texts;
}

std::vector<std::wstring> ConsoleFailuresAndLeftOut() {
  // By path, so that a job's log reads the same from one night to the next.
  std::vector<const ErrorEntry*> failed;
  for (const ErrorEntry& entry : gRun.errors) failed.push_back(&entry);
  std::stable_sort(failed.begin(), failed.end(), [](const ErrorEntry* a, const ErrorEntry* b) {
    return CompareNoCase(a->displayPath, b->displayPath) < 0;
  });
  std::vector<std::wstring> texts;
  for (const ErrorEntry* entry : failed) {
    texts.push_back(L"Failed file : " + entry->displayPath + L" : " + entry->message + L"\r\n");
  }
  texts.push_back(Narrowable("Number of files left out by the include and exclude masks and the size limit : %d\r\n",
                             static_cast<int64_t>(gRun.counters.leftOut)));
  texts.push_back(L"\r\n");
  return texts;
}
