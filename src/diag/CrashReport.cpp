#include "diag/CrashReport.h"

#include <cstdio>

namespace {

struct Described {
  uint32_t code;
  const char* text;
};

constexpr Described kDescriptions[] = {
    {ExceptionCode::kDatatypeMisalignment, "Datatype misalignment"},
    {ExceptionCode::kBreakpoint, "Breakpoint"},
    {ExceptionCode::kSingleStep, "Single step"},
    {ExceptionCode::kArrayBoundsExceeded, "Array bounds exceeded"},
    {ExceptionCode::kFltDenormalOperand, "FPU denormal operand"},
    {ExceptionCode::kFltDivideByZero, "FPU divide by zero"},
    {ExceptionCode::kFltInexactResult, "FPU inexact result"},
    {ExceptionCode::kFltInvalidOperation, "FPU invalid operation"},
    {ExceptionCode::kFltOverflow, "FPU overflow"},
    {ExceptionCode::kFltStackCheck, "FPU stack check"},
    {ExceptionCode::kFltUnderflow, "FPU underflow"},
    {ExceptionCode::kIntDivideByZero, "Integer divide by zero"},
    {ExceptionCode::kIntOverflow, "Integer overflow"},
    {ExceptionCode::kPrivilegedInstruction, "Privileged instruction"},
    {ExceptionCode::kInPageError, "In page error"},
    {ExceptionCode::kIllegalInstruction, "Illegal instruction"},
    {ExceptionCode::kNoncontinuableException, "Noncontinuable exception"},
    {ExceptionCode::kStackOverflow, "Stack overflow"},
    {ExceptionCode::kInvalidDisposition, "Invalid disposition"},
    {ExceptionCode::kGuardPage, "Guard page"},
    {ExceptionCode::kInvalidHandle, "Invalid handle"},
};

struct Edition {
  uint32_t productType;
  const char* text;
};

// The product types of the system's product information, by number.
constexpr Edition kEditions[] = {
    {0x01, "Ultimate Edition"},
    {0x02, "Home Basic Edition"},
    {0x03, "Home Premium Edition"},
    {0x04, "Enterprise Edition"},
    {0x05, "Home Basic N Edition"},
    {0x06, "Business Edition"},
    {0x07, "Standard Edition"},
    {0x08, "Datacenter Edition"},
    {0x09, "Small Business Server"},
    {0x0A, "Enterprise Edition"},
    {0x0B, "Starter Edition"},
    {0x0C, "Datacenter Edition (core installation)"},
    {0x0D, "Standard Edition (core installation)"},
    {0x0E, "Enterprise Edition (core installation)"},
    {0x0F, "Enterprise Edition for Itanium-based Systems"},
    {0x10, "Business N Edition"},
    {0x11, "Web Server Edition"},
    {0x12, "Cluster Server Edition"},
    {0x13, "Home Server Edition"},
    {0x14, "Storage Server Express Edition"},
    {0x15, "Storage Server Standard Edition"},
    {0x16, "Storage Server Workgroup Edition"},
    {0x17, "Storage Server Enterprise Edition"},
    {0x18, "Essential Server Solutions"},
    {0x19, "Small Business Server Premium Edition"},
    {0x1A, "Home Premium N Edition"},
    {0x1B, "Enterprise N Edition"},
    {0x1C, "Ultimate N Edition"},
    {0x1D, "Web Server Edition (core installation)"},
    {0x21, "Server Foundation"},
    {0x24, "Standard Edition without Hyper-V"},
    {0x25, "Datacenter Edition without Hyper-V"},
    {0x26, "Enterprise Edition without Hyper-V"},
    {0x27, "Datacenter Edition without Hyper-V (core installation)"},
    {0x28, "Standard Edition without Hyper-V (core installation)"},
    {0x29, "Enterprise Edition without Hyper-V (core installation)"},
    {0x2A, "Hyper-V Server"},
    {0x2F, "Starter N Edition"},
    {0x30, "Professional"},
    {0x31, "Professional N"},
    {0x48, "Enterprise Evaluation"},
    {0x4F, "Standard Evaluation"},
    {0x50, "Datacenter Evaluation"},
    {0x62, "Home N"},
    {0x63, "Home China"},
    {0x64, "Home Single Language"},
    {0x65, "Home"},
    {0x67, "Professional with Media Center"},
    {0x79, "Education"},
    {0x7A, "Education N"},
    {0x7D, "Enterprise LTSC"},
    {0x7E, "Enterprise N LTSC"},
    {0xA1, "Pro for Workstations"},
    {0xA2, "Pro N for Workstations"},
    {0xA4, "Pro Education"},
    {0xA5, "Pro Education N"},
};

template <typename... Args>
std::string Format(const char* format, Args... args) {
  char buffer[160];
  int length = std::snprintf(buffer, sizeof buffer, format, args...);
  if (length < 0) return {};
  return std::string(buffer, static_cast<size_t>(length) < sizeof buffer ? length : sizeof buffer - 1);
}

// A value inside the rich text: the characters that mean something there are
// escaped, bytes beyond ASCII written as hexadecimal escapes of the code page.
std::string RichValue(const std::string& value) {
  std::string escaped;
  for (unsigned char c : value) {
    if (c == '\\' || c == '{' || c == '}') {
      escaped += '\\';
      escaped += static_cast<char>(c);
    } else if (c >= 0x80 || c < 0x20) {
      escaped += Format("\\'%02x", c);
    } else {
      escaped += static_cast<char>(c);
    }
  }
  return escaped;
}

struct Labels {
  const char* systemHeading;
  const char* osName;
  const char* osEdition;
  const char* osVersion;
  const char* servicePack;
  const char* architecture;
  const char* totalPhysical;
  const char* availablePhysical;
  const char* totalPageFile;
  const char* availablePageFile;
  const char* totalVirtual;
  const char* availableVirtual;
  const char* programHeading;
  const char* version;
  const char* build;
  const char* exceptionHeading;
  const char* code;
  const char* description;
  const char* address;
  const char* tag;
};

constexpr Labels kItalianLabels = {
    "{\\b \\f1\\cf1 Informazioni sul sistema}",
    "  Nome sistema operativo:",
    "  Edizione sistema operativo:",
    "  Versione sistema operativo:",
    "  Service pack:",
    "  Architettura sistema operativo:",
    "  Memoria fisica totale:",
    "  Memoria fisica disponibile:",
    "  Memoria del file di paging totale:",
    "  Memoria del file di paging disponibile:",
    "  Memoria virtuale totale:",
    "  Memoria virtuale disponibile:",
    "{\\b \\f1\\cf1 Informazioni su Ordalis}",
    "  Versione:",
    "  Build:",
    "{\\b \\f1\\cf1 Informazioni sull'eccezione}",
    "  Codice eccezione:",
    "  Descrizione:",
    "  Indirizzo:",
    "  TAG:",
};

constexpr Labels kEnglishLabels = {
    "{\\b \\f1\\cf1 System info}",
    "  OS name:",
    "  OS edition:",
    "  OS version number:",
    "  OS service pack:",
    "  OS architecture:",
    "  Total physical memory:",
    "  Available physical memory:",
    "  Total page file memory:",
    "  Available page file memory:",
    "  Total virtual memory:",
    "  Free virtual memory:",
    "{\\b \\f1\\cf1 Info about Ordalis}",
    "  Version:",
    "  Build:",
    "{\\b \\f1\\cf1 Exception info}",
    "  Exception code:",
    "  Description:",
    "  Address:",
    "  TAG:",
};

constexpr char kParagraph[] = "\\par ";

void Line(std::string& report, const char* label, const std::string& value) {
  report += label;
  report += ' ';
  report += RichValue(value);
  report += kParagraph;
}

void Heading(std::string& report, const char* heading) {
  report += heading;
  report += kParagraph;
}

}  // namespace

