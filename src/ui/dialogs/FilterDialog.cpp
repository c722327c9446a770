#include "ui/dialogs/FilterDialog.h"

#include <commctrl.h>
#include <commdlg.h>
#include <shellapi.h>
#include <shlwapi.h>

#include <string>
#include <vector>

#include "selection/Filters.h"
#include "ui/dialogs/ChoiceDialog.h"
#include "util/win32/FileDialogFilter.h"
#include "ui/controls/MaskEdit.h"
#include "items/ItemList.h"
#include "res/ResourceIds.h"
#include "options/Settings.h"
#include "util/win32/FileDialogs.h"
#include "ui/controls/Dpi.h"
#include "ui/dialogs/MessageBox.h"
#include "util/PathText.h"
#include "options/StringIds.h"
#include "util/Text.h"
#include "util/UnicodeTextFile.h"

namespace {

constexpr int64_t kMinSizeKiB = 1;
constexpr int64_t kMaxSizeKiB = 999999999;
constexpr int kMinWidth96 = 400, kMinHeight96 = 320;

struct FilterDialogState {
  HWND dialog = nullptr;
  HWND tabs = nullptr;
  HWND excluded = nullptr;
  HWND included = nullptr;
  bool savedBySize = false;
  int64_t savedSizeKiB = 0;
  bool correcting = false;  // the size box is being corrected: no new round
  int fileIcon = 0, folderIcon = 0;
};
FilterDialogState gFilter;

int SystemIconIndex(const wchar_t* name, DWORD attributes) {
  SHFILEINFOW info{};
  SHGetFileInfoW(name, attributes, &info, sizeof info, SHGFI_USEFILEATTRIBUTES | SHGFI_SYSICONINDEX | SHGFI_SMALLICON);
  return info.iIcon;
}

void InsertRow(HWND list, int row, const FilterEntry* entry, int icon) {
  LVITEMW item{};
  item.mask = LVIF_TEXT | LVIF_PARAM | LVIF_IMAGE;
  item.iItem = row;
  item.pszText = const_cast<wchar_t*>(entry->text.c_str());
  item.lParam = reinterpret_cast<LPARAM>(entry);
  item.iImage = icon;
  ListView_InsertItem(list, &item);
}

// The exclusion tab shows files, folders and the user's masks; the
// built-in masks stay hidden so that nobody removes them.
void FillLists() {
  SendMessageW(gFilter.excluded, WM_SETREDRAW, FALSE, 0);
  ListView_DeleteAllItems(gFilter.excluded);
  int row = 0;
  for (const FilterEntry* entry = gExclusions.head; entry; entry = entry->next) {
    if (entry->kind == FilterKind::BuiltInMask) continue;
    InsertRow(gFilter.excluded, row++, entry, entry->kind == FilterKind::Folder ? gFilter.folderIcon : gFilter.fileIcon);
  }
  SendMessageW(gFilter.excluded, WM_SETREDRAW, TRUE, 0);
  ListView_DeleteAllItems(gFilter.included);
  row = 0;
  for (const FilterEntry* entry = gInclusions.head; entry; entry = entry->next) {
    InsertRow(gFilter.included, row++, entry, gFilter.fileIcon);
  }
}

bool InclusionTab() { return TabCtrl_GetCurSel(gFilter.tabs) == 1; }

void ShowTab() {
  bool inclusion = InclusionTab();
  int excludedShow = inclusion ? SW_HIDE : SW_SHOW;
  int includedShow = inclusion ? SW_SHOW : SW_HIDE;
  for (int id : {IDC_FILTER_EXCLUDED, IDC_FILTER_ADD_FILES, IDC_FILTER_ADD_MASKS}) {
    ShowWindow(GetDlgItem(gFilter.dialog, id), excludedShow);
  }
  for (int id : {IDC_FILTER_INCLUDED, IDC_FILTER_MASK_LABEL, IDC_FILTER_MASK, IDC_FILTER_ADD_INCLUDED}) {
    ShowWindow(GetDlgItem(gFilter.dialog, id), includedShow);
  }
}

void Place(int id, int x, int y, int width, int height) {
  MoveWindow(GetDlgItem(gFilter.dialog, id), x, y, width, height, TRUE);
}

void Layout() {
  RECT client{};
  GetClientRect(gFilter.dialog, &client);
  UINT dpi = WindowDpi(gFilter.dialog);
  auto s = [dpi](int size96) { return ScaleForDpi(size96, dpi); };
  int width = client.right, height = client.bottom;
  int margin = s(10), button = s(24), gap = s(6);
  int okTop = height - margin - button;
  int sizeTop = okTop - s(12) - s(22) - s(20);
  int tabBottom = sizeTop - s(8);
  Place(IDC_FILTER_TABS, margin, margin, width - 2 * margin, tabBottom - margin);
  RECT inner{margin, margin, width - margin, tabBottom};
  TabCtrl_AdjustRect(gFilter.tabs, FALSE, &inner);
  int innerWidth = inner.right - inner.left;
  int buttonsTop = inner.bottom - button - s(4);
  Place(IDC_FILTER_EXCLUDED, inner.left + s(4), inner.top + s(4), innerWidth - s(8), buttonsTop - inner.top - s(10));
  int maskTop = inner.top + s(6);
  Place(IDC_FILTER_MASK_LABEL, inner.left + s(4), maskTop + s(3), s(140), s(18));
  Place(IDC_FILTER_ADD_INCLUDED, inner.right - s(4) - s(90), maskTop, s(90), button);
  Place(IDC_FILTER_MASK, inner.left + s(148), maskTop + s(1), inner.right - s(4) - s(90) - gap - inner.left - s(148), s(22));
  int includedTop = maskTop + button + gap;
  Place(IDC_FILTER_INCLUDED, inner.left + s(4), includedTop, innerWidth - s(8), buttonsTop - includedTop - s(6));
  Place(IDC_FILTER_ADD_FILES, inner.left + s(4), buttonsTop, s(120), button);
  Place(IDC_FILTER_ADD_MASKS, inner.left + s(4) + s(120) + gap, buttonsTop, s(140), button);
  Place(IDC_FILTER_REMOVE, inner.right - s(4) - s(90), buttonsTop, s(90), button);
  Place(IDC_FILTER_SIZE_CHECK, margin, sizeTop, width - 2 * margin, s(20));
  Place(IDC_FILTER_SIZE, margin + s(18), sizeTop + s(24), s(110), s(22));
  SendDlgItemMessageW(gFilter.dialog, IDC_FILTER_SIZE_SPIN, UDM_SETBUDDY,
                      reinterpret_cast<WPARAM>(GetDlgItem(gFilter.dialog, IDC_FILTER_SIZE)), 0);
  Place(IDC_FILTER_SIZE_BYTES, margin + s(18) + s(110) + s(24), sizeTop + s(27), s(220), s(18));
  Place(IDOK, width - margin - 2 * s(90) - gap, okTop, s(90), button);
  Place(IDCANCEL, width - margin - s(90), okTop, s(90), button);
  InvalidateRect(gFilter.dialog, nullptr, TRUE);
}

void EnableSizeBox() {
  bool on = IsDlgButtonChecked(gFilter.dialog, IDC_FILTER_SIZE_CHECK) == BST_CHECKED;
  for (int id : {IDC_FILTER_SIZE, IDC_FILTER_SIZE_SPIN, IDC_FILTER_SIZE_BYTES}) {
    EnableWindow(GetDlgItem(gFilter.dialog, id), on);
  }
}

std::wstring SizeBoxText() {
  wchar_t text[32] = {};
  GetDlgItemTextW(gFilter.dialog, IDC_FILTER_SIZE, text, 32);
  return text;
}

// The number box keeps 1 to 999999999; the text beside it shows the limit in
// bytes in the system's short form.
void CorrectSizeBox() {
  if (gFilter.correcting) return;
  gFilter.correcting = true;
  std::wstring text = SizeBoxText();
  int64_t value = 0;
  bool tooLarge = false;
  for (wchar_t c : text) {
    if (c < L'0' || c > L'9') break;
    value = value * 10 + (c - L'0');
    if (value > kMaxSizeKiB) {
      tooLarge = true;
      break;
    }
  }
  std::wstring corrected;
  if (text.empty() || (!tooLarge && value < kMinSizeKiB)) {
    corrected = std::to_wstring(kMinSizeKiB);
  } else if (tooLarge) {
    corrected = std::to_wstring(kMaxSizeKiB);
  }
  if (!corrected.empty()) {
    SetDlgItemTextW(gFilter.dialog, IDC_FILTER_SIZE, corrected.c_str());
    SendDlgItemMessageW(gFilter.dialog, IDC_FILTER_SIZE, EM_SETSEL, corrected.size(), corrected.size());
    value = tooLarge ? kMaxSizeKiB : kMinSizeKiB;
  }
  wchar_t bytes[64] = {};
  StrFormatByteSizeW(value * 1024, bytes, 64);
  SetDlgItemTextW(gFilter.dialog, IDC_FILTER_SIZE_BYTES, bytes);
  gFilter.correcting = false;
}

INT_PTR CALLBACK MaskInputProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_INITDIALOG:
      SetWindowLongPtrW(dialog, DWLP_USER, lParam);
      SetWindowTextW(dialog, Text(kStrMaskInputTitle, L"Aggiungi maschera"));
      SetDlgItemTextW(dialog, IDC_MASK_INPUT_LABEL,
                      Text(kStrMaskInputLabel, L"Maschere da escludere (separate da \";\"):"));
      SetDlgItemTextW(dialog, IDOK, Text(kStrDialogOk, L"OK"));
      SetDlgItemTextW(dialog, IDCANCEL, Text(kStrDialogCancel, L"Annulla"));
      MakeMaskEdit(GetDlgItem(dialog, IDC_MASK_INPUT));
      return TRUE;
    case WM_COMMAND:
      if (LOWORD(wParam) == IDOK) {
        auto* result = reinterpret_cast<std::wstring*>(GetWindowLongPtrW(dialog, DWLP_USER));
        HWND edit = GetDlgItem(dialog, IDC_MASK_INPUT);
        result->resize(GetWindowTextLengthW(edit) + 1);
        result->resize(GetWindowTextW(edit, result->data(), static_cast<int>(result->size())));
        EndDialog(dialog, IDOK);
        return TRUE;
      }
      if (LOWORD(wParam) == IDCANCEL) {
        EndDialog(dialog, IDCANCEL);
        return TRUE;
      }
      return FALSE;
  }
  return FALSE;
}

