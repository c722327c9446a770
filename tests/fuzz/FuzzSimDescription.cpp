// The simulated volume's description on any text: a description that does
// not parse says why, and one that parses, written out again, parses to a
// volume that is written out the same way.
#include "FuzzSupport.h"
#include "engine/sim/SimVolume.h"

#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);
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