std::string DescribeException(uint32_t code, const uint64_t* parameters, size_t parameterCount) {
  if (code == ExceptionCode::kAccessViolation) {
    const bool writing = parameterCount > 0 && parameters[0] == 1;
    const unsigned long long address = parameterCount > 1 ? parameters[1] : 0;
    return Format("Access violation %s 0x%08llx", writing ? "writing" : "reading", address);
  }
  for (const Described& described : kDescriptions) {
    if (described.code == code) return described.text;
  }
  return Format("Unknown (0x%08x)", static_cast<unsigned>(code));
}

std::string OperatingSystemName(uint32_t major, uint32_t minor, uint32_t build, bool server) {
  if (major == 6) {
    switch (minor) {
      case 0: return server ? "Windows Server 2008" : "Windows Vista";
      case 1: return server ? "Windows Server 2008 R2" : "Windows 7";
      case 2: return server ? "Windows Server 2012" : "Windows 8";
      case 3: return server ? "Windows Server 2012 R2" : "Windows 8.1";
    }
  }
  if (major == 10 && minor == 0) {
    // Windows 10 and 11 and their servers share one version number; the build
    // number tells them apart, as the system's own about box does.
    if (!server) return build >= 22000 ? "Windows 11" : "Windows 10";
    if (build >= 26100) return "Windows Server 2025";
    if (build >= 20348) return "Windows Server 2022";
    if (build >= 17763) return "Windows Server 2019";
    return "Windows Server 2016";
  }
  if (major == 5) {
    switch (minor) {
      case 0: return "Windows 2000";
      case 1: return "Windows XP";
      case 2: return server ? "Windows Server 2003" : "Windows XP Professional x64 Edition";
    }
  }
  return Format("Windows NT %u.%u", static_cast<unsigned>(major), static_cast<unsigned>(minor));
}

