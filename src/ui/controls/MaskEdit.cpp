#include "ui/controls/MaskEdit.h"

#include <commctrl.h>

#include <string>

#include "options/StringIds.h"
#include "util/Text.h"

namespace {

constexpr wchar_t kRejected[] = L"\\/:<>|\"";
constexpr UINT_PTR kSubclassId = 1;

// The balloon of one mask box: a tracking tool tip that points at the box.
struct MaskBalloon {
  HWND tip = nullptr;
  bool shown = false;
  std::wstring title, text;
};

TTTOOLINFOW ToolOf(HWND edit, MaskBalloon& balloon) {
  TTTOOLINFOW tool{};
  tool.cbSize = sizeof tool;
  tool.uFlags = TTF_IDISHWND | TTF_TRACK | TTF_ABSOLUTE;
  tool.hwnd = edit;
  tool.uId = reinterpret_cast<UINT_PTR>(edit);
  tool.lpszText = balloon.text.data();
  return tool;
}

void ShowBalloon(HWND edit, MaskBalloon& balloon) {
  balloon.title = Text(kStrBadMaskTitle, L"Carattere non valido");
  balloon.text = Text(kStrBadMaskText, L"Le maschere non possono contenere i seguenti caratteri:");
  balloon.text += L"\n\\ / : < > | \"";
  if (!balloon.tip) {
    balloon.tip = CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr, WS_POPUP | TTS_BALLOON | TTS_NOPREFIX,
                                  CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, edit, nullptr,
                                  GetModuleHandleW(nullptr), nullptr);
    TTTOOLINFOW tool = ToolOf(edit, balloon);
    SendMessageW(balloon.tip, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
    SendMessageW(balloon.tip, TTM_SETMAXTIPWIDTH, 0, 400);
  }
  TTTOOLINFOW tool = ToolOf(edit, balloon);
  SendMessageW(balloon.tip, TTM_UPDATETIPTEXTW, 0, reinterpret_cast<LPARAM>(&tool));
  SendMessageW(balloon.tip, TTM_SETTITLEW, TTI_ERROR, reinterpret_cast<LPARAM>(balloon.title.c_str()));
  RECT box{};
  GetWindowRect(edit, &box);
  SendMessageW(balloon.tip, TTM_TRACKPOSITION, 0, MAKELPARAM(box.left + 16, box.bottom - 2));
  SendMessageW(balloon.tip, TTM_TRACKACTIVATE, TRUE, reinterpret_cast<LPARAM>(&tool));
  balloon.shown = true;
}

void HideBalloon(HWND edit, MaskBalloon& balloon) {
  if (!balloon.shown) return;
  TTTOOLINFOW tool = ToolOf(edit, balloon);
  SendMessageW(balloon.tip, TTM_TRACKACTIVATE, FALSE, reinterpret_cast<LPARAM>(&tool));
  balloon.shown = false;
}

bool Rejected(WPARAM unit) {
  return unit != 0 && std::wstring_view(kRejected).find(static_cast<wchar_t>(unit)) != std::wstring_view::npos;
}

LRESULT CALLBACK MaskEditProc(HWND edit, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR, DWORD_PTR data) {
  MaskBalloon& balloon = *reinterpret_cast<MaskBalloon*>(data);
  switch (message) {
    case WM_CHAR:
      // While the balloon is up a further refused key is swallowed quietly.
      if (Rejected(wParam)) {
        if (!balloon.shown) ShowBalloon(edit, balloon);
        return 0;
      }
      HideBalloon(edit, balloon);
      break;
    case WM_LBUTTONDOWN:
    case WM_RBUTTONDOWN:
    case WM_KILLFOCUS:
      HideBalloon(edit, balloon);
      break;
    case WM_SHOWWINDOW:
      if (!wParam) HideBalloon(edit, balloon);
      break;
    case WM_NCDESTROY:
      if (balloon.tip) DestroyWindow(balloon.tip);
      RemoveWindowSubclass(edit, MaskEditProc, kSubclassId);
      delete &balloon;
      break;
  }
  return DefSubclassProc(edit, message, wParam, lParam);
}

}  // namespace

void MakeMaskEdit(HWND edit) {
  SetWindowSubclass(edit, MaskEditProc, kSubclassId, reinterpret_cast<DWORD_PTR>(new MaskBalloon));
}
