#include "ui/dialogs/CrashReportDialog.h"

#include <windows.h>
#include <commctrl.h>
#include <richedit.h>
#include <shellapi.h>
#include <shlwapi.h>

#include <atomic>
#include <cstring>
#include <new>

#include "options/ProgramVersion.h"
#include "diag/CrashReport.h"
#include "engine/EngineThread.h"
#include "res/CrashReportIds.h"
#include "ui/controls/DialogPlacement.h"
#include "ui/dialogs/MessageBox.h"
#include "options/StringIds.h"
#include "util/Tag.h"
#include "util/win32/SystemLibrary.h"
#include "util/Text.h"
#include "util/win32/Win32Handle.h"

namespace {

static_assert(ExceptionCode::kAccessViolation == EXCEPTION_ACCESS_VIOLATION);
static_assert(ExceptionCode::kDatatypeMisalignment == EXCEPTION_DATATYPE_MISALIGNMENT);
static_assert(ExceptionCode::kBreakpoint == EXCEPTION_BREAKPOINT);
static_assert(ExceptionCode::kSingleStep == EXCEPTION_SINGLE_STEP);
static_assert(ExceptionCode::kArrayBoundsExceeded == EXCEPTION_ARRAY_BOUNDS_EXCEEDED);
static_assert(ExceptionCode::kFltDenormalOperand == EXCEPTION_FLT_DENORMAL_OPERAND);
static_assert(ExceptionCode::kFltDivideByZero == EXCEPTION_FLT_DIVIDE_BY_ZERO);
static_assert(ExceptionCode::kFltInexactResult == EXCEPTION_FLT_INEXACT_RESULT);
static_assert(ExceptionCode::kFltInvalidOperation == EXCEPTION_FLT_INVALID_OPERATION);
static_assert(ExceptionCode::kFltOverflow == EXCEPTION_FLT_OVERFLOW);
static_assert(ExceptionCode::kFltStackCheck == EXCEPTION_FLT_STACK_CHECK);
static_assert(ExceptionCode::kFltUnderflow == EXCEPTION_FLT_UNDERFLOW);
static_assert(ExceptionCode::kIntDivideByZero == EXCEPTION_INT_DIVIDE_BY_ZERO);
static_assert(ExceptionCode::kIntOverflow == EXCEPTION_INT_OVERFLOW);
static_assert(ExceptionCode::kPrivilegedInstruction == EXCEPTION_PRIV_INSTRUCTION);
static_assert(ExceptionCode::kInPageError == EXCEPTION_IN_PAGE_ERROR);
static_assert(ExceptionCode::kIllegalInstruction == EXCEPTION_ILLEGAL_INSTRUCTION);
static_assert(ExceptionCode::kNoncontinuableException == EXCEPTION_NONCONTINUABLE_EXCEPTION);
static_assert(ExceptionCode::kStackOverflow == EXCEPTION_STACK_OVERFLOW);
static_assert(ExceptionCode::kInvalidDisposition == EXCEPTION_INVALID_DISPOSITION);
static_assert(ExceptionCode::kGuardPage == EXCEPTION_GUARD_PAGE);
static_assert(ExceptionCode::kInvalidHandle == EXCEPTION_INVALID_HANDLE);
static_assert(ExceptionCode::kNoMemory == STATUS_NO_MEMORY);

constexpr wchar_t kSupportMail[] = L"" ORDALIS_SUPPORT_MAIL;
constexpr char kBuildText[] = __DATE__ ", GCC " __VERSION__;

constexpr wchar_t kItalianText[] =
    L"Si \u00E8 verificato un errore dell'applicazione non gestito. Si prega di copiare i dettagli "
    L"dell'eccezione negli Appunti di Windows e di inviarli all'autore:";
constexpr wchar_t kItalianSolidStateWarning[] =
    L"L'identificazione automatica delle unit\u00E0 a stato solido potrebbe non essere compatibile con "
    L"alcune combinazioni hardware. In tal caso, selezionare \"Disabilita identificazione unit\u00E0 a "
    L"stato solido\" dal menu \"Opzioni\".";

// The fault as the filter saved it.
struct SavedFault {
  EXCEPTION_RECORD record;
  CONTEXT context;
  uint32_t tag;
};

struct CrashState {
  CrashCleanup cleanup = nullptr;
  std::atomic<CrashReportObserver> observer{nullptr};
  // The thread whose fault is being reported; 0 while none is.
  std::atomic<DWORD> faultingThread{0};
  SavedFault fault;
  // The report's own thread, made at start-up and waiting for `faulted`: a
  // faulting thread may have too little stack left to make one.
  HANDLE reporter = nullptr;
  DWORD reporterId = 0;
  HANDLE faulted = nullptr;
};
CrashState gCrash;

std::string Narrow(const wchar_t* text) {
  std::string narrow;
  for (; *text; ++text) narrow += static_cast<char>(*text < 0x80 ? *text : '?');
  return narrow;
}

std::string ByteSize(DWORDLONG bytes) {
  char text[64] = {};
  StrFormatByteSize64A(static_cast<LONGLONG>(bytes), text, sizeof text);
  return text;
}

const char* ArchitectureName(WORD architecture) {
  switch (architecture) {
    case PROCESSOR_ARCHITECTURE_AMD64: return "64-bit";
    case PROCESSOR_ARCHITECTURE_INTEL: return "32-bit";
    case PROCESSOR_ARCHITECTURE_IA64: return "Itanium 64-bit";
    case 12: return "ARM 64-bit";  // PROCESSOR_ARCHITECTURE_ARM64
    default: return "Unknown";
  }
}

template <typename Function>
Function Kernel32Call(const char* name) {
  return reinterpret_cast<Function>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), name)));
}

