// The NTFS volume against images made by mkntfs and fragmented through the
// on-disk format library, with The Sleuth Kit as the independent judge, and
// the command that runs the engine over such images.
#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <sstream>

#include "NtfsTestSupport.h"
#include "app/ntfs/NtfsSummary.h"

namespace {

// The journal is made by the run's first move, in free clusters the library
// chooses: never in a target the engine has just chosen for a copy.
TEST_F(NtfsVolumeTest, TheFirstMoveOfARunMayAimWhereTheJournalWillBeMade) {
  Make(6, 1);
  const auto before = Hashes();
  // Where the journal lands, learnt on the image, then put back as it was.
  Copy(image_, Original());
  OpenVolume(true);
  std::vector<PhysicalRun> journal;
  for (size_t i = 0; i < filled_.files.size() && journal.empty(); ++i) {
    DefragmentFile(ui_, EnginePath(filled_.files[i]), nullptr);
    TskView(image_).Runs(std::string("/") + kJournalName, journal);
  }
  ASSERT_FALSE(journal.empty());
  CloseVolume();
  Copy(Original(), image_);

  OpenVolume(true);
  // Open for writing in this run, the volume is refused to another.
  NtfsVolume another;
  std::string message;
  EXPECT_EQ(another.Open(image_, false, L'N', message), NtfsOpenFailure::Mounted);
  EXPECT_NE(message.find("another run"), std::string::npos) << message;
  const FsHandle volume = Va().OpenVolume("\\\\.\\N:");
  std::string moved;
  for (const std::string& path : filled_.files) {
    const FsHandle file = Va().OpenFileForMoving(EnginePath(path));
    const std::vector<PhysicalRun> runs = ControlRuns(file);
    int64_t clusters = 0;
    for (const PhysicalRun& run : runs) clusters += run.count;
    if (runs.size() > 1 && !Va().MovesInUnits(file)) {
      MoveFileRecord record{uint64_t(file), 0, journal[0].lcn, uint32_t(clusters), 0};
      IoStatusBlock block{};
      const NtStatus status = Va().MoveClusters(volume, block, &record, sizeof record);
      EXPECT_TRUE(status == kStatusSuccess || status == kStatusAlreadyCommitted) << std::hex << status;
      moved = path;
    }
    Va().Close(file);
    if (!moved.empty()) break;
  }
  ASSERT_FALSE(moved.empty());
  Va().Close(volume);
  // Opened read-only, the volume refuses every move.
  OpenVolume(false);
  const FsHandle readOnly = Va().OpenVolume("\\\\.\\N:");
  const FsHandle file = Va().OpenFileForMoving(EnginePath(moved));
  MoveFileRecord record{uint64_t(file), 0, int64_t(volume_->ClusterCount() / 2), 1, 0};
  IoStatusBlock block{};
  EXPECT_EQ(Va().MoveClusters(readOnly, block, &record, sizeof record), kStatusMediaWriteProtected);
  Va().Close(file);
  Va().Close(readOnly);
  CloseVolume();
  EXPECT_EQ(Hashes(), before);
  EXPECT_EQ(Violations(), "");
}

class NtfsCommandTest : public NtfsVolumeTest {};

// The JSON document read by Python's own parser: one line per file of the
// run ("outcome<TAB>path<TAB>target", a run's "moved" read as a plan's
// "planned"),
// a line for each run whose totals do not add up or count the files listed
// wrongly, and last the exit code.
std::string ReadJson(const std::string& file, const std::string& run) {
  const std::string script =
      "import json, sys\n"
      "d = json.load(open(sys.argv[1], encoding='utf-8'))\n"
      "for r in d['runs']:\n"
      "    t = r['totals']\n"
      "    n = lambda o: sum(1 for f in r['files'] if f['outcome'] == o)\n"
      "    ok = t['processed'] == t['moved'] + t['contiguous'] + t['fragmented'] + t['failed'] + t['stopped']\n"
      "    ok = ok and t['moved'] == n('moved') + n('planned') and t['failed'] == n('failed') and t['leftOut'] == n('left out')\n"
      "    if not ok: print('the totals of', r['run'], 'do not add up:', t)\n"
      "    if r['run'] == sys.argv[2]:\n"
      "        for f in r['files']:\n"
      "            o = f['outcome'] if r['run'] == 'plan' else f['outcome'].replace('moved', 'planned')\n"
      "            print(o, f['path'], f['target'], sep='\\t')\n"
      "print('exit', d['exitCode'])\n";
  std::string output;
  RunCommand("python3 -c " + Quoted(script) + " " + Quoted(file) + " " + run, output);
  return output;
}

TEST_F(NtfsCommandTest, ThePlanPlacesFilesWhereTheRunDoesAndEveryDocumentAgrees) {
  Make(31, 1);
  // A mask from the root with a space and a star inside, one with "?" at its end.
  const std::string masks = " --exclude '/Users/file *' --exclude '*/b.lo?' ";
  const std::string plan = image_ + ".plan.json", real = image_ + ".json", report = image_ + ".report";
  std::string output;
  const std::string hashBefore = ImageHash();
  EXPECT_EQ(Command("--analyze " + Quoted(image_) + " /Users /data/sparse.img", output), 0) << output;
  const int planCode = Command("--plan --json" + masks + Quoted(image_) + " / > " + Quoted(plan), output);
  EXPECT_EQ(ImageHash(), hashBefore);  // neither an analysis nor a plan writes
  const int code = Command("--analyze --defrag --json --report " + Quoted(report) + masks + Quoted(image_) +
                               " / > " + Quoted(real),
                           output);
  // Every file's outcome and target in the plan as in the run.
  const std::string planned = ReadJson(plan, "plan"), done = ReadJson(real, "defragmentation");
  const size_t planEnd = planned.rfind("exit "), doneEnd = done.rfind("exit ");
  EXPECT_EQ(planned.substr(0, planEnd), done.substr(0, doneEnd));
  EXPECT_EQ(planned.substr(planEnd), "exit " + std::to_string(planCode) + "\n");
  EXPECT_EQ(done.substr(doneEnd), "exit " + std::to_string(code) + "\n");
  EXPECT_NE(done.find("left out\t/Users/file "), std::string::npos) << done;
  EXPECT_NE(done.find("left out\t/Users/ann/b.log"), std::string::npos) << done;

  // The report: UTF-8 text with line feeds, every file's outcome, the counts.
  std::ifstream in(report, std::ios::binary);
  const std::string text(std::istreambuf_iterator<char>(in), {});
  EXPECT_EQ(text.find('\r'), std::string::npos);
  EXPECT_NE(text.find("\nleft out: /Users/ann/b.log\n"), std::string::npos) << text;
  EXPECT_NE(text.find("Exit code: " + std::to_string(code) + "\n"), std::string::npos) << text;
  // Each moved file in one run where the documents say.
  TskView view(image_);
  std::istringstream lines(done);
  int moved = 0;
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("planned\t", 0) != 0) continue;
    const std::string path = line.substr(8, line.rfind('\t') - 8);
    EXPECT_EQ(path.rfind("/Users/file ", 0), std::string::npos) << path;
    std::vector<PhysicalRun> runs;
    EXPECT_TRUE(view.Runs(path, runs)) << path;
    ASSERT_EQ(runs.size(), 1u) << path;
    EXPECT_EQ(std::to_string(runs[0].lcn), line.substr(line.rfind('\t') + 1)) << path;
    EXPECT_NE(text.find("moved: " + path + " ("), std::string::npos) << path;
    ++moved;
  }
  EXPECT_GE(moved, 5) << done;
  EXPECT_NE(text.find("Number of defragmented files : " + std::to_string(moved) + "\n"), std::string::npos)
      << text;
}

