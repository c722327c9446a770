// The crash report's texts: the report as the box receives it, the exception
// descriptions and the system's name and edition.
#include "diag/CrashReport.h"

#include <gtest/gtest.h>

namespace {

// The facts of one crash, in the order the report lists them.
const SystemFacts kWindows7{"Windows 7", "Ultimate Edition", 6, 1, "", true, "64-bit", "8,00 GB", "5,12 GB",
                           "16,0 GB", "12,5 GB", "128 TB", "127 TB"};
const FaultFacts kWriteFault{0xC0000005, 0x00007FF6A1B2C3D4ull, "Access violation writing 0x00000010", 9001,
                             0x00007FF6A1B2C3D4ull, 0x000000000014FE30ull, 0x000000000014FD90ull};

// A value cannot break out of the rich text: its braces and backslashes are
// escaped, bytes above 127 written as hexadecimal escapes.
TEST(CrashReport, ItalianReportIsTheWholeRichText) {
  SystemFacts system = kWindows7;
  system.servicePack = "{\\evil} caf\xE8";
  const std::string report = BuildCrashReport(system, {"1.00", "Nov 23 2026"}, kWriteFault, false);
  EXPECT_EQ(report,
            "{\\rtf1\\ansi{\\colortbl;\\red0\\green51\\blue153;}"
            "{\\b \\f1\\cf1 Informazioni sul sistema}\\par "
            "  Nome sistema operativo: Windows 7\\par "
            "  Edizione sistema operativo: Ultimate Edition\\par "
            "  Versione sistema operativo: 6.1\\par "
            "  Service pack: \\{\\\\evil\\} caf\\'e8\\par "
            "  Architettura sistema operativo: 64-bit\\par "
            "  Memoria fisica totale: 8,00 GB\\par "
            "  Memoria fisica disponibile: 5,12 GB\\par "
            "  Memoria del file di paging totale: 16,0 GB\\par "
            "  Memoria del file di paging disponibile: 12,5 GB\\par "
            "  Memoria virtuale totale: 128 TB\\par "
            "  Memoria virtuale disponibile: 127 TB\\par "
            "\\par "
            "{\\b \\f1\\cf1 Informazioni su Ordalis}\\par "
            "  Versione: 1.00 (64-bit)\\par "
            "  Build: Nov 23 2026\\par "
            "\\par "
            "{\\b \\f1\\cf1 Informazioni sull'eccezione}\\par "
            "  Codice eccezione: c0000005\\par "
            "  Descrizione: Access violation writing 0x00000010\\par "
            "  Indirizzo: 0x7ff6a1b2c3d4\\par "
            "  TAG: 0x00002329\\par "
            "Exception C0000005 at address A1B2C3D4\r\nRegisters: \r\n"
            "Program counter: 000007ff6a1b2c3d4, Frame pointer: 000000000014fe30n, "
            "Stack pointer: 000000000014fd90n}");
}

// The English labels are a second table of the same lines; what differs is
// which table is taken, an older system's missing line and a short address.
TEST(CrashReport, EnglishLabelsAndNoArchitectureLineOnOlderSystems) {
  SystemFacts system = kWindows7;
  system.hasArchitecture = false;
  FaultFacts fault = kWriteFault;
  fault.address = 0x1234;
  const std::string report = BuildCrashReport(system, {"1.00", "b"}, fault, true);
  EXPECT_EQ(report.find("architecture"), std::string::npos);
  EXPECT_NE(report.find("{\\b \\f1\\cf1 System info}\\par   OS name: Windows 7\\par "), std::string::npos);
  EXPECT_NE(
      report.find("\\par   Address: 0x00001234\\par   TAG: 0x00002329\\par Exception C0000005 at address 00001234"),
      std::string::npos);
}

// The names of the codes, the systems and the editions are tables; what is
// computed is an access's direction and address, the unknown code's form,
// the one version number told apart by build, and what no table holds.
TEST(CrashReport, DescriptionsAndNamesBeyondTheirTables) {
  const uint64_t writing[] = {1, 0x10};
  EXPECT_EQ(DescribeException(0xC0000005, writing, 2), "Access violation writing 0x00000010");
  const uint64_t reading[] = {0, 0x00007FF612345678ull};
  EXPECT_EQ(DescribeException(0xC0000005, reading, 2), "Access violation reading 0x7ff612345678");
  EXPECT_EQ(DescribeException(0xC0000017, nullptr, 0), "Unknown (0xc0000017)");
  EXPECT_EQ(OperatingSystemName(6, 1, 7601, true), "Windows Server 2008 R2");
  EXPECT_EQ(OperatingSystemName(10, 0, 22000, false), "Windows 11");
  EXPECT_EQ(OperatingSystemName(10, 0, 26100, true), "Windows Server 2025");
  EXPECT_EQ(OperatingSystemName(6, 4, 9841, false), "Windows NT 6.4");
  EXPECT_EQ(EditionName(0xABCDABCD), "(none)");
}

}  // namespace
