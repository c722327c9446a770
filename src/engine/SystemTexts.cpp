#include "engine/SystemTexts.h"

std::wstring BuiltInSystemText(uint32_t code) {
  // The system's texts for error numbers. Native status values have none,
  // as on the real system.
  switch (code) {
    case 1: return L"Incorrect function.\r\n";
    case 2: return L"The system cannot find the file specified.\r\n";
    case 3: return L"The system cannot find the path specified.\r\n";
    case 5: return L"Access is denied.\r\n";
    case 6: return L"The handle is invalid.\r\n";
    case 32: return L"The process cannot access the file because it is being used by another process.\r\n";
    case 38: return L"Reached the end of the file.\r\n";
    case 50: return L"The request is not supported.\r\n";
    case 87: return L"The parameter is incorrect.\r\n";
    case 112: return L"There is not enough space on the disk.\r\n";
    case 122: return L"The data area passed to a system call is too small.\r\n";
    case 234: return L"More data is available.\r\n";
    case 995:
      return L"The I/O operation has been aborted because of either a thread exit or an application "
             L"request.\r\n";
    default: return std::wstring();
  }
}

uint32_t BuiltInStatusToError(NtStatus status) {
  switch (uint32_t(status)) {
    case 0: return 0;
    case 0x103: return 997;
    case 0x80000005: return 234;
    case 0xC0000008: return 6;
    case 0xC000000D: return 87;
    case 0xC0000010: return 1;
    case 0xC0000011: return 38;
    case 0xC0000021: return 5;
    case 0xC0000022: return 5;
    case 0xC0000023: return 122;
    case 0xC0000043: return 32;
    case 0xC00000BB: return 50;
    default: return kErrorNoMessageForStatus;
  }
}
