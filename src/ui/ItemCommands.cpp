#include "ui/ItemCommands.h"

#include <commctrl.h>
#include <objbase.h>
#include <shlobj.h>
#include <shobjidl.h>

#include <unordered_set>

#include "engine/Analysis.h"
#include "engine/cleanup/RunAndWait.h"
#include "items/ItemList.h"
#include "items/win32/ShellItemTexts.h"
#include "options/RunFlags.h"
#include "runs/RunResults.h"
#include "options/CommandIds.h"
#include "options/Settings.h"
#include "ui/Artwork.h"
#include "util/win32/FileDialogs.h"
#include "ui/dialogs/FragmentsDialog.h"
#include "ui/ItemListView.h"
#include "ui/MainWindow.h"
#include "ui/dialogs/MessageBox.h"
#include "options/StringIds.h"
#include "util/Text.h"
#include "util/WideString.h"
#include "util/win32/Win32Handle.h"

namespace {

std::vector<int> SelectedRows(HWND list) {
  std::vector<int> rows;
  if (!list) return rows;
  for (int row = ListView_GetNextItem(list, -1, LVNI_SELECTED); row >= 0;
       row = ListView_GetNextItem(list, row, LVNI_SELECTED)) {
    rows.push_back(row);
  }
  return rows;
}

struct ListedPath {
  std::wstring path;
  bool isFolder = false;
};

// The paths of the selected rows of one of the three lists.
std::vector<ListedPath> SelectedPaths(HWND list) {
  std::vector<ListedPath> paths;
  for (int row : SelectedRows(list)) {
    const size_t index = static_cast<size_t>(row);
    if (list == MainItemListView()) {
      if (const ItemRecord* record = ItemAtRow(index)) {
        paths.push_back({record->path, (record->flags & ItemFlags::kFolder) != 0});
      }
    } else if (list == MainResultListView()) {
      if (index < gRun.fragmented.size()) paths.push_back({gRun.fragmented[index].path, false});
    } else if (list == MainErrorListView()) {
      if (index < gRun.errors.size()) paths.push_back({gRun.errors[index].displayPath, false});
    }
  }
  return paths;
}

// The list the selection commands act on: the one last focused.
HWND FocusedList() {
  HWND focus = LastFocusedList();
  for (HWND list : {MainItemListView(), MainResultListView(), MainErrorListView()}) {
    if (list && focus == list) return list;
  }
  return nullptr;
}

void RefreshAfterAdding() {
  RefreshItemList();
}

// Marks of the fragmented-file list for the rows given, or every row.
template <typename Change>
void ChangeMarks(const std::vector<int>& rows, const Change& change) {
  if (rows.empty()) {
    for (FragmentedFileRecord& record : gRun.fragmented) change(record);
  } else {
    for (int row : rows) {
      if (static_cast<size_t>(row) < gRun.fragmented.size()) change(gRun.fragmented[static_cast<size_t>(row)]);
    }
  }
  RefreshResultList();
}

}  // namespace

namespace {

class WindowItemPlatform final : public ItemPlatform {
 public:
  std::wstring TypeName(const std::wstring& path, bool isFolder) override { return ShellTypeName(path, isFolder); }
  void DateTexts(uint64_t lastWriteTime, std::wstring& text, std::wstring& key) override {
    LocalDateTexts(lastWriteTime, text, key);
  }
  void CacheIcon(const std::wstring& path) override { ShellImageIndex(path, false); }
  bool ShowAccessError(const std::wstring& message) override {
    if (gApp.runFlags & kRunNoGui) return false;
    MessageBoxW(nullptr, message.c_str(), L"Ordalis", MB_OK | MB_ICONERROR);
    return true;
  }
  void SetBusyState(uint32_t busyState) override { SetMainBusyState(busyState); }
  bool HasNoClusters(const std::wstring& longPath) override {
    FileAnalysis analysis;
    AnalyseFile(longPath, analysis);
    return analysis.outcome.empty() && analysis.clusters == 0;
  }
};

}  // namespace

ItemPlatform& WindowItems() {
  static WindowItemPlatform items;
  return items;
}

uint64_t AddPaths(const std::vector<std::wstring>& paths) {
  uint64_t added = 0;
  for (const std::wstring& path : paths) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) continue;
    if (AddItem(WindowItems(), (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0, path) == kAddOk) ++added;
  }
  RefreshAfterAdding();
  return added;
}

