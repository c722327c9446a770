#pragma once
// Wide-string helpers shared by every layer.
//
// Case-insensitive comparison: names and paths are compared by upper-casing
// each UTF-16 code unit with the program's own fixed table (ASCII, Latin-1,
// Latin Extended-A, Greek and Cyrillic) and comparing the resulting units as
// unsigned numbers. The table does not depend on the C library's locale, so
// the same two strings compare the same way on Windows and in the native
// build; it is an ordinal comparison like the file system's own, not a
// linguistic one. Surrogates and code units outside the table compare as they
// are.
#include <cstddef>
#include <cstdint>
#include <string>
#include <initializer_list>
#include <string_view>

// The upper-case form of one code unit (see above).
wchar_t UpperCaseUnitBeyondAscii(wchar_t unit);
inline wchar_t UpperCaseUnit(wchar_t unit) {
  if (static_cast<uint32_t>(unit) < 0x80) {
    return (unit >= L'a' && unit <= L'z') ? static_cast<wchar_t>(unit - 0x20) : unit;
  }
  return UpperCaseUnitBeyondAscii(unit);
}
std::wstring UpperCase(std::wstring_view text);

// <0, 0 or >0, case-insensitive (see above).
int CompareNoCase(std::wstring_view a, std::wstring_view b);
bool EqualNoCase(std::wstring_view a, std::wstring_view b);
// A hash of the upper-cased text: equal under EqualNoCase gives equal hashes.
size_t HashNoCase(std::wstring_view text);
// A text against a mask, both already upper case: "*" any run, "?" one
// character. Used for every file of a walk, so it rejects most masks by
// their end before it backtracks.
bool MatchUpper(std::wstring_view text, std::wstring_view mask);
// A file name against a search pattern as the file system matches it: "*"
// any run, "?" one character, case-insensitive (see above).
bool NameMatches(std::wstring_view pattern, std::wstring_view name);

// The upper-case form of a text, made where it is needed and held by the
// caller: in place for texts up to a long path's usual length, on the heap
// beyond it. Matching runs for every file of a walk, so it must not allocate
// for each. A buffer kept per thread (thread_local) is no way out: as a
// thread ends, the Windows build's runtime frees the block that holds the
// thread's thread_local objects before it runs their destructors, which then
// free whatever pointer the freed block holds by then, another thread's
// memory included.
class UpperCaseText {
 public:
  explicit UpperCaseText(std::wstring_view text);
  UpperCaseText(const UpperCaseText&) = delete;
  UpperCaseText& operator=(const UpperCaseText&) = delete;
  std::wstring_view View() const { return view_; }

 private:
  wchar_t inPlace_[520];
  std::wstring beyond_;
  std::wstring_view view_;
};

struct NoCaseHash {
  using is_transparent = void;
  size_t operator()(std::wstring_view text) const { return HashNoCase(text); }
};
struct NoCaseEqual {
  using is_transparent = void;
  bool operator()(std::wstring_view a, std::wstring_view b) const { return EqualNoCase(a, b); }
};

// Replaces each "%s" of format with the next argument in turn and "%%" with
// "%". Texts from language files carry their own "%s", so they are filled
// without the C library's printf, whose "%s" means different things in wide
// formats on different runtimes.
std::wstring FormatWithStrings(std::wstring_view format, std::initializer_list<std::wstring_view> args);

// UTF-8 from wide text (UTF-16 on Windows, UTF-32 elsewhere; an unpaired
// surrogate becomes U+FFFD).
std::string WideToUtf8(std::wstring_view text);
// Wide text from UTF-8. Anything that is not well-formed UTF-8 (a stray
// continuation byte, a lead byte without its continuations, an overlong form,
// an encoded surrogate, a value past U+10FFFF) becomes U+FFFD one byte at a
// time, so no byte sequence can decode to a character it does not spell,
// such as an overlong quote.
std::wstring WideFromUtf8(std::string_view text);
