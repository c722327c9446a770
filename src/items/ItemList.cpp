#include "items/ItemList.h"

#include <algorithm>
#include <memory>
#include <new>
#include <vector>

#include "engine/FileQueries.h"
#include "util/DateText.h"
#include "util/PathText.h"
#include "util/SortLinkedList.h"
#include "options/StringIds.h"
#include "util/Tag.h"
#include "util/Text.h"
#include "util/WideString.h"

namespace {

// Path (any case) → node, in open addressing with linear probing. A slot
// holds the path's hash and where its characters are, so a lookup reads one
// slot and, only when the hashes agree, the path it names: the same few
// memory reads however long the list. The paths are the records' own, fixed
// while they are in the list.
class PathIndex {
 public:
  ItemNode* Find(std::wstring_view path) const {
    if (slots_.empty()) return nullptr;
    const uint64_t hash = HashNoCase(path);
    for (size_t i = size_t(hash) & mask_;; i = (i + 1) & mask_) {
      const Slot& slot = slots_[i];
      if (slot.node == nullptr) return nullptr;
      if (slot.hash == hash && slot.length == path.size() && EqualNoCase({slot.text, slot.length}, path)) {
        return slot.node;
      }
    }
  }
  // The node's path must not be in the index yet. May throw std::bad_alloc,
  // leaving the index as it was.
  void Insert(ItemNode* node) {
    if ((count_ + 1) * 2 > slots_.size()) Grow();
    const std::wstring& path = node->record.path;
    Place({HashNoCase(path), path.data(), path.size(), node});
    ++count_;
  }
  void Erase(const ItemNode* node) {
    if (slots_.empty()) return;
    size_t i = size_t(HashNoCase(node->record.path)) & mask_;
    while (slots_[i].node != node) {
      if (slots_[i].node == nullptr) return;
      i = (i + 1) & mask_;
    }
    // Later slots of the same probe run move up, so no run has a gap.
    for (size_t j = (i + 1) & mask_; slots_[j].node != nullptr; j = (j + 1) & mask_) {
      const size_t home = size_t(slots_[j].hash) & mask_;
      const bool staysPut = i <= j ? (i < home && home <= j) : (i < home || home <= j);
      if (staysPut) continue;
      slots_[i] = slots_[j];
      i = j;
    }
    slots_[i] = Slot{};
    --count_;
  }
  void Clear() {
    slots_.clear();
    mask_ = 0;
    count_ = 0;
  }

 private:
  struct Slot {
    uint64_t hash = 0;
    const wchar_t* text = nullptr;
    size_t length = 0;
    ItemNode* node = nullptr;  // nullptr: free
  };
  void Place(const Slot& entry) {
    size_t i = size_t(entry.hash) & mask_;
    while (slots_[i].node != nullptr) i = (i + 1) & mask_;
    slots_[i] = entry;
  }
  void Grow() {
    std::vector<Slot> old(std::max<size_t>(64, slots_.size() * 2));
    old.swap(slots_);
    mask_ = slots_.size() - 1;
    for (const Slot& slot : old) {
      if (slot.node != nullptr) Place(slot);
    }
  }
  std::vector<Slot> slots_;
  size_t mask_ = 0;
  size_t count_ = 0;
};

struct ItemListData {
  ItemNode* head = nullptr;
  uint64_t count = 0;
  PathIndex byPath;
  // The nodes from the tail to the head: row i is rowsReversed[count - 1 - i].
  std::vector<ItemNode*> rowsReversed;
  // The drive whose cluster size was read last, and that size.
  wchar_t clusterDrive = 0;
  uint32_t clusterSize = 0;
};
ItemListData gItemList;

static_assert(kBusyIdle == kTagNeutral && kBusyAdding == kTagAddingItems);

// The busy state doubles as the crash report's TAG.
class BusyScope {
 public:
  explicit BusyScope(ItemPlatform& platform) : platform_(platform) { Set(kBusyAdding); }
  ~BusyScope() { Set(kBusyIdle); }
  BusyScope(const BusyScope&) = delete;
  BusyScope& operator=(const BusyScope&) = delete;

