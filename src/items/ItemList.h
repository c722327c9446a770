#pragma once
// The item list: every file and folder the user put into the main list, one
// record each, newest first. Row i of the list view is the i-th node from the
// head. Changed only on the window thread; a run's worker reads and writes
// fields of existing records but never links or unlinks nodes.
//
// Besides the linked list the module keeps two indexes so that large lists
// stay fast: a hash table of the paths, case ignored (for FindItemByPath and
// RemoveItem) and the nodes in reverse list order (for ItemAtRow; front
// insertion is then an append). Both are rebuilt after a sort or a removal.
// A record's path is therefore fixed once the record is in the list.
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

enum class ItemState : uint32_t {
  None = 0,
  Error = 1,
  FragmentedFile = 2,
  FragmentedFolder = 3,
  NotFragmentedFile = 4,
  NotFragmentedFolder = 5,
  Contiguous = 6,
  DefragmentedFile = 7,
  DefragmentedFolder = 8,
  Aborted = 9,
  Processing = 10,
};

struct ItemFlags {
  static constexpr uint32_t kFolder = 0x1;
  static constexpr uint32_t kRunScratch2 = 0x2;  // cleared at the start of every run
  static constexpr uint32_t kSelected = 0x4;     // transient: the row was selected before a sort
  static constexpr uint32_t kSkipped = 0x8;
  static constexpr uint32_t kToProcess = 0x10;
  static constexpr uint32_t kRunScratch20 = 0x20;  // cleared at the start of every run
  static constexpr uint32_t kDriveRoot = 0x40;
  static constexpr uint32_t kOutcomeFragmented = 0x800;
  static constexpr uint32_t kOutcomeDefragmented = 0x1000;
  static constexpr uint32_t kOutcomeNotFragmented = 0x2000;
  static constexpr uint32_t kOutcomeAborted = 0x4000;
  static constexpr uint32_t kOutcomeProcessing = 0x8000;
  static constexpr uint32_t kOutcomeError = 0x10000;
  static constexpr uint32_t kOutcomeNotProcessed = 0x20000;
  // The outcome bits are one-hot: a change of outcome clears them all first.
  static constexpr uint32_t kOutcomeMask = 0x3F800;
  // Cleared by ResetItemForRun besides the outcome.
  static constexpr uint32_t kRunBits = 0x2 | 0x4 | 0x8 | 0x10 | 0x20;
};

// Small icons of the main image list and the state pictures beside the name.
// The pictures themselves belong to the list view; these are their positions.
struct ItemIcon {
  static constexpr uint32_t kPlainFile = 0;
  static constexpr uint32_t kPlainFolder = 1;
};
struct ItemStateImage {
  static constexpr uint32_t kWaiting = 0;
  static constexpr uint32_t kProcessing = 1;
  static constexpr uint32_t kFragmented = 2;
  static constexpr uint32_t kNotFragmented = 3;
  static constexpr uint32_t kDefragmented = 4;
  static constexpr uint32_t kError = 5;
};

// Special values of fragments and clusters.
constexpr int64_t kCountUnknown = -1;     // could not be determined (also -2)
constexpr int64_t kCountNoClusters = -3;  // a file that needed nothing and has no clusters

// Longest type name and attribute text kept, in characters.
constexpr size_t kTypeNameMaxCount = 127;
constexpr size_t kAttributesMaxCount = 7;

struct ItemRecord {
  uint64_t size = 0;        // bytes, from the directory entry; 0 for folders
  uint64_t sizeOnDisk = 0;  // allocated bytes
  int64_t fragments = 0;    // 0 not known yet; -1/-2 unknown; -3 no clusters
  int64_t clusters = 0;     // same special values as fragments
  uint32_t percentOnDisk = 0;  // size on disk in hundredths of a per cent of size
  uint32_t iconIndex = ItemIcon::kPlainFile;
  uint32_t stateImage = ItemStateImage::kWaiting;
  ItemState state = ItemState::None;
  uint32_t clusterSize = 0;  // bytes per cluster of the item's volume
  uint32_t flags = 0;        // ItemFlags
  bool checked = true;       // the row's box; an unticked item stays out of every run
  std::wstring path;         // as the user gave it, drive-letter form; the duplicate key
  std::wstring longPath;     // with the "\\?\" prefix: what the engine opens
  std::wstring typeName;     // the shell's type name; empty for a drive root
  std::wstring sortKey;      // filled before each sort with the key of the sort column
  std::wstring modifiedText;  // local short date, a blank, time without seconds
  std::wstring modifiedKey;   // "yyyyMMdd" followed by the same time text
  std::wstring attributes;    // letters of R, H, S, A, E, C that are set
};

struct ItemNode {
  ItemRecord record;
  ItemNode* next = nullptr;
};

// What adding an item needs from the platform and the window.
class ItemPlatform {
 public:
  virtual ~ItemPlatform() = default;
  // The shell's type name of a path, asked with a folder's or a normal file's
  // attributes so that the file is not opened.
  virtual std::wstring TypeName(const std::wstring& path, bool isFolder) = 0;
  // The last-write time (100-ns ticks since 1601, UTC) as the local short
  // date + " " + time without seconds, and as "yyyyMMdd" + the same time.
  virtual void DateTexts(uint64_t lastWriteTime, std::wstring& text, std::wstring& key) = 0;
  // Hands a newly added path to the shell-icon cache of the list view.
  virtual void CacheIcon(const std::wstring& path) = 0;
  // Shows the "cannot access" message of a folder. False when there is
  // nobody to show it to (the unattended mode): the folder is then refused
  // without a word.
  virtual bool ShowAccessError(const std::wstring& message) = 0;
  // Sets the window's busy state (kBusyAdding while adding, kBusyIdle after).
  virtual void SetBusyState(uint32_t busyState) = 0;
  // Asked of a file whose size on disk is more than five times its size:
  // true when an analysis finds it keeps no clusters of its own (it lives
  // inside its directory record), so that it counts as taking no room.
  virtual bool HasNoClusters(const std::wstring& longPath) = 0;
};

