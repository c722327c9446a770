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

// The command line's runs.
RunOptions Unattended(bool analyse, bool defragment) {
  RunOptions options;
  options.unattended = true;
  options.close = true;
  options.analyse = analyse;
  options.defragment = defragment;
  return options;
}

RunOptions With(RunOptions options, bool RunOptions::*flag, bool value = true) {
  options.*flag = value;
  return options;
}

using RunsTest = TreeRunFixture;

TEST_F(RunsTest, AnAnalysisWalksTheTreeAndSummarisesEveryItem) {
  options_.unattended = true;
  Run(RunMode::AnalyseAll);

  EXPECT_EQ(Joined(ConsoleAnalysisSection()),
            L"Analyzed file : Z:\\single.bin\r\nFile is in 2 fragments\r\n\r\n"
            L"Analyzed folder : Z:\\data\r\nFolder is Fragmented\r\n\r\n"
            L"\r\nNumber of items processed : 2 \r\n");
  // The filtered file is left out, not processed.
  EXPECT_EQ(gRun.counters.filesSeen, 7u);
  EXPECT_EQ(gRun.counters.leftOut, 1u);
  EXPECT_EQ(gRun.counters.notFragmented, 1u);
  EXPECT_EQ(gRun.counters.fragmented, 5u);
  std::vector<std::wstring> fragmented;
  for (const FragmentedFileRecord& record : gRun.fragmented) fragmented.push_back(record.path);
  EXPECT_EQ(fragmented, (std::vector<std::wstring>{L"Z:\\data\\a.bin", L"Z:\\data\\big.bin",
                                                   L"Z:\\data\\refused.bin", L"Z:\\data\\sub\\c.bin",
                                                   L"Z:\\single.bin"}));
  ASSERT_EQ(gRun.errors.size(), 1u);
  EXPECT_EQ(gRun.errors[0].path, L"\\\\?\\Z:\\data\\locked.bin");
  EXPECT_EQ(gRun.errors[0].displayPath, L"Z:\\data\\locked.bin");
  EXPECT_EQ(gRun.errors[0].message,
            L"The process cannot access the file because it is being used by another process.");

  // A defragmentation after it starts from nothing: only its own errors
  // count, and the analysis lines then show what it left.
  Run(RunMode::DefragmentAll);
  EXPECT_EQ(gRun.errors.size(), 3u);
  EXPECT_EQ(gRun.counters.filesMoved, 3u);
  EXPECT_EQ(Joined(ConsoleAnalysisSection()),
            L"Analyzed file : Z:\\single.bin\r\nFile is in 1 fragments (Contiguous)\r\n\r\n"
            L"Analyzed folder : Z:\\data\r\nFolder is Fragmented\r\n\r\n"
            L"\r\nNumber of items processed : 2 \r\n");
  EXPECT_EQ(Check(), "check ok");
}

// a.bin is listed alone before its folder and c.bin after it: each is
// moved and counted once, and the console adds up and names the failures.
TEST_F(RunsTest, ADefragmentationMovesWhatFitsAndReportsTheRest) {
  ClearItemList();
  ASSERT_EQ(AddItem(items_, false, L"Z:\\data\\sub\\c.bin"), kAddOk);
  ASSERT_EQ(AddItem(items_, true, L"Z:\\data"), kAddOk);
  ASSERT_EQ(AddItem(items_, false, L"Z:\\single.bin"), kAddOk);
  ASSERT_EQ(AddItem(items_, false, L"Z:\\data\\a.bin"), kAddOk);
  options_ = Unattended(false, true);
  options_.filter = &filter_;
  options_.solidStateFlags = kSolidStateNoDetection;
  EXPECT_EQ(RunUnattended(options_, ui_), 4u);

  EXPECT_EQ(ui_.consoleText,
            L"Summary:\r\n\r\n"
            L"Number of processed files : 7\r\n"
            L"Number of fragmented files : 0\r\n"
            L"Number of already contiguous files : 1\r\n"
            L"Number of defragmented files : 3\r\n"
            L"Number of files that were not defragmented due to processing errors : 3\r\n"
            L"\r\n"
            L"Failed file : Z:\\data\\big.bin : Non esistono cluster contigui sufficienti per deframmentare "
            L"completamente il file.\r\n"
            L"Failed file : Z:\\data\\locked.bin : The process cannot access the file because it is being used by "
            L"another process.\r\n"
            L"Failed file : Z:\\data\\refused.bin : Access is denied.\r\n"
            L"Number of files left out by the include and exclude masks and the size limit : 1\r\n"
            L"\r\n");
  EXPECT_EQ(ItemByPath(L"Z:\\data\\a.bin")->state, ItemState::DefragmentedFile);
  EXPECT_EQ(ItemByPath(L"Z:\\data\\sub\\c.bin")->state, ItemState::DefragmentedFile);
  EXPECT_EQ(ItemByPath(L"Z:\\data\\sub\\c.bin")->fragments, 1);
  EXPECT_EQ(Fragments(L"Z:\\single.bin"), 1u);
  EXPECT_EQ(Fragments(L"Z:\\data\\a.bin"), 1u);
  EXPECT_EQ(Fragments(L"Z:\\data\\sub\\c.bin"), 1u);
  EXPECT_EQ(Fragments(L"Z:\\data\\skip.tmp"), 2u);
  EXPECT_EQ(Fragments(L"Z:\\data\\big.bin"), 2u);
  EXPECT_EQ(Check(), "check ok");
  // Every handle closed once, the volume's too: nothing holds the drive.
  EXPECT_EQ(volume_->OpenHandleCount(), 0u);
  EXPECT_EQ(volume_->FailedCloses(), 0u);
}

