#pragma once
// The commands that act on the lists of the main window: adding files and
// folders (dialogs and drops), removing and selecting items, opening the
// selected paths with the shell, their folder and their properties, and the
// marks of the fragmented-file list.
#include <windows.h>
#include <shellapi.h>

#include <cstdint>
#include <string>
#include <vector>

class ItemPlatform;

// What the item list asks of the window: the shell's type names and icons,
// the user's locale, the busy state, a message box for a folder that cannot
// be read (none in the unattended mode) and the analysis of a suspiciously
// small file.
ItemPlatform& WindowItems();

void AddFilesCommand(HWND owner);
void AddFolderCommand(HWND owner);
// The paths of files and folders dropped on the window; the drop is finished.
std::vector<std::wstring> DroppedPaths(HDROP drop);
// Adds each path as a file or a folder, as the file system says it is; the
// number added.
uint64_t AddPaths(const std::vector<std::wstring>& paths);

// Delete: removes the rows selected in the list with the focus, after asking
// when confirmations are on. Items removed from the item list take their
// fragmented files and errors with them.
void RemoveSelectedRows(HWND owner);
// Selects every row of the list with the focus (the item list when none has).
void SelectAllRows();

// More paths than this are opened only when the user says so.
constexpr size_t kOpenWithoutAsking = 5;
// The selected paths of the list with the keyboard focus (Enter before any
// list had it: the item list when it has items, else the fragmented-file
// list).
void OpenSelected(HWND owner, bool fromKeyboard);
void OpenSelectedFolder(HWND owner);
void ShowSelectedProperties(HWND owner);
// What the shell's file browser is given to show a path: the file selected
// in its folder, or the folder itself.
std::wstring FolderViewParameters(const std::wstring& path, bool isFolder);
// The fragment details of the selected rows of the list with the focus.
void ShowSelectedFragmentDetails(HWND owner);

// The marks of the fragmented-file list: Space flips those of the selected
// rows when that list has the focus; 9063 marks, 9064 unmarks, 9065 inverts
// the selected rows, or every row when none is selected.
void FlipFocusedTicks();
void ChangeAllMarks(uint32_t command);
size_t MarkedFileCount();