constexpr uint32_t kBusyIdle = 9000;
constexpr uint32_t kBusyAdding = 9002;

// The fixed texts: a type name from the extension ("TXT File", "File",
// "File folder"), and the UTC time as "dd/MM/yyyy HH:mm" and its sort key.
std::wstring PortableTypeName(const std::wstring& path, bool isFolder);
void PortableDateTexts(uint64_t lastWriteTime, std::wstring& text, std::wstring& key);

// Items without a window: the fixed texts, no icons, no busy state, no
// analysis (a file keeps its computed per cent), and a folder that cannot be
// read is refused without a message.
class PortableItemPlatform : public ItemPlatform {
 public:
  std::wstring TypeName(const std::wstring& path, bool isFolder) override { return PortableTypeName(path, isFolder); }
  void DateTexts(uint64_t lastWriteTime, std::wstring& text, std::wstring& key) override {
    PortableDateTexts(lastWriteTime, text, key);
  }
  void CacheIcon(const std::wstring&) override {}
  bool ShowAccessError(const std::wstring&) override { return false; }
  void SetBusyState(uint32_t) override {}
  bool HasNoClusters(const std::wstring&) override { return false; }
};

// Result codes of AddItem and ValidateItemPath.
constexpr uint32_t kAddOk = 0;
constexpr uint32_t kAddAccessSilent = 1;
constexpr uint32_t kAddFileMissing = 2;
constexpr uint32_t kAddFolderMissing = 4;
constexpr uint32_t kAddDuplicate = 8;
constexpr uint32_t kAddNoMemory = 16;
constexpr uint32_t kAddAccessShown = 32;
constexpr uint32_t kAddNotDriveLetter = 64;

uint32_t AddItem(ItemPlatform& platform, bool isFolder, const std::wstring& path);
uint32_t ValidateItemPath(ItemPlatform& platform, bool isFolder, const std::wstring& path);
bool FindItemByPath(std::wstring_view path);
// The record with that path (case-insensitive), or nullptr.
ItemRecord* ItemByPath(std::wstring_view path);
// Unlinks and frees a record of the list; false when it is not in the list.
bool RemoveItem(ItemRecord* record);
// Removes every record for which `remove` is true, in one pass.
uint64_t RemoveItemsIf(const std::function<bool(const ItemRecord&)>& remove);
void ClearItemList();
// Stable merge sort on sortKey, case-insensitive; +1 ascending, -1 descending.
void SortItemList(int direction);

uint64_t ItemCount();
// The record of row i (the i-th node from the head), or nullptr beyond the end.
ItemRecord* ItemAtRow(uint64_t row);
// The first node, for walks in list order.
ItemNode* ItemListHead();
// Forgets the drive whose cluster size was read last.
void ResetClusterSizeCache();

// Record changes of a run.
void ResetItemForRun(ItemRecord& record);
void MarkItemProcessing(ItemRecord& record);
void SetItemOutcome(ItemRecord& record, ItemState state, uint32_t outcomeFlag);
// A file after its analysis: analysed false when it could not be analysed.
void ApplyFileAnalysis(ItemRecord& record, bool analysed, int64_t fragments, int64_t clusters);
// A file after its relocation, from the move's result code: "" moved, "AC"
// already contiguous, "ST" stopped, "NF"/"PD"/"NR" no room, "PM" moved only in
// part (still fragmented), else an error text.
void ApplyFileMoveResult(ItemRecord& record, std::wstring_view moveResult);
void ApplyFolderAborted(ItemRecord& record);
void ApplyFolderAnalysis(ItemRecord& record, bool fragmentedListGrew);
void ApplyFolderDefragmentation(ItemRecord& record, uint64_t fragmentedCount, uint64_t movedCount,
                                bool fragmentedListGrew);

// Allocated size: compressed files from the low 32 bits of their compressed
// size in 32-bit arithmetic (wrong above 4 GiB, kept on purpose), others from
// the size in signed 64-bit arithmetic, both rounded up to the cluster size.
uint64_t SizeOnDisk(uint32_t attributes, uint64_t size, uint64_t compressedSize, uint32_t clusterSize);
// Size on disk in hundredths of a per cent of size (see ItemList.cpp).
uint32_t PercentOnDisk(uint64_t sizeOnDisk, uint64_t size);
// The same for a file being added: far more on disk than the size (above
// 500 %) asks the platform whether the file keeps clusters at all; one
// without any takes no room of its own (0).
uint32_t PercentOnDiskOfFile(ItemPlatform& platform, const std::wstring& longPath, uint64_t sizeOnDisk,
                             uint64_t size);
// The letters of the set attributes: R, H, S, A, E, C in that order.
std::wstring AttributeLetters(uint32_t attributes);

// The state column's text for a state and flags (files masculine, folders
// feminine), through the display-text table.
std::wstring ItemStateText(ItemState state, uint32_t flags);
