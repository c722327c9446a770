// The text-file reader on any bytes, with each of the callers' line limits
// and both empty-line modes: no line it hands out reaches the limit or holds
// a line feed, and the writer's encoding of those lines reads back as the
// same lines.
#include "FuzzSupport.h"
#include "util/UnicodeTextFile.h"

#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  constexpr size_t kLimits[] = {kLineLimitFilters, kLineLimitProfile, kLineLimitSettings, 3};
  const size_t limit = kLimits[data[0] & 3];
  const bool skipEmpty = (data[0] & 4) != 0;
  ++data;
  --size;

  UnicodeTextReader reader;
  reader.OpenBuffer(data, size, skipEmpty, limit);
  std::vector<std::wstring> lines;
  std::wstring line;
  while (reader.NextLine(line)) {
    FUZZ_CHECK(line.size() < limit);
    FUZZ_CHECK(line.find(L'\n') == std::wstring::npos);
    FUZZ_CHECK(!skipEmpty || !line.empty());
    lines.push_back(line);
  }
  FUZZ_CHECK(!reader.NextLine(line));

  std::vector<uint8_t> encoded = EncodeUnicodeText(lines);
  UnicodeTextReader again;
  again.OpenBuffer(encoded.data(), encoded.size(), skipEmpty, limit);
  for (const std::wstring& expected : lines) {
    FUZZ_CHECK(again.NextLine(line));
    FUZZ_CHECK(line == expected);
  }
  FUZZ_CHECK(!again.NextLine(line));
  return 0;
}
