// Analysis and defragmentation runs over a folder tree on a simulated volume:
// whole console summaries, item states, the end state of the volume, and the
// rules for what follows a run.
#include <algorithm>
#include "RunTestSupport.h"
#include "items/ItemCells.h"
#include "runs/FolderWalk.h"
#include "runs/RunSteps.h"
#include "runs/UnattendedRun.h"
#include "engine/SolidState.h"
#include "engine/sim/SimDrives.h"
#include "options/RunFlags.h"
#include "options/Settings.h"

#include <chrono>
#include <future>
#include <mutex>
#include <stdexcept>

namespace {

// The command line's unattended runs.
constexpr uint32_t kUnattended = kRunNoGui | kRunClose;

using RunsTest = TreeRunFixture;

// Items are listed newest first: big.bin, b.bin (contiguous) and a.bin
// alone before their folder and c.bin after it. Each is analysed, moved and
// counted once. The defragmentation starts from nothing, so only its own
// failures are named; a file item shows what its relocation found. The file
// system reports single.bin's second move as done having moved one of its
// three clusters: the file is still in pieces, an error, not defragmented.
// A failure without a system text is named by the program's own text, which
// has no line end to lose.
TEST_F(RunsTest, AnUnattendedRunAnalysesDefragmentsAndNamesEveryFailure) {
  std::string tree = kRunTree;
  tree.replace(tree.find("runs=500:1,510:1"), 16, "runs=500:1,510:3");
  Volume(tree + "fault \"Z:\\single.bin\" control=move call=2 partial=1\n");
  ClearItemList();
  for (const wchar_t* file : {L"Z:\\data\\sub\\c.bin", L"Z:\\data", L"Z:\\single.bin", L"Z:\\data\\a.bin",
                              L"Z:\\data\\sub\\b.bin", L"Z:\\data\\big.bin"}) {
    ASSERT_EQ(AddItem(items_, file == std::wstring(L"Z:\\data"), file), kAddOk);
  }
  options_ = RunOptionsFrom(Settings{}, kUnattended | kRunAnalyze | kRunDefrag);
  options_.filter = &filter_;
  options_.solidStateFlags = kSolidStateNoDetection;
  EXPECT_EQ(RunUnattended(options_, ui_), 4u);

  const std::wstring locked =
      L"Failed file : Z:\\data\\locked.bin : The process cannot access the file because it is being used by "
      L"another process.\r\n";
  const std::wstring leftOut = L"Number of files left out by the include and exclude masks and the size limit : 1\r\n";
  EXPECT_EQ(ui_.consoleText,
            L"Analyzed file : Z:\\data\\big.bin\r\nFile is in 2 fragments\r\n\r\n"
            L"Analyzed file : Z:\\data\\sub\\b.bin\r\nFile is in 1 fragments (Contiguous)\r\n\r\n"
            L"Analyzed file : Z:\\data\\a.bin\r\nFile is in 2 fragments\r\n\r\n"
            L"Analyzed file : Z:\\single.bin\r\nFile is in 2 fragments\r\n\r\n"
            L"Analyzed folder : Z:\\data\r\nFolder is Fragmented\r\n\r\n"
            L"Analyzed file : Z:\\data\\sub\\c.bin\r\nFile is in 3 fragments\r\n\r\n"
            L"\r\nNumber of items processed : 6 \r\n" +
                locked + leftOut +
                L"\r\n"
                L"Summary:\r\n\r\n"
                L"Number of processed files : 7\r\n"
                L"Number of fragmented files : 0\r\n"
                L"Number of already contiguous files : 1\r\n"
                L"Number of defragmented files : 2\r\n"
                L"Number of files that were not defragmented due to processing errors : 4\r\n"
                L"\r\n"
                L"Failed file : Z:\\data\\big.bin : Non esistono cluster contigui sufficienti per deframmentare "
                L"completamente il file.\r\n" +
                locked + L"Failed file : Z:\\data\\refused.bin : Error 0xC0000999\r\n" +
                L"Failed file : Z:\\single.bin : Il file è stato spostato solo in parte ed è ancora frammentato.\r\n" +
                leftOut + L"\r\n");
  auto shown = [](const wchar_t* path) {
    const ItemRecord* record = ItemByPath(path);
    return std::make_tuple(record->state, record->fragments, record->clusters);
  };
  EXPECT_EQ(shown(L"Z:\\single.bin"), std::make_tuple(ItemState::FragmentedFile, int64_t{2}, int64_t{4}));
  EXPECT_EQ(shown(L"Z:\\data\\a.bin"), std::make_tuple(ItemState::DefragmentedFile, int64_t{1}, int64_t{4}));
  EXPECT_EQ(shown(L"Z:\\data\\sub\\b.bin"), std::make_tuple(ItemState::NotFragmentedFile, int64_t{1}, int64_t{4}));
  EXPECT_EQ(shown(L"Z:\\data\\big.bin"), std::make_tuple(ItemState::FragmentedFile, int64_t{2}, int64_t{900}));
  EXPECT_EQ(Fragments(L"Z:\\data\\sub\\c.bin"), 1u);
  EXPECT_EQ(Fragments(L"Z:\\data\\skip.tmp"), 2u);
  EXPECT_EQ(Check(), "check ok");
  // Every handle closed once, the volume's too: nothing holds the drive.
  EXPECT_EQ(volume_->OpenHandleCount(), 0u);
  EXPECT_EQ(volume_->FailedCloses(), 0u);
}

TEST_F(RunsTest, AFolderWorkerThatDiesMakesTheFolderAnErrorAndTheRunEnds) {
  // The filter is asked on the worker's thread; throwing there ends the
  // thread without its done flag.
  filter_.file = [](const std::wstring& path) -> bool {
    if (path == L"Z:\\data\\sub\\c.bin") throw std::runtime_error("out of memory");
    return false;
  };
  options_.unattended = true;
  Run(RunMode::AnalyseAll);

  EXPECT_EQ(ItemAtRow(1)->state, ItemState::Error);
  EXPECT_EQ(gRun.errors.back().displayPath + L": " + gRun.errors.back().message,
            L"Z:\\data: The I/O operation has been aborted because of either a thread exit or an application "
            L"request.");
  // What the worker staged before it died is kept.
  ASSERT_FALSE(gRun.fragmented.empty());
  EXPECT_EQ(gRun.fragmented.front().path, L"Z:\\data\\a.bin");
  EXPECT_FALSE(gFolderWorker.Running());
  EXPECT_EQ(gEngine.doneFlags[kDoneFolderWorker].load(), 1u);
}

TEST_F(RunFixture, TheFolderWorkersCountIsShownWhileItWalks) {
  std::string tree = "volume letter=Z clusters=2000 clusterSize=4096\n";
  for (int i = 0; i < 400; ++i) {
    tree += "file \"Z:\\many\\f" + std::to_string(i) + "\" size=4096 runs=" + std::to_string(i) + ":1\n";
  }
  Volume(tree);
  ASSERT_EQ(AddItem(items_, true, L"Z:\\many"), kAddOk);
  // The worker starts only once the window side waits, and holds still at
  // its 300th file until that side has shown a count of at least 256: only a
  // wake by the worker itself can show it.
  std::promise<void> waiting;
  bool waitingOnce = false;
  ui_.waitStep = [&](WorkerThread& worker) {
    if (!waitingOnce) {
      waitingOnce = true;
      waiting.set_value();
    }
    worker.WaitEndedOrNudged();
    return true;
  };
  std::future<void> waitingFuture = waiting.get_future();
  std::promise<void> shown;
  bool shownOnce = false;
  ui_.onStatus = [&](uint32_t what) {
    if (!(what & kStatusProcessedCount) || shownOnce) return;
    std::lock_guard lock(SharedLock());
    if (gRun.counters.filesSeen >= 256) {
      shownOnce = true;
      shown.set_value();
    }
  };
  std::future<void> shownFuture = shown.get_future();
  int asked = 0;
  bool sawCountMidWalk = false;
  filter_.file = [&](const std::wstring&) {
    if (++asked == 1) waitingFuture.wait_for(std::chrono::seconds(20));
    if (asked == 300) sawCountMidWalk = shownFuture.wait_for(std::chrono::seconds(20)) == std::future_status::ready;
    return false;
  };
  // A wake an earlier walk left unanswered would show the count without one.
  gFolderWorker.WaitEndedOrNudged();
  options_.unattended = true;
  Run(RunMode::AnalyseAll);
  EXPECT_TRUE(sawCountMidWalk);
  EXPECT_EQ(gRun.counters.filesSeen, 400u);
}

TEST_F(RunsTest, SelectedUntickedAndFilteredItemsAreLeftAlone) {
  ui_.rowSelected = [](uint64_t row) { return row == 1; };
  filter_.folder = [](const std::wstring& path) { return path == L"Z:\\data"; };
  Run(RunMode::AnalyseSelected);
  EXPECT_EQ(ItemAtRow(0)->flags & (ItemFlags::kSkipped | ItemFlags::kToProcess), 0u);
  EXPECT_EQ(ItemStateText(ItemAtRow(1)->state, ItemAtRow(1)->flags), L"Scartato");
  EXPECT_EQ(gRun.counters.filesSeen, 0u);
  // The filtered item is the run's one outcome.
  const std::vector<FileOutcome> outcomes = ui_.Outcomes();
  ASSERT_EQ(outcomes.size(), 1u);
  EXPECT_EQ(outcomes[0].fate, FileFate::LeftOut);
  EXPECT_EQ(outcomes[0].path, L"Z:\\data");

  // An unticked item stays out of every run, selected or not.
  ItemAtRow(1)->checked = false;
  for (RunMode mode : {RunMode::AnalyseSelected, RunMode::AnalyseAll}) {
    Run(mode);
    EXPECT_EQ(ItemAtRow(1)->flags & (ItemFlags::kSkipped | ItemFlags::kToProcess), 0u);
  }
  EXPECT_NE(ItemAtRow(0)->state, ItemState::None);
  ItemAtRow(1)->checked = true;

  // A defragmentation with every item filtered out does nothing at all.
  filter_.file = [](const std::wstring&) { return true; };
  Run(RunMode::DefragmentAll);
  EXPECT_FALSE(ui_.laidOut);
  EXPECT_EQ(gRunState.lastEnd, RunEnd::NotStarted);
  EXPECT_EQ(Fragments(L"Z:\\single.bin"), 2u);
}

// A question before a defragmentation that ends it leaves the last run's
// results on the items. A stop inside the walk ends every level and aborts
// the folder. It leaves listed every file still in pieces, those it never
// reached included; the counters add up to the files processed; the window
// has shown the run's end before the summary, which follows a stop too.
TEST_F(RunsTest, AnEndedOrStoppedDefragmentationKeepsWhatIsTrue) {
  Run(RunMode::AnalyseAll);
  auto shown = [this] {
    std::wstring all;
    for (uint64_t row = 0; row < ItemCount(); ++row) {
      for (ItemColumn column : {ItemColumn::State, ItemColumn::Fragments, ItemColumn::Clusters}) {
        all += ItemCellText(*ItemAtRow(row), column, numbers_) + L"|";
      }
    }
    return all;
  };
  const std::wstring analysed = shown();
  options_.diskCheck = kDiskCheckAsk;
  ui_.diskCheckResult = kDiskCheckCancelled;
  Run(RunMode::DefragmentAll);
  EXPECT_EQ(shown(), analysed);
  options_.diskCheck = kDiskCheckOff;
  options_.cleanup = kCleanupAsk;
  ui_.cleanupGoesOn = false;
  Run(RunMode::DefragmentAll);
  EXPECT_EQ(shown(), analysed);
  ASSERT_EQ(gRun.fragmented.size(), 5u);
  EXPECT_EQ(Fragments(L"Z:\\single.bin"), 2u);

  options_.cleanup = kCleanupOff;
  ui_.events.clear();
  filter_.file = [](const std::wstring& path) {
    if (path == L"Z:\\data\\sub\\c.bin") RequestStop();
    return IsTemporary(path);
  };
  Run(RunMode::DefragmentAll);
  ASSERT_EQ(gRunState.lastEnd, RunEnd::Stopped);
  EXPECT_EQ(ItemStateText(ItemAtRow(1)->state, ItemAtRow(1)->flags), L"Interrotto");
  // c.bin's move was stopped before its first fragment; big.bin and
  // refused.bin were never reached.
  EXPECT_EQ(FragmentedPaths(), (std::vector<std::wstring>{L"Z:\\data\\big.bin", L"Z:\\data\\refused.bin",
                                                          L"Z:\\data\\sub\\c.bin"}));
  const RunCounters& counts = gRun.counters;
  EXPECT_EQ(counts.filesSeen, counts.notFragmented + counts.fragmented + counts.filesMoved + gRun.errors.size());
  EXPECT_EQ(counts.filesMoved, 2u);
  EXPECT_EQ(ui_.events, std::vector<std::string>{"summary"});
  EXPECT_EQ(ui_.statusAtSummary, kStatusItemCount | kStatusWaiting | kStatusProcessedCount);
}

// Every run of the table defragments the tree: what follows it and the exit
// code it leaves, on the command line and in the window.
struct FollowUpCase {
  const char* name;
  uint32_t runFlags;
  RunFollowUps followUps;
  bool clean;  // the files that fail are left out
  bool stop;   // the user stops the defragmentation part way
  int disk;    // 0: no disk check; 1: it finds errors and the user closes; 2: the user goes on
  uint32_t code;
  std::vector<std::string> events;
};

TEST_F(RunsTest, EveryRunEndsWithItsFollowUpsAndExitCode) {
  const uint32_t defragment = kUnattended | kRunDefrag;
  const uint32_t both = defragment | kRunAnalyze;
  const uint32_t open = defragment & ~kRunClose;
  const uint32_t attended = defragment & ~kRunNoGui;
  const uint32_t attendedOpen = kRunDefrag;
  const RunFollowUps none = kNoFollowUps;
  RunFollowUps closeAndPowerOff = kNoFollowUps;
  closeAndPowerOff.closeAfterDefrag = true;
  closeAndPowerOff.shutdownAfterDefrag = true;
  const std::string analysed = "analysis printed";
  const std::string printed = "defragmentation printed";
  const std::string check = "disk check";
  const FollowUpCase cases[] = {
      {"analysis with errors", kUnattended | kRunAnalyze, none, false, false, 0, 4, {analysed}},
      {"both, errors", both, none, false, false, 0, 4, {analysed, printed}},
      {"both, clean", both, none, true, false, 0, 0, {analysed, printed}},
      {"stopped with errors, closing", defragment, none, false, true, 0, 3, {printed}},
      {"stopped, a stop allowed", defragment | kRunAllowAbort, none, false, true, 0, 4, {printed}},
      {"stopped, not closing", open, none, false, true, 0, 4, {printed}},
      {"stopped, nothing follows", defragment | kRunShutdown | kRunShowReport, none, true, true, 0, 0, {printed}},
      {"disk errors", defragment, none, true, false, 1, 2, {check, printed}},
      {"report", defragment | kRunShowReport, none, false, false, 0, 4, {printed, "summary"}},
      {"power-off", defragment | kRunShutdown, none, true, false, 0, 0, {printed, "power-off"}},
      {"close if it went well, errors", open | kRunCloseIfOk, none, false, false, 0, 4, {printed, "summary"}},
      {"close if it went well, clean", open | kRunCloseIfOk, none, true, false, 0, 0, {printed}},
      {"attended, disk errors", attended, none, true, false, 1, 2, {check}},
      {"attended, disk errors, going on", attended, none, true, false, 2, 0, {check}},
      // Closing is on: no summary, and closing and power-off follow only a
      // stop, closing with the code of a stop with errors.
      {"attended, finished, closing", attendedOpen, closeAndPowerOff, false, false, 0, 4, {}},
      {"attended, stopped, closing", attendedOpen, closeAndPowerOff, false, true, 0, 4, {"countdown", "exit 3"}},
      {"attended, stopped, a stop allowed", attendedOpen | kRunAllowAbort, closeAndPowerOff, false, true, 0, 4, {}},
      {"attended, finished, not closing", attendedOpen, none, false, false, 0, 4, {"summary"}},
  };
  for (const FollowUpCase& test : cases) {
    SCOPED_TRACE(test.name);
    Volume(kRunTree);
    RecordingRunUi ui;
    options_ = RunOptionsFrom(Settings{}, test.runFlags);
    options_.filter = &filter_;
    options_.solidStateFlags = kSolidStateNoDetection;
    followUps_ = test.followUps;
    options_.followUps = &followUps_;
    options_.diskCheck = test.disk != 0 ? kDiskCheckAuto : kDiskCheckOff;
    ui.diskCheckResult = kDiskCheckErrorsFound;
    ui.closeForDiskErrors = test.disk == 1;
    filter_.file = [test](const std::wstring& path) {
      if (test.stop && path == L"Z:\\data\\refused.bin") RequestStop();
      const bool fails = path == L"Z:\\data\\locked.bin" || path == L"Z:\\data\\refused.bin" ||
                         path == L"Z:\\data\\big.bin";
      return (test.clean && fails) || IsTemporary(path);
    };
    EXPECT_EQ(RunUnattended(options_, ui), test.code);
    EXPECT_EQ(ui.events, test.events);
    EXPECT_EQ(Check(), "check ok");
  }
}

// Unattended, a stored disk check or cleanup counts only when the command
// line gave it; the window's runs take the stored choices. The follow-ups
// stay the settings' own, read as the run goes.
TEST(RunOptionsTest, AStoredStepCountsUnattendedOnlyWhenTheCommandLineGaveIt) {
  Settings settings;
  settings.diskCheck = kDiskCheckAuto;
  settings.cleanup = kCleanupAsk;
  settings.solidStateFlags = kSolidStateWarn;
  struct Case {
    uint32_t runFlags, diskCheck, cleanup;
  };
  const Case cases[] = {
      {kRunDefrag, kDiskCheckAuto, kCleanupAsk},
      {kRunNoGui | kRunDefrag, kDiskCheckOff, kCleanupOff},
      {kRunNoGui | kRunDiskCheckGiven, kDiskCheckAuto, kCleanupOff},
      {kRunNoGui | kRunCleanupGiven, kDiskCheckOff, kCleanupAsk},
  };
  for (const Case& test : cases) {
    const RunOptions options = RunOptionsFrom(settings, test.runFlags);
    EXPECT_EQ(std::make_pair(options.diskCheck, options.cleanup), std::make_pair(test.diskCheck, test.cleanup))
        << test.runFlags;
    EXPECT_EQ(options.solidStateFlags, uint32_t{kSolidStateWarn});
    EXPECT_EQ(options.followUps, &settings.followUps);
  }
}

// A junction leading back up the tree makes a walk as deep as the longest
// path; each level must hold its open search, not its whole listing, and a
// folder reached again through a link is not entered twice, where following
// it would never end. A drive root's entries are joined to it with one
// backslash.
TEST_F(RunFixture, ADeepWalkReadsEachFolderOnlyAsFarAsItHasGotAndOnlyOnce) {
  constexpr int kDepth = 40;
  constexpr int kFilesPerFolder = 60;
  std::wstring folder = L"Z:\\deep";
  for (int level = 0; level < kDepth; ++level) {
    files_.fake.AddFolder(folder + L"\\sub");
    for (int file = 0; file < kFilesPerFolder; ++file) {
      files_.fake.AddFile(folder + L"\\file" + std::to_wstring(file) + L".bin", 10);
    }
    folder += L"\\sub";
  }
  files_.fake.AddFile(folder + L"\\last.bin", 10);
  files_.fake.AddLink(folder + L"\\back", L"Z:\\");
  uint64_t readAtTheBottom = 0;
  filter_.file = [&](const std::wstring& path) {
    if (!path.ends_with(L"\\last.bin")) return true;
    // Reached again through the link: the walk would never end.
    if (readAtTheBottom != 0) RequestStop();
    if (path == folder + L"\\last.bin") readAtTheBottom = files_.fake.EntriesHandedOut();
    return true;
  };
  WalkFolder(ui_, filter_, L"\\\\?\\Z:\\", WalkKind::Analysis);

  EXPECT_EQ(gRun.counters.leftOut, uint64_t{kDepth} * kFilesPerFolder + 1);
  EXPECT_EQ(gRun.counters.filesSeen, 0u);
  // The root has handed out "deep"; every level below it ".", ".." and
  // "sub"; the bottom its dots and its one file.
  EXPECT_EQ(readAtTheBottom, 1 + uint64_t{kDepth} * 3 + 3);
}

// Removing an item takes what the run found in it out of the result lists:
// its fragmented files and its errors. A sibling that only shares the start
// of its name is not inside it. With no item left the counters start again.
TEST_F(RunsTest, RemovedItemsTakeTheirResultsWithThem) {
  options_.unattended = true;
  Run(RunMode::AnalyseAll);
  RemoveItemsIf([](const ItemRecord& item) { return item.path == L"Z:\\data"; });
  DropResultsOfRemovedItems();
  EXPECT_EQ(FragmentedPaths(), std::vector<std::wstring>{L"Z:\\single.bin"});
  EXPECT_TRUE(gRun.errors.empty());
  EXPECT_GT(gRun.counters.filesSeen, 0u);

  RemoveItemsIf([](const ItemRecord&) { return true; });
  DropResultsOfRemovedItems();
  EXPECT_TRUE(gRun.fragmented.empty());
  EXPECT_EQ(gRun.counters.filesSeen, 0u);
  EXPECT_EQ(gRun.counters.notFragmented, 0u);

  EXPECT_TRUE(PathWithinItem(L"Z:\\", true, L"z:\\a.bin"));
  EXPECT_TRUE(PathWithinItem(L"Z:\\data", true, L"Z:\\DATA"));
  EXPECT_FALSE(PathWithinItem(L"Z:\\data", false, L"Z:\\data\\a.bin"));
  EXPECT_FALSE(PathWithinItem(L"Z:\\data", true, L"Z:\\data2\\x.bin"));
}

// Items on a drive that the solid-state probes recognise.
class SolidStateRunTest : public RunsTest {
 protected:
  void SetUp() override {
    RunsTest::SetUp();
    std::string error;
    drives_ = ParseSimDrives("Z:rotation", error);
    ASSERT_TRUE(drives_) << error;
    SetDeviceRequests(drives_.get());
  }
  void TearDown() override {
    SetDeviceRequests(nullptr);
    RunsTest::TearDown();
  }
  uint64_t Opened() const { return drives_->opened['Z' - 'A']; }