int AddExclusionMask(const std::wstring& mask) { return AddExclusion(L'W', mask); }

// A mask the filter file could not hold is refused rather than saved and
// lost, with everything after it, at the next start.
int AddFittingMask(const std::wstring& mask, bool& refused, int (*add)(const std::wstring&)) {
  if (!FitsFilterFile(mask)) {
    refused = true;
    return 0;
  }
  return add(mask);
}

void ShowMaskTooLong() {
  ShowMessage(gFilter.dialog,
              Text(kStrMaskTooLong,
                   L"Una maschera può contenere al massimo 2.044 caratteri: le maschere più lunghe non sono "
                   L"state aggiunte."),
              L"Ordalis", MB_OK | MB_ICONEXCLAMATION);
}

void AddMasks() {
  std::wstring text;
  if (DialogBoxParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDD_MASK_INPUT), gFilter.dialog, MaskInputProc,
                      reinterpret_cast<LPARAM>(&text)) != IDOK) {
    return;
  }
  bool refused = false;
  AddMaskPieces(text, [&refused](const std::wstring& mask) { return AddFittingMask(mask, refused, AddExclusionMask); });
  FillLists();
  if (refused) ShowMaskTooLong();
}

void AddIncludedMasks() {
  HWND edit = GetDlgItem(gFilter.dialog, IDC_FILTER_MASK);
  std::wstring text(GetWindowTextLengthW(edit) + 1, L'\0');
  text.resize(GetWindowTextW(edit, text.data(), static_cast<int>(text.size())));
  bool refused = false;
  int added = AddMaskPieces(text, [&refused](const std::wstring& mask) { return AddFittingMask(mask, refused, AddInclusion); });
  // A refused mask stays in the box, to be shortened.
  if (added > 0 && !refused) SetWindowTextW(edit, L"");
  FillLists();
  if (refused) ShowMaskTooLong();
}

