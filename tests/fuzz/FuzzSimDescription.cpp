// The simulated volume's description on any text: a description that does
// not parse says why, and one that parses, written out again, parses to a
// volume that is written out the same way.
#include "FuzzSupport.h"
#include "engine/sim/SimVolume.h"

#include <cstdlib>
#include <string>

namespace {

// A volume of more than a million clusters makes every execution walk
// millions of them; such sizes are the benchmarks' concern, not the parser's.
bool DescribesAHugeVolume(const std::string& text) {
  for (size_t at = text.find("clusters="); at != std::string::npos; at = text.find("clusters=", at + 1)) {
    const std::string value = text.substr(at + 9, 24);
    const bool hex = value.size() > 2 && value[0] == '0' && (value[1] == 'x' || value[1] == 'X');
    if (std::strtoull(value.c_str(), nullptr, hex ? 16 : 10) > (uint64_t{1} << 20)) return true;
  }
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);
  if (DescribesAHugeVolume(text)) return 0;
  SimVolume volume;
  std::string error;
  if (!ParseSimDescription(text, volume, error)) {
    FUZZ_CHECK(!error.empty());
    return 0;
  }
  volume.Check();
  const std::string written = WriteSimDescription(volume);
  SimVolume again;
  FUZZ_CHECK(ParseSimDescription(written, again, error));
  FUZZ_CHECK(WriteSimDescription(again) == written);
  return 0;
}
