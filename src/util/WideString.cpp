#include "util/WideString.h"

#include <algorithm>
#include <iterator>

wchar_t UpperCaseUnitBeyondAscii(wchar_t unit) {
  uint32_t c = static_cast<uint32_t>(unit);
  if (c >= 0xE0 && c <= 0xFE && c != 0xF7) return static_cast<wchar_t>(c - 0x20);
  if (c == 0xFF) return static_cast<wchar_t>(0x178);
  if (c == 0xB5) return static_cast<wchar_t>(0x39C);
  // Latin Extended-A: capital and small letters alternate; the pairs start on
  // an even unit except in the ranges 0x139-0x148 and 0x179-0x17E.
  if (c >= 0x100 && c <= 0x17F) {
    if (c == 0x131) return L'I';
    if (c == 0x17F) return L'S';
    bool oddStart = (c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17E);
    if (c == 0x138 || c == 0x149) return unit;
    bool small = oddStart ? (c % 2 == 0) : (c % 2 == 1);
    return small ? static_cast<wchar_t>(c - 1) : unit;
  }
  // Greek: final sigma upper-cases to sigma.
  if (c >= 0x3B1 && c <= 0x3CB) {
    if (c == 0x3C2) return static_cast<wchar_t>(0x3A3);
    return static_cast<wchar_t>(c - 0x20);
  }
  if (c >= 0x3AC && c <= 0x3CE) {
    switch (c) {
      case 0x3AC: return static_cast<wchar_t>(0x386);
      case 0x3AD: return static_cast<wchar_t>(0x388);
      case 0x3AE: return static_cast<wchar_t>(0x389);
      case 0x3AF: return static_cast<wchar_t>(0x38A);
      case 0x3CC: return static_cast<wchar_t>(0x38C);
      case 0x3CD: return static_cast<wchar_t>(0x38E);
      case 0x3CE: return static_cast<wchar_t>(0x38F);
      default: return unit;
    }
  }
  // Cyrillic.
  if (c >= 0x430 && c <= 0x44F) return static_cast<wchar_t>(c - 0x20);
  if (c >= 0x450 && c <= 0x45F) return static_cast<wchar_t>(c - 0x50);
  if (c >= 0x460 && c <= 0x4FF && c != 0x482 && !(c >= 0x483 && c <= 0x489)) {
    // Extended Cyrillic pairs: capital on the even unit, except 0x4C1-0x4CE.
    if (c >= 0x4C1 && c <= 0x4CE) return (c % 2 == 0) ? static_cast<wchar_t>(c - 1) : unit;
    if (c == 0x4CF) return static_cast<wchar_t>(0x4C0);
    return (c % 2 == 1) ? static_cast<wchar_t>(c - 1) : unit;
  }
  // Fullwidth Latin small letters.
  if (c >= 0xFF41 && c <= 0xFF5A) return static_cast<wchar_t>(c - 0x20);
  return unit;
}

std::wstring UpperCase(std::wstring_view text) {
  std::wstring result(text);
  for (wchar_t& unit : result) unit = UpperCaseUnit(unit);
  return result;
}

int CompareNoCase(std::wstring_view a, std::wstring_view b) {
  size_t common = std::min(a.size(), b.size());
  for (size_t i = 0; i < common; ++i) {
    uint32_t x = static_cast<uint32_t>(UpperCaseUnit(a[i]));
    uint32_t y = static_cast<uint32_t>(UpperCaseUnit(b[i]));
    if (x != y) return x < y ? -1 : 1;
  }
  if (a.size() == b.size()) return 0;
  return a.size() < b.size() ? -1 : 1;
}

bool EqualNoCase(std::wstring_view a, std::wstring_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (a[i] != b[i] && UpperCaseUnit(a[i]) != UpperCaseUnit(b[i])) return false;
  }
  return true;
}

size_t HashNoCase(std::wstring_view text) {
  // FNV-1a over the upper-cased code units, one unit per step, then mixed
  // so that the low bits the hash table uses depend on every unit.
  uint64_t hash = 14695981039346656037ull;
  for (wchar_t unit : text) {
    hash = (hash ^ static_cast<uint32_t>(UpperCaseUnit(unit))) * 1099511628211ull;
  }
  hash ^= hash >> 29;
  return static_cast<size_t>(hash);
}