SystemFacts GatherSystemFacts() {
  SystemFacts facts;
  OSVERSIONINFOEXA version{};
  version.dwOSVersionInfoSize = sizeof version;
  if (!GetVersionExA(reinterpret_cast<OSVERSIONINFOA*>(&version))) {
    version.dwOSVersionInfoSize = sizeof(OSVERSIONINFOA);
    GetVersionExA(reinterpret_cast<OSVERSIONINFOA*>(&version));
  }
  facts.major = version.dwMajorVersion;
  facts.minor = version.dwMinorVersion;
  const bool server = version.wProductType != 0 && version.wProductType != VER_NT_WORKSTATION;
  facts.osName = OperatingSystemName(version.dwMajorVersion, version.dwMinorVersion,
                                     version.dwBuildNumber, server);
  facts.servicePack = version.szCSDVersion[0] ? version.szCSDVersion : "(none)";

  // Both calls are looked up at run time: older systems lack them.
  using GetProductInfoFn = BOOL(WINAPI*)(DWORD, DWORD, DWORD, DWORD, DWORD*);
  using GetNativeSystemInfoFn = void(WINAPI*)(SYSTEM_INFO*);
  DWORD productType = 0;
  if (auto getProductInfo = Kernel32Call<GetProductInfoFn>("GetProductInfo")) {
    if (!getProductInfo(version.dwMajorVersion, version.dwMinorVersion, version.wServicePackMajor,
                        version.wServicePackMinor, &productType)) {
      productType = 0;
    }
  }
  facts.osEdition = EditionName(productType);
  if (auto getNativeSystemInfo = Kernel32Call<GetNativeSystemInfoFn>("GetNativeSystemInfo");
      getNativeSystemInfo && version.dwMajorVersion >= 6) {
    SYSTEM_INFO info{};
    getNativeSystemInfo(&info);
    facts.hasArchitecture = true;
    facts.architecture = ArchitectureName(info.wProcessorArchitecture);
  }

  MEMORYSTATUSEX memory{};
  memory.dwLength = sizeof memory;
  GlobalMemoryStatusEx(&memory);
  facts.totalPhysical = ByteSize(memory.ullTotalPhys);
  facts.availablePhysical = ByteSize(memory.ullAvailPhys);
  facts.totalPageFile = ByteSize(memory.ullTotalPageFile);
  facts.availablePageFile = ByteSize(memory.ullAvailPageFile);
  facts.totalVirtual = ByteSize(memory.ullTotalVirtual);
  facts.availableVirtual = ByteSize(memory.ullAvailVirtual);
  return facts;
}