  std::unique_ptr<SimDriveRequests> drives_;
};

// The drive is asked once for both items, while the window says so.
// Skipping leaves every item out, so the run ends unseen; "do not
// defragment" ends it too; with the warning off, or no one to ask, the
// settings decide without a question. An item whose drive letter is in lower
// case is not recognised as on the drive, though the drive is.
TEST_F(SolidStateRunTest, ItemsOnASolidStateDriveAreSkippedOrWarnedAbout) {
  struct Case {
    const char* name;
    uint32_t flags;
    bool unattended;
    bool keepOff;  // the warning's answer
    bool lowerCase;  // single.bin's item's letter
    int warnings;
    RunEnd end;
    size_t single;    // single.bin's fragments after the run
    size_t inFolder;  // a.bin's
  };
  const Case cases[] = {
      {"skipping", kSolidStateSkip, false, true, false, 0, RunEnd::NotStarted, 2, 2},
      {"skipping, one item in lower case", kSolidStateSkip, false, true, true, 0, RunEnd::Completed, 1, 2},
      {"warning, kept off", kSolidStateWarn, false, true, false, 1, RunEnd::NotStarted, 2, 2},
      {"warning, defragmenting", kSolidStateWarn, false, false, false, 1, RunEnd::Completed, 1, 1},
      {"neither", 0, false, true, false, 0, RunEnd::Completed, 1, 1},
      {"warning, no one to ask", kSolidStateWarn, true, true, false, 0, RunEnd::Completed, 1, 1},
      {"detection off", kSolidStateSkip | kSolidStateNoDetection, false, true, false, 0, RunEnd::Completed, 1, 1},
  };
  for (const Case& test : cases) {
    SCOPED_TRACE(test.name);
    Volume(kRunTree);
    ItemAtRow(0)->path[0] = test.lowerCase ? L'z' : L'Z';
    RecordingRunUi ui;
    ui.keepSolidStateOff = test.keepOff;
    options_.solidStateFlags = test.flags;
    options_.unattended = test.unattended;
    const uint64_t opened = Opened();
    StartRun(RunMode::DefragmentAll, options_, ui);
    const bool detecting = !(test.flags & kSolidStateNoDetection);
    const std::vector<uint32_t> checking = {kBusyCheckingDrives, kBusyIdle};
    EXPECT_EQ(Opened() - opened, detecting ? 1u : 0u);
    EXPECT_EQ(ui.busyStates, detecting ? checking : std::vector<uint32_t>{});
    EXPECT_EQ(ui.solidStateWarnings, test.warnings);
    EXPECT_EQ(gRunState.lastEnd, test.end);
    EXPECT_EQ(Fragments(L"Z:\\single.bin"), test.single);
    EXPECT_EQ(Fragments(L"Z:\\data\\a.bin"), test.inFolder);
    EXPECT_EQ(Check(), "check ok");
  }
}

// Only the files marked in the fragmented-file list move, whether or not
// they are items themselves. The run weighs each file: with skipping on,
// the marked files on the drive stay as they are and the user is told why;
// with the warning, it is asked once for them all.
TEST_F(SolidStateRunTest, OnlyTheMarkedFilesAreDefragmented) {
  options_.solidStateFlags = 0;
  Run(RunMode::AnalyseAll);
  ASSERT_EQ(gRun.fragmented.size(), 5u);
  for (FragmentedFileRecord& record : gRun.fragmented) record.marked = record.path != L"Z:\\data\\a.bin";
  // Lower case reaches the same drive.
  gRun.fragmented.back().path[0] = L'z';
  options_.solidStateFlags = kSolidStateSkip;
  Run(RunMode::DefragmentMarkedFiles);
  EXPECT_EQ(ui_.solidStateLeftOut, std::vector<uint64_t>{4});
  EXPECT_EQ(gRunState.lastEnd, RunEnd::NotStarted);

  options_.solidStateFlags = kSolidStateWarn;
  ui_.keepSolidStateOff = true;
  Run(RunMode::DefragmentMarkedFiles);
  EXPECT_EQ(ui_.solidStateWarnings, 1);
  EXPECT_EQ(Fragments(L"Z:\\single.bin"), 2u);

  options_.solidStateFlags = 0;
  Run(RunMode::DefragmentMarkedFiles);
  EXPECT_EQ(gRun.counters.filesMoved, 2u);
  EXPECT_EQ(Fragments(L"Z:\\data\\a.bin"), 2u);
  EXPECT_EQ(Fragments(L"Z:\\single.bin"), 1u);
  EXPECT_EQ(ItemByPath(L"Z:\\single.bin")->state, ItemState::DefragmentedFile);
  EXPECT_EQ(ItemByPath(L"Z:\\data")->state, ItemState::FragmentedFolder) << "the folder item is not walked again";
  EXPECT_EQ(Check(), "check ok");

  // Nothing marked: no run at all.
  gRun.fragmented.assign(1, FragmentedFileRecord{});
  Run(RunMode::DefragmentMarkedFiles);
  EXPECT_EQ(gRunState.lastEnd, RunEnd::NotStarted);
}

}  // namespace
