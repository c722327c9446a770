#include "ui/dialogs/InfoDialogs.h"

#include <algorithm>

#include "options/ProgramVersion.h"
#include "res/ResourceIds.h"
#include "ui/controls/Dpi.h"
#include "ui/dialogs/HelpDialog.h"
#include "ui/controls/DialogPlacement.h"
#include "options/StringIds.h"
#include "util/Text.h"
#include "util/win32/Win32Handle.h"

namespace {

constexpr wchar_t kWarrantyItalian[] =
    L"Ordalis \u00E8 distribuito nella speranza che sia utile, ma SENZA ALCUNA GARANZIA, esplicita o "
    L"implicita, comprese le garanzie implicite di COMMERCIABILIT\u00C0 o di IDONEIT\u00C0 A UNO SCOPO "
    L"PARTICOLARE.\r\n\r\n"
    L"Gli autori non rispondono di alcun danno, diretto o indiretto, derivante dall'uso del programma o "
    L"dall'impossibilit\u00E0 di usarlo, compresa la perdita di dati. Prima di deframmentare file importanti, "
    L"eseguirne una copia di sicurezza.\r\n\r\n"
    L"L'intero rischio relativo alla qualit\u00E0 e alle prestazioni del programma \u00E8 a carico "
    L"dell'utente.";

constexpr wchar_t kAboutItalian[] =
    L"Ordalis deframmenta singoli file e cartelle: sposta ogni file frammentato, intero, in un'unica area "
    L"libera del volume, senza riorganizzare il resto del disco.";

struct InfoContent {
  std::wstring title;
  std::wstring heading;
  std::wstring text;
  int icon;
};

// The height the text needs at that width in the box's font.
int TextHeight(HWND box, const std::wstring& text, int width) {
  const WindowDc dc(box);
  const DcSelection font(dc.Get(), reinterpret_cast<HFONT>(SendMessageW(box, WM_GETFONT, 0, 0)));
  RECT bounds{0, 0, width, 0};
  DrawTextW(dc.Get(), text.c_str(), static_cast<int>(text.size()), &bounds,
            DT_CALCRECT | DT_WORDBREAK | DT_NOPREFIX | DT_EDITCONTROL);
  return bounds.bottom;
}

void Layout(HWND dialog, const std::wstring& text) {
  const UINT dpi = WindowDpi(dialog);
  auto s = [dpi](int size96) { return ScaleForDpi(size96, dpi); };
  const int margin = s(14), icon = GetSystemMetrics(SM_CXICON), textLeft = margin + icon + s(14);
  const int textWidth = s(420), button = s(24);
  MoveWindow(GetDlgItem(dialog, IDC_INFO_ICON), margin, margin, icon, icon, FALSE);
  MoveWindow(GetDlgItem(dialog, IDC_INFO_HEADING), textLeft, margin, textWidth, s(20), FALSE);
  const int textTop = margin + s(30);
  // The whole text in sight, on screens of any size within reason.
  const int textHeight = std::min(TextHeight(GetDlgItem(dialog, IDC_INFO_TEXT), text, textWidth - s(8)) + s(8),
                                  GetSystemMetrics(SM_CYSCREEN) / 2);
  MoveWindow(GetDlgItem(dialog, IDC_INFO_TEXT), textLeft, textTop, textWidth, textHeight, FALSE);
  const int buttonTop = textTop + textHeight + s(12);
  MoveWindow(GetDlgItem(dialog, IDOK), textLeft + textWidth - s(90), buttonTop, s(90), button, FALSE);
  SizeAndCentreDialog(dialog, textLeft + textWidth + margin, buttonTop + button + margin);
}

// The heading's font: the dialog's, in bold. Made once, kept for the
// program's life like the dialog fonts the system keeps.
HFONT BoldFont(HWND dialog) {
  static GdiObject<HFONT> bold;
  static UINT boldDpi = 0;
  const UINT dpi = WindowDpi(dialog);
  if (bold && boldDpi == dpi) return bold.Get();
  LOGFONTW font{};
  GetObjectW(reinterpret_cast<HFONT>(SendMessageW(dialog, WM_GETFONT, 0, 0)), sizeof font, &font);
  font.lfWeight = FW_BOLD;
  bold.Reset(CreateFontIndirectW(&font));
  boldDpi = dpi;
  return bold.Get();
}

INT_PTR CALLBACK InfoProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_INITDIALOG: {
      const auto* content = reinterpret_cast<const InfoContent*>(lParam);
      SetWindowTextW(dialog, content->title.c_str());
      HICON icon = static_cast<HICON>(LoadImageW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(content->icon), IMAGE_ICON,
                                                 GetSystemMetrics(SM_CXICON), GetSystemMetrics(SM_CYICON), LR_SHARED));
      SendDlgItemMessageW(dialog, IDC_INFO_ICON, STM_SETICON, reinterpret_cast<WPARAM>(icon), 0);
      SetDlgItemTextW(dialog, IDC_INFO_HEADING, content->heading.c_str());
      SendDlgItemMessageW(dialog, IDC_INFO_HEADING, WM_SETFONT, reinterpret_cast<WPARAM>(BoldFont(dialog)), FALSE);
      SetDlgItemTextW(dialog, IDC_INFO_TEXT, content->text.c_str());
      SetDlgItemTextW(dialog, IDOK, Text(kStrDialogOk, L"OK"));
      Layout(dialog, content->text);
      SetFocus(GetDlgItem(dialog, IDOK));
      return FALSE;
    }
  }
  return EndsOnClose(dialog, message, wParam);
}

void ShowInfo(HWND owner, const InfoContent& content) {
  DialogBoxParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDD_INFO), owner, InfoProc,
                  reinterpret_cast<LPARAM>(&content));
}

}  // namespace

std::wstring TitleFromMenuText(const std::wstring& menuText) {
  std::wstring title;
  for (size_t i = 0; i < menuText.size(); ++i) {
    if (menuText[i] == L'\t') break;
    if (menuText[i] == L'&') {
      // "&&" stands for the character itself.
      if (i + 1 < menuText.size() && menuText[i + 1] == L'&') title += menuText[++i];
      continue;
    }
    title += menuText[i];
  }
  return title;
}

void ShowWarrantyDialog(HWND owner) {
  std::wstring title = TitleFromMenuText(Text(kStrMenuWarranty, L"&Esclusione di garanzie"));
  ShowInfo(owner, {title, title, Text(kStrWarrantyText, kWarrantyItalian), IDI_MSG_WARNING});
}

void ShowCommandLineDialog(HWND owner) {
  std::wstring title = TitleFromMenuText(Text(kStrMenuCommandLineHelp, L"&Parametri della riga di comando"));
  ShowHelpDialog(owner, title.c_str());
}

void ShowAboutDialog(HWND owner) {
  std::wstring text = Text(kStrAboutText, kAboutItalian);
  text += L"\r\n\r\n";
  text += ORDALIS_NOTICE_TEXT;
  ShowInfo(owner, {TitleFromMenuText(Text(kStrMenuAbout, L"&Informazioni su Ordalis")),
                   L"Ordalis " ORDALIS_VERSION_TEXT, text, IDI_MSG_INFORMATION});
}