FaultFacts FaultFactsOf(const SavedFault& fault) {
  FaultFacts facts;
  const EXCEPTION_RECORD& record = fault.record;
  facts.code = record.ExceptionCode;
  facts.address = reinterpret_cast<uintptr_t>(record.ExceptionAddress);
  uint64_t parameters[EXCEPTION_MAXIMUM_PARAMETERS] = {};
  const DWORD count = record.NumberParameters < EXCEPTION_MAXIMUM_PARAMETERS
                          ? record.NumberParameters
                          : EXCEPTION_MAXIMUM_PARAMETERS;
  for (DWORD i = 0; i < count; ++i) parameters[i] = record.ExceptionInformation[i];
  facts.description = DescribeException(record.ExceptionCode, parameters, count);
  facts.tag = fault.tag;
  facts.programCounter = fault.context.Rip;
  facts.framePointer = fault.context.Rbp;
  facts.stackPointer = fault.context.Rsp;
  return facts;
}

struct StreamSource {
  const std::string* text;
  size_t position;
};

DWORD CALLBACK StreamReport(DWORD_PTR cookie, LPBYTE buffer, LONG wanted, LONG* given) {
  auto* source = reinterpret_cast<StreamSource*>(cookie);
  size_t left = source->text->size() - source->position;
  size_t count = left < static_cast<size_t>(wanted) ? left : static_cast<size_t>(wanted);
  CopyMemory(buffer, source->text->data() + source->position, count);
  source->position += count;
  *given = static_cast<LONG>(count);
  return 0;
}

struct DialogData {
  std::string report;
  GdiObject<HFONT> headingFont;
};

std::wstring MailTarget() {
  return std::wstring(L"mailto:") + kSupportMail + L"?Subject=[Ordalis " ORDALIS_VERSION_TEXT L"] &body=";
}

// A control made at initialisation, in dialog units like the template's.
HWND MakeControl(HWND dialog, const wchar_t* className, const wchar_t* text, DWORD style, RECT units,
                 int id) {
  MapDialogRect(dialog, &units);
  HWND control = CreateWindowExW(0, className, text, WS_CHILD | WS_VISIBLE | style, units.left, units.top,
                                 units.right - units.left, units.bottom - units.top, dialog,
                                 reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)),
                                 GetModuleHandleW(nullptr), nullptr);
  if (control) SendMessageW(control, WM_SETFONT, SendMessageW(dialog, WM_GETFONT, 0, 0), FALSE);
  return control;
}

void BuildDialog(HWND dialog, DialogData& data) {
  SetWindowTextW(dialog, Text(kStrCrashTitle, L"Eccezione di Ordalis"));
  SetDlgItemTextW(dialog, IDC_CRASH_HEADING, Text(kStrCrashHeading, L"Ordalis ha smesso di funzionare"));
  SetDlgItemTextW(dialog, IDC_CRASH_TEXT, Text(kStrCrashText, kItalianText));
  SetDlgItemTextW(dialog, IDC_CRASH_DETAILS_LABEL, Text(kStrCrashDetails, L"Dettagli problema"));
  SetDlgItemTextW(dialog, IDC_CRASH_CLOSE, Text(kStrCrashClose, L"&Chiudi il programma"));

  LOGFONTW heading{};
  GetObjectW(reinterpret_cast<HFONT>(SendMessageW(dialog, WM_GETFONT, 0, 0)), sizeof heading, &heading);
  heading.lfWeight = FW_BOLD;
  heading.lfHeight = heading.lfHeight * 4 / 3;
  data.headingFont.Reset(CreateFontIndirectW(&heading));
  if (data.headingFont) {
    SendDlgItemMessageW(dialog, IDC_CRASH_HEADING, WM_SETFONT, reinterpret_cast<WPARAM>(data.headingFont.Get()),
                        FALSE);
  }

  const std::wstring link = L"<a href=\"" + MailTarget() + L"\">" + kSupportMail + L"</a>";
  if (!MakeControl(dialog, WC_LINK, link.c_str(), WS_TABSTOP, RECT{7, 48, 333, 58}, IDC_CRASH_LINK)) {
    // Without the link control the address still shows.
    MakeControl(dialog, L"STATIC", kSupportMail, SS_NOPREFIX, RECT{7, 48, 333, 58}, IDC_CRASH_LINK);
  }

  HWND box = MakeControl(dialog, L"RichEdit20A", nullptr,
                         ES_MULTILINE | ES_READONLY | ES_AUTOVSCROLL | WS_VSCROLL | WS_BORDER | WS_TABSTOP,
                         RECT{7, 76, 333, 292}, IDC_CRASH_DETAILS);
  if (box) {
    StreamSource source{&data.report, 0};
    EDITSTREAM stream{reinterpret_cast<DWORD_PTR>(&source), 0, StreamReport};
    SendMessageW(box, EM_STREAMIN, SF_RTF, reinterpret_cast<LPARAM>(&stream));
  } else {
    MakeControl(dialog, L"EDIT", nullptr, ES_MULTILINE | ES_READONLY | WS_VSCROLL | WS_BORDER,
                RECT{7, 76, 333, 292}, IDC_CRASH_DETAILS);
    SetDlgItemTextA(dialog, IDC_CRASH_DETAILS, data.report.c_str());
  }
  if (CrashReportObserver observer = gCrash.observer.load()) observer(data.report);
  SetFocus(GetDlgItem(dialog, IDC_CRASH_CLOSE));
}

