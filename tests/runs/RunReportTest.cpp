// The analysis report: the whole file, byte for byte, after an analysis of
// a tree; and the size and alignment rules of its columns.
#include <filesystem>
#include <fstream>
#include <iterator>

#include "RunTestSupport.h"
#include "util/UnicodeTextFile.h"

namespace {

class FixedClock : public PortableReportFormat {
 public:
  std::wstring Date() const override { return L"23/11/2026"; }
  std::wstring Time() const override { return L"12:00"; }
};

using RunReportTest = TreeRunFixture;

TEST_F(RunReportTest, TheReportOfAnAnalysisIsWrittenExactly) {
  Run(RunMode::AnalyseAll);

  const std::filesystem::path path = std::filesystem::temp_directory_path() / "ordalis-report-test";
  std::filesystem::remove(path.string() + ".txt");
  ASSERT_TRUE(SaveAnalysisReport(path.wstring(), FixedClock(), ui_));
  std::ifstream in(path.string() + ".txt", std::ios::binary);
  const std::vector<uint8_t> written{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  in.close();
  const std::wstring rule(128, L'-');
  EXPECT_EQ(written, EncodeUnicodeText({
                L"Rapporto di analisi di Ordalis creato il: 23/11/2026 12:00\n\r\n\r",
                L"Statistiche sui file",
                L"    File totali analizzati = 7",
                L"    File frammentati = 5",
                L"    File contigui = 1",
                L"    File non analizzati a causa di errori = 1\n\r\n\r\n\r",
                L"Elenco dei file frammentati:",
                rule,
                L"       Frammenti         Cluster      DimensioneDimensione su disco      % su disco  Nome",
                rule,
                L"               2               4           16 KB           16 KB          100.00  Z:\\data\\a.bin",
                L"               2             900        3,600 KB        3,600 KB          100.00  Z:\\data\\big.bin",
                L"               2               2            8 KB            8 KB          102.40  Z:\\data\\refused.bin",
                L"               3               3           12 KB           12 KB          100.00  Z:\\data\\sub\\c.bin",
                L"               2               2            8 KB            8 KB          100.00  Z:\\single.bin",
                L"",
                L"Elenco dei file non analizzati:\n\r\n\r",
                L"File:  Z:\\data\\locked.bin",
                L"Errore:  The process cannot access the file because it is being used by another "
                L"process.\n\r\n\r",
            }));
  std::filesystem::remove(path.string() + ".txt");
}

TEST_F(RunReportTest, AnEmptyAnalysisSaysSoInBothLists) {
  const std::vector<std::wstring> lines = AnalysisReportLines(FixedClock());
  EXPECT_EQ(std::vector<std::wstring>(lines.begin() + 6, lines.end()),
            (std::vector<std::wstring>{L"Elenco dei file frammentati:", L"",
                                       L"Non sono presenti file frammentati.", L"",
                                       L"Non sono presenti file non analizzati."}));
}

// The rows' sizes round up from 500 bytes over a whole kilobyte; a file
// of a few bytes still shows one.
TEST(ReportColumnsTest, SizesRoundAtFiveHundredBytes) {
  const PortableReportFormat format;
  for (auto [bytes, text] : {std::pair{0, L"0 KB"}, {100, L"1 KB"}, {1523, L"1 KB"}, {1524, L"2 KB"}}) {
    EXPECT_EQ(ReportKBSize(bytes, format), text) << bytes;
  }
}

}  // namespace
