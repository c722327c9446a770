#pragma once
// What every benchmark measures with: a steady clock, and the path of the
// i-th of many files spread over a hundred folders.
#include <chrono>
#include <cstddef>
#include <string>

using Clock = std::chrono::steady_clock;

inline double Seconds(Clock::time_point since) {
  return std::chrono::duration<double>(Clock::now() - since).count();
}

inline std::wstring BenchPath(size_t i) {
  return L"C:\\Bench\\Folder" + std::to_wstring(i % 100) + L"\\file" + std::to_wstring(i) + L".dat";
}
