#pragma once
// Mask boxes refuse the characters a user mask may not hold (path
// separators, the drive colon and the characters no file name has) and say
// why in a balloon tip at the box.
#include <windows.h>

#include <string>

void MakeMaskEdit(HWND edit);

// Splits the text at ";", trims blanks and hands every non-empty piece to
// `add`. Returns how many pieces were added.
template <typename Add>
int AddMaskPieces(std::wstring text, Add add) {
  text += L';';
  int added = 0;
  size_t start = 0;
  for (size_t end = text.find(L';'); end != std::wstring::npos; start = end + 1, end = text.find(L';', start)) {
    size_t first = text.find_first_not_of(L' ', start);
    if (first == std::wstring::npos || first >= end) continue;
    size_t last = text.find_last_not_of(L' ', end - 1);
    added += add(text.substr(first, last - first + 1));
  }
  return added;
}