INT_PTR CALLBACK CrashDialogProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
  auto* data = reinterpret_cast<DialogData*>(GetWindowLongPtrW(dialog, DWLP_USER));
  switch (message) {
    case WM_INITDIALOG:
      SetWindowLongPtrW(dialog, DWLP_USER, lParam);
      BuildDialog(dialog, *reinterpret_cast<DialogData*>(lParam));
      return FALSE;  // the focus is set
    case WM_NOTIFY: {
      auto* header = reinterpret_cast<NMHDR*>(lParam);
      if (header->idFrom == IDC_CRASH_LINK && (header->code == NM_CLICK || header->code == NM_RETURN)) {
        auto* link = reinterpret_cast<NMLINK*>(lParam);
        ShellExecuteW(dialog, L"open", link->item.szUrl, nullptr, nullptr, SW_SHOWNORMAL);
        return TRUE;
      }
      return FALSE;
    }
    case WM_COMMAND:
      if (LOWORD(wParam) == IDC_CRASH_CLOSE) {
        EndDialog(dialog, IDC_CRASH_CLOSE);
        return TRUE;
      }
      break;
    case WM_DESTROY:
      if (data) data->headingFont.Reset();
      return FALSE;
  }
  return EndsOnClose(dialog, message, wParam);
}

// The window the report belongs over: the faulting thread's active window,
// or, for a fault in a worker, the program's window in front.
HWND ReportOwner(DWORD faultingThread) {
  GUITHREADINFO info{};
  info.cbSize = sizeof info;
  if (GetGUIThreadInfo(faultingThread, &info) && info.hwndActive) return info.hwndActive;
  HWND front = GetForegroundWindow();
  DWORD process = 0;
  if (front && GetWindowThreadProcessId(front, &process) && process == GetCurrentProcessId()) return front;
  return nullptr;
}

void ShowReport(const SavedFault& fault, HWND owner) {
  INITCOMMONCONTROLSEX controls{sizeof controls, ICC_LINK_CLASS};
  InitCommonControlsEx(&controls);
  LoadSystemLibrary(L"RICHED20.DLL");
  DialogData data;
  ProgramFacts program{Narrow(ORDALIS_VERSION_TEXT), kBuildText};
  data.report = BuildCrashReport(GatherSystemFacts(), program, FaultFactsOf(fault), !BuiltInTexts());
  DialogBoxParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDD_CRASH_REPORT), owner, CrashDialogProc,
                  reinterpret_cast<LPARAM>(&data));
  if (fault.tag == kTagCheckingDrives) {
    ShowMessageBox(owner, kMsgIconWarning, kStrCrashSolidState, kItalianSolidStateWarning);
  }
}

[[noreturn]] void EndProcess(uint32_t tag) {
  if (gCrash.cleanup) gCrash.cleanup();
  TerminateProcess(GetCurrentProcess(), tag);
  ExitProcess(tag);  // not reached: the process ends with the call above
}

