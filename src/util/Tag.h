#pragma once
// The TAG: one process-wide checkpoint code that tells the crash report which
// risky operation was running when a fault came. It starts below the neutral
// value; the entry point raises it to neutral once the report can be shown, and
// from then on every risky operation sets its own value and puts the neutral
// one back afterwards. A fault while the TAG is below neutral ends the program
// without a word, with the TAG as exit code.
#include <cstdint>

constexpr uint32_t kTagStarting = 8000;        // before the first checkpoint
constexpr uint32_t kTagNeutral = 9000;
constexpr uint32_t kTagCheckingDrives = 9001;  // solid-state drives are identified
constexpr uint32_t kTagAddingItems = 9002;     // an item is checked and added to the list
constexpr uint32_t kTagReadingFiles = 9003;    // settings, filter and language files at start-up
constexpr uint32_t kTagMovingFile = 9004;      // the move thread moves a file's extents
constexpr uint32_t kTagRecordingError = 9005;  // a failed file's error text is made

uint32_t CurrentTag();
// Any thread may set it; the last value set is the one a fault reports.
void SetTag(uint32_t tag);

// Sets the TAG for the lifetime of the scope and the neutral value after it.
class TagScope {
 public:
  explicit TagScope(uint32_t tag) { SetTag(tag); }
  ~TagScope() { SetTag(kTagNeutral); }
  TagScope(const TagScope&) = delete;
  TagScope& operator=(const TagScope&) = delete;
};

// Called with every value set, after it is set. The simulating variant uses
// it to fault at a chosen TAG; the shipped program never sets one.
using TagObserver = void (*)(uint32_t tag);
void SetTagObserver(TagObserver observer);
