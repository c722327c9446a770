#pragma once
// The texts of the program's menus by string id, so that a language can
// replace them. Menus are built in Italian from their resources; each item
// is found by its number (sub-menus carry numbers too).
#include <windows.h>

enum class MenuKind {
  Main,         // the menu bar
  ItemList,     // context menu of the item list; also the add drop-down
  FileList,     // context menu of the fragmented-files list
  Columns,      // column menus of the two lists
};

// Sets the text of every item of menu (and of its sub-menus) that has one in
// the table of that kind of menu.
void RetextMenu(HMENU menu, MenuKind kind);

// A context menu or drop-down from its resource (the first sub-menu of it),
// in the current language; the caller destroys it. Null when it cannot be
// loaded.
HMENU LoadPopupMenu(int resourceId, MenuKind kind);
