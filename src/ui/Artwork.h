#pragma once
// The program's pictures at the window's size: toolbar images, and the
// small-image list of the item lists, which holds the state pictures first
// and the shell's icons after them as they are needed.
#include <windows.h>
#include <commctrl.h>

#include <string>

HICON LoadToolbarIcon(int resourceId, UINT dpi);

// Creates (or recreates for a new dpi) the shared small-image list.
HIMAGELIST ItemImageList(UINT dpi);
// Index of a state picture (ItemStateImage) in that list.
int StateImageIndex(uint32_t stateImage);
// Index of the shell's icon for a path in that list; looked up once per file
// type (folders, drive roots and each extension), never touching the file.
int ShellImageIndex(const std::wstring& path, bool isFolder);
// The state picture as an icon of its own (status bar); owned by the caller.
HICON LoadStateIcon(uint32_t stateImage, UINT dpi);