// Its conventions and exit codes; the volumes it refuses before anything is
// written: one its own system must see first, one whose mounts cannot be
// checked (run in a mount namespace of its own where the system's lists are
// missing); and the progress line, drawn on standard error on a terminal
// only (through script) and erased at the end, none with --quiet.
TEST_F(NtfsCommandTest, CommandLineConventionsRefusalsAndExitCodes) {
  Make(32, 0);
  const std::string image = Quoted(image_);
  Copy(image_, Original());
  std::string output;
  const bool namespaces = RunCommand("unshare -m true", output) == 0;
  struct Case {
    std::string arguments;
    int code;
    const char* says;
    std::function<bool(const std::string&)> mark = nullptr;
    const char* hide = nullptr;
    bool terminal = false;
  };
  auto outside = [](const std::string& image) { return PointRunOutside(image, "/data/sparse.img"); };
  auto dirty = [](const std::string& image) { return SetDirty(image, true); };
  const Case cases[] = {
      {"-h", 0, "Usage: ordalis-ntfs"},
      {"-v " + image + " /Users", 2, "unknown option -v"},
      {"--analyse " + image + " /Users", 2, "unknown option --analyse"},
      {"--analyze --report", 2, "--report needs a value"},
      {"--plan --defrag " + image + " /Users", 2, "--plan goes alone"},
      {image + " /Users", 2, "say what to do"},
      {"--analyze " + image, 2, "a volume and at least one path"},
      {"--analyze --report /nonexistent/folder/report.txt " + image + " /Users", 8, "nothing was done"},
      {"--analyze " + image + " /missing", 5, "could not be added"},
      {"--analyze " + image_ + ".absent /Users", 7, "nothing was written"},
      {"--plan --json " + image_ + ".absent /Users", 7, "\"exitCode\": 7"},
      // Not a terminal: no progress line, and line feeds alone.
      {"--analyze -r /dev/null " + image + " Users/", 0, "Analyzed folder : /Users\nFolder is "},
      {"--defrag " + image + " /Users", 7, "disk check", dirty},
      {"--analyze " + image + " /Users", 7, "hibernated", MarkHibernated},
      // Brought in line only on a volume a stopped run left marked.
      {"--defrag " + image + " /Users", 7, "cannot be opened as an NTFS volume", UnequalMirror},
      {"--analyze " + image + " /Users", 7, "could not be checked", nullptr,
       "mount -t tmpfs none /sys && touch /sys/block"},
      {"--defrag " + image + " /Users", 7, "could not be checked", nullptr, "mount -t tmpfs none /proc"},
      // A run list that points past the end of the volume is an error of
      // that file, with the system's text; the others are processed as ever.
      {"--analyze -r /dev/stdout " + image + " /data/sparse.img /data", 4,
       "Analyzed file : /data/sparse.img\nAn error was encountered while processing the file", outside},
      {"--analyze -r /dev/stdout " + image + " /data", 4, "The file or directory is corrupted and unreadable.",
       outside},
      {"--defrag " + image + " /data", 4, "processing errors : 1", outside},
      {"--plan --quiet " + image + " /", 0, "", nullptr, nullptr, true},
      {"--analyze --defrag " + image + " /", 0, "\r\033[KDefragmenting: 0/", nullptr, nullptr, true},
  };
  bool marked = false;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.arguments + (c.hide != nullptr ? std::string(" after ") + c.hide : ""));
    if (c.hide != nullptr && !namespaces) continue;
    // Each mark on the image as it was made.
    if (c.mark || marked) Copy(Original(), image_);
    marked = bool(c.mark);
    if (marked) {
      ASSERT_TRUE(c.mark(image_));
    }
    const std::string hashBefore = c.code == 7 ? ImageHash() : "";
    std::string command = std::string(ORDALIS_NTFS_PROGRAM) + " " + c.arguments;
    if (c.hide != nullptr) command = "unshare -m sh -c " + Quoted(std::string(c.hide) + " && exec " + command);
    if (c.terminal) command = "script -qec " + Quoted(command + " >/dev/null") + " /dev/null";
    EXPECT_EQ(RunCommand(command, output), c.code) << output;
    EXPECT_NE(output.find(c.says), std::string::npos) << output;
    EXPECT_EQ(output.find_first_of("\r\033") == std::string::npos, !c.terminal || *c.says == 0) << output;
    if (c.code == 7) {
      EXPECT_EQ(ImageHash(), hashBefore);
    }
  }
  EXPECT_NE(output.find("\r\033[KAnalysing: "), std::string::npos) << output;
  EXPECT_EQ(output.rfind("\r\033[K") + 4, output.size());  // erased at the end
}