// The file system reports the second move of a.bin as done having moved one
// of its two clusters: the file is still in pieces and must not count as
// defragmented, in the list, the error list or the summary.
TEST_F(RunsTest, AFileMovedOnlyInPartIsAnErrorNotADefragmentedFile) {
  // single.bin gets a second run of three clusters, one of which moves.
  std::string tree = kRunTree;
  tree.replace(tree.find("runs=500:1,510:1"), 16, "runs=500:1,510:3");
  Volume(tree + "fault \"Z:\\data\\a.bin\" control=move call=2 partial=1\n"
                "fault \"Z:\\single.bin\" control=move call=2 partial=1\n");
  options_.unattended = true;
  Run(RunMode::DefragmentAll);

  EXPECT_EQ(Joined(ConsoleDefragSection()),
            L"Summary:\r\n\r\n"
            L"Number of processed files : 7\r\n"
            L"Number of fragmented files : 0\r\n"
            L"Number of already contiguous files : 1\r\n"
            L"Number of defragmented files : 1\r\n"
            L"Number of files that were not defragmented due to processing errors : 5\r\n"
            L"\r\n");
  std::vector<std::wstring> messages;
  for (const ErrorEntry& entry : gRun.errors) messages.push_back(entry.displayPath + L": " + entry.message);
  const std::wstring partly = L"Il file è stato spostato solo in parte ed è ancora frammentato.";
  EXPECT_EQ(messages[0], L"Z:\\single.bin: " + partly);
  EXPECT_EQ(messages[1], L"Z:\\data\\a.bin: " + partly);
  EXPECT_EQ(ItemAtRow(0)->state, ItemState::FragmentedFile);
  EXPECT_EQ(ItemStateText(ItemAtRow(0)->state, ItemAtRow(0)->flags), L"Frammentato");
  EXPECT_EQ(ItemAtRow(1)->state, ItemState::FragmentedFolder);
  EXPECT_GE(Fragments(L"Z:\\data\\a.bin"), 2u);
  EXPECT_GE(Fragments(L"Z:\\single.bin"), 2u);
  EXPECT_EQ(Check(), "check ok");
}

TEST_F(RunsTest, AStopInsideTheWalkEndsEveryLevelAndAbortsTheFolder) {
  filter_.file = [](const std::wstring& path) {
    if (path == L"Z:\\data\\sub\\c.bin") RequestStop();
    return false;
  };
  options_.unattended = true;
  Run(RunMode::AnalyseAll);

  // single.bin, a.bin, b.bin and c.bin; nothing after c.bin in any folder.
  EXPECT_EQ(gRun.counters.filesSeen, 4u);
  EXPECT_EQ(ItemAtRow(1)->state, ItemState::Aborted);
  EXPECT_EQ(ItemStateText(ItemAtRow(1)->state, ItemAtRow(1)->flags), L"Interrotto");
  EXPECT_EQ(gRunState.lastEnd, RunEnd::Stopped);
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
  ASSERT_FALSE(gRun.errors.empty());
  EXPECT_EQ(gRun.errors.back().displayPath, L"Z:\\data");
  EXPECT_EQ(gRun.errors.back().message,
            L"The I/O operation has been aborted because of either a thread exit or an application "
            L"request.");
  // What the worker staged before it died is kept.
  ASSERT_FALSE(gRun.fragmented.empty());
  EXPECT_EQ(gRun.fragmented.front().path, L"Z:\\data\\a.bin");
  EXPECT_FALSE(gFolderWorker.Running());
  EXPECT_EQ(gEngine.doneFlags[kDoneFolderWorker].load(), 1u);
}

