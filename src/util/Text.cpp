#include "util/Text.h"

TextTable gTexts;

const wchar_t* Text(uint32_t id, const wchar_t* italianLiteral) {
  if (gTexts.builtIn) return italianLiteral;
  if (id >= gTexts.entries.size()) return L"";
  return gTexts.entries[id].c_str();
}

void SetTextCapacity(size_t capacity) {
  gTexts.entries.assign(capacity, std::wstring());
}

size_t TextCapacity() { return gTexts.entries.size(); }

void ClearTexts() {
  for (std::wstring& entry : gTexts.entries) {
    entry.clear();
    entry.shrink_to_fit();
  }
}

bool SetText(uint32_t id, std::wstring text) {
  if (id >= gTexts.entries.size()) return false;
  gTexts.entries[id] = std::move(text);
  return true;
}

void SetBuiltInTexts(bool builtIn) { gTexts.builtIn = builtIn; }

bool BuiltInTexts() { return gTexts.builtIn; }

void ResetTexts() {
  SetTextCapacity(kDefaultTextCapacity);
  gTexts.builtIn = true;
}
