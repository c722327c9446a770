#pragma once
// The filter of the file dialogs is written with "|" where the dialog wants
// string terminators ("Tutti i file (*.*)|*.*|"), so that a language file can
// hold it on one line.
#include <string>

inline std::wstring FileDialogFilter(const wchar_t* text) {
  std::wstring filter = text;
  for (wchar_t& c : filter) {
    if (c == L'|') c = L'\0';
  }
  return filter;
}
