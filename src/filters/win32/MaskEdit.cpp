#include "filters/win32/MaskEdit.h"

#include <commctrl.h>

#include <string>

#include "util/StringIds.h"
#include "util/Text.h"

namespace {

constexpr wchar_t kRejected[] = L"\\/:<>|\"";
constexpr UINT_PTR kSubclassId = 1;

LRESULT CALLBACK MaskEditProc(HWND edit, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR,
                              DWORD_PTR tipShown) {
  bool& shown = *reinterpret_cast<bool*>(tipShown);
  switch (message) {
    case WM_CHAR:
      if (wParam != 0 && std::wstring_view(kRejected).find(static_cast<wchar_t>(wParam)) != std::wstring_view::npos) {
        if (!shown) {
          std::wstring text = Text(kStrBadMaskText, L"Le maschere non possono contenere i seguenti caratteri:");
          text += L"\n\\ / : < > | \"";
          std::wstring title = Text(kStrBadMaskTitle, L"Carattere non valido");
          EDITBALLOONTIP tip{sizeof tip, title.c_str(), text.c_str(), TTI_ERROR};
          SendMessageW(edit, EM_SHOWBALLOONTIP, 0, reinterpret_cast<LPARAM>(&tip));
          shown = true;
        }
        return 0;
      }
      [[fallthrough]];
    case WM_LBUTTONDOWN:
    case WM_RBUTTONDOWN:
      if (shown) {
        SendMessageW(edit, EM_HIDEBALLOONTIP, 0, 0);
        shown = false;
      }
      break;
    case WM_NCDESTROY:
      RemoveWindowSubclass(edit, MaskEditProc, kSubclassId);
      delete &shown;
      break;
  }
  return DefSubclassProc(edit, message, wParam, lParam);
}

}  // namespace

void MakeMaskEdit(HWND edit) {
  SetWindowSubclass(edit, MaskEditProc, kSubclassId, reinterpret_cast<DWORD_PTR>(new bool(false)));
}
