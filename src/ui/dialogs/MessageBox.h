#pragma once
// The program's message box. Every message the program shows goes through
// here: a modal dialog titled "Ordalis" with one of four icons, one of four
// button sets and a rich-text body (bold runs between "<b>" and "</b>",
// paragraph breaks at CR LF).
#include <windows.h>

#include <cstdint>
#include <string>

// Flag word. Icon bits, the first set one wins; none shows the information icon.
constexpr uint32_t kMsgIconError = 0x1;        // icon 12503
constexpr uint32_t kMsgIconWarning = 0x2;      // icon 12502
constexpr uint32_t kMsgIconInformation = 0x4;  // icon 12501
constexpr uint32_t kMsgIconQuestion = 0x8;     // icon 12500
constexpr uint32_t kMsgIconCustom = 0x10;      // the icon number the caller gives
// Button sets; none of them: a single "OK".
constexpr uint32_t kMsgContinueQuit = 0x800;   // results 10 / 11
constexpr uint32_t kMsgYesNoCancel = 0x1000;   // results 6 / 7 / 2
constexpr uint32_t kMsgOkCancel = 0x2000;      // results 1 / 2
constexpr uint32_t kMsgYesNo = 0x4000;         // results 6 / 7 (Escape: 7)

constexpr int kMsgResultOk = 1;
constexpr int kMsgResultCancel = 2;
constexpr int kMsgResultYes = 6;
constexpr int kMsgResultNo = 7;
constexpr int kMsgResultContinue = 10;
constexpr int kMsgResultQuit = 11;

// The text of string id `textId` (the literal with the built-in language or
// with id 0). Returns the result of the button chosen.
int ShowMessageBox(HWND owner, uint32_t flags, uint32_t textId, const wchar_t* literal, int customIcon = 0);
// A text already composed (a message with a path or a system error in it).
int ShowMessageText(HWND owner, uint32_t flags, const std::wstring& text, int customIcon = 0);

// The older call with the system's MB_ style bits, mapped onto the flag word.
int ShowMessage(HWND owner, const std::wstring& text, const std::wstring& title, UINT style);