class FolderProgressTest : public RunFixture {};

TEST_F(FolderProgressTest, TheCountIsShownWhileTheWorkerWalks) {
  std::string tree = "volume letter=Z clusters=2000 clusterSize=4096\n";
  for (int i = 0; i < 400; ++i) {
    tree += "file \"Z:\\many\\f" + std::to_string(i) + "\" size=4096 runs=" + std::to_string(i) + ":1\n";
  }
  Volume(tree);
  ASSERT_EQ(AddItem(items_, true, L"Z:\\many"), kAddOk);
  // The worker holds still at its 300th file until the window side has shown
  // a count of at least 256: only a wake by the worker itself can show it.
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
    if (++asked == 300) sawCountMidWalk = shownFuture.wait_for(std::chrono::seconds(20)) == std::future_status::ready;
    return false;
  };
  options_.unattended = true;
  Run(RunMode::AnalyseAll);
  EXPECT_TRUE(sawCountMidWalk);
  EXPECT_EQ(gRun.counters.filesSeen, 400u);
  EXPECT_EQ(ItemAtRow(0)->state, ItemState::NotFragmentedFolder);
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
  Run(RunMode::AnalyseSelected);
  EXPECT_EQ(ItemAtRow(1)->flags & (ItemFlags::kSkipped | ItemFlags::kToProcess), 0u);
  Run(RunMode::AnalyseAll);
  EXPECT_EQ(ItemAtRow(1)->flags & (ItemFlags::kSkipped | ItemFlags::kToProcess), 0u);
  EXPECT_NE(ItemAtRow(0)->state, ItemState::None);
  ItemAtRow(1)->checked = true;

  // A defragmentation with every item filtered out does nothing at all.
  filter_.file = [](const std::wstring&) { return true; };
  Run(RunMode::DefragmentAll);
  EXPECT_FALSE(ui_.laidOut);
  EXPECT_EQ(gRunState.lastEnd, RunEnd::NotStarted);
  EXPECT_EQ(Fragments(L"Z:\\single.bin"), 2u);
}

// A stop leaves listed every file still in pieces, those it never reached
// included; the counters add up to the files processed; the window has
// shown the run's end before the summary, which follows a stop too.
TEST_F(RunsTest, AStoppedDefragmentationKeepsWhatIsTrue) {
  Run(RunMode::AnalyseAll);
  ASSERT_EQ(gRun.fragmented.size(), 5u);
  filter_.file = [](const std::wstring& path) {
    if (path == L"Z:\\data\\sub\\c.bin") RequestStop();
    return path.size() > 4 && path.substr(path.size() - 4) == L".tmp";
  };
  Run(RunMode::DefragmentAll);

  ASSERT_EQ(gRunState.lastEnd, RunEnd::Stopped);
  std::vector<std::wstring> listed;
  for (const FragmentedFileRecord& record : gRun.fragmented) listed.push_back(record.path);
  // c.bin's move was stopped before its first fragment; big.bin and
  // refused.bin were never reached.
  EXPECT_EQ(listed, (std::vector<std::wstring>{L"Z:\\data\\big.bin", L"Z:\\data\\refused.bin",
                                               L"Z:\\data\\sub\\c.bin"}));
  const RunCounters& counts = gRun.counters;
  EXPECT_EQ(counts.filesSeen, counts.notFragmented + counts.fragmented + counts.filesMoved + gRun.errors.size());
  EXPECT_EQ(counts.filesMoved, 2u);
  EXPECT_EQ(ui_.summaries, 1);
  EXPECT_EQ(ui_.statusAtSummary, kStatusItemCount | kStatusWaiting | kStatusProcessedCount);
}

