#include "ui/dialogs/MessageBox.h"

#include "ui/dialogs/MessageDialog.h"
#include "util/Text.h"

int ShowMessageBox(HWND owner, uint32_t flags, uint32_t textId, const wchar_t* literal, int customIcon) {
  std::wstring text = textId == 0 ? std::wstring(literal) : std::wstring(Text(textId, literal));
  return RunMessageDialog(owner, flags, text, customIcon, L"Ordalis");
}

int ShowMessageText(HWND owner, uint32_t flags, const std::wstring& text, int customIcon) {
  return RunMessageDialog(owner, flags, text, customIcon, L"Ordalis");
}

int ShowMessage(HWND owner, const std::wstring& text, const std::wstring& title, UINT style) {
  uint32_t flags = 0;
  switch (style & MB_ICONMASK) {
    case MB_ICONHAND: flags |= kMsgIconError; break;
    case MB_ICONEXCLAMATION: flags |= kMsgIconWarning; break;
    case MB_ICONQUESTION: flags |= kMsgIconQuestion; break;
    case MB_ICONASTERISK: flags |= kMsgIconInformation; break;
  }
  switch (style & MB_TYPEMASK) {
    case MB_OKCANCEL: flags |= kMsgOkCancel; break;
    case MB_YESNO:
    case MB_YESNOCANCEL: flags |= kMsgYesNoCancel; break;
  }
  return RunMessageDialog(owner, flags, text, 0, title);
}
