#pragma once
// The dialogs of the "?" menu: the warranty disclaimer, the command-line
// parameters and the about box. Each is titled like its menu command.
#include <windows.h>

#include <string>

void ShowWarrantyDialog(HWND owner);
void ShowCommandLineDialog(HWND owner);
void ShowAboutDialog(HWND owner);

// A menu text as a title: without its access-key marks and its shortcut.
std::wstring TitleFromMenuText(const std::wstring& menuText);