 private:
  void Set(uint32_t state) {
    SetTag(state);
    platform_.SetBusyState(state);
  }
  ItemPlatform& platform_;
};

void RebuildRows() {
  gItemList.rowsReversed.clear();
  gItemList.rowsReversed.reserve(gItemList.count);
  for (ItemNode* node = gItemList.head; node != nullptr; node = node->next) {
    gItemList.rowsReversed.push_back(node);
  }
  std::reverse(gItemList.rowsReversed.begin(), gItemList.rowsReversed.end());
}

uint32_t ClusterSizeOfDrive(wchar_t drive) {
  if (drive != gItemList.clusterDrive) {
    std::wstring root{drive, L':', L'\\'};
    gItemList.clusterSize = Fs().BytesPerCluster(root);
    gItemList.clusterDrive = drive;
  }
  return gItemList.clusterSize;
}

uint32_t StateImageOf(uint32_t outcomeFlag) {
  switch (outcomeFlag) {
    case ItemFlags::kOutcomeFragmented: return ItemStateImage::kFragmented;
    case ItemFlags::kOutcomeDefragmented: return ItemStateImage::kDefragmented;
    case ItemFlags::kOutcomeNotFragmented: return ItemStateImage::kNotFragmented;
    case ItemFlags::kOutcomeProcessing: return ItemStateImage::kProcessing;
    case ItemFlags::kOutcomeError: return ItemStateImage::kError;
    default: return ItemStateImage::kWaiting;
  }
}


}  // namespace

uint32_t ValidateItemPath(ItemPlatform& platform, bool isFolder, const std::wstring& path) {
  if (path.size() < 2 || path[1] != L':') return kAddNotDriveLetter;
  FileQueries& fs = Fs();
  if (isFolder) {
    if (fs.GetAttributes(path) == kInvalidAttributes) return kAddFolderMissing;
    uint32_t error = fs.FindEntries(JoinPath(path, L"*"), [](const DirEntry&) { return false; });
    if (error != 0) {
      std::wstring message = FormatWithStrings(Text(kStrCannotAccess, L"Impossibile accedere a %s."), {path});
      message += L"\r\n\r\n";
      message += fs.ErrorText(error);
      return platform.ShowAccessError(message) ? kAddAccessShown : kAddAccessSilent;
    }
  } else if (fs.GetAttributes(path) == kInvalidAttributes) {
    // The Windows queries keep the system's critical-error boxes away.
    return kAddFileMissing;
  }
  return FindItemByPath(path) ? kAddDuplicate : kAddOk;
}

uint32_t AddItem(ItemPlatform& platform, bool isFolder, const std::wstring& path) {
  BusyScope busy(platform);
  uint32_t code = ValidateItemPath(platform, isFolder, path);
  if (code != kAddOk) return code;

  uint32_t clusterSize = ClusterSizeOfDrive(UpperCaseUnit(path[0]));
  bool driveRoot = isFolder && IsDriveRoot(path);
  DirEntry entry;
  if (!driveRoot) {
    bool found = false;
    uint32_t error = Fs().FindEntries(path, [&](const DirEntry& first) {
      entry = first;
      found = true;
      return false;
    });
    if (error != 0 || !found) return kAddFileMissing;
  }

  try {
    auto node = std::make_unique<ItemNode>();
    ItemRecord& record = node->record;
    record.path = path;
    record.longPath = LongPathOf(path);
    if (!driveRoot) {
      platform.DateTexts(entry.lastWriteTime, record.modifiedText, record.modifiedKey);
      record.typeName = platform.TypeName(path, isFolder);
      if (record.typeName.size() > kTypeNameMaxCount) record.typeName.resize(kTypeNameMaxCount);
      record.attributes = AttributeLetters(entry.attributes);
      if (!isFolder) {
        record.size = entry.size;
        uint64_t compressedSize =
            (entry.attributes & kAttrCompressed) != 0 ? Fs().GetCompressedSize(path) : 0;
        record.sizeOnDisk = SizeOnDisk(entry.attributes, entry.size, compressedSize, clusterSize);
        record.percentOnDisk = PercentOnDiskOfFile(platform, record.longPath, record.sizeOnDisk, record.size);
      }
    }
    record.iconIndex = isFolder ? ItemIcon::kPlainFolder : ItemIcon::kPlainFile;
    record.stateImage = ItemStateImage::kWaiting;
    record.clusterSize = clusterSize;
    record.flags = ItemFlags::kOutcomeNotProcessed;
    if (isFolder) record.flags |= ItemFlags::kFolder;
    if (driveRoot) record.flags |= ItemFlags::kDriveRoot;

    // Everything that can fail comes before the node is linked.
    auto& rows = gItemList.rowsReversed;
    if (rows.size() == rows.capacity()) rows.reserve(rows.empty() ? 64 : rows.size() * 2);
    ItemNode* linked = node.get();
    gItemList.byPath.Insert(linked);
    node.release();
    linked->next = gItemList.head;
    gItemList.head = linked;
    ++gItemList.count;
    gItemList.rowsReversed.push_back(linked);
  } catch (const std::bad_alloc&) {
    return kAddNoMemory;
  }

  platform.CacheIcon(path);
  return kAddOk;
}

