#pragma once
// What the fragment details show for one listed file or folder: its general
// data, taken from its record in the item list or in the fragmented-files
// list, and, for a file that was analysed, its fragments read afresh from the
// file system (the record's counts may be a run old). The window shows it;
// everything here is platform-free, so it is read the same way on the
// simulated volume.
#include <cstdint>
#include <string>
#include <vector>

#include "items/ItemCells.h"
#include "items/ItemList.h"

// Why the table of fragments is not shown; None when it is.
enum class FragmentNotice {
  None,
  Missing,         // the object no longer exists
  NotAFile,        // a folder
  AnalysisFailed,  // its analysis ended in an error
  NoClusters,      // the file holds no clusters
  NotAnalysed,     // no analysis has been made yet
  CannotRead,      // the file could not be opened or read now: `failure` says why
};

// One fragment, in the order of the file's virtual clusters.
struct FragmentRow {
  uint64_t clusters = 0;
  int64_t firstCluster = 0;  // logical cluster on the volume
  uint64_t bytes = 0;        // clusters times the cluster size
  uint32_t hundredthsOfFile = 0;  // share of the file's clusters, in hundredths of a per cent
};

struct FragmentDetails {
  ItemRecord record;  // the general data, as listed
  FragmentNotice notice = FragmentNotice::None;
  std::wstring failure;  // the system's text for CannotRead
  std::vector<FragmentRow> rows;
};

// The details of a path as the lists show it (with or without the long
// prefix): the item list's record when it holds the path, else the
// fragmented-files list's, else what the file system says of the path now
// (its type name from `platform`).
FragmentDetails ReadFragmentDetails(ItemPlatform& platform, const std::wstring& path);

// The texts of the general data and of a table row (columns "N.", "Cluster",
// "Cluster iniziale", "Cluster finale", "Dimensione (byte)", "% del file"),
// with the given number formats.
std::wstring DetailsName(const ItemRecord& record);
std::wstring DetailsFolder(const ItemRecord& record);
// Kilobytes and the exact count: "1,234 KB (1,263,616 byte)"; empty for a folder.
std::wstring DetailsSize(const ItemRecord& record, uint64_t bytes, const NumberFormat& numbers);
std::vector<std::wstring> FragmentRowCells(const FragmentRow& row, uint64_t ordinal, const NumberFormat& numbers);
// The notice's display text (empty for None).
std::wstring FragmentNoticeText(const FragmentDetails& details);