bool MatchUpper(std::wstring_view path, std::wstring_view mask) {
  size_t p = 0, m = 0;
  // Up to the first star every character must fit.
  while (p < path.size() && m < mask.size() && mask[m] != L'*') {
    if (mask[m] != L'?' && mask[m] != path[p]) return false;
    ++p;
    ++m;
  }
  if (m < mask.size() || p < path.size()) {
    if (m == mask.size()) return false;  // mask used up, path left, no star
    // Quick rejection: whatever the stars take, the mask's text behind its
    // last star has to fit the end of the path. Most masks ("*.tmp",
    // "*\memory.dmp") fail here without any backtracking.
    size_t lastStar = mask.find_last_of(L'*');
    if (lastStar != std::wstring_view::npos && lastStar >= m) {
      size_t tail = mask.size() - lastStar - 1;
      if (tail > path.size() - p) return false;
      for (size_t i = 1; i <= tail; ++i) {
        wchar_t unit = mask[mask.size() - i];
        if (unit != L'?' && unit != path[path.size() - i]) return false;
      }
    }
    size_t starMask = std::wstring_view::npos, starPath = 0;
    while (p < path.size()) {
      if (m < mask.size() && mask[m] == L'*') {
        if (++m == mask.size()) return true;
        starMask = m;
        starPath = p + 1;
      } else if (m < mask.size() && (mask[m] == L'?' || mask[m] == path[p])) {
        ++m;
        ++p;
      } else {
        if (starMask == std::wstring_view::npos) return false;
        m = starMask;
        p = starPath++;
      }
    }
  }
  while (m < mask.size() && mask[m] == L'*') ++m;
  return m == mask.size();
}

bool NameMatches(std::wstring_view pattern, std::wstring_view name) {
  const UpperCaseText upperPattern(pattern), upperName(name);
  return MatchUpper(upperName.View(), upperPattern.View());
}

UpperCaseText::UpperCaseText(std::wstring_view text) {
  wchar_t* out = inPlace_;
  if (text.size() > std::size(inPlace_)) {
    beyond_.resize(text.size());
    out = beyond_.data();
  }
  for (size_t i = 0; i < text.size(); ++i) out[i] = UpperCaseUnit(text[i]);
  view_ = std::wstring_view(out, text.size());
}

std::wstring FormatWithStrings(std::wstring_view format, std::initializer_list<std::wstring_view> args) {
  std::wstring result;
  result.reserve(format.size() + 64);
  auto next = args.begin();
  for (size_t i = 0; i < format.size(); ++i) {
    if (format[i] == L'%' && i + 1 < format.size()) {
      if (format[i + 1] == L'%') {
        result += L'%';
        ++i;
        continue;
      }
      if (format[i + 1] == L's') {
        if (next != args.end()) result += *next++;
        ++i;
        continue;
      }
    }
    result += format[i];
  }
  return result;
}

std::string WideToUtf8(std::wstring_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    uint32_t c = static_cast<uint32_t>(text[i]);
    if (sizeof(wchar_t) == 2) c &= 0xFFFF;
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < text.size()) {
      uint32_t low = static_cast<uint32_t>(text[i + 1]);
      if (low >= 0xDC00 && low <= 0xDFFF) {
        c = 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
        ++i;
      }
    }
    if ((c >= 0xD800 && c <= 0xDFFF) || c > 0x10FFFF) c = 0xFFFD;
    if (c < 0x80) {
      out += static_cast<char>(c);
    } else if (c < 0x800) {
      out += static_cast<char>(0xC0 | (c >> 6));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      out += static_cast<char>(0xE0 | (c >> 12));
      out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
      out += static_cast<char>(0xF0 | (c >> 18));
      out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
      out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return out;
}

std::wstring WideFromUtf8(std::string_view text) {
  std::wstring out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size();) {
    const auto byte = [&](size_t at) { return static_cast<unsigned char>(text[at]); };
    const unsigned char lead = byte(i);
    size_t length = 0;
    uint32_t code = 0, least = 0;
    if (lead < 0x80) {
      length = 1, code = lead;
    } else if (lead >= 0xC2 && lead <= 0xDF) {
      length = 2, code = lead & 0x1F, least = 0x80;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
      length = 3, code = lead & 0x0F, least = 0x800;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
      length = 4, code = lead & 0x07, least = 0x10000;
    }
    bool valid = length > 0 && i + length <= text.size();
    for (size_t k = 1; valid && k < length; ++k) {
      valid = (byte(i + k) & 0xC0) == 0x80;
      code = (code << 6) | (byte(i + k) & 0x3F);
    }
    if (valid && length > 1) valid = code >= least && code <= 0x10FFFF && !(code >= 0xD800 && code <= 0xDFFF);
    if (!valid) {
      out += wchar_t(0xFFFD);
      ++i;
      continue;
    }
    i += length;
    if (sizeof(wchar_t) == 2 && code >= 0x10000) {
      code -= 0x10000;
      out += wchar_t(0xD800 + (code >> 10));
      out += wchar_t(0xDC00 + (code & 0x3FF));
    } else {
      out += wchar_t(code);
    }
  }
  return out;
}