bool FindItemByPath(std::wstring_view path) { return ItemByPath(path) != nullptr; }

ItemRecord* ItemByPath(std::wstring_view path) {
  ItemNode* found = gItemList.byPath.Find(path);
  return found == nullptr ? nullptr : &found->record;
}

bool RemoveItem(ItemRecord* record) {
  if (record == nullptr) return false;
  ItemNode* node = gItemList.byPath.Find(record->path);
  if (node == nullptr || &node->record != record) return false;

  auto& rows = gItemList.rowsReversed;
  auto slot = std::find(rows.begin(), rows.end(), node);
  if (node == gItemList.head) {
    gItemList.head = node->next;
  } else {
    // The node of the previous row is the next slot up.
    ItemNode* previous = *(slot + 1);
    previous->next = node->next;
  }
  rows.erase(slot);
  gItemList.byPath.Erase(node);
  --gItemList.count;
  delete node;
  return true;
}

uint64_t RemoveItemsIf(const std::function<bool(const ItemRecord&)>& remove) {
  uint64_t removed = 0;
  ItemNode** link = &gItemList.head;
  while (*link != nullptr) {
    ItemNode* node = *link;
    if (remove(node->record)) {
      *link = node->next;
      gItemList.byPath.Erase(node);
      delete node;
      ++removed;
    } else {
      link = &node->next;
    }
  }
  gItemList.count -= removed;
  if (removed != 0) RebuildRows();
  return removed;
}

void ClearItemList() {
  ItemNode* node = gItemList.head;
  while (node != nullptr) {
    ItemNode* next = node->next;
    delete node;
    node = next;
  }
  gItemList.head = nullptr;
  gItemList.count = 0;
  gItemList.byPath.Clear();
  gItemList.rowsReversed.clear();
}

void SortItemList(int direction) {
  gItemList.head = SortLinkedList(gItemList.head, [direction](const ItemNode& x, const ItemNode& y) {
    return CompareNoCase(y.record.sortKey, x.record.sortKey) * direction > 0;
  });
  RebuildRows();
}

uint64_t ItemCount() { return gItemList.count; }

ItemRecord* ItemAtRow(uint64_t row) {
  if (row >= gItemList.count) return nullptr;
  return &gItemList.rowsReversed[gItemList.count - 1 - row]->record;
}

ItemNode* ItemListHead() { return gItemList.head; }

void ResetClusterSizeCache() {
  gItemList.clusterDrive = 0;
  gItemList.clusterSize = 0;
}