void AddFiles() {
  std::vector<std::wstring> paths = AskFilesToOpen(gFilter.dialog, Text(kStrChooseFiles, L"Seleziona file"),
                                                   Text(kStrAllFilesFilter, L"Tutti i file (*.*)|*.*|"));
  if (paths.empty()) return;
  BeginFilterBatch();
  for (const std::wstring& path : paths) AddExclusion(L'F', path);
  EndFilterBatch();
  FillLists();
}

void RemoveSelected() {
  HWND list = InclusionTab() ? gFilter.included : gFilter.excluded;
  FilterList& filters = InclusionTab() ? gInclusions : gExclusions;
  std::vector<const FilterEntry*> chosen;
  for (int row = ListView_GetNextItem(list, -1, LVNI_SELECTED); row >= 0;
       row = ListView_GetNextItem(list, row, LVNI_SELECTED)) {
    LVITEMW item{};
    item.mask = LVIF_PARAM;
    item.iItem = row;
    ListView_GetItem(list, &item);
    chosen.push_back(reinterpret_cast<const FilterEntry*>(item.lParam));
  }
  for (const FilterEntry* entry : chosen) RemoveFilterEntry(filters, entry);
  FillLists();
}

void RememberSize() {
  RECT window{};
  GetWindowRect(gFilter.dialog, &window);
  gSettings.filterWidth = window.right - window.left;
  gSettings.filterHeight = window.bottom - window.top;
}