// A question before a defragmentation that ends it leaves the last run's
// results on the items; a file that could not be analysed shows "-".
TEST_F(RunsTest, AnEndedStepLeavesTheAnalysisShown) {
  ASSERT_EQ(AddItem(items_, false, L"Z:\\data\\locked.bin"), kAddOk);
  Run(RunMode::AnalyseAll);
  const ItemRecord& locked = *ItemByPath(L"Z:\\data\\locked.bin");
  EXPECT_EQ(locked.state, ItemState::Error);
  EXPECT_EQ(ItemCellText(locked, ItemColumn::Fragments, numbers_), L"-");
  EXPECT_EQ(ItemCellText(locked, ItemColumn::Clusters, numbers_), L"-");
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
  EXPECT_EQ(gRun.fragmented.size(), 5u);
  EXPECT_EQ(Fragments(L"Z:\\single.bin"), 2u);
}

// Every run of the table defragments the tree: what follows it and the exit
// code it leaves, on the command line and in the window.
struct FollowUpCase {
  const char* name;
  RunOptions options;
  RunFollowUps followUps;
  bool clean;       // the files that fail are left out
  bool stop;        // the user stops the defragmentation part way
  int disk;         // 0: no disk check; 1: it finds errors and the user closes; 2: the user goes on
  uint32_t code;
  int summaries;    // the summary dialog
  int powerOffs;    // the command line's power-off
  int shutdowns;    // the window's power-off countdown
  std::vector<uint32_t> exits;          // the window closing itself, with its code
  std::vector<bool> consoleSummaries;
};

TEST_F(RunsTest, EveryRunEndsWithItsFollowUpsAndExitCode) {
  const RunOptions both = Unattended(true, true);
  const RunOptions defragment = Unattended(false, true);
  const RunOptions attended = With(defragment, &RunOptions::unattended, false);
  const RunFollowUps none = kNoFollowUps;
  RunFollowUps closeAndPowerOff = kNoFollowUps;
  closeAndPowerOff.closeAfterDefrag = true;
  closeAndPowerOff.shutdownAfterDefrag = true;
  const FollowUpCase cases[] = {
      {"clean analysis", Unattended(true, false), none, true, false, 0, 0, 0, 0, 0, {}, {false}},
      {"analysis with errors", Unattended(true, false), none, false, false, 0, 4, 0, 0, 0, {}, {false}},
      {"both, errors", both, none, false, false, 0, 4, 0, 0, 0, {}, {false, true}},
      {"both, clean", both, none, true, false, 0, 0, 0, 0, 0, {}, {false, true}},
      {"stopped with errors, closing", defragment, none, false, true, 0, 3, 0, 0, 0, {}, {true}},
      {"stopped, a stop allowed", With(defragment, &RunOptions::allowAbort), none, false, true, 0, 4, 0, 0, 0, {},
       {true}},
      {"stopped, not closing", With(defragment, &RunOptions::close, false), none, false, true, 0, 4, 0, 0, 0, {},
       {true}},
      {"stopped, nothing follows", With(With(defragment, &RunOptions::shutdown), &RunOptions::showReport), none,
       true, true, 0, 0, 0, 0, 0, {}, {true}},
      {"disk errors", defragment, none, true, false, 1, 2, 0, 0, 0, {}, {true}},
      {"report and power-off", With(With(defragment, &RunOptions::showReport), &RunOptions::shutdown), none, false,
       false, 0, 4, 1, 1, 0, {}, {true}},
      {"close if it went well, errors", With(With(defragment, &RunOptions::close, false), &RunOptions::closeIfOk),
       none, false, false, 0, 4, 1, 0, 0, {}, {true}},
      {"close if it went well, clean", With(With(defragment, &RunOptions::close, false), &RunOptions::closeIfOk),
       none, true, false, 0, 0, 0, 0, 0, {}, {true}},
      {"attended, disk errors", attended, none, true, false, 1, 2, 0, 0, 0, {}, {}},
      {"attended, disk errors, going on", attended, none, true, false, 2, 0, 0, 0, 0, {}, {}},
      {"attended, errors", With(both, &RunOptions::unattended, false), none, false, false, 0, 4, 0, 0, 0, {}, {}},
      // Closing is on: no summary, and closing and power-off follow only a
      // stop, closing with the code of a stop with errors.
      {"attended, finished, closing", With(attended, &RunOptions::close, false), closeAndPowerOff, false, false, 0,
       4, 0, 0, 0, {}, {}},
      {"attended, stopped, closing", With(attended, &RunOptions::close, false), closeAndPowerOff, false, true, 0, 4,
       0, 0, 1, {3}, {}},
      {"attended, stopped, a stop allowed", With(With(attended, &RunOptions::close, false), &RunOptions::allowAbort),
       closeAndPowerOff, false, true, 0, 4, 0, 0, 0, {}, {}},
      {"attended, finished, not closing", With(attended, &RunOptions::close, false), none, false, false, 0, 4, 1, 0,
       0, {}, {}},
  };
  for (const FollowUpCase& test : cases) {
    SCOPED_TRACE(test.name);
    Volume(kRunTree);
    RecordingRunUi ui;
    options_ = test.options;
    options_.filter = &filter_;
    options_.solidStateFlags = kSolidStateNoDetection;
    followUps_ = test.followUps;
    options_.followUps = &followUps_;
    if (test.disk != 0) {
      options_.diskCheck = kDiskCheckAuto;
      ui.diskCheckResult = kDiskCheckErrorsFound;
      ui.closeForDiskErrors = test.disk == 1;
    }
    const bool clean = test.clean;
    const bool stop = test.stop;
    filter_.file = [clean, stop](const std::wstring& path) {
      if (stop && path == L"Z:\\data\\refused.bin") RequestStop();
      const bool fails = path == L"Z:\\data\\locked.bin" || path == L"Z:\\data\\refused.bin" ||
                         path == L"Z:\\data\\big.bin";
      return (clean && fails) || (path.size() > 4 && path.substr(path.size() - 4) == L".tmp");
    };
    EXPECT_EQ(RunUnattended(options_, ui), test.code);
    EXPECT_EQ(ui.summaries, test.summaries);
    EXPECT_EQ(ui.powerOffs, test.powerOffs);
    EXPECT_EQ(ui.shutdowns, test.shutdowns);
    EXPECT_EQ(ui.exits, test.exits);
    EXPECT_EQ(ui.consoleSummaries, test.consoleSummaries);
    EXPECT_EQ(ui.diskChecks, test.disk != 0 ? std::vector<bool>{true} : std::vector<bool>{});
    EXPECT_EQ(Check(), "check ok");
  }
}

