#pragma once
// A file's run list switches from its old clusters to their copy in one
// step, however many records it spans. While the library rewrites the
// records, everything it writes is held in memory by the volume's device
// layer (its reads see it); the held sectors then go first into a journal
// file of ours on the volume, synced, then to their places, synced (the
// bitmaps' claims before the records, what is given back after them), and
// the journal is cleared. A stop before the journal is complete leaves the old
// records untouched; a stop after it leaves a complete journal, which the
// next opening for writing applies again before anything else reads the
// volume.
#include <cstdint>
#include <map>
#include <string>
#include <vector>

struct _ntfs_volume;
struct ntfs_device;

// The journal's name in the volume's root.
inline constexpr char kJournalName[] = "$OrdalisJournal";

class SwitchJournal {
 public:
  // Opens the journal file, creating it when missing, and notes where its
  // clusters lie; false with `message` when it cannot.
  bool Attach(_ntfs_volume* volume, std::string& message);
  // Removes the journal file (at a clean end); false when it failed.
  bool Remove(_ntfs_volume* volume);
  uint64_t Record() const { return record_; }
  bool Attached() const { return !extents_.empty(); }
  // Whether the journal's clusters meet the byte range [offset, offset + bytes).
  bool Overlaps(int64_t offset, int64_t bytes) const;

  // From here on, the library's writes are held.
  void Hold();
  // The held writes are forgotten and later ones dropped until Release():
  // used while the library's view of a switch that never reached the volume
  // is thrown away.
  void Drop();
  // Writes held from now on reach the volume again.
  void Release();
  // The held writes through the journal onto the volume. Returns 0 when
  // they are on the volume and the journal is clear; 1 when nothing reached
  // the volume (too large for the journal, or its writing failed); 2 when
  // the journal is complete but applying it failed: the volume must not be
  // written again before it is opened anew.
  int Commit(_ntfs_volume* volume);

  // Test hook: the n-th write to the device from now fails (0: none), or,
  // `silently`, reaches the disk with a byte changed and reports success.
  static void FailWrite(uint64_t n, bool silently = false);

 private:
  struct Extent {
    int64_t offset, bytes;
  };
  bool WriteJournal(int64_t at, const uint8_t* data, int64_t bytes);
  // The journal file opened or made, written in full, its clusters noted.
  bool Make(_ntfs_volume* volume, std::string& message);
  // What the library wrote while making it, from the holding onto the volume.
  bool WriteMade(_ntfs_volume* volume);
  ntfs_device* device_ = nullptr;
  uint64_t record_ = 0;
  std::vector<Extent> extents_;
  int64_t capacity_ = 0;
  uint64_t sequence_ = 0;
};

// At opening, before the volume is mounted for anything else: looks for a
// complete journal left by a stopped run. What was found and done.
enum class InterruptedSwitch { None, Applied, Pending, Failed };
// `probe` is the volume mounted read-only through the volume's one device
// layer; when `apply` (its descriptor open for writing), a complete journal
// is written to the device and cleared (the probe must be remounted after).
InterruptedSwitch FinishInterruptedSwitch(_ntfs_volume* probe, bool apply);

// At opening for writing, when the library refuses the volume: a run stopped
// between the master file table's first records and their mirror copy left
// the two unequal. On a volume that carries the disk-check mark, with every
// record of the table whole, the table's records are copied over the
// mirror, as a disk check would. True when it did (the volume may open now).
bool RestoreMirror(int fd);

// The volume's flags written with the mirror's copy of their record first,
// synced, and the master file table's own record last, synced: a stop
// between the two leaves the record as it was and the mirror ahead of it.
// Clearing the disk-check mark this way, a stop between them leaves the
// record marked, and the next opening for writing brings the mirror in line
// and refuses the volume as marked, as it should. False when a write failed.
bool WriteVolumeFlags(_ntfs_volume* volume, uint16_t flags);