void OnOk() {
  if (CheckDuplicateMasks(gFilter.dialog)) return;
  SaveExclusionList();
  SaveInclusionList();
  gSettings.maxFileSizeKiB = _wtoi64(SizeBoxText().c_str());
  gSettings.excludeBySize = IsDlgButtonChecked(gFilter.dialog, IDC_FILTER_SIZE_CHECK) == BST_CHECKED;
  RememberSize();
  EndDialog(gFilter.dialog, IDOK);
}

void OnCancel() {
  gSettings.excludeBySize = gFilter.savedBySize;
  gSettings.maxFileSizeKiB = gFilter.savedSizeKiB;
  LoadFilterLists();
  RememberSize();
  EndDialog(gFilter.dialog, IDCANCEL);
}

void SetTexts() {
  HWND dialog = gFilter.dialog;
  SetWindowTextW(dialog, Text(kStrFilterTitle, L"Filtro"));
  SetDlgItemTextW(dialog, IDC_FILTER_ADD_FILES, Text(kStrFilterAddFiles, L"Aggiungi &file..."));
  SetDlgItemTextW(dialog, IDC_FILTER_ADD_MASKS, Text(kStrFilterAddMasks, L"Aggiungi &maschera..."));
  SetDlgItemTextW(dialog, IDC_FILTER_REMOVE, Text(kStrFilterRemove, L"&Rimuovi"));
  SetDlgItemTextW(dialog, IDC_FILTER_MASK_LABEL, Text(kStrFilterMaskLabel, L"Maschera da aggiungere:"));
  SetDlgItemTextW(dialog, IDC_FILTER_ADD_INCLUDED, Text(kStrFilterAddIncluded, L"&Aggiungi"));
  SetDlgItemTextW(dialog, IDC_FILTER_SIZE_CHECK,
                  Text(kStrFilterSizeCheck, L"&Non elaborare file di dimensioni maggiori di (in KB):"));
  SetDlgItemTextW(dialog, IDOK, Text(kStrDialogOk, L"OK"));
  SetDlgItemTextW(dialog, IDCANCEL, Text(kStrDialogCancel, L"Annulla"));
  TCITEMW tab{};
  tab.mask = TCIF_TEXT;
  tab.pszText = const_cast<wchar_t*>(Text(kStrFilterExcludedTab, L"Elementi da escludere"));
  TabCtrl_InsertItem(gFilter.tabs, 0, &tab);
  tab.pszText = const_cast<wchar_t*>(Text(kStrFilterIncludedTab, L"Elementi da includere"));
  TabCtrl_InsertItem(gFilter.tabs, 1, &tab);
}