// The summary after a defragmentation: its counts add up and name every
// file that was not defragmented, with the reason in English.
TEST(NtfsSummary, CountsAddUpAndEveryFileNotDefragmentedIsNamed) {
  const std::vector<FileOutcome> outcomes = {
      {L"N:\\a", FileFate::Moved, L"", 5, 1},
      {L"N:\\b", FileFate::Contiguous, L"AC", 1, 1},
      {L"N:\\c d", FileFate::Failed, kMoveNoFreeRun, 4, 4},
      {L"N:\\e", FileFate::Failed, kMovePartlyMoved, 6, 3},
      {L"N:\\f", FileFate::Failed, L"Access is denied.\r\n", 0, 0},
      {L"N:\\g", FileFate::Stopped, kMoveStopped, 3, 3},
      {L"N:\\h", FileFate::LeftOut, L"", 0, 0},
  };
  EXPECT_EQ(DefragSummaryText(outcomes),
            "Summary:\n\n"
            "Number of processed files : 6\n"
            "Number of defragmented files : 1\n"
            "Number of already contiguous files : 1\n"
            "Number of files that were not defragmented due to processing errors : 3\n"
            "Number of files stopped before their move : 1\n"
            "Number of files still fragmented : 3\n"
            "Number of files left out by the filters : 1\n"
            "\n"
            "Files not defragmented:\n"
            "/c d : no free run of clusters is long enough for the whole file\n"
            "/e : the file was moved only in part and is still fragmented\n"
            "/f : Access is denied.\n"
            "/g : the run was stopped before the file was moved\n"
            "\n");
}