void AddFilesCommand(HWND owner) {
  std::vector<std::wstring> paths = AskFilesToOpen(owner, Text(kStrChooseFiles, L"Seleziona file"),
                                                   Text(kStrAllFilesFilter, L"Tutti i file (*.*)|*.*|"));
  for (const std::wstring& path : paths) AddItem(WindowItems(), false, path);
  if (!paths.empty()) RefreshAfterAdding();
}

namespace {

// The system's folder picker; empty when the user cancelled.
std::wstring AskFolder(HWND owner) {
  ComPtr<IFileOpenDialog> dialog;
  if (FAILED(CoCreateInstance(CLSID_FileOpenDialog, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(dialog.Out())))) {
    return std::wstring();
  }
  std::wstring chosen;
  FILEOPENDIALOGOPTIONS options = 0;
  dialog->GetOptions(&options);
  dialog->SetOptions(options | FOS_PICKFOLDERS | FOS_FORCEFILESYSTEM | FOS_PATHMUSTEXIST);
  dialog->SetTitle(Text(kStrChooseFolder, L"Seleziona la cartella da aggiungere all'elenco"));
  ComPtr<IShellItem> item;
  if (SUCCEEDED(dialog->Show(owner)) && SUCCEEDED(dialog->GetResult(item.Out()))) {
    PWSTR path = nullptr;
    if (SUCCEEDED(item->GetDisplayName(SIGDN_FILESYSPATH, &path))) {
      chosen = path;
      CoTaskMemFree(path);
    }
  }
  return chosen;
}

}  // namespace

void AddFolderCommand(HWND owner) {
  const std::wstring path = AskFolder(owner);
  if (path.empty()) return;
  AddItem(WindowItems(), true, path);
  RefreshAfterAdding();
}

std::vector<std::wstring> DroppedPaths(HDROP drop) {
  std::vector<std::wstring> paths;
  const UINT count = DragQueryFileW(drop, 0xFFFFFFFF, nullptr, 0);
  for (UINT i = 0; i < count; ++i) {
    const UINT length = DragQueryFileW(drop, i, nullptr, 0);
    std::wstring path(length + 1, L'\0');
    path.resize(DragQueryFileW(drop, i, path.data(), length + 1));
    paths.push_back(path);
  }
  DragFinish(drop);
  return paths;
}

namespace {

// Whether the user still wants it, when confirmations are on.
bool ConfirmRemoval(HWND owner, size_t rows) {
  if (!gSettings.confirmPrompts) return true;
  const std::wstring text =
      FormatWithStrings(Text(kStrConfirmRemove, L"Rimuovere gli elementi selezionati (%s) dall'elenco?"),
                        {std::to_wstring(rows)});
  return ShowMessageText(owner, kMsgIconQuestion | kMsgOkCancel, text) == kMsgResultOk;
}

// Erases the selected rows of one of the result lists.
template <typename Record>
void EraseRows(std::vector<Record>& records, const std::vector<int>& rows) {
  for (auto row = rows.rbegin(); row != rows.rend(); ++row) {
    if (static_cast<size_t>(*row) < records.size()) records.erase(records.begin() + *row);
  }
}

void RemoveSelectedItems(HWND, const std::vector<int>& rows) {
  std::unordered_set<const ItemRecord*> chosen;
  for (int row : rows) {
    if (const ItemRecord* record = ItemAtRow(static_cast<uint64_t>(row))) chosen.insert(record);
  }
  if (chosen.empty()) return;
  RemoveItemsIf([&chosen](const ItemRecord& record) { return chosen.count(&record) != 0; });
  RefreshItemList();
  // What the run found in the removed items is no longer theirs to show.
  if (DropResultsOfRemovedItems() > 0 || ItemCount() == 0) {
    RefreshResultList();
    RefreshErrorList();
  }
  RefreshCounters();
}

}  // namespace

void RemoveSelectedRows(HWND owner) {
  HWND list = FocusedList();
  const std::vector<int> rows = SelectedRows(list);
  if (rows.empty() || !ConfirmRemoval(owner, rows.size())) return;
  ListView_SetItemState(list, -1, 0, LVIS_SELECTED | LVIS_FOCUSED);
  if (list == MainItemListView()) {
    RemoveSelectedItems(list, rows);
  } else if (list == MainResultListView()) {
    EraseRows(gRun.fragmented, rows);
    RefreshResultList();
    RefreshCounters();
  } else if (list == MainErrorListView()) {
    EraseRows(gRun.errors, rows);
    RefreshErrorList();
    RefreshCounters();
  }
}