void OnInit(HWND dialog) {
  gFilter = FilterDialogState{};
  gFilter.dialog = dialog;
  gFilter.tabs = GetDlgItem(dialog, IDC_FILTER_TABS);
  gFilter.excluded = GetDlgItem(dialog, IDC_FILTER_EXCLUDED);
  gFilter.included = GetDlgItem(dialog, IDC_FILTER_INCLUDED);
  gFilter.savedBySize = gSettings.excludeBySize;
  gFilter.savedSizeKiB = gSettings.maxFileSizeKiB;
  SetTexts();

  SHFILEINFOW info{};
  auto images = reinterpret_cast<HIMAGELIST>(SHGetFileInfoW(
      L"x", FILE_ATTRIBUTE_NORMAL, &info, sizeof info, SHGFI_USEFILEATTRIBUTES | SHGFI_SYSICONINDEX | SHGFI_SMALLICON));
  gFilter.fileIcon = SystemIconIndex(L"x", FILE_ATTRIBUTE_NORMAL);
  gFilter.folderIcon = SystemIconIndex(L"x", FILE_ATTRIBUTE_DIRECTORY);
  for (HWND list : {gFilter.excluded, gFilter.included}) {
    ListView_SetImageList(list, images, LVSIL_SMALL);
    ListView_SetExtendedListViewStyle(list, LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER);
    LVCOLUMNW column{};
    column.mask = LVCF_WIDTH;
    column.cx = ScaleForDpi(1200, WindowDpi(dialog));
    ListView_InsertColumn(list, 0, &column);
  }
  MakeMaskEdit(GetDlgItem(dialog, IDC_FILTER_MASK));
  SendDlgItemMessageW(dialog, IDC_FILTER_MASK, EM_LIMITTEXT, kLineLimitFilters, 0);

  SendDlgItemMessageW(dialog, IDC_FILTER_SIZE_SPIN, UDM_SETRANGE32, kMinSizeKiB, kMaxSizeKiB);
  SendDlgItemMessageW(dialog, IDC_FILTER_SIZE, EM_LIMITTEXT, 10, 0);
  CheckDlgButton(dialog, IDC_FILTER_SIZE_CHECK, gSettings.excludeBySize ? BST_CHECKED : BST_UNCHECKED);
  SetDlgItemTextW(dialog, IDC_FILTER_SIZE, std::to_wstring(gSettings.maxFileSizeKiB).c_str());
  CorrectSizeBox();
  EnableSizeBox();
  FillLists();
  ShowTab();

  SetWindowPos(dialog, nullptr, 0, 0, gSettings.filterWidth, gSettings.filterHeight, SWP_NOMOVE | SWP_NOZORDER);
  // Centred over the owner at its remembered size.
  RECT owner{}, self{};
  GetWindowRect(GetParent(dialog) ? GetParent(dialog) : GetDesktopWindow(), &owner);
  GetWindowRect(dialog, &self);
  SetWindowPos(dialog, nullptr, owner.left + ((owner.right - owner.left) - (self.right - self.left)) / 2,
               owner.top + ((owner.bottom - owner.top) - (self.bottom - self.top)) / 2, 0, 0,
               SWP_NOSIZE | SWP_NOZORDER);
  Layout();
}