void ResetItemForRun(ItemRecord& record) {
  record.flags &= ~(ItemFlags::kOutcomeMask | ItemFlags::kRunBits);
  record.stateImage = ItemStateImage::kWaiting;
  record.iconIndex = (record.flags & ItemFlags::kFolder) != 0 ? ItemIcon::kPlainFolder : ItemIcon::kPlainFile;
  record.state = ItemState::None;
  record.fragments = 0;
  record.clusters = 0;
}

void SetItemOutcome(ItemRecord& record, ItemState state, uint32_t outcomeFlag) {
  record.flags = (record.flags & ~ItemFlags::kOutcomeMask) | outcomeFlag;
  record.state = state;
  record.stateImage = StateImageOf(outcomeFlag);
}

void MarkItemProcessing(ItemRecord& record) {
  SetItemOutcome(record, ItemState::Processing, ItemFlags::kOutcomeProcessing);
}

void ApplyFileAnalysis(ItemRecord& record, bool analysed, int64_t fragments, int64_t clusters) {
  if (!analysed) {
    SetItemOutcome(record, ItemState::Error, ItemFlags::kOutcomeError);
  } else if (fragments >= 2) {
    SetItemOutcome(record, ItemState::FragmentedFile, ItemFlags::kOutcomeFragmented);
  } else {
    SetItemOutcome(record, ItemState::NotFragmentedFile, ItemFlags::kOutcomeNotFragmented);
  }
  record.fragments = fragments;
  record.clusters = clusters;
}

void ApplyFileMoveResult(ItemRecord& record, std::wstring_view moveResult) {
  if (moveResult.empty()) {
    SetItemOutcome(record, ItemState::DefragmentedFile, ItemFlags::kOutcomeDefragmented);
    record.fragments = 1;
  } else if (moveResult == L"AC") {
    SetItemOutcome(record, ItemState::NotFragmentedFile, ItemFlags::kOutcomeNotFragmented);
    if (record.fragments == 0) {
      record.fragments = kCountNoClusters;
      record.clusters = kCountNoClusters;
    }
  } else if (moveResult == L"ST") {
    SetItemOutcome(record, ItemState::Aborted, ItemFlags::kOutcomeAborted);
    record.fragments = kCountUnknown;
    record.clusters = kCountUnknown;
  } else if (moveResult == L"NF" || moveResult == L"PD" || moveResult == L"NR" ||
             moveResult == L"PM") {
    SetItemOutcome(record, ItemState::FragmentedFile, ItemFlags::kOutcomeFragmented);
  } else {
    SetItemOutcome(record, ItemState::Error, ItemFlags::kOutcomeError);
    record.fragments = kCountUnknown;
    record.clusters = kCountUnknown;
  }
}

void ApplyFolderAborted(ItemRecord& record) {
  SetItemOutcome(record, ItemState::Aborted, ItemFlags::kOutcomeAborted);
}

void ApplyFolderAnalysis(ItemRecord& record, bool fragmentedListGrew) {
  if (fragmentedListGrew) {
    SetItemOutcome(record, ItemState::FragmentedFolder, ItemFlags::kOutcomeFragmented);
  } else {
    SetItemOutcome(record, ItemState::NotFragmentedFolder, ItemFlags::kOutcomeNotFragmented);
  }
}

void ApplyFolderDefragmentation(ItemRecord& record, uint64_t fragmentedCount, uint64_t movedCount,
                                bool fragmentedListGrew) {
  if (fragmentedCount != movedCount) {
    SetItemOutcome(record, ItemState::FragmentedFolder, ItemFlags::kOutcomeFragmented);
  } else if (fragmentedListGrew) {
    SetItemOutcome(record, ItemState::DefragmentedFolder, ItemFlags::kOutcomeDefragmented);
  } else {
    SetItemOutcome(record, ItemState::NotFragmentedFolder, ItemFlags::kOutcomeNotFragmented);
  }
}

