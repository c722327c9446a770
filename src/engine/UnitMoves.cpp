#include "engine/UnitMoves.h"

#include <algorithm>

namespace {

int64_t UnitStart(int64_t vcn) { return vcn / kClustersPerUnit * kClustersPerUnit; }
int64_t UnitEnd(int64_t vcn) { return (vcn + kClustersPerUnit - 1) / kClustersPerUnit * kClustersPerUnit; }

// The largest VCN span of one request: a whole number of units within 32 bits.
constexpr int64_t kMaxSpan = int64_t(0xFFFFFFFFu) / kClustersPerUnit * kClustersPerUnit;

// Allocated clusters of `runs` in [from, to), walking on from `next`, the
// first run that may still reach past `from`.
uint64_t ClustersIn(const std::vector<FileRun>& runs, size_t& next, int64_t from, int64_t to) {
  uint64_t clusters = 0;
  for (size_t i = next; i < runs.size() && runs[i].vcn < to; ++i) {
    const int64_t s = std::max(runs[i].vcn, from);
    const int64_t e = std::min(runs[i].vcn + int64_t(runs[i].count), to);
    if (s < e) clusters += uint64_t(e - s);
    if (runs[i].vcn + int64_t(runs[i].count) <= to) next = i + 1;
  }
  return clusters;
}

}  // namespace

bool RunsHaveHoles(const std::vector<FileRun>& runs) {
  int64_t end = 0;
  for (const FileRun& run : runs) {
    if (run.vcn != end) return true;
    end = run.vcn + int64_t(run.count);
  }
  return false;
}

std::vector<UnitMove> PlanUnitMoves(const std::vector<FileRun>& runs) {
  std::vector<UnitMove> moves;
  if (runs.empty()) return moves;
  const int64_t dataEnd = runs.back().vcn + int64_t(runs.back().count);
  int64_t covered = 0;
  size_t counted = 0;
  // Fragments as the analysis counts them: a run that continues the previous
  // one on the volume belongs to its fragment, across a hole too.
  for (size_t first = 0; first < runs.size();) {
    size_t last = first;
    while (last + 1 < runs.size() &&
           runs[last + 1].lcn == runs[last].lcn + int64_t(runs[last].count)) {
      ++last;
    }
    const int64_t fragmentEnd = runs[last].vcn + int64_t(runs[last].count);
    int64_t from = std::max(UnitStart(runs[first].vcn), covered);
    const int64_t to = std::min(UnitEnd(fragmentEnd), dataEnd);
    while (from < to) {
      const int64_t until = std::min(to, from + kMaxSpan);
      moves.push_back({from, uint32_t(until - from), ClustersIn(runs, counted, from, until)});
      from = until;
    }
    covered = std::max(covered, to);
    first = last + 1;
  }
  return moves;
}
