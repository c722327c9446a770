#include <string>

#include "ui/controls/Dpi.h"
#include "ui/controls/Controls.h"
#include "ui/controls/Theme.h"

namespace {

struct BodyState {
  std::wstring notice;
};

void Paint(HWND window, const BodyState& state) {
  Theme::BufferedPaint paint(window);
  HDC dc = paint.Dc();
  RECT client = paint.Client();
  Theme::FillSolid(dc, client, RGB(255, 255, 255));
  Theme::FillSolid(dc, {0, 0, 1, client.bottom}, Theme::kBorder);
  Theme::FillSolid(dc, {client.right - 1, 0, client.right, client.bottom}, Theme::kBorder);
  Theme::FillSolid(dc, {0, client.bottom - 1, client.right, client.bottom}, Theme::kBorder);
  if (!state.notice.empty()) {
    SetTextColor(dc, RGB(110, 118, 128));
    RECT text = client;
    InflateRect(&text, -ScaleForDpi(8, WindowDpi(window)), -ScaleForDpi(8, WindowDpi(window)));
    DrawTextW(dc, state.notice.c_str(), -1, &text, DT_CENTER | DT_VCENTER | DT_SINGLELINE | DT_END_ELLIPSIS);
  }
}

LRESULT CALLBACK BodyProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  auto* state = Theme::ControlState<BodyState>(window, message);
  switch (message) {
    case kBodySetNotice:
      state->notice = lParam ? reinterpret_cast<const wchar_t*>(lParam) : L"";
      // Also the window's text, so that screen readers can say it.
      DefWindowProcW(window, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(state->notice.c_str()));
      InvalidateRect(window, nullptr, FALSE);
      return 0;
    case kBodyInnerRect: {
      auto* inner = reinterpret_cast<RECT*>(lParam);
      GetClientRect(window, inner);
      inner->left += 1;
      inner->right -= 1;
      inner->bottom -= 1;
      return 0;
    }
    // The hosted lists report to the main window as if they were its own.
    case WM_NOTIFY:
    case WM_COMMAND:
    case WM_CONTEXTMENU:
      return SendMessageW(GetParent(window), message, wParam, lParam);
    case WM_CTLCOLORSTATIC:
      SetBkColor(reinterpret_cast<HDC>(wParam), RGB(255, 255, 255));
      SetTextColor(reinterpret_cast<HDC>(wParam), Theme::kText);
      return reinterpret_cast<LRESULT>(GetStockObject(WHITE_BRUSH));
  }
  return Theme::DrawnControlDefault(window, message, wParam, lParam, [&] { Paint(window, *state); });
}

}  // namespace

HWND CreateBottomTabBody(HWND parent, int id) {
  return Theme::CreateControl({kBottomTabBodyClass, BodyProc}, parent, id, WS_VISIBLE | WS_CLIPCHILDREN, L"",
                              WS_EX_CONTROLPARENT);
}
