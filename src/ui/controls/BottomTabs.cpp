#include <string>
#include <vector>

#include "ui/controls/Dpi.h"
#include "ui/controls/Controls.h"
#include "ui/controls/Theme.h"

namespace {

struct Tab {
  std::wstring text;
  WORD command = 0;
  bool enabled = true;
  RECT bounds{};
};

struct TabsState {
  std::vector<Tab> tabs;
  int selected = 0;
  int hot = -1;
  int pressed = -1;
};

void MeasureTabs(HWND window, HDC dc, TabsState& state) {
  int pad = ScaleForDpi(14, WindowDpi(window));
  RECT client{};
  GetClientRect(window, &client);
  int x = ScaleForDpi(6, WindowDpi(window));
  for (Tab& tab : state.tabs) {
    SIZE extent{};
    GetTextExtentPoint32W(dc, tab.text.c_str(), static_cast<int>(tab.text.size()), &extent);
    tab.bounds = {x, 0, x + extent.cx + 2 * pad, client.bottom};
    x = tab.bounds.right + 1;
  }
}

int TabAt(const TabsState& state, POINT point) {
  for (size_t i = 0; i < state.tabs.size(); ++i) {
    if (PtInRect(&state.tabs[i].bounds, point)) return static_cast<int>(i);
  }
  return -1;
}

void Paint(HWND window, TabsState& state) {
  Theme::BufferedPaint paint(window);
  HDC dc = paint.Dc();
  RECT client = paint.Client();
  Theme::FillSolid(dc, client, Theme::kFace);
  MeasureTabs(window, dc, state);
  // The line the tabs stand on, broken by the selected tab.
  Theme::FillSolid(dc, {0, client.bottom - 1, client.right, client.bottom}, Theme::kBorder);
  for (size_t i = 0; i < state.tabs.size(); ++i) {
    const Tab& tab = state.tabs[i];
    RECT box = tab.bounds;
    bool selected = static_cast<int>(i) == state.selected;
    bool hot = static_cast<int>(i) == state.hot && tab.enabled;
    box.top += selected ? 0 : 2;
    if (selected) {
      Theme::FillSolid(dc, {box.left, box.top, box.right, box.bottom}, RGB(255, 255, 255));
      Theme::FillSolid(dc, {box.left, box.top, box.right, box.top + 3}, Theme::kAccent);
    } else if (static_cast<int>(i) == state.pressed && hot) {
      Theme::FillGradient(dc, {box.left, box.top, box.right, box.bottom - 1}, Theme::kPressedTop, Theme::kPressedBottom);
    } else if (hot) {
      Theme::FillGradient(dc, {box.left, box.top, box.right, box.bottom - 1}, Theme::kHotTop, Theme::kHotBottom);
    } else {
      Theme::FillGradient(dc, {box.left, box.top, box.right, box.bottom - 1}, Theme::kFaceTop, Theme::kFaceBottom);
    }
    // Sides and top of the tab; the selected one opens into the body below.
    COLORREF edge = hot ? Theme::kHotBorder : Theme::kBorder;
    Theme::FillSolid(dc, {box.left, box.top, box.left + 1, box.bottom}, edge);
    Theme::FillSolid(dc, {box.right - 1, box.top, box.right, box.bottom}, edge);
    if (!selected) Theme::FillSolid(dc, {box.left, box.top, box.right, box.top + 1}, edge);
    else Theme::FillSolid(dc, {box.left + 1, box.bottom - 1, box.right - 1, box.bottom}, RGB(255, 255, 255));
    SetTextColor(dc, !tab.enabled ? Theme::kDisabledText : selected ? Theme::kText : RGB(70, 78, 90));
    RECT text = box;
    text.top += selected ? 2 : 0;
    DrawTextW(dc, tab.text.c_str(), -1, &text, DT_CENTER | DT_VCENTER | DT_SINGLELINE);
    // Reached with Tab, the chosen tab shows that the arrows move from it.
    if (selected && GetFocus() == window) {
      RECT focus{box.left + 3, box.top + 4, box.right - 3, box.bottom - 3};
      DrawFocusRect(dc, &focus);
    }
  }
}

void Track(HWND window) {
  TRACKMOUSEEVENT track{sizeof track, TME_LEAVE, window, 0};
  TrackMouseEvent(&track);
}

LRESULT CALLBACK TabsProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  auto* state = Theme::ControlState<TabsState>(window, message);
  POINT point{static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam))};
  switch (message) {
    case kTabsAdd:
      state->tabs.push_back({reinterpret_cast<const wchar_t*>(lParam), static_cast<WORD>(wParam)});
      InvalidateRect(window, nullptr, FALSE);
      return static_cast<LRESULT>(state->tabs.size() - 1);
    case kTabsSetText:
      if (wParam < state->tabs.size()) state->tabs[wParam].text = reinterpret_cast<const wchar_t*>(lParam);
      InvalidateRect(window, nullptr, FALSE);
      return 0;
    case kTabsSelect:
      if (wParam < state->tabs.size()) state->selected = static_cast<int>(wParam);
      InvalidateRect(window, nullptr, FALSE);
      return 0;
    case kTabsGetSelected:
      return state->selected;
    case kTabsEnable:
      if (wParam < state->tabs.size()) state->tabs[wParam].enabled = lParam != 0;
      InvalidateRect(window, nullptr, FALSE);
      return 0;
    case WM_GETDLGCODE:
      return DLGC_WANTARROWS;
    case WM_KEYDOWN: {
      // Left and Right move to the neighbouring tab that can be chosen.
      const int step = wParam == VK_LEFT ? -1 : wParam == VK_RIGHT ? 1 : 0;
      if (step == 0) break;
      const int count = static_cast<int>(state->tabs.size());
      for (int i = state->selected + step; i >= 0 && i < count; i += step) {
        if (!state->tabs[i].enabled) continue;
        state->selected = i;
        InvalidateRect(window, nullptr, FALSE);
        SendMessageW(GetParent(window), WM_COMMAND, state->tabs[i].command, reinterpret_cast<LPARAM>(window));
        break;
      }
      return 0;
    }
    case WM_SETFOCUS:
    case WM_KILLFOCUS:
      InvalidateRect(window, nullptr, FALSE);
      return 0;
    case WM_MOUSEMOVE: {
      int hot = TabAt(*state, point);
      if (hot != state->hot) {
        state->hot = hot;
        Track(window);
        InvalidateRect(window, nullptr, FALSE);
      }
      return 0;
    }
    case WM_MOUSELEAVE:
      state->hot = -1;
      InvalidateRect(window, nullptr, FALSE);
      return 0;
    case WM_LBUTTONDOWN:
      state->pressed = TabAt(*state, point);
      SetCapture(window);
      InvalidateRect(window, nullptr, FALSE);
      return 0;
    case WM_LBUTTONUP: {
      int pressed = state->pressed;
      state->pressed = -1;
      ReleaseCapture();
      InvalidateRect(window, nullptr, FALSE);
      if (pressed >= 0 && pressed == TabAt(*state, point) && state->tabs[pressed].enabled) {
        state->selected = pressed;
        SendMessageW(GetParent(window), WM_COMMAND, state->tabs[pressed].command,
                     reinterpret_cast<LPARAM>(window));
      }
      return 0;
    }
  }
  return Theme::DrawnControlDefault(window, message, wParam, lParam, [&] { Paint(window, *state); });
}

}  // namespace

HWND CreateBottomTabs(HWND parent, int id) {
  return Theme::CreateControl({kBottomTabsClass, TabsProc}, parent, id, WS_VISIBLE | WS_TABSTOP);
}
