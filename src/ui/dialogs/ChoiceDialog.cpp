#include "ui/dialogs/ChoiceDialog.h"

#include "res/ResourceIds.h"

namespace {

struct Question {
  const std::wstring* title;
  const std::wstring* text;
  const std::wstring* note;
  const std::vector<std::wstring>* answers;
  int closeAnswer;
};

constexpr int kButtons[] = {IDC_CHOICE_FIRST, IDC_CHOICE_SECOND, IDC_CHOICE_THIRD};

INT_PTR CALLBACK ChoiceProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_INITDIALOG: {
      auto* question = reinterpret_cast<Question*>(lParam);
      SetWindowLongPtrW(dialog, DWLP_USER, lParam);
      SetWindowTextW(dialog, question->title->c_str());
      SetDlgItemTextW(dialog, IDC_CHOICE_TEXT, question->text->c_str());
      SetDlgItemTextW(dialog, IDC_CHOICE_NOTE, question->note->c_str());
      // The answers stand right-aligned: with two, the first slot stays empty.
      size_t count = question->answers->size();
      size_t first = 3 - count;
      for (size_t slot = 0; slot < 3; ++slot) {
        HWND button = GetDlgItem(dialog, kButtons[slot]);
        if (slot < first) {
          ShowWindow(button, SW_HIDE);
        } else {
          SetWindowTextW(button, (*question->answers)[slot - first].c_str());
        }
      }
      SendMessageW(dialog, DM_SETDEFID, kButtons[first], 0);
      SetFocus(GetDlgItem(dialog, kButtons[first]));
      return FALSE;
    }
    case WM_COMMAND: {
      auto* question = reinterpret_cast<Question*>(GetWindowLongPtrW(dialog, DWLP_USER));
      int id = LOWORD(wParam);
      size_t first = 3 - question->answers->size();
      for (size_t slot = first; slot < 3; ++slot) {
        if (id == kButtons[slot]) {
          EndDialog(dialog, static_cast<INT_PTR>(slot - first));
          return TRUE;
        }
      }
      if (id == IDCANCEL) {
        EndDialog(dialog, question->closeAnswer);
        return TRUE;
      }
      return FALSE;
    }
  }
  return FALSE;
}

}  // namespace

int AskChoice(HWND owner, const std::wstring& title, const std::wstring& text, const std::wstring& note,
              const std::vector<std::wstring>& answers, int closeAnswer) {
  Question question{&title, &text, &note, &answers, closeAnswer};
  return static_cast<int>(DialogBoxParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDD_CHOICE), owner,
                                          ChoiceProc, reinterpret_cast<LPARAM>(&question)));
}
