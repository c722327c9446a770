#include "ui/HighlightDialog.h"

#include <commdlg.h>

#include "items/ItemColours.h"
#include "res/ResourceIds.h"
#include "options/Settings.h"
#include "ui/controls/Dpi.h"
#include "ui/MainWindow.h"
#include "ui/controls/Controls.h"
#include "ui/controls/DialogPlacement.h"
#include "options/StringIds.h"
#include "util/Text.h"

namespace {

static_assert(kItemColourCount == kHighlightCategoryCount);

struct Category {
  uint32_t textId;
  const wchar_t* italian;
};
// In the order the categories are tried (ItemColours.h).
constexpr Category kCategories[kHighlightCategoryCount] = {
    {kStrHighlightFragmented, L"Oggetto &frammentato"},
    {kStrHighlightNotFragmented, L"Oggetto &non frammentato"},
    {kStrHighlightDefragmented, L"Oggetto &deframmentato"},
    {kStrHighlightErrors, L"Oggetto con &errori"},
    {kStrHighlightSkipped, L"Oggetto &scartato"},
};

// The colour dialog's sixteen custom colours, kept while the program runs.
COLORREF gCustomColours[16] = {};

HWND ColourButton(HWND dialog, int index) { return GetDlgItem(dialog, IDC_HIGHLIGHT_COLOUR_FIRST + index); }

bool Checked(HWND dialog, int id) { return IsDlgButtonChecked(dialog, id) == BST_CHECKED; }

// A colour can be chosen only for a category that is on.
void EnableColourButtons(HWND dialog) {
  for (int index = 0; index < kHighlightCategoryCount; ++index) {
    EnableWindow(ColourButton(dialog, index), Checked(dialog, IDC_HIGHLIGHT_CHECK_FIRST + index));
  }
}

void Layout(HWND dialog) {
  const UINT dpi = WindowDpi(dialog);
  auto s = [dpi](int size96) { return ScaleForDpi(size96, dpi); };
  const int margin = s(14), rowHeight = s(30), button = s(24), boxWidth = s(230), colourWidth = s(120);
  int top = margin;
  for (int index = 0; index < kHighlightCategoryCount; ++index) {
    MoveWindow(GetDlgItem(dialog, IDC_HIGHLIGHT_CHECK_FIRST + index), margin, top + (button - s(18)) / 2, boxWidth,
               s(18), FALSE);
    MoveWindow(ColourButton(dialog, index), margin + boxWidth + s(10), top, colourWidth, button, FALSE);
    top += rowHeight;
  }
  top += s(6);
  const int rowWidth = boxWidth + s(10) + colourWidth;
  MoveWindow(GetDlgItem(dialog, IDC_HIGHLIGHT_FULL_ROW), margin, top, rowWidth, s(18), FALSE);
  top += s(18) + s(18);
  MoveWindow(GetDlgItem(dialog, IDCANCEL), margin + rowWidth - s(90), top, s(90), button, FALSE);
  MoveWindow(GetDlgItem(dialog, IDOK), margin + rowWidth - 2 * s(90) - s(8), top, s(90), button, FALSE);
  SizeAndCentreDialog(dialog, margin + rowWidth + margin, top + button + margin);
}

void OnInit(HWND dialog) {
  SetWindowTextW(dialog, Text(kStrHighlightTitle, L"Evidenziazione oggetti"));
  HFONT font = reinterpret_cast<HFONT>(SendMessageW(dialog, WM_GETFONT, 0, 0));
  for (int index = 0; index < kHighlightCategoryCount; ++index) {
    const int box = IDC_HIGHLIGHT_CHECK_FIRST + index;
    SetDlgItemTextW(dialog, box, Text(kCategories[index].textId, kCategories[index].italian));
    CheckDlgButton(dialog, box, gSettings.itemTextColourEnabled[index] ? BST_CHECKED : BST_UNCHECKED);
    HWND colour = CreateColoredButton(dialog, IDC_HIGHLIGHT_COLOUR_FIRST + index, Text(kStrHighlightColour, L"Colore..."),
                                      gSettings.itemTextColour[index]);
    SendMessageW(colour, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
    // In the tab order right after its check box.
    SetWindowPos(colour, GetDlgItem(dialog, box), 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
  }
  SetDlgItemTextW(dialog, IDC_HIGHLIGHT_FULL_ROW, Text(kStrHighlightFullRow, L"Attiva e&videnziazione riga intera"));
  CheckDlgButton(dialog, IDC_HIGHLIGHT_FULL_ROW, gSettings.itemTextColourFullRow ? BST_CHECKED : BST_UNCHECKED);
  SetDlgItemTextW(dialog, IDOK, Text(kStrDialogOk, L"OK"));
  SetDlgItemTextW(dialog, IDCANCEL, Text(kStrDialogCancel, L"Annulla"));
  EnableColourButtons(dialog);
  Layout(dialog);
}

void ChooseColour(HWND dialog, int index) {
  HWND button = ColourButton(dialog, index);
  CHOOSECOLORW choice{};
  choice.lStructSize = sizeof choice;
  choice.hwndOwner = dialog;
  choice.rgbResult = static_cast<COLORREF>(SendMessageW(button, kColourGet, 0, 0));
  choice.lpCustColors = gCustomColours;
  choice.Flags = CC_RGBINIT | CC_FULLOPEN;
  if (ChooseColorW(&choice)) SendMessageW(button, kColourSet, choice.rgbResult, 0);
}

void OnOk(HWND dialog) {
  for (int index = 0; index < kHighlightCategoryCount; ++index) {
    gSettings.itemTextColourEnabled[index] = Checked(dialog, IDC_HIGHLIGHT_CHECK_FIRST + index);
    gSettings.itemTextColour[index] = static_cast<uint32_t>(SendMessageW(ColourButton(dialog, index), kColourGet, 0, 0));
  }
  gSettings.itemTextColourFullRow = Checked(dialog, IDC_HIGHLIGHT_FULL_ROW);
  if (HWND list = MainItemListView()) InvalidateRect(list, nullptr, TRUE);
  EndDialog(dialog, IDOK);
}

INT_PTR CALLBACK HighlightProc(HWND dialog, UINT message, WPARAM wParam, LPARAM) {
  switch (message) {
    case WM_INITDIALOG:
      OnInit(dialog);
      return TRUE;
    case WM_COMMAND: {
      const int id = LOWORD(wParam);
      if (id == IDOK) {
        OnOk(dialog);
      } else if (id == IDCANCEL) {
        EndDialog(dialog, IDCANCEL);
      } else if (id >= IDC_HIGHLIGHT_CHECK_FIRST && id < IDC_HIGHLIGHT_CHECK_FIRST + kHighlightCategoryCount) {
        EnableColourButtons(dialog);
      } else if (id >= IDC_HIGHLIGHT_COLOUR_FIRST && id < IDC_HIGHLIGHT_COLOUR_FIRST + kHighlightCategoryCount &&
                 HIWORD(wParam) == BN_CLICKED) {
        ChooseColour(dialog, id - IDC_HIGHLIGHT_COLOUR_FIRST);
      } else {
        return FALSE;
      }
      return TRUE;
    }
  }
  return FALSE;
}

}  // namespace

void ShowHighlightDialog(HWND owner) {
  DialogBoxParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDD_HIGHLIGHT), owner, HighlightProc, 0);
}
