#include "runs/FragmentDetails.h"

#include "engine/Analysis.h"
#include "engine/FileQueries.h"
#include "engine/VolumeAccess.h"
#include "items/ItemCells.h"
#include "runs/RunResults.h"
#include "util/PathText.h"
#include "options/StringIds.h"
#include "util/Text.h"
#include "util/WideString.h"

namespace {

bool IsFolder(const ItemRecord& record) { return (record.flags & ItemFlags::kFolder) != 0; }

bool SamePath(const std::wstring& listed, const std::wstring& wanted) {
  return EqualNoCase(DisplayPath(listed), DisplayPath(wanted));
}

// A file of the fragmented-files list, in the item record's terms: it was
// analysed and found in several fragments.
ItemRecord RecordOfFragmentedFile(ItemPlatform& platform, const FragmentedFileRecord& file) {
  ItemRecord record;
  record.path = file.path;
  record.longPath = LongPathOf(file.path);
  record.size = file.size;
  record.sizeOnDisk = file.sizeOnDisk;
  record.percentOnDisk = file.percentOnDisk;
  record.fragments = static_cast<int64_t>(file.fragments);
  record.clusters = static_cast<int64_t>(file.clusters);
  record.clusterSize = file.clusterSize;
  record.state = ItemState::FragmentedFile;
  record.flags = ItemFlags::kOutcomeFragmented;
  record.typeName = platform.TypeName(file.path, false);
  return record;
}

// A path on neither list: what the file system says of it now.
ItemRecord RecordOfPath(ItemPlatform& platform, const std::wstring& path) {
  ItemRecord record;
  record.path = std::wstring(DisplayPath(path));
  record.longPath = LongPathOf(record.path);
  uint32_t attributes = Fs().GetAttributes(record.longPath);
  bool folder = attributes != kInvalidAttributes && (attributes & kAttrDirectory) != 0;
  if (folder) record.flags |= ItemFlags::kFolder;
  if (folder && IsDriveRoot(record.path)) record.flags |= ItemFlags::kDriveRoot;
  if (attributes != kInvalidAttributes && !folder) {
    uint64_t size = Fs().FileSize(record.longPath);
    if (size != FileQueries::kInvalidSize) record.size = size;
  }
  if (!IsDriveRoot(record.path)) record.typeName = platform.TypeName(record.path, folder);
  return record;
}

ItemRecord ListedRecord(ItemPlatform& platform, const std::wstring& path) {
  // The item list holds paths without the long prefix.
  if (const ItemRecord* item = ItemByPath(DisplayPath(path))) return *item;
  for (const FragmentedFileRecord& file : gRun.fragmented) {
    if (SamePath(file.path, path)) return RecordOfFragmentedFile(platform, file);
  }
  return RecordOfPath(platform, path);
}

// Tested afresh: the lists may be a run old. A folder by its path, a file by
// its attributes.
bool StillExists(const ItemRecord& record) {
  if (IsDriveRoot(record.path)) return Fs().GetDriveKind(std::wstring(DisplayPath(record.path))) != DriveKind::NoRootDir;
  return Fs().GetAttributes(record.longPath) != kInvalidAttributes;
}

FragmentNotice NoticeFromRecord(const ItemRecord& record) {
  if (IsFolder(record)) return FragmentNotice::NotAFile;
  switch (record.state) {
    case ItemState::Error: return FragmentNotice::AnalysisFailed;
    case ItemState::None:
    case ItemState::Processing:
    case ItemState::Aborted: return FragmentNotice::NotAnalysed;
    default: break;
  }
  if (record.fragments == kCountNoClusters || record.fragments == 0) return FragmentNotice::NoClusters;
  if (record.fragments < 0) return FragmentNotice::AnalysisFailed;
  return FragmentNotice::None;
}

void ReadRows(FragmentDetails& details) {
  ItemRecord& record = details.record;
  FsHandle file = Va().OpenFileForMoving(record.longPath);
  if (file == kInvalidHandle) {
    details.notice = FragmentNotice::CannotRead;
    details.failure = FailureText(Va().LastError());
    return;
  }
  ExtentList extents;
  FileAnalysis analysis;
  bool read = ReadFileExtents(file, analysis, extents);
  Va().Close(file);
  if (!read) {
    details.notice = FragmentNotice::CannotRead;
    details.failure = analysis.outcome == kOutcomeNoResources ? FailureText(8) : analysis.outcome;
    return;
  }
  if (extents.Count() == 0) {
    details.notice = FragmentNotice::NoClusters;
    return;
  }
  uint32_t clusterSize = record.clusterSize;
  if (clusterSize == 0 && record.path.size() >= 3) {
    clusterSize = Fs().BytesPerCluster(std::wstring(DisplayPath(record.path).substr(0, 3)));
  }
  const uint64_t total = analysis.clusters;
  details.rows.reserve(extents.Count());
  for (const Extent* extent = extents.Head(); extent != nullptr; extent = extent->next) {
    FragmentRow row;
    row.clusters = extent->clusterCount;
    row.firstCluster = extent->lcn;
    row.bytes = extent->clusterCount * clusterSize;
    // Rounded to the nearest hundredth.
    row.hundredthsOfFile = total == 0 ? 0 : static_cast<uint32_t>((extent->clusterCount * 20000 / total + 1) / 2);
    details.rows.push_back(row);
  }
}

}  // namespace