void SelectAllRows() {
  HWND list = FocusedList();
  if (!list) list = MainItemListView();
  if (list && ListView_GetItemCount(list) > 0) ListView_SetItemState(list, -1, LVIS_SELECTED, LVIS_SELECTED);
}

void OpenSelected(HWND owner, bool fromKeyboard) {
  // Enter with no list focused yet: the item list when it has items, else
  // the fragmented-file list.
  HWND list = FocusedList();
  if (!list && fromKeyboard) list = ItemCount() > 0 ? MainItemListView() : MainResultListView();
  const std::vector<ListedPath> paths = SelectedPaths(list);
  // Each path opens a program's window of its own: many at once are asked for.
  if (paths.size() > kOpenWithoutAsking) {
    const std::wstring text = FormatWithStrings(
        Text(kStrConfirmOpenMany, L"Aprire %s elementi? Ciascuno si apre in una finestra propria."),
        {std::to_wstring(paths.size())});
    if (ShowMessageText(owner, kMsgIconQuestion | kMsgOkCancel, text) != kMsgResultOk) return;
  }
  for (const ListedPath& listed : paths) {
    ShellExecuteW(owner, nullptr, listed.path.c_str(), nullptr, nullptr, SW_SHOWNORMAL);
  }
}

std::wstring FolderViewParameters(const std::wstring& path, bool isFolder) {
  return isFolder ? L"\"" + path + L"\"" : L"/select, \"" + path + L"\"";
}

void OpenSelectedFolder(HWND) {
  std::vector<ListedPath> paths = SelectedPaths(FocusedList());
  if (paths.empty()) return;
  // The browser is a program of its own: it is started by its whole path and
  // left to the user.
  wchar_t windows[MAX_PATH] = {};
  const UINT length = GetWindowsDirectoryW(windows, MAX_PATH);
  if (length == 0 || length >= MAX_PATH) return;
  WindowMessagePump pump;
  RunAndWait(pump, std::wstring(windows) + L"\\explorer.exe",
             FolderViewParameters(paths.front().path, paths.front().isFolder), SW_SHOWNORMAL, false);
}

void ShowSelectedFragmentDetails(HWND owner) {
  std::vector<std::wstring> paths;
  for (const ListedPath& listed : SelectedPaths(FocusedList())) paths.push_back(listed.path);
  if (!paths.empty()) ShowFragmentsDialog(owner, WindowItems(), paths, 0);
}

void ShowSelectedProperties(HWND owner) {
  std::vector<ListedPath> paths = SelectedPaths(FocusedList());
  if (paths.empty()) return;
  SHELLEXECUTEINFOW info{};
  info.cbSize = sizeof info;
  info.fMask = SEE_MASK_INVOKEIDLIST;
  info.hwnd = owner;
  info.lpVerb = L"properties";
  info.lpFile = paths.front().path.c_str();
  info.nShow = SW_SHOWNORMAL;
  ShellExecuteExW(&info);
}

void FlipFocusedTicks() {
  // Space flips the ticks of the list it was pressed in: the items' own boxes
  // in the item list, the fragmented files' marks in theirs.
  if (FocusedList() == MainItemListView()) {
    const std::vector<int> rows = SelectedRows(MainItemListView());
    if (!rows.empty()) ToggleItemChecks(MainItemListView(), rows);
    return;
  }
  if (FocusedList() != MainResultListView()) return;
  const std::vector<int> rows = SelectedRows(MainResultListView());
  if (rows.empty()) return;
  ChangeMarks(rows, [](FragmentedFileRecord& record) { record.marked = !record.marked; });
}

void ChangeAllMarks(uint32_t command) {
  const std::vector<int> rows = SelectedRows(MainResultListView());
  if (command == kCmdSelectFiles) {
    ChangeMarks(rows, [](FragmentedFileRecord& record) { record.marked = true; });
  } else if (command == kCmdDeselectFiles) {
    ChangeMarks(rows, [](FragmentedFileRecord& record) { record.marked = false; });
  } else {
    ChangeMarks(rows, [](FragmentedFileRecord& record) { record.marked = !record.marked; });
  }
}

size_t MarkedFileCount() {
  size_t count = 0;
  for (const FragmentedFileRecord& record : gRun.fragmented) count += record.marked ? 1 : 0;
  return count;
}
