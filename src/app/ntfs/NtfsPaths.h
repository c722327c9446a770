#pragma once
// Paths and masks between the volume's own form ("/Users/ann/a b.txt", from
// its root) and the engine's form of one drive ("N:\Users\ann\a b.txt").
#include <string>

constexpr wchar_t kNtfsLetter = L'N';

// A path on the volume as the engine names it; "\" is taken for "/", a
// missing leading "/" is supplied and a trailing one dropped.
std::wstring EnginePath(const std::string& volumePath);
// An engine path of our drive back in the volume's form; other texts as given.
std::string VolumePathOf(const std::wstring& enginePath);
// A mask written by the user as the filters match it against engine paths:
// one written from the root ("/dir/*", "\dir\*") is anchored at our drive,
// any other ("*.iso", "*/cache/*") matches anywhere; "/" and "\" are one.
// A mask already in the engine's form ("N:\dir\*") is kept.
std::wstring EngineMask(const std::string& mask);
