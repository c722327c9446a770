#pragma once
// "Evidenziazione oggetti": which outcomes colour an item's name in the item
// list, in which colour, and whether the colour runs across the whole row.
#include <windows.h>

// Modal; OK stores the choices in the settings and repaints the item list.
void ShowHighlightDialog(HWND owner);