// A mounted image is refused, and so is one attached to a loop device,
// whether the loop device is mounted or not, and the loop device itself
// while mounted.
TEST_F(NtfsCommandTest, RefusesAMountedImageOrOneBehindALoopDevice) {
  Make(23, 0);
  std::string output, loop;
  const std::string mount = image_ + ".loop";
  RunCommand("mkdir -p " + Quoted(mount), output);
  if (RunCommand("ntfs-3g " + Quoted(image_) + " " + Quoted(mount), output) == 0) {
    EXPECT_EQ(Command("--analyze " + Quoted(image_) + " /Users", output), 7) << output;
    EXPECT_NE(output.find("mounted"), std::string::npos) << output;
    RunCommand("umount " + Quoted(mount), output);
  }
  if (RunCommand("losetup -f --show " + Quoted(image_), loop) != 0) {
    RunCommand("rmdir " + Quoted(mount), output);
    GTEST_SKIP() << "loop devices cannot be attached here: " << loop;
  }
  loop.erase(loop.find_last_not_of("\n") + 1);
  struct Detach {
    std::string loop, mount;
    ~Detach() {
      std::string ignored;
      RunCommand("umount " + Quoted(mount), ignored);
      RunCommand("losetup -d " + Quoted(loop), ignored);
      RunCommand("rmdir " + Quoted(mount), ignored);
    }
  } detach{loop, mount};
  const std::string hashBefore = ImageHash();
  EXPECT_EQ(Command("--defrag " + Quoted(image_) + " /Users", output), 7) << output;
  EXPECT_NE(output.find("is attached to " + loop), std::string::npos) << output;

  if (RunCommand("ntfs-3g " + Quoted(loop) + " " + Quoted(mount), output) != 0) {
    GTEST_SKIP() << "ntfs-3g cannot mount " << loop << " here: " << output;
  }
  EXPECT_EQ(Command("--defrag " + Quoted(image_) + " /Users", output), 7) << output;
  EXPECT_NE(output.find("is mounted on " + mount + " through " + loop), std::string::npos) << output;
  EXPECT_EQ(Command("--analyze " + Quoted(loop) + " /Users", output), 7) << output;
  EXPECT_NE(output.find("mounted"), std::string::npos) << output;
  RunCommand("umount " + Quoted(mount), output);
  EXPECT_EQ(ImageHash(), hashBefore);
}

