#pragma once
// Columns of the main window's two lists: building them from a table, the
// column menu (one command per column and the default set), the visible
// flags kept in the settings, and the sort arrow in the header.
#include <windows.h>
#include <commctrl.h>

#include <cstdint>
#include <vector>

#include "options/CommandIds.h"
#include "options/StringIds.h"

struct ColumnLayout {
  uint32_t textId;
  const wchar_t* italian;
  int width96;
  int format;  // LVCFMT_LEFT or LVCFMT_RIGHT
  uint32_t command;  // the column menu's command that shows or hides it
};

// The columns the item list and the fragmented-file list both show, alike.
constexpr ColumnLayout kColumnSize{kStrColumnSize, L"Dimensione", 120, LVCFMT_RIGHT, kCmdColumnSize};
constexpr ColumnLayout kColumnSizeOnDisk{kStrColumnSizeOnDisk, L"Dimensione su disco", 120, LVCFMT_RIGHT,
                                         kCmdColumnSizeOnDisk};
constexpr ColumnLayout kColumnFragments{kStrColumnFragments, L"Frammenti", 100, LVCFMT_RIGHT, kCmdColumnFragments};
constexpr ColumnLayout kColumnClusters{kStrColumnClusters, L"Cluster", 100, LVCFMT_RIGHT, kCmdColumnClusters};
constexpr ColumnLayout kColumnPercentOnDisk{kStrColumnPercentOnDisk, L"% su disco", 100, LVCFMT_RIGHT,
                                            kCmdColumnPercentOnDisk};
constexpr ColumnLayout kColumnModified{kStrColumnModified, L"Data ultima modifica", 140, LVCFMT_LEFT,
                                       kCmdColumnModified};
constexpr ColumnLayout kColumnAttributes{kStrColumnAttributes, L"Attributi", 80, LVCFMT_LEFT, kCmdColumnAttributes};

struct ColumnTable {
  const ColumnLayout* columns;
  int count;
  int menuResource;  // the column menu, one item per column in table order
};

void BuildListColumns(HWND list, const ColumnTable& table);
// Sets the column titles again after the language changed.
void RetextListColumns(HWND list, const ColumnTable& table);
// Sets the width of every hidden column to 0 (visible: empty means all).
void ApplyColumnVisibility(HWND list, const ColumnTable& table, const std::vector<uint8_t>& visible);
// Shows the column menu at a screen point and carries out the choice; with
// enabled false every item is greyed (the window is busy).
void RunColumnMenu(HWND owner, HWND list, const ColumnTable& table, std::vector<uint8_t>& visible, POINT at,
                   bool enabled);
// Shows or hides the column whose menu command this is; false when the table
// has no such column. "Predefinito" restores every column, width and order.
bool ApplyColumnCommand(HWND list, const ColumnTable& table, std::vector<uint8_t>& visible, uint32_t command);
// The arrow of the sorted column (direction +1 up, -1 down); the others none.
void SetSortArrow(HWND list, int column, int direction);
// True when the column is hidden (its divider must not be dragged open).
bool ColumnHidden(const std::vector<uint8_t>& visible, int column);
