#include "ReferenceScan.h"


void ScanChunkBitByBit(FreeRunSearch& search, const uint8_t* bits, uint64_t examined,
                       int64_t chunkStart) {
  static const uint8_t kMasks[8] = {1, 2, 4, 8, 16, 32, 64, 128};
  for (uint64_t i = 0; i < examined; ++i) {
    if (i % kPumpInterval == 0) search.pump->PumpMessages();
    if ((bits[i / 8] & kMasks[i % 8]) == 0) {
      search.Free(chunkStart + int64_t(i));
    } else {
      search.Used();
      if (search.done) return;
    }
  }
}