uint64_t SizeOnDisk(uint32_t attributes, uint64_t size, uint64_t compressedSize, uint32_t clusterSize) {
  if ((attributes & kAttrCompressed) != 0) {
    uint32_t low = static_cast<uint32_t>(compressedSize);
    if (clusterSize == 0) return low;
    uint32_t rounded = low + clusterSize - 1;  // wraps like the 32-bit original
    return static_cast<uint64_t>((rounded / clusterSize) * clusterSize);
  }
  if (clusterSize == 0) return size;
  int64_t bytes = static_cast<int64_t>(size);
  int64_t cluster = clusterSize;
  return static_cast<uint64_t>((bytes + cluster - 1) / cluster * cluster);
}

uint32_t PercentOnDisk(uint64_t sizeOnDisk, uint64_t size) {
  if (size == 0) return 0;
  // Single precision on purpose: the shown hundredths depend on it.
  float ratio = static_cast<float>(sizeOnDisk) / static_cast<float>(size);
  float scaled = ratio * 100000.0f;
  uint64_t whole = static_cast<uint64_t>(scaled);
  // A last digit of exactly 5 rounds down.
  uint64_t result = whole / 10 + (whole % 10 > 5 ? 1 : 0);
  if (result > 0xFFFFFFFFull) result = 0xFFFFFFFFull;
  return static_cast<uint32_t>(result);
}

uint32_t PercentOnDiskOfFile(ItemPlatform& platform, const std::wstring& longPath, uint64_t sizeOnDisk,
                             uint64_t size) {
  const uint32_t percent = PercentOnDisk(sizeOnDisk, size);
  // Far more on disk than the size: a file kept inside its directory record
  // has no clusters at all and takes no room of its own.
  if (percent > 50000 && platform.HasNoClusters(longPath)) return 0;
  return percent;
}

std::wstring AttributeLetters(uint32_t attributes) {
  std::wstring letters;
  if (attributes & kAttrReadOnly) letters += L'R';
  if (attributes & kAttrHidden) letters += L'H';
  if (attributes & kAttrSystem) letters += L'S';
  if (attributes & kAttrArchive) letters += L'A';
  if (attributes & kAttrEncrypted) letters += L'E';
  if (attributes & kAttrCompressed) letters += L'C';
  return letters;
}

std::wstring ItemStateText(ItemState state, uint32_t flags) {
  switch (state) {
    case ItemState::FragmentedFile: return Text(kStrFragmented, L"Frammentato");
    case ItemState::FragmentedFolder: return Text(kStrFragmented, L"Frammentata");
    case ItemState::NotFragmentedFile: return Text(kStrNotFragmented, L"Non frammentato");
    case ItemState::NotFragmentedFolder: return Text(kStrNotFragmented, L"Non frammentata");
    case ItemState::Contiguous: return Text(kStrContiguous, L"Contiguo");
    case ItemState::DefragmentedFile: return Text(kStrDefragmented, L"Deframmentato");
    case ItemState::DefragmentedFolder: return Text(kStrDefragmented, L"Deframmentata");
    case ItemState::Aborted: return Text(kStrAborted, L"Interrotto");
    default: break;
  }
  if (state == ItemState::Error) return Text(kStrError, L"Errore");
  if ((flags & ItemFlags::kSkipped) != 0) return Text(kStrSkipped, L"Scartato");
  if (state == ItemState::Processing) return Text(kStrProcessing, L"In elaborazione...");
  return std::wstring();
}

std::wstring PortableTypeName(const std::wstring& path, bool isFolder) {
  if (isFolder) return L"File folder";
  size_t slash = path.find_last_of(L'\\');
  size_t dot = path.find_last_of(L'.');
  if (dot == std::wstring::npos || (slash != std::wstring::npos && dot < slash) || dot + 1 == path.size()) {
    return L"File";
  }
  return UpperCase(std::wstring_view(path).substr(dot + 1)) + L" File";
}

void PortableDateTexts(uint64_t lastWriteTime, std::wstring& text, std::wstring& key) {
  CivilTime time = CivilFromTicks(lastWriteTime);
  std::wstring timeText = FixedTimeText(time);
  text = FixedDateText(time) + L" " + timeText;
  key = SortableDateText(time) + timeText;
}
