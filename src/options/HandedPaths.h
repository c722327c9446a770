#pragma once
// The paths a second start of the program hands to the running one: each
// path followed by a NUL, in one block of UTF-16 text that travels in a
// window message. The reader takes nothing from a block that is malformed.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Marks a block as Ordalis's paths among other data a window may be sent.
constexpr uintptr_t kHandedPathsTag = 0x4F524450;  // "ORDP"
// A command line holds far less; anything longer is not ours.
constexpr size_t kMaxHandedPathsBytes = 64 * 1024;

std::wstring PackHandedPaths(const std::vector<std::wstring>& paths);
// None when the block is not whole UTF-16 units, is too long, is empty, or
// does not end with a NUL.
std::optional<std::vector<std::wstring>> UnpackHandedPaths(const void* data, size_t bytes);