INT_PTR CALLBACK FilterProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_INITDIALOG:
      OnInit(dialog);
      return TRUE;
    case WM_SIZE:
      if (gFilter.dialog) Layout();
      return TRUE;
    case WM_GETMINMAXINFO: {
      auto* limits = reinterpret_cast<MINMAXINFO*>(lParam);
      UINT dpi = WindowDpi(dialog);
      limits->ptMinTrackSize.x = ScaleForDpi(kMinWidth96, dpi);
      limits->ptMinTrackSize.y = ScaleForDpi(kMinHeight96, dpi);
      return TRUE;
    }
    case WM_NOTIFY: {
      auto* header = reinterpret_cast<NMHDR*>(lParam);
      if (header->hwndFrom == gFilter.tabs && header->code == TCN_SELCHANGE) ShowTab();
      return FALSE;
    }
    case WM_COMMAND:
      switch (LOWORD(wParam)) {
        case IDOK: OnOk(); return TRUE;
        case IDCANCEL: OnCancel(); return TRUE;
        case IDC_FILTER_ADD_FILES: AddFiles(); return TRUE;
        case IDC_FILTER_ADD_MASKS: AddMasks(); return TRUE;
        case IDC_FILTER_ADD_INCLUDED: AddIncludedMasks(); return TRUE;
        case IDC_FILTER_REMOVE: RemoveSelected(); return TRUE;
        case IDC_FILTER_SIZE_CHECK: EnableSizeBox(); return TRUE;
        case IDC_FILTER_SIZE:
          if (HIWORD(wParam) == EN_CHANGE) CorrectSizeBox();
          return TRUE;
      }
      return FALSE;
    case WM_NCDESTROY:
      gFilter = FilterDialogState{};
      return FALSE;
  }
  return FALSE;
}

}  // namespace

void ShowFilterDialog(HWND owner) {
  DialogBoxParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDD_FILTER), owner, FilterProc, 0);
}

bool CheckDuplicateMasks(HWND owner) {
  for (const FilterEntry* excluded = gExclusions.head; excluded; excluded = excluded->next) {
    if (excluded->kind != FilterKind::UserMask) continue;
    if (!gInclusions.texts.count(excluded->text)) continue;
    int answer = AskChoice(
        owner, Text(kStrDuplicateMasksTitle, L"Maschere duplicate"),
        Text(kStrDuplicateMasksText,
             L"Una o più maschere sono specificate sia nell'elenco degli elementi da escludere, sia nell'elenco "
             L"degli elementi da includere. Gli elementi corrispondenti a queste maschere non saranno elaborati "
             L"da Ordalis."),
        L"", {Text(kStrDuplicateMasksClose, L"&Chiudi comunque"), Text(kStrDuplicateMasksEdit, L"&Modifica maschere")},
        1);
    // The answers are 100 (close anyway) and 200 (edit the masks).
    int result = answer == 1 ? 200 : 100;
    return result == 200;
  }
  return false;
}

void AddSelectedToExclusions(HWND owner, HWND listView, ExcludeSource which, bool saveNow) {
  uint64_t before = gExclusions.count;
  wchar_t path[32768];
  BeginFilterBatch();
  for (int row = ListView_GetNextItem(listView, -1, LVNI_SELECTED); row >= 0;
       row = ListView_GetNextItem(listView, row, LVNI_SELECTED)) {
    if (which == ExcludeSource::ItemList) {
      const ItemRecord* record = ItemAtRow(static_cast<uint64_t>(row));
      if (!record) continue;
      AddExclusion((record->flags & ItemFlags::kFolder) ? L'D' : L'F', record->path);
    } else {
      path[0] = L'\0';
      ListView_GetItemText(listView, row, 0, path, 32768);
      if (path[0]) AddExclusion(L'F', path);
    }
  }
  EndFilterBatch();
  uint64_t added = gExclusions.count - before;
  if (added == 0) {
    ShowMessage(owner,
                Text(kStrExcludedAlready,
                     L"L'oggetto o gli oggetti selezionati sono già presenti nell'elenco degli elementi da escludere."),
                L"Ordalis", MB_OK | MB_ICONINFORMATION);
    return;
  }
  ShowMessage(owner,
              added == 1 ? Text(kStrExcludedOneAdded, L"Oggetto aggiunto all'elenco degli elementi da escludere.")
                         : Text(kStrExcludedManyAdded, L"Oggetti aggiunti all'elenco degli elementi da escludere."),
              L"Ordalis", MB_OK | MB_ICONINFORMATION);
  if (saveNow) SaveExclusionList();
}