// The window's runs take the command line's switches and the stored choices;
// unattended, a stored disk check or cleanup counts only when the command
// line gave it. The follow-ups stay the settings' own, read as the run goes.
TEST(RunOptionsTest, BuiltFromTheSettingsAndTheCommandLine) {
  auto described = [](const RunOptions& o) {
    std::string text;
    for (auto [on, name] : {std::pair{o.unattended, "nogui"}, {o.analyse, "analyse"}, {o.defragment, "defrag"},
                            {o.close, "close"}, {o.closeIfOk, "closeifok"}, {o.shutdown, "shutdown"},
                            {o.showReport, "report"}, {o.allowAbort, "abort"}}) {
      if (on) text += std::string(name) + " ";
    }
    return text + "disk=" + std::to_string(o.diskCheck) + " cleanup=" + std::to_string(o.cleanup) +
           " ssd=" + std::to_string(o.solidStateFlags);
  };
  struct Case {
    uint32_t diskCheck, cleanup, solidState, runFlags;
    std::string expected;
  };
  const Case cases[] = {
      {kDiskCheckAsk, kCleanupAsk, kSolidStateSkip, 0, "disk=9059 cleanup=9055 ssd=1"},
      {kDiskCheckAuto, kCleanupOff, kSolidStateWarn | kSolidStateNoDetection,
       kRunAnalyze | kRunCloseIfOk | kRunShutdown | kRunShowReport | kRunAllowAbort | kRunQuick | kRunOnTop,
       "analyse closeifok shutdown report abort disk=9057 cleanup=9054 ssd=6"},
      {kDiskCheckAuto, kCleanupAuto, 0, kRunNoGui | kRunAnalyze | kRunDefrag | kRunClose,
       "nogui analyse defrag close disk=9058 cleanup=9054 ssd=0"},
      {kDiskCheckAuto, kCleanupAsk, 0, kRunNoGui | kRunDefrag | kRunDiskCheckGiven,
       "nogui defrag disk=9057 cleanup=9054 ssd=0"},
      {kDiskCheckAsk, kCleanupAuto, 0, kRunNoGui | kRunCleanupGiven, "nogui disk=9058 cleanup=9053 ssd=0"},
  };
  for (const Case& test : cases) {
    Settings settings;
    settings.diskCheck = test.diskCheck;
    settings.cleanup = test.cleanup;
    settings.solidStateFlags = test.solidState;
    const RunOptions options = RunOptionsFrom(settings, test.runFlags);
    EXPECT_EQ(described(options), test.expected);
    ASSERT_EQ(options.followUps, &settings.followUps);
  }
}

