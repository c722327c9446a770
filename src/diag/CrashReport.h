#pragma once
// The crash report's texts, apart from the system calls that gather them: the
// description of an exception, the operating system's name and edition, and
// the rich text of the report itself, built as single-byte rich text the way
// the report box takes it.
#include <cstddef>
#include <cstdint>
#include <string>

// The system's standard exception codes the report describes by name.
namespace ExceptionCode {
constexpr uint32_t kAccessViolation = 0xC0000005;
constexpr uint32_t kDatatypeMisalignment = 0x80000002;
constexpr uint32_t kBreakpoint = 0x80000003;
constexpr uint32_t kSingleStep = 0x80000004;
constexpr uint32_t kArrayBoundsExceeded = 0xC000008C;
constexpr uint32_t kFltDenormalOperand = 0xC000008D;
constexpr uint32_t kFltDivideByZero = 0xC000008E;
constexpr uint32_t kFltInexactResult = 0xC000008F;
constexpr uint32_t kFltInvalidOperation = 0xC0000090;
constexpr uint32_t kFltOverflow = 0xC0000091;
constexpr uint32_t kFltStackCheck = 0xC0000092;
constexpr uint32_t kFltUnderflow = 0xC0000093;
constexpr uint32_t kIntDivideByZero = 0xC0000094;
constexpr uint32_t kIntOverflow = 0xC0000095;
constexpr uint32_t kPrivilegedInstruction = 0xC0000096;
constexpr uint32_t kInPageError = 0xC0000006;
constexpr uint32_t kIllegalInstruction = 0xC000001D;
constexpr uint32_t kNoncontinuableException = 0xC0000025;
constexpr uint32_t kStackOverflow = 0xC00000FD;
constexpr uint32_t kInvalidDisposition = 0xC0000026;
constexpr uint32_t kGuardPage = 0x80000001;
constexpr uint32_t kInvalidHandle = 0xC0000008;
// Not described by name: what a worker's escaped exception is raised as.
constexpr uint32_t kNoMemory = 0xC0000017;         // the system's own out-of-memory code
constexpr uint32_t kCppException = 0x20474343;     // the C++ runtime's code for its exceptions
}  // namespace ExceptionCode

// "Access violation writing 0x00000010", "Integer divide by zero", ...,
// "Unknown (0x%08x)". `parameters` are the exception record's (an access
// violation reads the first two: reading or writing, and the data address).
std::string DescribeException(uint32_t code, const uint64_t* parameters, size_t parameterCount);

// The name users know the system by, from its version numbers, build number
// and whether it is a server (product type other than workstation).
std::string OperatingSystemName(uint32_t major, uint32_t minor, uint32_t build, bool server);
// The edition text for a product type from the system's product information;
// "(none)" when nothing applies.
std::string EditionName(uint32_t productType);

// What the report says about the system, already as text (the memory sizes as
// the system's byte-size formatter writes them).
struct SystemFacts {
  std::string osName;
  std::string osEdition;
  uint32_t major = 0;
  uint32_t minor = 0;
  std::string servicePack;
  bool hasArchitecture = false;  // newer systems only
  std::string architecture;
  std::string totalPhysical, availablePhysical;
  std::string totalPageFile, availablePageFile;
  std::string totalVirtual, availableVirtual;
};

struct FaultFacts {
  uint32_t code = 0;
  uint64_t address = 0;
  std::string description;
  uint32_t tag = 0;
  uint64_t programCounter = 0;
  uint64_t framePointer = 0;
  uint64_t stackPointer = 0;
};

struct ProgramFacts {
  std::string version;  // "1.00"
  std::string build;
};

// The whole report, "{\rtf1\ansi..." to its closing brace; English labels
// when `english`, Italian otherwise.
std::string BuildCrashReport(const SystemFacts& system, const ProgramFacts& program,
                             const FaultFacts& fault, bool english);