FragmentDetails ReadFragmentDetails(ItemPlatform& platform, const std::wstring& path) {
  FragmentDetails details;
  details.record = ListedRecord(platform, path);
  if (!StillExists(details.record)) {
    details.notice = FragmentNotice::Missing;
    return details;
  }
  details.notice = NoticeFromRecord(details.record);
  if (details.notice == FragmentNotice::None) ReadRows(details);
  return details;
}

std::wstring DetailsName(const ItemRecord& record) {
  std::wstring_view shown = DisplayPath(record.path);
  if (IsDriveRoot(shown)) return std::wstring(shown);
  size_t slash = shown.find_last_of(L'\\');
  return std::wstring(slash == std::wstring_view::npos ? shown : shown.substr(slash + 1));
}

std::wstring DetailsFolder(const ItemRecord& record) {
  std::wstring_view shown = DisplayPath(record.path);
  if (IsDriveRoot(shown)) return std::wstring();
  size_t slash = shown.find_last_of(L'\\');
  if (slash == std::wstring_view::npos) return std::wstring();
  // A file in a drive's root keeps the root's backslash: "C:\".
  return std::wstring(shown.substr(0, slash == 2 ? 3 : slash));
}

std::wstring DetailsSize(const ItemRecord& record, uint64_t bytes, const NumberFormat& numbers) {
  if (IsFolder(record)) return std::wstring();
  return numbers.KBSize(bytes) + L" (" + numbers.GroupDigits(static_cast<int64_t>(bytes)) + L" " +
         Text(kStrDetailsBytes, L"byte") + L")";
}

std::vector<std::wstring> FragmentRowCells(const FragmentRow& row, uint64_t ordinal, const NumberFormat& numbers) {
  return {
      numbers.GroupDigits(static_cast<int64_t>(ordinal)),
      numbers.GroupDigits(static_cast<int64_t>(row.clusters)),
      numbers.GroupDigits(row.firstCluster),
      numbers.GroupDigits(row.firstCluster + static_cast<int64_t>(row.clusters) - 1),
      numbers.GroupDigits(static_cast<int64_t>(row.bytes)),
      numbers.Percent(row.hundredthsOfFile),
  };
}

std::wstring FragmentNoticeText(const FragmentDetails& details) {
  switch (details.notice) {
    case FragmentNotice::None: return std::wstring();
    case FragmentNotice::Missing: return Text(kStrDetailsMissing, L"L'oggetto non esiste");
    case FragmentNotice::NotAFile: return Text(kStrDetailsNotAFile, L"L'oggetto non \u00E8 un file");
    case FragmentNotice::AnalysisFailed:
      return Text(kStrDetailsAnalysisFailed, L"Si \u00E8 verificato un errore durante l'analisi");
    case FragmentNotice::NoClusters: return Text(kStrDetailsNoClusters, L"Il file non occupa alcun cluster");
    case FragmentNotice::NotAnalysed:
      return Text(kStrDetailsNotAnalysed, L"Il file non \u00E8 stato ancora analizzato");
    case FragmentNotice::CannotRead: {
      // The system's text ends in a line break.
      std::wstring text = details.failure;
      while (!text.empty() && (text.back() == L'\n' || text.back() == L'\r' || text.back() == L' ')) text.pop_back();
      return text;
    }
  }
  return std::wstring();
}