// A volume with a file of 10,000 one-cluster pieces (its run list spread
// over many records through an attribute list) beside the random tree
// (a sparse file with an attribute list, a compressed one), stopped at
// chosen writes. After each stop, and after the next opening (which
// completes a switch the stop left half-done), every file reads as before,
// no cluster is owned twice or owned but free, and a stop after the first
// write leaves the volume marked for a disk check.
class NtfsStopTest : public NtfsCommandTest {
 protected:
  // With the file of 10,000 pieces, or the random tree alone on a smaller
  // volume (where its compressed file is in pieces).
  void Prepare(bool manyPieces = true) {
    Make(31, 1, manyPieces ? 384ull << 20 : 64ull << 20);
    if (manyPieces) {
      std::string error;
      ASSERT_TRUE(AddFragmentedFile(image_, "fragmented.bin", 10000, error)) << error;
      filled_.files.push_back("/fragmented.bin");
    }
    hashes_ = Hashes();
    Copy(image_, Original());
  }
  void Restore() { Copy(Original(), image_); }
  // ntfs-3g mounts the volume and reads every file; with the mark cleared,
  // the next run moves files again.
  void ExpectReusable(const std::string& what) {
    EXPECT_EQ(ReadThroughMount(), "") << what;
    std::string output;
    ASSERT_TRUE(SetDirty(image_, false)) << what;
    EXPECT_EQ(Command("--defrag " + Quoted(image_) + " /Users/ann/a.log", output), 0) << what << ": " << output;
    EXPECT_EQ(Hashes(), hashes_) << what;
    EXPECT_EQ(Violations(true), "") << what;
  }
  std::map<std::string, std::string> hashes_;
};

