#include "ui/dialogs/MessageDialog.h"

#include <richedit.h>

#include <vector>

#include "ui/controls/Dpi.h"
#include "ui/dialogs/MessageBox.h"
#include "ui/controls/DialogPlacement.h"
#include "ui/controls/Theme.h"
#include "options/StringIds.h"
#include "util/win32/SystemLibrary.h"
#include "util/Text.h"
#include "util/win32/Win32Handle.h"

namespace {

// Out of the range of the results a box's buttons carry: the text control's
// notifications come as commands with its number.
constexpr int kTextControlId = 32100;
constexpr int kIconControlId = 32101;

struct ButtonChoice {
  int result;
  uint32_t textId;  // 0: the text below is already in the current language
  const wchar_t* italian;
};

constexpr ButtonChoice kContinueQuit[] = {{kMsgResultContinue, kStrButtonContinue, L"&Continua"},
                                          {kMsgResultQuit, kStrButtonQuit, L"&Esci"}};
constexpr ButtonChoice kYesNoCancel[] = {{kMsgResultYes, kStrButtonYes, L"&S\u00EC"},
                                         {kMsgResultNo, kStrButtonNo, L"&No"},
                                         {kMsgResultCancel, kStrCancel, L"Annulla"}};
constexpr ButtonChoice kYesNo[] = {{kMsgResultYes, kStrButtonYes, L"&S\u00EC"}, {kMsgResultNo, kStrButtonNo, L"&No"}};
constexpr ButtonChoice kOkCancel[] = {{kMsgResultOk, kStrDialogOk, L"OK"}, {kMsgResultCancel, kStrCancel, L"Annulla"}};
constexpr ButtonChoice kOkOnly[] = {{kMsgResultOk, kStrDialogOk, L"OK"}};

struct ButtonSet {
  const ButtonChoice* buttons;
  size_t count;
  // What Escape and the close button end the box with; 0 refuses them.
  int escapeResult;
};

ButtonSet ButtonsFor(uint32_t flags) {
  if (flags & kMsgContinueQuit) return {kContinueQuit, 2, 0};
  if (flags & kMsgYesNoCancel) return {kYesNoCancel, 3, kMsgResultCancel};
  if (flags & kMsgOkCancel) return {kOkCancel, 2, kMsgResultCancel};
  // A question whose "no" leaves things as they are: Escape says no.
  if (flags & kMsgYesNo) return {kYesNo, 2, kMsgResultNo};
  // A lone OK only acknowledges: Escape means the same.
  return {kOkOnly, 1, kMsgResultOk};
}

int IconFor(uint32_t flags, int customIcon) {
  if (flags & kMsgIconError) return 12503;
  if (flags & kMsgIconWarning) return 12502;
  if (flags & kMsgIconInformation) return 12501;
  if (flags & kMsgIconQuestion) return 12500;
  if (flags & kMsgIconCustom) return customIcon;
  return 12501;
}

// The message without its bold markers, with CR LF as the rich-edit control's
// paragraph mark (a lone CR), and the bold runs as character ranges of it.
struct RichMessage {
  std::wstring text;
  std::vector<std::pair<LONG, LONG>> boldRuns;
};

RichMessage ParseMessage(const std::wstring& message) {
  RichMessage rich;
  LONG boldStart = -1;
  for (size_t i = 0; i < message.size(); ++i) {
    if (message.compare(i, 3, L"<b>") == 0 && boldStart < 0) {
      boldStart = static_cast<LONG>(rich.text.size());
      i += 2;
    } else if (message.compare(i, 4, L"</b>") == 0 && boldStart >= 0) {
      rich.boldRuns.emplace_back(boldStart, static_cast<LONG>(rich.text.size()));
      boldStart = -1;
      i += 3;
    } else if (message[i] == L'\r' && i + 1 < message.size() && message[i + 1] == L'\n') {
      rich.text += L'\r';
      ++i;
    } else if (message[i] == L'\n') {
      rich.text += L'\r';
    } else {
      rich.text += message[i];
    }
  }
  if (boldStart >= 0) rich.boldRuns.emplace_back(boldStart, static_cast<LONG>(rich.text.size()));
  return rich;
}

struct DialogInput {
  uint32_t flags;
  std::wstring text;
  int icon;
  std::wstring title;
  const std::vector<MessageButton>* buttons = nullptr;  // instead of the flags' set
  int width = 400;
};

struct DialogState {
  ButtonSet buttons;
  std::vector<ButtonChoice> ownButtons;
  int bandTop = 0;
  GdiObject<HFONT> boldFont;
  UniqueIcon icon;
};

HFONT BoldVersionOf(HFONT font) {
  LOGFONTW logFont{};
  GetObjectW(font, sizeof logFont, &logFont);
  logFont.lfWeight = FW_BOLD;
  return CreateFontIndirectW(&logFont);
}

int MeasureTextHeight(HWND dialog, HFONT font, const std::wstring& text, int width) {
  const WindowDc dc(dialog);
  const DcSelection selected(dc.Get(), font);
  RECT bounds{0, 0, width, 0};
  // Measured in the bold face, so that bold runs never need more room than given.
  DrawTextW(dc.Get(), text.c_str(), static_cast<int>(text.size()), &bounds,
            DT_CALCRECT | DT_WORDBREAK | DT_NOPREFIX | DT_EDITCONTROL);
  return bounds.bottom;
}

void BuildDialog(HWND dialog, const DialogInput& input, DialogState& state) {
  UINT dpi = WindowDpi(dialog);
  auto scaled = [dpi](int size) { return ScaleForDpi(size, dpi); };
  HFONT font = Theme::WindowFont(dialog);
  state.boldFont.Reset(BoldVersionOf(font));
  SetWindowTextW(dialog, input.title.c_str());

  const int margin = scaled(16);
  const int iconSize = scaled(32);
  const int width = scaled(input.width);
  const int textLeft = margin + iconSize + scaled(14);
  const int textWidth = width - textLeft - margin;

  RichMessage rich = ParseMessage(input.text);
  std::wstring measured = rich.text;
  for (wchar_t& c : measured) {
    if (c == L'\r') c = L'\n';
  }
  int textHeight = MeasureTextHeight(dialog, state.boldFont.Get(), measured, textWidth) + scaled(4);
  int contentHeight = textHeight > iconSize ? textHeight : iconSize;
  const int buttonHeight = scaled(26);
  const int bandHeight = buttonHeight + scaled(20);
  state.bandTop = margin + contentHeight + margin;
  const int clientHeight = state.bandTop + bandHeight;

  SizeAndCentreDialog(dialog, width, clientHeight);

  HINSTANCE instance = GetModuleHandleW(nullptr);
  state.icon.Reset(static_cast<HICON>(
      LoadImageW(instance, MAKEINTRESOURCEW(input.icon), IMAGE_ICON, iconSize, iconSize, LR_DEFAULTCOLOR)));
  HWND iconControl = CreateWindowExW(0, L"STATIC", nullptr, WS_CHILD | WS_VISIBLE | SS_ICON | SS_REALSIZEIMAGE,
                                     margin, margin, iconSize, iconSize, dialog,
                                     reinterpret_cast<HMENU>(static_cast<INT_PTR>(kIconControlId)), instance, nullptr);
  if (state.icon) SendMessageW(iconControl, STM_SETICON, reinterpret_cast<WPARAM>(state.icon.Get()), 0);

  int textTop = margin + (contentHeight - textHeight) / 2;
  HWND textControl = CreateWindowExW(0, L"RichEdit20W", nullptr,
                                     WS_CHILD | WS_VISIBLE | ES_MULTILINE | ES_READONLY, textLeft, textTop,
                                     textWidth, textHeight, dialog,
                                     reinterpret_cast<HMENU>(static_cast<INT_PTR>(kTextControlId)), instance, nullptr);
  if (textControl) {
    SendMessageW(textControl, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
    SendMessageW(textControl, EM_SETBKGNDCOLOR, 0, GetSysColor(COLOR_WINDOW));
    SetWindowTextW(textControl, rich.text.c_str());
    CHARFORMAT2W bold{};
    bold.cbSize = sizeof bold;
    bold.dwMask = CFM_BOLD;
    bold.dwEffects = CFE_BOLD;
    for (const auto& [start, end] : rich.boldRuns) {
      SendMessageW(textControl, EM_SETSEL, start, end);
      SendMessageW(textControl, EM_SETCHARFORMAT, SCF_SELECTION, reinterpret_cast<LPARAM>(&bold));
    }
    SendMessageW(textControl, EM_SETSEL, 0, 0);
    SendMessageW(textControl, EM_HIDESELECTION, TRUE, 0);
  } else {
    // Without the rich-edit library the text still shows, only without bold runs.
    textControl = CreateWindowExW(0, L"STATIC", measured.c_str(), WS_CHILD | WS_VISIBLE | SS_NOPREFIX, textLeft,
                                  textTop, textWidth, textHeight, dialog,
                                  reinterpret_cast<HMENU>(static_cast<INT_PTR>(kTextControlId)), instance, nullptr);
    SendMessageW(textControl, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
  }

  const int buttonWidth = scaled(state.ownButtons.empty() ? 84 : 150);
  const int gap = scaled(8);
  int x = width - margin - static_cast<int>(state.buttons.count) * buttonWidth -
          static_cast<int>(state.buttons.count - 1) * gap;
  int y = state.bandTop + (bandHeight - buttonHeight) / 2;
  HWND first = nullptr;
  for (size_t i = 0; i < state.buttons.count; ++i) {
    const ButtonChoice& choice = state.buttons.buttons[i];
    DWORD style = WS_CHILD | WS_VISIBLE | WS_TABSTOP | (i == 0 ? BS_DEFPUSHBUTTON | WS_GROUP : BS_PUSHBUTTON);
    HWND button = CreateWindowExW(0, L"BUTTON", choice.textId ? Text(choice.textId, choice.italian) : choice.italian, style, x, y, buttonWidth,
                                  buttonHeight, dialog, reinterpret_cast<HMENU>(static_cast<INT_PTR>(choice.result)),
                                  instance, nullptr);
    SendMessageW(button, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
    if (i == 0) first = button;
    x += buttonWidth + gap;
  }
  SendMessageW(dialog, DM_SETDEFID, state.buttons.buttons[0].result, 0);
  if (first) SetFocus(first);
  if (state.buttons.escapeResult == 0) {
    EnableMenuItem(GetSystemMenu(dialog, FALSE), SC_CLOSE, MF_BYCOMMAND | MF_GRAYED);
  }
}

void PaintDialog(HWND dialog, const DialogState& state) {
  PAINTSTRUCT paint{};
  HDC dc = BeginPaint(dialog, &paint);
  RECT client{};
  GetClientRect(dialog, &client);
  Theme::FillSolid(dc, {0, 0, client.right, state.bandTop}, GetSysColor(COLOR_WINDOW));
  Theme::FillSolid(dc, {0, state.bandTop, client.right, state.bandTop + 1}, RGB(223, 227, 233));
  Theme::FillGradient(dc, {0, state.bandTop + 1, client.right, client.bottom}, RGB(243, 245, 248),
                      RGB(234, 237, 242));
  EndPaint(dialog, &paint);
}

INT_PTR CALLBACK MessageDialogProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
  auto* state = reinterpret_cast<DialogState*>(GetWindowLongPtrW(dialog, DWLP_USER));
  switch (message) {
    case WM_INITDIALOG: {
      const auto* input = reinterpret_cast<const DialogInput*>(lParam);
      state = new DialogState{ButtonsFor(input->flags), {}};
      if (input->buttons) {
        // The caller's own buttons: none of them is the answer to Escape.
        for (const MessageButton& button : *input->buttons) {
          state->ownButtons.push_back({button.result, 0, button.text.c_str()});
        }
        state->buttons = {state->ownButtons.data(), state->ownButtons.size(), 0};
      }
      SetWindowLongPtrW(dialog, DWLP_USER, reinterpret_cast<LONG_PTR>(state));
      BuildDialog(dialog, *input, *state);
      MessageBeep(input->flags & kMsgIconError ? MB_ICONHAND
                  : input->flags & kMsgIconWarning ? MB_ICONEXCLAMATION
                                                    : MB_OK);
      return FALSE;  // the focus is set
    }
    case WM_ERASEBKGND:
      return TRUE;
    case WM_PAINT:
      if (state) PaintDialog(dialog, *state);
      return TRUE;
    case WM_CTLCOLORSTATIC:
      SetBkColor(reinterpret_cast<HDC>(wParam), GetSysColor(COLOR_WINDOW));
      return reinterpret_cast<INT_PTR>(GetSysColorBrush(COLOR_WINDOW));
    case WM_COMMAND: {
      int id = LOWORD(wParam);
      if (!state) return FALSE;
      for (size_t i = 0; i < state->buttons.count; ++i) {
        // A set's cancel button shares its number with Escape: both end with 2.
        if (state->buttons.buttons[i].result == id) {
          EndDialog(dialog, id);
          return TRUE;
        }
      }
      if (id == IDCANCEL && state->buttons.escapeResult != 0) EndDialog(dialog, state->buttons.escapeResult);
      return TRUE;
    }
    case WM_CLOSE:
      if (state && state->buttons.escapeResult != 0) EndDialog(dialog, state->buttons.escapeResult);
      return TRUE;
    case WM_NCDESTROY:
      if (state) {
        delete state;
        SetWindowLongPtrW(dialog, DWLP_USER, 0);
      }
      return FALSE;
  }
  return FALSE;
}

// The message dialog in an empty template: its controls are made at
// initialisation, sized for the message.
int RunWith(HWND owner, const DialogInput& input) {
  static const bool richEditLoaded = LoadSystemLibrary(L"RICHED20.DLL") != nullptr;
  (void)richEditLoaded;
  return RunEmptyTemplateDialog(owner, DS_MODALFRAME | WS_POPUP | WS_CAPTION | WS_SYSMENU, MessageDialogProc,
                                reinterpret_cast<LPARAM>(&input), 0, L"Ordalis", WS_EX_DLGMODALFRAME);
}

}  // namespace

int RunMessageDialog(HWND owner, uint32_t flags, const std::wstring& text, int customIcon,
                     const std::wstring& title) {
  return RunWith(owner, DialogInput{flags, text, IconFor(flags, customIcon), title.empty() ? L"Ordalis" : title});
}

int RunMessageDialogWithButtons(HWND owner, uint32_t flags, const std::wstring& text, const std::wstring& title,
                                const std::vector<MessageButton>& buttons, int width) {
  return RunWith(owner,
                 DialogInput{flags, text, IconFor(flags, 0), title.empty() ? L"Ordalis" : title, &buttons, width});
}
