#pragma once
// The interface language: the list of language files, the "Lingua" menu,
// loading a file into the display texts and re-texting the window.
#include <windows.h>

#include <string>

// The sub-folder "lang" of the program folder when it exists, else the
// program folder.
std::wstring LanguageFolder();

// Finds the language files and fills the "Lingua" menu with one radio item
// per language; the current language carries the mark.
void BuildLanguageList();

// Empties the display texts and reads a language file into them: 0 on
// success, kLanguageFileMissing when it cannot be opened.
int LoadLanguageFile(const std::wstring& path);

// Makes a language current (falling back to the built-in Italian, with a
// message in the interactive mode, when its file cannot be loaded) and sets
// the texts of the menus and the window again.
void ApplyLanguage(const std::wstring& code);

// The language code for the user's locale.
std::wstring LanguageFromLocale();

// A language chosen from the menu: true when command is a language item.
bool ChooseLanguageCommand(unsigned command);

// Shows the current language file's text.
void ShowLanguageFileViewer(HWND owner);