// A failure without a system text is shown with the program's own text,
// which has no line end to lose. A read of the runs refused at once, end of
// file aside, is an error with the status's text, never a contiguous file.
TEST_F(RunFixture, OwnFailureTextsReachTheErrorListWhole) {
  Volume("volume letter=Z clusters=200 clusterSize=4096\n"
         "file \"Z:\\data\\denied.bin\" size=8192 runs=70:2\n"
         "file \"Z:\\data\\odd.bin\" size=8192 runs=30:1,40:1\n"
         "file \"Z:\\data\\sys.bin\" size=8192 runs=50:1,60:1\n"
         "fault \"Z:\\data\\denied.bin\" control=pointers call=1 status=0xC0000022\n"
         "fault \"Z:\\data\\odd.bin\" control=pointers call=1 pending status=0xC0000999\n"
         "fault \"Z:\\data\\sys.bin\" control=open status=0xC0000043\n");
  ASSERT_EQ(AddItem(items_, true, L"Z:\\data"), kAddOk);
  options_.unattended = true;
  Run(RunMode::AnalyseAll);

  std::vector<std::wstring> messages;
  for (const ErrorEntry& entry : gRun.errors) messages.push_back(entry.displayPath + L": " + entry.message);
  std::sort(messages.begin(), messages.end());
  EXPECT_EQ(messages, (std::vector<std::wstring>{
                          L"Z:\\data\\denied.bin: Access is denied.",
                          L"Z:\\data\\odd.bin: Error 0xC0000999",
                          L"Z:\\data\\sys.bin: The process cannot access the file because it is being used by "
                          L"another process."}));
  EXPECT_EQ(gRun.counters.notFragmented, 0u);
  EXPECT_TRUE(gRun.fragmented.empty());
}

// A junction leading back up the tree makes a walk as deep as the longest
// path; each level must hold its open search, not its whole listing.
TEST_F(RunFixture, ADeepWalkReadsEachFolderOnlyAsFarAsItHasGot) {
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
  uint64_t readAtTheBottom = 0;
  filter_.file = [&](const std::wstring& path) {
    if (path == folder + L"\\last.bin") readAtTheBottom = files_.fake.EntriesHandedOut();
    return true;
  };
  WalkFolder(ui_, filter_, L"\\\\?\\Z:\\deep", WalkKind::Analysis);

  EXPECT_EQ(gRun.counters.leftOut, uint64_t{kDepth} * kFilesPerFolder + 1);
  EXPECT_EQ(gRun.counters.filesSeen, 0u);
  // Every level above has handed out ".", ".." and "sub"; the bottom its
  // dots and its one file.
  EXPECT_EQ(readAtTheBottom, uint64_t{kDepth} * 3 + 3);
}

// Links back to folders already on the way: the walk meets each file once
// and ends, where following them would never end. A drive root's files are
// joined to it with one backslash.
TEST_F(RunFixture, AFolderReachedAgainThroughALinkIsNotEnteredTwice) {
  files_.fake.AddFile(L"Z:\\a.bin", 10);
  files_.fake.AddFile(L"Z:\\data\\b.bin", 10);
  files_.fake.AddLink(L"Z:\\data\\loop", L"Z:\\data");
  files_.fake.AddLink(L"Z:\\data\\back", L"Z:\\");
  std::vector<std::wstring> walked;
  filter_.file = [&walked](const std::wstring& path) {
    walked.push_back(path);
    if (walked.size() > 10) RequestStop();
    return true;
  };
  WalkFolder(ui_, filter_, L"\\\\?\\Z:\\", WalkKind::Analysis);
  EXPECT_EQ(walked, (std::vector<std::wstring>{L"Z:\\a.bin", L"Z:\\data\\b.bin"}));
}

