#pragma once
// The program's own window classes. Each Create function registers its class
// on first use and creates one control as a child of `parent` with the given
// control id. Private messages are listed beside each control.
#include <windows.h>

#include <cstdint>

constexpr wchar_t kProgressBarClass[] = L"myTheme_ProgressBar358";
constexpr wchar_t kBottomTabsClass[] = L"myTheme_BottomTabs358";
constexpr wchar_t kBottomTabBodyClass[] = L"myTheme_BottomTabBody358";
constexpr wchar_t kColoredButtonClass[] = L"myTheme_ColoredButton358";
constexpr wchar_t kToolbarButtonClass[] = L"myTheme_ToolbarButton358";
constexpr wchar_t kSplitterClass[] = L"myTheme_SplitterControl358";

// Progress bar: range 0..last (lParam), position (lParam); both repaint.
constexpr UINT kProgressSetRange = WM_APP + 1;
constexpr UINT kProgressSetPosition = WM_APP + 2;
HWND CreateProgressBar(HWND parent, int id);

// Bottom tabs: a row of tab buttons. kTabsAdd: wParam the command sent to the
// parent when the tab is clicked, lParam its text; returns the tab's index.
// kTabsSetText: wParam index, lParam text. kTabsSelect: wParam index (no
// command is sent). kTabsGetSelected returns the index. kTabsEnable: wParam
// index, lParam TRUE/FALSE.
constexpr UINT kTabsAdd = WM_APP + 10;
constexpr UINT kTabsSetText = WM_APP + 11;
constexpr UINT kTabsSelect = WM_APP + 12;
constexpr UINT kTabsGetSelected = WM_APP + 13;
constexpr UINT kTabsEnable = WM_APP + 14;
HWND CreateBottomTabs(HWND parent, int id);

// Tab body: a framed panel hosting the active tab's window. Notifications
// and commands of its children go on to its parent. kBodySetNotice: lParam
// a text drawn in the middle when no child covers the body (null clears); it
// is also the body's window text.
// kBodyInnerRect: lParam RECT* receiving the area inside the frame.
constexpr UINT kBodySetNotice = WM_APP + 20;
constexpr UINT kBodyInnerRect = WM_APP + 21;
HWND CreateBottomTabBody(HWND parent, int id);

// Coloured button: shows a colour swatch beside its text; a click sends
// BN_CLICKED. kColourSet: wParam the colour; kColourGet returns it.
constexpr UINT kColourSet = WM_APP + 30;
constexpr UINT kColourGet = WM_APP + 31;
HWND CreateColoredButton(HWND parent, int id, const wchar_t* text, COLORREF colour);

// Toolbar button: image above text, optional drop-down arrow on the right.
// A click on the body sends BN_CLICKED, a click on the arrow
// kToolbarDropDownCode, both as WM_COMMAND with the button as lParam.
// kToolbarSetTip: lParam the tool-tip text.
constexpr WORD kToolbarDropDownCode = 0x0F01;
constexpr UINT kToolbarSetTip = WM_APP + 40;
HWND CreateToolbarButton(HWND parent, int id, const wchar_t* text, HICON icon, bool dropDown);
// The width a toolbar button needs for its text and image.
int ToolbarButtonWidth(HWND button);

// Splitter: a horizontal bar dragged up and down. While dragging it sends
// WM_COMMAND with kSplitterMovedCode; kSplitterGetPosition then returns the
// wanted top of the bar in the parent's client coordinates.
constexpr WORD kSplitterMovedCode = 0x0F02;
constexpr UINT kSplitterGetPosition = WM_APP + 50;
HWND CreateSplitter(HWND parent, int id);
