#pragma once
// Moves for files that the file system moves only in whole compression units
// (compressed and sparse files). Such a file's move request is widened to the
// units it touches, so moving its fragments one by one would make one request
// carry clusters of the next fragment and the next request find its target
// already taken by the file itself. Instead the file is moved in VCN ranges
// that start and end on unit boundaries (the last one at the end of the
// file's data), each covering one or more fragments, so that no unit is
// asked for twice and each request's target follows the clusters moved
// before it.
#include <cstdint>
#include <vector>

#include "engine/Analysis.h"

constexpr int64_t kClustersPerUnit = 16;

// One move request: the VCN range (holes included) and the clusters it
// carries, by which the target advances.
struct UnitMove {
  int64_t vcn = 0;
  uint32_t vcnCount = 0;
  uint64_t clusters = 0;
};

// True when the runs leave holes between them or before the first: the file
// is sparse or compressed whatever its attributes say.
bool RunsHaveHoles(const std::vector<FileRun>& runs);

// The requests that move every allocated cluster of `runs` (in VCN order)
// back to back. A request starts where a fragment starts, widened down to its
// unit unless the previous request already covers that unit, and ends where
// the fragment ends, widened up to its unit; none spans more than a 32-bit
// count allows.
std::vector<UnitMove> PlanUnitMoves(const std::vector<FileRun>& runs);