// A file item shows afterwards what the relocation's own analysis found: a
// moved file one fragment of its clusters, a contiguous one its clusters, one
// without room its fragments as they still are.
TEST_F(RunFixture, FileItemsShowTheCountsOfTheirRelocation) {
  Volume("volume letter=Z clusters=200 clusterSize=4096\n"
         "file \"Z:\\moved.bin\" size=8192 runs=10:1,20:1\n"
         "file \"Z:\\whole.bin\" size=12288 runs=30:3\n"
         "file \"Z:\\huge.bin\" size=491520 runs=40:60,110:60\n");
  for (const wchar_t* path : {L"Z:\\moved.bin", L"Z:\\whole.bin", L"Z:\\huge.bin"}) {
    ASSERT_EQ(AddItem(items_, false, path), kAddOk);
  }
  options_.unattended = true;
  Run(RunMode::DefragmentAll);

  auto counts = [](const wchar_t* path) {
    const ItemRecord* record = ItemByPath(path);
    return record ? std::make_pair(record->fragments, record->clusters) : std::make_pair(int64_t{-9}, int64_t{-9});
  };
  EXPECT_EQ(counts(L"Z:\\moved.bin"), std::make_pair(int64_t{1}, int64_t{2}));
  EXPECT_EQ(counts(L"Z:\\whole.bin"), std::make_pair(int64_t{1}, int64_t{3}));
  EXPECT_EQ(counts(L"Z:\\huge.bin"), std::make_pair(int64_t{2}, int64_t{120}));
  EXPECT_EQ(ItemByPath(L"Z:\\whole.bin")->state, ItemState::NotFragmentedFile);
  EXPECT_EQ(Check(), "check ok");
}

// "Deframmenta solamente i file selezionati": only the files marked in the
// fragmented-file list move, whether or not they are items themselves.
TEST_F(RunFixture, OnlyTheMarkedFilesAreDefragmented) {
  Volume("volume letter=Z clusters=200 clusterSize=4096\n"
         "file \"Z:\\d\\a.bin\" size=8192 runs=10:1,20:1\n"
         "file \"Z:\\d\\b.bin\" size=8192 runs=30:1,40:1\n"
         "file \"Z:\\d\\c.bin\" size=8192 runs=50:1,60:1\n");
  ASSERT_EQ(AddItem(items_, true, L"Z:\\d"), kAddOk);
  ASSERT_EQ(AddItem(items_, false, L"Z:\\d\\c.bin"), kAddOk);
  options_.unattended = true;
  Run(RunMode::AnalyseAll);
  ASSERT_EQ(gRun.fragmented.size(), 3u);
  for (FragmentedFileRecord& record : gRun.fragmented) record.marked = record.path != L"Z:\\d\\b.bin";

  options_.unattended = true;
  Run(RunMode::DefragmentMarkedFiles);
  EXPECT_EQ(gRun.counters.filesMoved, 2u);
  EXPECT_EQ(Fragments(L"Z:\\d\\a.bin"), 1u);
  EXPECT_EQ(Fragments(L"Z:\\d\\b.bin"), 2u);
  EXPECT_EQ(Fragments(L"Z:\\d\\c.bin"), 1u);
  EXPECT_EQ(ItemByPath(L"Z:\\d\\c.bin")->state, ItemState::DefragmentedFile);
  EXPECT_EQ(ItemByPath(L"Z:\\d")->state, ItemState::FragmentedFolder) << "the folder item is not walked again";
  EXPECT_EQ(Check(), "check ok");

  // Nothing marked: no run at all.
  gRun.fragmented.assign(1, FragmentedFileRecord{});
  Run(RunMode::DefragmentMarkedFiles);
  EXPECT_EQ(gRunState.lastEnd, RunEnd::NotStarted);
}

