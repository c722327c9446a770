#include "ui/dialogs/FragmentsDialog.h"

#include <commctrl.h>
#include <shellapi.h>

#include <algorithm>
#include <iterator>

#include "items/ItemCells.h"
#include "items/win32/ShellItemTexts.h"
#include "res/ResourceIds.h"
#include "runs/FragmentDetails.h"
#include "options/Settings.h"
#include "ui/controls/Dpi.h"
#include "util/PathText.h"
#include "options/StringIds.h"
#include "util/Text.h"
#include "util/win32/Win32Handle.h"

namespace {

// Sizes at 96 dots per inch.
constexpr int kMinWidth96 = 340;
constexpr int kMinHeight96 = 360;
constexpr int kColumnWidth96 = 50;

struct FragmentsState {
  explicit FragmentsState(ItemPlatform& items) : items(items) {}
  ItemPlatform& items;  // type names of paths on neither list
  std::vector<std::wstring> paths;
  size_t current = 0;
  FragmentDetails details;
  UniqueIcon icon;
  int labelWidth = 0;  // the widest label of the general data, in pixels
};

FragmentsState* StateOf(HWND dialog) {
  return reinterpret_cast<FragmentsState*>(GetWindowLongPtrW(dialog, DWLP_USER));
}

// The general data's labels read like the lists' column titles with a colon,
// but have texts of their own: a language may put a space before the colon,
// or word a label unlike the column of the same name.
constexpr ControlText kLabels[] = {
    {IDC_FRAG_NAME_LABEL, kStrDetailsNameLabel, L"Nome:"},
    {IDC_FRAG_PATH_LABEL, kStrCleanupPathLabel, L"Percorso:"},
    {IDC_FRAG_TYPE_LABEL, kStrDetailsTypeLabel, L"Tipo:"},
    {IDC_FRAG_SIZE_LABEL, kStrDetailsSizeLabel, L"Dimensione:"},
    {IDC_FRAG_DISK_LABEL, kStrDetailsDiskLabel, L"Dimensione su disco:"},
    {IDC_FRAG_COUNT_LABEL, kStrDetailsCountLabel, L"Frammenti:"},
    {IDC_FRAG_CLUSTERS_LABEL, kStrDetailsClustersLabel, L"Cluster:"},
};

struct Column {
  uint32_t textId;
  const wchar_t* italian;
};
constexpr Column kColumns[] = {
    {kStrDetailsOrdinal, L"N."},
    {kStrColumnClusters, L"Cluster"},
    {kStrDetailsFirstCluster, L"Cluster iniziale"},
    {kStrDetailsLastCluster, L"Cluster finale"},
    {kStrDetailsBytesColumn, L"Dimensione (byte)"},
    {kStrDetailsShare, L"% del file"},
};

int TextWidth(HWND window, const std::wstring& text) {
  const WindowDc dc(window);
  const DcSelection font(dc.Get(), reinterpret_cast<HFONT>(SendMessageW(window, WM_GETFONT, 0, 0)));
  SIZE size{};
  GetTextExtentPoint32W(dc.Get(), text.c_str(), static_cast<int>(text.size()), &size);
  return size.cx;
}

void SetTexts(HWND dialog, FragmentsState& state) {
  SetWindowTextW(dialog, Text(kStrDetailsTitle, L"Frammenti"));
  state.labelWidth = 0;
  for (const ControlText& label : kLabels) {
    const std::wstring text = Text(label.textId, label.italian);
    SetDlgItemTextW(dialog, static_cast<int>(label.id), text.c_str());
    state.labelWidth = std::max(state.labelWidth, TextWidth(GetDlgItem(dialog, static_cast<int>(label.id)), text));
  }
  SetDlgItemTextW(dialog, IDC_FRAG_TABLE_LABEL, Text(kStrDetailsFragmentsLabel, L"Dettaglio frammenti:"));
  SetDlgItemTextW(dialog, IDOK, Text(kStrDetailsClose, L"&Chiudi"));
  TCITEMW tab{};
  tab.mask = TCIF_TEXT;
  tab.pszText = const_cast<wchar_t*>(Text(kStrDetailsGeneralTab, L"Generale"));
  TabCtrl_InsertItem(GetDlgItem(dialog, IDC_FRAG_TABS), 0, &tab);
}

void InitTable(HWND dialog) {
  HWND table = GetDlgItem(dialog, IDC_FRAG_TABLE);
  ListView_SetExtendedListViewStyle(table, LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER);
  const int width = ScaleForDpi(kColumnWidth96, WindowDpi(dialog));
  // A list view's first column is always left-aligned: it stays empty and
  // out of sight so that every column shown can be right-aligned.
  LVCOLUMNW column{};
  column.mask = LVCF_WIDTH | LVCF_TEXT | LVCF_FMT;
  column.fmt = LVCFMT_LEFT;
  column.cx = 0;
  column.pszText = const_cast<wchar_t*>(L"");
  ListView_InsertColumn(table, 0, &column);
  int index = 1;
  for (const Column& shown : kColumns) {
    column.fmt = LVCFMT_RIGHT;
    column.cx = width;
    column.pszText = const_cast<wchar_t*>(Text(shown.textId, shown.italian));
    ListView_InsertColumn(table, index++, &column);
  }
}

// The icon of the item's kind (folder, drive or file type), asked without
// touching the file, as the lists ask for theirs: a path that is gone still
// gets one.
HICON ItemIcon(const ItemRecord& record) {
  const bool folder = (record.flags & ItemFlags::kFolder) != 0;
  SHFILEINFOW info{};
  SHGetFileInfoW(std::wstring(DisplayPath(record.path)).c_str(), folder ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_NORMAL,
                 &info, sizeof info, SHGFI_ICON | SHGFI_LARGEICON | SHGFI_USEFILEATTRIBUTES);
  return info.hIcon;
}

// Each shown column is at least its designed width, and wider when its
// title or its longest number needs it: the numbers are never cut.
void FitColumns(HWND dialog, const FragmentDetails& details) {
  HWND table = GetDlgItem(dialog, IDC_FRAG_TABLE);
  const UINT dpi = WindowDpi(dialog);
  FragmentRow widest;
  widest.hundredthsOfFile = 10000;
  // The largest last cluster stands for the first clusters too.
  for (const FragmentRow& row : details.rows) {
    widest.clusters = std::max(widest.clusters, row.clusters);
    widest.firstCluster = std::max(widest.firstCluster, row.firstCluster + static_cast<int64_t>(row.clusters) - 1);
    widest.bytes = std::max(widest.bytes, row.bytes);
  }
  std::vector<std::wstring> cells =
      FragmentRowCells(widest, std::max<uint64_t>(details.rows.size(), 1), LocaleNumbers());
  for (int column = 1; column <= 6; ++column) {
    wchar_t title[64] = {};
    LVCOLUMNW info{};
    info.mask = LVCF_TEXT;
    info.pszText = title;
    info.cchTextMax = ARRAYSIZE(title);
    ListView_GetColumn(table, column, &info);
    const int padding = ScaleForDpi(16, dpi);
    int width = std::max(ListView_GetStringWidth(table, title), ListView_GetStringWidth(table, cells[column - 1].c_str()));
    ListView_SetColumnWidth(table, column, std::max(ScaleForDpi(kColumnWidth96, dpi), width + padding));
  }
}

void ShowDetails(HWND dialog, FragmentsState& state) {
  state.details = ReadFragmentDetails(state.items, state.paths[state.current]);
  const FragmentDetails& details = state.details;
  const ItemRecord& record = details.record;

  state.icon.Reset(ItemIcon(record));
  SendDlgItemMessageW(dialog, IDC_FRAG_ICON, STM_SETICON, reinterpret_cast<WPARAM>(state.icon.Get()), 0);

  SetDlgItemTextW(dialog, IDC_FRAG_NAME, DetailsName(record).c_str());
  SetDlgItemTextW(dialog, IDC_FRAG_PATH, DetailsFolder(record).c_str());
  SetDlgItemTextW(dialog, IDC_FRAG_TYPE, ItemCellText(record, ItemColumn::Type, LocaleNumbers()).c_str());
  SetDlgItemTextW(dialog, IDC_FRAG_SIZE, DetailsSize(record, record.size, LocaleNumbers()).c_str());
  SetDlgItemTextW(dialog, IDC_FRAG_DISK, DetailsSize(record, record.sizeOnDisk, LocaleNumbers()).c_str());
  SetDlgItemTextW(dialog, IDC_FRAG_COUNT, ItemCellText(record, ItemColumn::Fragments, LocaleNumbers()).c_str());
  SetDlgItemTextW(dialog, IDC_FRAG_CLUSTERS, ItemCellText(record, ItemColumn::Clusters, LocaleNumbers()).c_str());

  HWND table = GetDlgItem(dialog, IDC_FRAG_TABLE);
  const bool showTable = details.notice == FragmentNotice::None;
  ListView_SetItemCountEx(table, showTable ? static_cast<int>(details.rows.size()) : 0, 0);
  if (showTable) FitColumns(dialog, details);
  ShowWindow(table, showTable ? SW_SHOW : SW_HIDE);
  SetDlgItemTextW(dialog, IDC_FRAG_NOTICE, FragmentNoticeText(details).c_str());
  ShowWindow(GetDlgItem(dialog, IDC_FRAG_NOTICE), showTable ? SW_HIDE : SW_SHOW);

  const bool several = state.paths.size() > 1;
  for (int id : {IDC_FRAG_PREVIOUS, IDC_FRAG_NEXT}) ShowWindow(GetDlgItem(dialog, id), several ? SW_SHOW : SW_HIDE);
  HWND focus = GetFocus();
  EnableWindow(GetDlgItem(dialog, IDC_FRAG_PREVIOUS), state.current > 0);
  EnableWindow(GetDlgItem(dialog, IDC_FRAG_NEXT), state.current + 1 < state.paths.size());
  // A button that was just disabled gives the focus back to the dialog's default.
  if (focus && !IsWindowEnabled(focus)) SendMessageW(dialog, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(GetDlgItem(dialog, IDOK)), TRUE);
}

void Place(HWND dialog, int id, int x, int y, int width, int height) {
  MoveWindow(GetDlgItem(dialog, id), x, y, width, height, FALSE);
}

void Layout(HWND dialog, const FragmentsState& state) {
  RECT client{};
  GetClientRect(dialog, &client);
  const UINT dpi = WindowDpi(dialog);
  auto s = [dpi](int size96) { return ScaleForDpi(size96, dpi); };
  const int margin = s(10), button = s(24), line = s(22), field = s(18);
  const int buttonsTop = client.bottom - margin - button;
  Place(dialog, IDC_FRAG_PREVIOUS, margin, buttonsTop, s(32), button);
  Place(dialog, IDC_FRAG_NEXT, margin + s(36), buttonsTop, s(32), button);
  Place(dialog, IDOK, client.right - margin - s(90), buttonsTop, s(90), button);

  HWND tabs = GetDlgItem(dialog, IDC_FRAG_TABS);
  Place(dialog, IDC_FRAG_TABS, margin, margin, client.right - 2 * margin, buttonsTop - s(8) - margin);
  RECT inner{margin, margin, client.right - margin, buttonsTop - s(8)};
  TabCtrl_AdjustRect(tabs, FALSE, &inner);
  InflateRect(&inner, -s(8), -s(8));
  const int width = inner.right - inner.left;

  // Icon, name and folder.
  const int icon = GetSystemMetrics(SM_CXICON);
  Place(dialog, IDC_FRAG_ICON, inner.left, inner.top, icon, icon);
  const int textLeft = inner.left + icon + s(12);
  const int labelWidth = state.labelWidth + s(8);
  int top = inner.top + std::max(0, (icon - 2 * line) / 2);
  for (auto [label, value] : {std::pair{IDC_FRAG_NAME_LABEL, IDC_FRAG_NAME}, {IDC_FRAG_PATH_LABEL, IDC_FRAG_PATH}}) {
    Place(dialog, label, textLeft, top + s(2), labelWidth, field);
    Place(dialog, value, textLeft + labelWidth, top + s(2), inner.right - textLeft - labelWidth, field);
    top += line;
  }
  top = std::max(top, static_cast<int>(inner.top) + icon) + s(8);
  Place(dialog, IDC_FRAG_SEPARATOR, inner.left, top, width, 2);
  top += s(10);

  // The numbers, their values lined up under the name's and the folder's.
  const int valueLeft = textLeft + labelWidth;
  for (int id = IDC_FRAG_TYPE_LABEL; id <= IDC_FRAG_CLUSTERS_LABEL; id += 2) {
    Place(dialog, id, inner.left, top + s(2), valueLeft - inner.left, field);
    Place(dialog, id + 1, valueLeft, top + s(2), inner.right - valueLeft, field);
    top += line;
  }
  top += s(6);
  Place(dialog, IDC_FRAG_TABLE_LABEL, inner.left, top, width, field);
  top += field + s(4);
  const int tableHeight = std::max(s(40), static_cast<int>(inner.bottom) - top);
  Place(dialog, IDC_FRAG_TABLE, inner.left, top, width, tableHeight);
  Place(dialog, IDC_FRAG_NOTICE, inner.left, top + tableHeight / 2 - field, width, 2 * field);
  InvalidateRect(dialog, nullptr, TRUE);
}

void AnswerCell(const FragmentsState& state, NMLVDISPINFOW* info) {
  LVITEMW& item = info->item;
  if (!(item.mask & LVIF_TEXT) || !item.pszText || item.cchTextMax <= 0) return;
  item.pszText[0] = L'\0';
  const auto& rows = state.details.rows;
  if (item.iItem < 0 || static_cast<size_t>(item.iItem) >= rows.size() || item.iSubItem < 1 || item.iSubItem > 6) return;
  std::vector<std::wstring> cells =
      FragmentRowCells(rows[static_cast<size_t>(item.iItem)], static_cast<uint64_t>(item.iItem) + 1, LocaleNumbers());
  lstrcpynW(item.pszText, cells[static_cast<size_t>(item.iSubItem - 1)].c_str(), item.cchTextMax);
}

void RememberSize(HWND dialog) {
  if (IsIconic(dialog) || IsZoomed(dialog)) return;
  RECT window{};
  GetWindowRect(dialog, &window);
  gSettings.fragmentDetailsWidth = window.right - window.left;
  gSettings.fragmentDetailsHeight = window.bottom - window.top;
}

// Opens wide enough for the table's columns side by side, within the screen.
void GrowToShowEveryColumn(HWND dialog, const FragmentsState& state) {
  HWND table = GetDlgItem(dialog, IDC_FRAG_TABLE);
  int columns = 0;
  for (int column = 0; column <= 6; ++column) columns += ListView_GetColumnWidth(table, column);
  RECT inside{};
  GetClientRect(table, &inside);
  const int missing = columns + GetSystemMetrics(SM_CXVSCROLL) - inside.right;
  if (missing <= 0) return;
  RECT window{}, work{};
  GetWindowRect(dialog, &window);
  SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
  const int width = std::min(window.right - window.left + missing, work.right - work.left);
  const int left = std::max(work.left, std::min(window.left - missing / 2, work.right - width));
  SetWindowPos(dialog, nullptr, left, window.top, width, window.bottom - window.top, SWP_NOZORDER);
  Layout(dialog, state);
}

void OnInit(HWND dialog, FragmentsState& state) {
  SetWindowLongPtrW(dialog, DWLP_USER, reinterpret_cast<LONG_PTR>(&state));
  SetTexts(dialog, state);
  InitTable(dialog);
  // At its remembered size, centred over the owner.
  HWND owner = GetParent(dialog);
  RECT area{};
  GetWindowRect(owner ? owner : GetDesktopWindow(), &area);
  const UINT dpi = WindowDpi(dialog);
  const int width = std::max(gSettings.fragmentDetailsWidth, ScaleForDpi(kMinWidth96, dpi));
  const int height = std::max(gSettings.fragmentDetailsHeight, ScaleForDpi(kMinHeight96, dpi));
  SetWindowPos(dialog, nullptr, area.left + (area.right - area.left - width) / 2,
               area.top + (area.bottom - area.top - height) / 2, width, height, SWP_NOZORDER);
  ShowDetails(dialog, state);
  Layout(dialog, state);
  GrowToShowEveryColumn(dialog, state);
}

void Step(HWND dialog, FragmentsState& state, int direction) {
  if (direction < 0 && state.current == 0) return;
  if (direction > 0 && state.current + 1 >= state.paths.size()) return;
  state.current = direction < 0 ? state.current - 1 : state.current + 1;
  ShowDetails(dialog, state);
}

INT_PTR CALLBACK FragmentsProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
  FragmentsState* state = StateOf(dialog);
  switch (message) {
    case WM_INITDIALOG:
      OnInit(dialog, *reinterpret_cast<FragmentsState*>(lParam));
      SetFocus(GetDlgItem(dialog, IDOK));
      return FALSE;
    case WM_SIZE:
      if (state) Layout(dialog, *state);
      return TRUE;
    case WM_GETMINMAXINFO: {
      auto* limits = reinterpret_cast<MINMAXINFO*>(lParam);
      const UINT dpi = WindowDpi(dialog);
      limits->ptMinTrackSize.x = ScaleForDpi(kMinWidth96, dpi);
      limits->ptMinTrackSize.y = ScaleForDpi(kMinHeight96, dpi);
      return TRUE;
    }
    case WM_CTLCOLORSTATIC: {
      // The general data stand on the tab's page, in the page's colour.
      const int id = GetDlgCtrlID(reinterpret_cast<HWND>(lParam));
      if (id < IDC_FRAG_ICON || id > IDC_FRAG_NOTICE) return FALSE;
      auto dc = reinterpret_cast<HDC>(wParam);
      SetTextColor(dc, GetSysColor(COLOR_WINDOWTEXT));
      SetBkColor(dc, GetSysColor(COLOR_WINDOW));
      return reinterpret_cast<INT_PTR>(GetSysColorBrush(COLOR_WINDOW));
    }
    case WM_NOTIFY: {
      auto* header = reinterpret_cast<NMHDR*>(lParam);
      if (state && header->idFrom == IDC_FRAG_TABLE && header->code == LVN_GETDISPINFOW) {
        AnswerCell(*state, reinterpret_cast<NMLVDISPINFOW*>(lParam));
        return TRUE;
      }
      return FALSE;
    }
    case WM_COMMAND:
      if (!state) return FALSE;
      switch (LOWORD(wParam)) {
        case IDC_FRAG_PREVIOUS: Step(dialog, *state, -1); return TRUE;
        case IDC_FRAG_NEXT: Step(dialog, *state, +1); return TRUE;
        case IDOK:
        case IDCANCEL:
          RememberSize(dialog);
          EndDialog(dialog, LOWORD(wParam));
          return TRUE;
      }
      return FALSE;
    case WM_DESTROY:
      if (state) state->icon.Reset();
      return FALSE;
  }
  return FALSE;
}

}  // namespace

void ShowFragmentsDialog(HWND owner, ItemPlatform& items, const std::vector<std::wstring>& paths, size_t current) {
  if (paths.empty()) return;
  FragmentsState state(items);
  state.paths = paths;
  state.current = std::min(current, paths.size() - 1);
  DialogBoxParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDD_FRAGMENTS), owner, FragmentsProc,
                  reinterpret_cast<LPARAM>(&state));
}

void ShowFragmentsDialog(HWND owner, ItemPlatform& items, const std::wstring& path) {
  ShowFragmentsDialog(owner, items, std::vector<std::wstring>{path}, 0);
}
