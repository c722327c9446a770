#include "options/LanguageFile.h"

#include <algorithm>

#include "options/CommandIds.h"
#include "util/Text.h"
#include "util/WideString.h"

namespace {

struct LocaleLanguage {
  const wchar_t* locale;
  const wchar_t* code;
};

constexpr LocaleLanguage kLocaleLanguages[] = {
    {L"0402", L"BG"}, {L"0405", L"CS"}, {L"0407", L"DE"}, {L"0408", L"EL"}, {L"0410", L"IT"},
    {L"040B", L"FI"}, {L"040C", L"FR"}, {L"040E", L"HU"}, {L"0411", L"JP"}, {L"0412", L"KR"},
    {L"0804", L"CT"}, {L"0C0A", L"ES"}, {L"0413", L"NL"}, {L"0415", L"PL"}, {L"0416", L"BR"},
    {L"0418", L"RO"}, {L"0419", L"RU"}, {L"041B", L"SK"}, {L"041D", L"SE"}, {L"042A", L"VI"},
    {L"0436", L"ZA"}, {L"0437", L"KA"}, {L"0816", L"PT"},
};

// "\t" becomes a tab and a blank, "\n" becomes CR LF: both keep the text's
// length, so the replacement is done in place.
void ReplaceEscapes(std::wstring& text) {
  for (size_t at = 0; at + 1 < text.size(); ++at) {
    if (text[at] != L'\\') continue;
    if (text[at + 1] == L't') {
      text[at] = L'\t';
      text[at + 1] = L' ';
      ++at;
    } else if (text[at + 1] == L'n') {
      text[at] = L'\r';
      text[at + 1] = L'\n';
      ++at;
    }
  }
}

// The id of an entry line: its leading decimal digits (0 when there are none).
uint64_t EntryId(std::wstring_view text) {
  uint64_t id = 0;
  for (wchar_t c : text) {
    if (c < L'0' || c > L'9') break;
    id = id * 10 + static_cast<uint64_t>(c - L'0');
    if (id > UINT32_MAX) return UINT32_MAX;
  }
  return id;
}

void Pad(uint32_t id, const std::wstring& front, const std::wstring& back) {
  if (id >= TextCapacity()) return;
  SetText(id, front + gTexts.entries[id] + back);
}

}  // namespace

std::wstring LanguageFileName(const std::wstring& code) { return L"Ordalis_" + code + L".lng"; }

std::wstring LanguageCodeOfFile(const std::wstring& fileName) {
  constexpr size_t kSuffix = 4;  // ".lng"
  if (fileName.size() < kSuffix + 2) return std::wstring();
  return fileName.substr(fileName.size() - kSuffix - 2, 2);
}

std::wstring LanguageDisplayName(const uint8_t* bytes, size_t length) {
  length = std::min(length, kLanguageNameWindowBytes);
  std::wstring units;
  for (size_t at = 0; at + 1 < length; at += 2) {
    units += static_cast<wchar_t>(bytes[at] | (bytes[at + 1] << 8));
  }
  if (units.size() < kLanguageNameFirstChar) return std::wstring();
  std::wstring upper = UpperCase(units);
  size_t found = upper.find(L"LNG=", kLanguageNameFirstChar - 1);
  if (found == std::wstring::npos) return std::wstring();
  size_t start = found + 4;
  size_t end = units.find(L"\r\n", start);
  if (end == std::wstring::npos) end = units.size();
  return units.substr(start, std::min(end - start, kLanguageNameMaxLength));
}

void ReadLanguageFile(UnicodeTextReader& reader) {
  ClearTexts();
  std::wstring line;
  while (reader.NextLine(line)) {
    if (line.empty() || line[0] == L'\'' || line[0] == L'L') continue;
    if (line[0] == L'$') break;
    size_t equals = line.find(L'=');
    if (equals == std::wstring::npos) continue;
    uint64_t id = EntryId(std::wstring_view(line).substr(0, equals));
    if (id + 1 > TextCapacity()) continue;
    std::wstring text = line.substr(equals + 1);
    ReplaceEscapes(text);
    SetText(static_cast<uint32_t>(id), std::move(text));
  }
}

// Entry 127 gets no blank: it is the profile dialogs' file filter, where a
// trailing blank would stand as a filter of its own after the last one.
void PadLanguageTextsForLayout() {
  Pad(11, L"      ", L"");
  Pad(281, L" ", L"");
  Pad(33, L"", L" ");
  Pad(420, L"", L" ");
  Pad(149, L"", L"  ");
}

std::wstring LanguageCodeForLocale(const std::wstring& localeHex) {
  for (const LocaleLanguage& entry : kLocaleLanguages) {
    if (EqualNoCase(localeHex, entry.locale)) return entry.code;
  }
  return L"EN";
}

std::vector<LanguageEntry> MakeLanguageList(const std::vector<FoundLanguageFile>& found) {
  std::vector<LanguageEntry> list{{kCmdFirstLanguage, kBuiltInLanguageName, kBuiltInLanguageCode}};
  uint32_t command = kCmdFirstLanguage + 1;
  for (const FoundLanguageFile& file : found) {
    if (EqualNoCase(file.code, kBuiltInLanguageCode) || command > kCmdLastLanguage) continue;
    list.push_back({command++, file.name, file.code});
  }
  std::stable_sort(list.begin() + 1, list.end(), [](const LanguageEntry& a, const LanguageEntry& b) {
    return CompareNoCase(a.name, b.name) < 0;
  });
  return list;
}
