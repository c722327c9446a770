#pragma once
// The English language file the program ships, loaded into the text table
// as the program loads it, and the set of its texts.
#include <filesystem>
#include <set>
#include <string>

#include "options/LanguageFile.h"
#include "util/Text.h"
#include "util/UnicodeTextFile.h"

inline bool LoadEnglishTexts() {
    ResetTexts();
    SetTextCapacity(kProgramTextCapacity);
    UnicodeTextReader reader;
    if (!reader.Open((std::filesystem::path(ORDALIS_LANG_DIR) / L"Ordalis_EN.lng").wstring(), true,
                     kLineLimitFilters)) {
        return false;
    }
    ReadLanguageFile(reader);
    PadLanguageTextsForLayout();
    SetBuiltInTexts(false);
    return true;
}

// Every entry of the loaded table, as shown and without its layout blanks.
inline std::set<std::wstring> LoadedTexts() {
    std::set<std::wstring> texts;
    for (uint32_t id = 0; id < TextCapacity(); ++id) {
        std::wstring text = Text(id, L"");
        if (text.empty()) continue;
        texts.insert(text);
        const size_t first = text.find_first_not_of(L' '), last = text.find_last_not_of(L' ');
        if (first != std::wstring::npos) texts.insert(text.substr(first, last - first + 1));
    }
    return texts;
}