std::string EditionName(uint32_t productType) {
  for (const Edition& edition : kEditions) {
    if (edition.productType == productType) return edition.text;
  }
  return "(none)";
}

std::string BuildCrashReport(const SystemFacts& system, const ProgramFacts& program,
                             const FaultFacts& fault, bool english) {
  const Labels& labels = english ? kEnglishLabels : kItalianLabels;
  std::string report = "{\\rtf1\\ansi";
  report += "{\\colortbl;\\red0\\green51\\blue153;}";

  Heading(report, labels.systemHeading);
  Line(report, labels.osName, system.osName);
  Line(report, labels.osEdition, system.osEdition);
  Line(report, labels.osVersion, Format("%u.%u", static_cast<unsigned>(system.major),
                                        static_cast<unsigned>(system.minor)));
  Line(report, labels.servicePack, system.servicePack);
  if (system.hasArchitecture) Line(report, labels.architecture, system.architecture);
  Line(report, labels.totalPhysical, system.totalPhysical);
  Line(report, labels.availablePhysical, system.availablePhysical);
  Line(report, labels.totalPageFile, system.totalPageFile);
  Line(report, labels.availablePageFile, system.availablePageFile);
  Line(report, labels.totalVirtual, system.totalVirtual);
  Line(report, labels.availableVirtual, system.availableVirtual);

  report += kParagraph;
  Heading(report, labels.programHeading);
  Line(report, labels.version, program.version + " (64-bit)");
  Line(report, labels.build, program.build);

  report += kParagraph;
  Heading(report, labels.exceptionHeading);
  Line(report, labels.code, Format("%8.8x", static_cast<unsigned>(fault.code)));
  Line(report, labels.description, fault.description);
  Line(report, labels.address, Format("0x%08llx", static_cast<unsigned long long>(fault.address)));
  Line(report, labels.tag, Format("0x%08x", static_cast<unsigned>(fault.tag)));

  // The register line keeps its historical shape: the address in eight
  // digits (its low half; the full address is on the line above) and an "n"
  // after the frame and stack pointers.
  report += Format("Exception %8.8X at address %8.8X\r\nRegisters: \r\n", static_cast<unsigned>(fault.code),
                   static_cast<unsigned>(fault.address & 0xFFFFFFFFu));
  report += Format("Program counter: 0%.16llx, Frame pointer: %0.16llxn, Stack pointer: %0.16llxn",
                   static_cast<unsigned long long>(fault.programCounter),
                   static_cast<unsigned long long>(fault.framePointer),
                   static_cast<unsigned long long>(fault.stackPointer));
  report += "}";
  return report;
}
