#pragma once
// The bit-by-bit walk of a bitmap chunk, one cluster per step, as the search
// was first written: the reference the word-skipping walk must equal.
#include "engine/FreeSpace.h"

void ScanChunkBitByBit(FreeRunSearch& search, const uint8_t* bits, uint64_t examined,
                       int64_t chunkStart);