// The report, the clean-up and the end of the process, once a fault is
// saved. A window of the faulting thread can own the report only while that
// thread answers what the report sends it (being disabled, activated); after
// a stack overflow it answers nothing, and the report stands on its own.
[[noreturn]] void ReportAndEnd() {
  const DWORD faulting = gCrash.faultingThread.load();
  HWND owner = ReportOwner(faulting);
  const bool ownersThread = owner && GetWindowThreadProcessId(owner, nullptr) == faulting;
  if (ownersThread && gCrash.fault.record.ExceptionCode == EXCEPTION_STACK_OVERFLOW) owner = nullptr;
  if (gCrash.fault.tag >= kTagNeutral) ShowReport(gCrash.fault, owner);
  EndProcess(gCrash.fault.tag);
}

DWORD WINAPI ReporterThread(void*) {
  WaitForSingleObject(gCrash.faulted, INFINITE);
  ReportAndEnd();
}

// Runs on the faulting thread, whose stack may be all but gone: it saves the
// fault, wakes the report's thread and waits, asking little of the stack.
LONG WINAPI CrashFilter(EXCEPTION_POINTERS* pointers) {
  const uint32_t tag = CurrentTag();
  const DWORD self = GetCurrentThreadId();
  // A fault inside the report or the clean-up ends the program at once; a
  // fault in another thread meanwhile waits for the report to end it.
  if (self == gCrash.reporterId) TerminateProcess(GetCurrentProcess(), tag);
  DWORD reporting = 0;
  if (!gCrash.faultingThread.compare_exchange_strong(reporting, self)) {
    if (reporting == self || !gCrash.reporter) TerminateProcess(GetCurrentProcess(), tag);
    Sleep(INFINITE);
  }
  std::memcpy(&gCrash.fault.record, pointers->ExceptionRecord, sizeof gCrash.fault.record);
  std::memcpy(&gCrash.fault.context, pointers->ContextRecord, sizeof gCrash.fault.context);
  gCrash.fault.tag = tag;
  if (!gCrash.reporter) ReportAndEnd();  // no thread was to be had: here, as well as it goes
  SetEvent(gCrash.faulted);
  if (gCrash.fault.record.ExceptionCode == EXCEPTION_STACK_OVERFLOW) {
    WaitForSingleObject(gCrash.reporter, INFINITE);
  } else {
    // Only sent messages are answered, so that the report can be modal over
    // this thread's window: nothing this thread had queued runs again after
    // its fault.
    MSG message;
    while (MsgWaitForMultipleObjects(1, &gCrash.reporter, FALSE, INFINITE, QS_SENDMESSAGE) != WAIT_OBJECT_0) {
      PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE | PM_QS_SENDMESSAGE);
    }
  }
  EndProcess(tag);  // not reached: the report's thread ends the process
}

// A stack overflow is taken first, before the system walks the thread's
// handlers down to the unhandled-exception filter: that walk alone can use
// up what the overflow left of the stack. Nothing in the program handles an
// overflow, so nothing is taken from anyone.
LONG WINAPI StackOverflowFirst(EXCEPTION_POINTERS* pointers) {
  if (pointers->ExceptionRecord->ExceptionCode != EXCEPTION_STACK_OVERFLOW) return EXCEPTION_CONTINUE_SEARCH;
  return CrashFilter(pointers);
}

// Inside the catch block of an exception that escaped a thread procedure:
// raised again as a fault, so that the filter reports it. Out of memory
// keeps the system's own code for it.
void RaiseEscapedException() {
  DWORD code = ExceptionCode::kCppException;
  try {
    throw;
  } catch (const std::bad_alloc&) {
    code = ExceptionCode::kNoMemory;
  } catch (...) {
  }
  RaiseException(code, EXCEPTION_NONCONTINUABLE, 0, nullptr);
}

}  // namespace

void InstallCrashReport(CrashCleanup cleanup) {
  gCrash.cleanup = cleanup;
  // Both live as long as the process: a fault may come at any moment.
  gCrash.faulted = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  if (gCrash.faulted) gCrash.reporter = CreateThread(nullptr, 0, ReporterThread, nullptr, 0, &gCrash.reporterId);
  SetUnhandledExceptionFilter(CrashFilter);
  AddVectoredExceptionHandler(1, StackOverflowFirst);
  SetEscapedExceptionHandler(RaiseEscapedException);
}

void SetCrashReportObserver(CrashReportObserver observer) { gCrash.observer.store(observer); }
