#pragma once
// Path forms: the long-path prefix "\\?\", shown paths and drive roots.
#include <string>
#include <string_view>

// A path counts as prefixed when its third character is "?".
bool HasLongPrefix(std::wstring_view path);
// The path with the "\\?\" prefix, not doubled when it already has one.
std::wstring LongPathOf(std::wstring_view path);
// The path as shown: without the first four characters of a prefixed path.
std::wstring_view DisplayPath(std::wstring_view path);
// A drive letter, a colon and a backslash, after skipping a prefix.
bool IsDriveRoot(std::wstring_view path);
// folder + "\" + name with exactly one backslash between them.
std::wstring JoinPath(std::wstring_view folder, std::wstring_view name);
