// Language files on any bytes: the display name from the file's start, the
// whole file into the display-text table, and every text asked for after.
#include "FuzzSupport.h"
#include "options/LanguageFile.h"
#include "util/Text.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::wstring name = LanguageDisplayName(data, size);
  FUZZ_CHECK(name.size() <= kLanguageNameMaxLength);
  ResetTexts();
  SetTextCapacity(kDefaultTextCapacity);
  UnicodeTextReader reader;
  reader.OpenBuffer(data, size, false, kLineLimitFilters);
  ReadLanguageFile(reader);
  PadLanguageTextsForLayout();
  SetBuiltInTexts(false);
  for (uint32_t id = 0; id < kDefaultTextCapacity + 8; ++id) {
    const wchar_t* text = Text(id, L"x");
    FUZZ_CHECK(text != nullptr);
  }
  return 0;
}