// Removing an item takes what the run found in it out of the result lists:
// its fragmented files and its errors. A sibling that only shares the start
// of its name is not inside it. With no item left the counters start again.
TEST_F(RunsTest, RemovedItemsTakeTheirResultsWithThem) {
  options_.unattended = true;
  Run(RunMode::AnalyseAll);
  ASSERT_GT(gRun.fragmented.size(), 1u);
  ASSERT_FALSE(gRun.errors.empty());

  RemoveItemsIf([](const ItemRecord& item) { return item.path == L"Z:\\data"; });
  DropResultsOfRemovedItems();
  ASSERT_EQ(gRun.fragmented.size(), 1u);
  EXPECT_EQ(gRun.fragmented[0].path, L"Z:\\single.bin");
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

// The drive is asked once for both items. Skipping leaves every item out, so
// the run ends unseen; "do not defragment" ends it too; with the warning off,
// or no one to ask, the settings decide without a question.
TEST_F(SolidStateRunTest, ItemsOnASolidStateDriveAreSkippedOrWarnedAbout) {
  struct Case {
    const char* name;
    uint32_t flags;
    bool unattended;
    bool keepOff;  // the warning's answer
    int warnings;
    int opened;    // how often the drive was opened; -1: no matter
    RunEnd end;
    size_t fragments;  // single.bin's after the run
  };
  const Case cases[] = {
      {"skipping", kSolidStateSkip, false, true, 0, 1, RunEnd::NotStarted, 2},
      {"warning, kept off", kSolidStateWarn, false, true, 1, -1, RunEnd::NotStarted, 2},
      {"warning, defragmenting", kSolidStateWarn, false, false, 1, -1, RunEnd::Completed, 1},
      {"neither", 0, false, true, 0, -1, RunEnd::Completed, 1},
      {"warning, no one to ask", kSolidStateWarn, true, true, 0, -1, RunEnd::Completed, 1},
      {"detection off", kSolidStateSkip | kSolidStateNoDetection, false, true, 0, 0, RunEnd::Completed, 1},
  };
  for (const Case& test : cases) {
    SCOPED_TRACE(test.name);
    Volume(kRunTree);
    RecordingRunUi ui;
    ui.keepSolidStateOff = test.keepOff;
    options_.solidStateFlags = test.flags;
    options_.unattended = test.unattended;
    const uint64_t opened = Opened();
    StartRun(RunMode::DefragmentAll, options_, ui);
    EXPECT_EQ(ui.solidStateWarnings, test.warnings);
    if (test.opened >= 0) EXPECT_EQ(Opened() - opened, uint64_t(test.opened));
    EXPECT_EQ(gRunState.lastEnd, test.end);
    EXPECT_EQ(Fragments(L"Z:\\single.bin"), test.fragments);
    EXPECT_EQ(Check(), "check ok");
  }
}

// The run of the marked files weighs each file: with skipping on, the
// marked files on the drive stay as they are and the user is told why.
TEST_F(SolidStateRunTest, MarkedFilesOnASolidStateDriveAreLeftAndSaidSo) {
  options_.solidStateFlags = 0;
  Run(RunMode::AnalyseAll);
  ASSERT_EQ(gRun.fragmented.size(), 5u);
  for (FragmentedFileRecord& record : gRun.fragmented) record.marked = record.path != L"Z:\\data\\big.bin";
  // Lower case reaches the same drive.
  gRun.fragmented.front().path[0] = L'z';
  options_.solidStateFlags = kSolidStateSkip;
  Run(RunMode::DefragmentMarkedFiles);
  EXPECT_EQ(ui_.solidStateLeftOut, std::vector<uint64_t>{4});
  EXPECT_EQ(gRunState.lastEnd, RunEnd::NotStarted);
  EXPECT_EQ(Fragments(L"Z:\\single.bin"), 2u);
  EXPECT_EQ(Fragments(L"Z:\\data\\a.bin"), 2u);

  // Skipping off: the warning is asked once for the four files.
  options_.solidStateFlags = kSolidStateWarn;
  ui_.keepSolidStateOff = true;
  Run(RunMode::DefragmentMarkedFiles);
  EXPECT_EQ(ui_.solidStateWarnings, 1);
  EXPECT_EQ(Fragments(L"Z:\\single.bin"), 2u);
  EXPECT_EQ(ui_.solidStateLeftOut.size(), 1u);
  EXPECT_EQ(Check(), "check ok");
}

TEST_F(SolidStateRunTest, ALowerCaseDriveLetterMarksTheDriveButNotTheItem) {
  options_.solidStateFlags = kSolidStateSkip;
  for (uint64_t row = 0; row < 2; ++row) ItemAtRow(row)->flags |= ItemFlags::kToProcess;
  ItemAtRow(0)->path[0] = L'z';
  bool detected = false;
  EXPECT_EQ(MarkItemsOnSolidStateDrives(ui_, options_, detected), 1u);
  EXPECT_TRUE(detected);
  EXPECT_EQ(Opened(), 1u);
  EXPECT_TRUE(ItemAtRow(0)->flags & ItemFlags::kToProcess);
  EXPECT_TRUE(ItemAtRow(1)->flags & ItemFlags::kSkipped);
  EXPECT_EQ(ui_.busyStates, (std::vector<uint32_t>{kBusyCheckingDrives, kBusyIdle}));
}

}  // namespace
