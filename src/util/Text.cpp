#include "util/Text.h"

#include <algorithm>

TextTable gTexts;

const wchar_t* Text(uint32_t id, const wchar_t* italianLiteral) {
  if (gTexts.builtIn) return italianLiteral;
  if (id >= gTexts.entries.size()) return L"";
  return gTexts.entries[id].c_str();
}

size_t CopyText(uint32_t id, const wchar_t* italianLiteral, wchar_t* buffer, size_t count) {
  if (buffer == nullptr || count == 0) return 0;
  std::wstring_view text = Text(id, italianLiteral);
  size_t copied = std::min(text.size(), count - 1);
  std::copy_n(text.data(), copied, buffer);
  buffer[copied] = L'\0';
  return copied;
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
