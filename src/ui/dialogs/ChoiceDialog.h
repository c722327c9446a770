#pragma once
// A question with a title, a text, an optional note and two or three
// answers. Returns the index of the chosen answer, or -1 when the dialog was
// closed without one.
#include <windows.h>

#include <string>
#include <vector>

int AskChoice(HWND owner, const std::wstring& title, const std::wstring& text, const std::wstring& note,
              const std::vector<std::wstring>& answers, int closeAnswer);