// Killed at the n-th write of either thread (counted per thread, as the
// tracer counts them): every third write here, every write in the long run
// of the benchmarks. The copying thread writes more than the first one and
// reaches each count first, so the first thread's last writes (the mark
// cleared at the end) are reached by counting its writes alone. The first
// move on a fresh volume makes the journal too: killed at every one of its
// writes, the volume still mounts with ntfs-3g, which reads every file, and
// once the mark is cleared as a disk check that finds nothing does, the next
// run moves files again.
TEST_F(NtfsStopTest, KilledAtAnyWriteOfAMoveLosesNothingAndLeavesTheMark) {
  const struct {
    bool manyPieces;
    const char* path;
    int step;
    bool reused;
  } cases[] = {
      {true, "/fragmented.bin", 3, false},
      {false, "/Users/ann/a.log", 1, true},
      {false, "/packed/notes.txt", 3, false},
  };
  std::string output;
  int points = 0, completed = 0;
  for (const auto& c : cases) {
    if (&c == cases || c.manyPieces != (&c)[-1].manyPieces) Prepare(c.manyPieces);
    const std::string run = std::string(ORDALIS_NTFS_PROGRAM) + " --defrag " + Quoted(image_) + " " + Quoted(c.path);
    // Every thread, and for the row reused after each kill, the first alone.
    for (const std::string threads : {"-f ", ""}) {
      if (threads.empty() && !c.reused) break;
      Restore();
      const std::string trace = image_ + ".trace";
      ASSERT_EQ(RunCommand("strace " + threads + "-q -o " + Quoted(trace) + " -e trace=pwrite64 " + run, output), 0)
          << output;
      // The most writes of one thread.
      RunCommand("awk '/pwrite64/ {n[$1]++} END {m = 0; for (t in n) if (n[t] > m) m = n[t]; print m}' " +
                     Quoted(trace), output);
      std::remove(trace.c_str());
      const int writes = std::atoi(output.c_str());
      ASSERT_GT(writes, 5) << c.path;
      ExpectIntact(hashes_, std::string(c.path) + " moved");
      for (int n = 1; n <= writes; n += c.step) {
        const std::string what = std::string(c.path) + " killed at write " + std::to_string(n) + " of " +
                                 std::to_string(writes) + (threads.empty() ? " of the first thread" : "");
        Restore();
        const int status = RunCommand("strace " + threads + "-q -o /dev/null -e trace=pwrite64 " +
                                          "-e inject=pwrite64:signal=KILL:when=" + std::to_string(n) + " " + run,
                                      output);
        points += status != 0;
        completed += ExpectIntact(hashes_, what);
        // The first two writes are the mark itself (its record, then the
        // record's mirror, which the library insists matches). Read after the
        // next opening, which brings a mirror left behind by the stop in line.
        if (status != 0 && n > 2) {
          EXPECT_TRUE(MarkedDirty(image_)) << what;
        }
        if (c.reused) ExpectReusable(what);
      }
    }
  }
  EXPECT_GE(points, 20);
  EXPECT_GE(completed, 1);  // some kills fell while a switch reached its places
}

// A device whose n-th write fails, or whose n-th write reaches the disk
// wrong (the move's first writes are its copies, caught when read back):
// the move is refused, the file as it was, and a volume left in doubt keeps
// its mark.
TEST_F(NtfsStopTest, AWriteThatFailsLosesNothing) {
  Prepare();
  std::vector<std::pair<uint64_t, bool>> cases = {{1, true}, {4, true}};
  for (uint64_t n = 1; n <= 31; n += 3) cases.push_back({n, false});
  int refused = 0;
  for (const auto& [n, wrong] : cases) {
    const std::string what = "write " + std::to_string(n) + (wrong ? " wrong on the disk" : " failed");
    Restore();
    OpenVolume(true);
    SwitchJournal::FailWrite(n, wrong);
    DefragmentFile(ui_, EnginePath("/fragmented.bin"), nullptr);
    refused += !gEngine.moveResultCode.empty();
    EXPECT_TRUE(!wrong || !gEngine.moveResultCode.empty()) << what;
    SwitchJournal::FailWrite(0);
    const bool closed = volume_->Unmount();
    CloseVolume();
    // Closed cleanly only when nothing was left in doubt.
    EXPECT_EQ(MarkedDirty(image_), !closed) << what;
    ExpectIntact(hashes_, what);
  }
  EXPECT_GE(refused, 7);
}

// Ctrl-C during the first move: that file is finished, the run stops with
// its summary and code 3, and the volume is closed cleanly, without the mark.
TEST_F(NtfsStopTest, AnInterruptFinishesTheFileAndStopsCleanly) {
  Prepare(false);
  std::string output;
  const int status = RunCommand("strace -f -q -o /dev/null -e trace=pwrite64 -e inject=pwrite64:signal=INT:when=3 " +
                                    std::string(ORDALIS_NTFS_PROGRAM) + " --defrag " + Quoted(image_) + " /",
                                output);
  EXPECT_EQ(status, 3) << output;
  EXPECT_NE(output.find("Number of defragmented files : 1\n"), std::string::npos) << output;
  EXPECT_FALSE(MarkedDirty(image_));
  ExpectIntact(hashes_, "interrupted");
  EXPECT_TRUE(NtfsfixClean(image_, output)) << output;
}

}  // namespace
