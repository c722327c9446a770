// Whole runs of the simulating program: the files are real files under the
// test's work folder, their clusters live on the described volume. Each case
// compares the console output whole, the exit code, and the volume's end
// state with its checker's verdict.
#include "ProgramCase.h"

#include <gtest/gtest.h>

#include <commctrl.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

using namespace e2e;

constexpr char kBanner[] = "\r\n\r\nOrdalis v1.00\r\nCopyright (c) 2026 The Ordalis developers\r\n\r\n";

class RunsProgramTest : public ProgramCase {
protected:
    void Prepare(const std::string& caseName) { ProgramCase::Prepare("runs-" + caseName, ORDALIS_SIM_PROGRAM); }

    // The path as the console prints it.
    std::string Win(const std::string& relative) const { return WinText(relative); }

    TestDriver::RunResult Run(const std::string& arguments) {
        return TestDriver::RunProgram(exe_, std::wstring(arguments.begin(), arguments.end()), kWaitMs);
    }
};

const char* kVolume = "volume letter=Z clusters=4000 clusterSize=4096";

// What follows each section of the console summary: the failed files, then
// the files the masks and the size limit left out.
const std::string kNoneLeftOut = "Number of files left out by the include and exclude masks and the size limit : 0\r\n\r\n";
// The error list's texts, as Wine's message table and the English file word them.
const std::string kSharingViolation = "Sharing violation.";
const std::string kAccessDenied = "Access denied.";
const std::string kNoContiguousRun = "There are not enough contiguous free clusters to defragment the whole file.";

// Reads the state cell of the first row a few times while a worker runs:
// each read is a message the window thread must handle while it waits for
// the worker. The slowest answer, in milliseconds.
DWORD SlowestAnswer(HWND list, std::wstring& lastState) {
    DWORD slowest = 0;
    for (int i = 0; i < 5; ++i) {
        const DWORD before = GetTickCount();
        lastState = TestDriver::ListViewCellText(list, 0, kStateColumn);
        slowest = std::max(slowest, GetTickCount() - before);
        TestDriver::PumpMessages(100);
    }
    return slowest;
}

TEST_F(RunsProgramTest, AnAnalysisOfATreeSummarisesEachItemAndChangesNothing) {
    Prepare("analysis");
    MakeFile("data/a.bin", 16384);
    MakeFile("data/sub/b.bin", 16000);
    MakeFile("data/sub/c.bin", 12288);
    MakeFile("one.bin", 8192);
    Describe(kVolume, {{"data\\a.bin", "size=16384 runs=100:2,110:2"},
                       {"data\\sub\\b.bin", "size=16000 runs=200:4"},
                       {"data\\sub\\c.bin", "size=12288 runs=300:1,310:1,320:1"},
                       {"one.bin", "size=8192 runs=400:2"}});

    TestDriver::RunResult run = Run("/NOGUI /ANALYZE " + Win("data") + " " + Win("one.bin"));

    ASSERT_TRUE(run.finished);
    EXPECT_EQ(run.output, std::string(kBanner) +
                              "Analyzed file : " + Win("one.bin") + "\r\nFile is in 1 fragments (Contiguous)\r\n\r\n" +
                              "Analyzed folder : " + Win("data") + "\r\nFolder is Fragmented\r\n\r\n" +
                              "\r\nNumber of items processed : 2 \r\n" + kNoneLeftOut);
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_EQ(EndState().substr(EndState().find('\n') + 1), description_.substr(description_.find('\n') + 1) + "check ok\n");
}

TEST_F(RunsProgramTest, AnAnalysisWithAFileThatCannotBeOpenedEndsWithCodeFour) {
    Prepare("analysis-error");
    MakeFile("data/a.bin", 8192);
    MakeFile("locked.bin", 8192);
    Describe(kVolume, {{"data\\a.bin", "size=8192 runs=100:1,110:1"}, {"locked.bin", "size=8192 runs=200:2"}},
             "fault \"" + Win("locked.bin") + "\" control=open status=0xC0000043\n");

    TestDriver::RunResult run = Run("/NOGUI /ANALYZE " + Win("data") + " " + Win("locked.bin"));

    ASSERT_TRUE(run.finished);
    EXPECT_EQ(run.output, std::string(kBanner) +
                              "Analyzed file : " + Win("locked.bin") + "\r\nAn error was encountered while processing the file\r\n\r\n" +
                              "Analyzed folder : " + Win("data") + "\r\nFolder is Fragmented\r\n\r\n" +
                              "\r\nNumber of items processed : 2 \r\n" +
                              "Failed file : " + Win("locked.bin") + " : " + kSharingViolation + "\r\n" + kNoneLeftOut);
    EXPECT_EQ(run.exitCode, 4u);
}

// Moved, already contiguous, no free run long enough, a refused extent and a
// file that cannot be opened, in one folder; the analysis first.
TEST_F(RunsProgramTest, BothRunsReportInTurnAndLeaveTheMovableFilesInOnePiece) {
    Prepare("defrag");
    MakeFile("data/a.bin", 16384);
    MakeFile("data/b.bin", 16000);
    MakeFile("data/big.bin", 3686400);
    MakeFile("data/refused.bin", 8000);
    MakeFile("data/locked.bin", 8192);
    Describe("volume letter=Z clusters=2000 clusterSize=4096",
             {{"data\\a.bin", "size=16384 runs=100:2,110:2"},
              {"data\\b.bin", "size=16000 runs=200:4"},
              {"data\\big.bin", "size=3686400 runs=1000:500,1600:400"},
              {"data\\refused.bin", "size=8000 runs=430:1,440:1"},
              {"data\\locked.bin", "size=8192 runs=450:1,460:1"}},
             "fault \"" + Win("data\\refused.bin") + "\" control=move call=1 status=0xC0000022\n" +
                 "fault \"" + Win("data\\locked.bin") + "\" control=open status=0xC0000043\n");

    TestDriver::RunResult run = Run("/NOGUI /ANALYZE /DEFRAG /QUICK " + Win("data"));  // first fit: predictable places

    ASSERT_TRUE(run.finished);
    EXPECT_EQ(run.output, std::string(kBanner) +
                              "Analyzed folder : " + Win("data") + "\r\nFolder is Fragmented\r\n\r\n" +
                              "\r\nNumber of items processed : 1 \r\n" +
                              "Failed file : " + Win("data\\locked.bin") + " : " + kSharingViolation + "\r\n" +
                              kNoneLeftOut +
                              "Summary:\r\n\r\n"
                              "Number of processed files : 5\r\n"
                              "Number of fragmented files : 0\r\n"
                              "Number of already contiguous files : 1\r\n"
                              "Number of defragmented files : 1\r\n"
                              "Number of files that were not defragmented due to processing errors : 3\r\n"
                              "\r\n" +
                              "Failed file : " + Win("data\\big.bin") + " : " + kNoContiguousRun + "\r\n" +
                              "Failed file : " + Win("data\\locked.bin") + " : " + kSharingViolation + "\r\n" +
                              "Failed file : " + Win("data\\refused.bin") + " : " + kAccessDenied + "\r\n" +
                              kNoneLeftOut);
    EXPECT_EQ(run.exitCode, 4u);
    const std::string end = EndState();
    EXPECT_NE(end.find("data\\a.bin\" size=16384 runs=0:4\n"), std::string::npos) << end;
    EXPECT_NE(end.find("data\\big.bin\" size=3686400 runs=1000:500,1600:400\n"), std::string::npos) << end;
    EXPECT_NE(end.find("data\\refused.bin\" size=8000 runs=430:1,440:1\n"), std::string::npos) << end;
    EXPECT_EQ(end.substr(end.size() - 9), "check ok\n");
}

TEST_F(RunsProgramTest, ADefragmentationAloneEndsByItselfWithItsSummary) {
    Prepare("defrag-alone");
    MakeFile("data/a.bin", 16384);
    Describe(kVolume, {{"data\\a.bin", "size=16384 runs=100:2,110:2"}});

    TestDriver::RunResult run = Run("/NOGUI /DEFRAG /QUICK " + Win("data"));

    ASSERT_TRUE(run.finished);
    EXPECT_EQ(run.output, std::string(kBanner) +
                              "Summary:\r\n\r\n"
                              "Number of processed files : 1\r\n"
                              "Number of fragmented files : 0\r\n"
                              "Number of already contiguous files : 0\r\n"
                              "Number of defragmented files : 1\r\n"
                              "Number of files that were not defragmented due to processing errors : 0\r\n"
                              "\r\n" + kNoneLeftOut);
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_NE(EndState().find("a.bin\" size=16384 runs=0:4\ncheck ok\n"), std::string::npos) << EndState();
}

// "/SHOWREPORT" shows the summary after the defragmentation and the program
// ends when it is closed; "/SHUTDOWN" then powers off (into a log here).
TEST_F(RunsProgramTest, TheSummaryAndThePowerOffFollowAFinishedUnattendedDefragmentation) {
    Prepare("follow-ups");
    MakeFile("data/a.bin", 16384);
    MakeFile("data/b.bin", 4096);
    Describe(kVolume, {{"data\\a.bin", "size=16384 runs=100:2,110:2"}, {"data\\b.bin", "size=4096 runs=200:1"}});
    const fs::path log = host_ / "poweroff.log";
    SetEnvironmentVariableW(L"ORDALIS_POWEROFF_LOG", TestDriver::HostPathToWindows(log.string()).c_str());

    std::unique_ptr<TestDriver::RunningProgram> program = TestDriver::StartProgram(
        exe_, L"/NOGUI /DEFRAG /SHOWREPORT /SHUTDOWN /LANG:IT " + TestDriver::HostPathToWindows((host_ / "data").string()));
    ASSERT_TRUE(program);
    HWND summary = TestDriver::WaitForWindow(kDialogClass, L"Riepilogo", program->ProcessId(), kWaitMs);
    ASSERT_NE(summary, nullptr);
    EXPECT_FALSE(fs::exists(log));  // nothing is powered off while the summary is open
    EXPECT_EQ(TestDriver::ChildTexts(summary),
              (std::vector<std::wstring>{L"File elaborati:", L"2", L"File frammentati:", L"0",
                                         L"File non frammentati:", L"1", L"File deframmentati:", L"1",
                                         L"Errori:", L"0", L"OK"}));
    TestDriver::PressButton(summary, IDOK);
    ASSERT_TRUE(program->WaitForExit(kWaitMs));
    SetEnvironmentVariableW(L"ORDALIS_POWEROFF_LOG", nullptr);
    EXPECT_EQ(program->ExitCode(), 0u);
    EXPECT_EQ(ReadWhole(log), "power off 13 ffffffff\r\n");
    EXPECT_EQ(EndState().substr(EndState().size() - 9), "check ok\n");
}

// The console takes each item's lines whole, however long its path: a folder
// whose path nears 2,048 characters still has its outcome line. The folder
// comes from a profile, whose lines are far longer than a command line.
TEST_F(RunsProgramTest, AnItemWithAPathNearTwoThousandCharactersKeepsItsOutcomeLine) {
    Prepare("long-path");
    // The deep folder lies outside the case folder, which is emptied with
    // calls that stop at the ordinary path limit; it is made level by level
    // through the long prefix, as the program reaches it, and left empty.
    std::string folder = Narrow(TestDriver::HostPathToWindows(std::string(ORDALIS_E2E_WORK_DIR))) + "\\long-path";
    for (;;) {
        const std::string longForm = "\\\\?\\" + folder;
        CreateDirectoryW(std::wstring(longForm.begin(), longForm.end()).c_str(), nullptr);
        if (folder.size() >= 2030) break;
        folder += "\\" + std::string(std::min<size_t>(200, 2030 - folder.size()), 'n');
    }
    Describe(kVolume, {});
    std::wstring line = L">" + std::wstring(folder.begin(), folder.end());
    std::ofstream(host_ / "long.olp", std::ios::binary) << Utf16FileLines({L"KV70RX", line});

    TestDriver::RunResult run = Run("/NOGUI /ANALYZE /PROF:" + Win("long.olp"));

    ASSERT_TRUE(run.finished);
    EXPECT_EQ(run.output, std::string(kBanner) + "Analyzed folder : " + folder +
                              "\r\nFolder is Not Fragmented\r\n\r\n\r\nNumber of items processed : 1 \r\n" + kNoneLeftOut);
    EXPECT_EQ(run.exitCode, 0u);
}

// A link inside the tree that leads back to its own folder is not followed
// round: the folder is entered once and the walk ends normally.
TEST_F(RunsProgramTest, ALinkBackUpTheTreeEndsTheWalkCleanly) {
    Prepare("loop");
    // The link is made when the tests are configured (see CMakeLists.txt).
    const fs::path fixture = fs::path(ORDALIS_E2E_WORK_DIR) / "link-fixture";
    std::ofstream(fixture / "data" / "a.bin", std::ios::binary) << std::string(8192, 'x');
    const std::string data = Narrow(TestDriver::HostPathToWindows((fixture / "data").string()));
    const std::string description = std::string(kVolume) + "\nfile \"" + data + "\\a.bin\" size=8192 runs=100:1,110:1\n";
    std::ofstream(host_ / "volume.txt", std::ios::binary) << description;
    SetEnvironmentVariableW(L"ORDALIS_SIMVOLUME", TestDriver::HostPathToWindows((host_ / "volume.txt").string()).c_str());
    SetEnvironmentVariableW(L"ORDALIS_SIMVOLUME_OUT", TestDriver::HostPathToWindows((host_ / "end.txt").string()).c_str());

    TestDriver::RunResult run = Run("/NOGUI /ANALYZE " + data);

    ASSERT_TRUE(run.finished);
    EXPECT_EQ(run.output, std::string(kBanner) + "Analyzed folder : " + data +
                              "\r\nFolder is Fragmented\r\n\r\n\r\nNumber of items processed : 1 \r\n" + kNoneLeftOut);
    EXPECT_EQ(run.exitCode, 0u);
    // The file was met once, never again through the link.
    const std::string end = EndState();
    EXPECT_NE(end.find("\\data\\a.bin\""), std::string::npos) << end;
    EXPECT_EQ(end.find("\\loop\\"), std::string::npos) << end;
    EXPECT_EQ(end.substr(end.size() - 9), "check ok\n");
}

// The window keeps answering during a long folder analysis, and Stop ends
// it with the folder marked as interrupted.
TEST_F(RunsProgramTest, StopDuringALongFolderAnalysisInterruptsTheFolder) {
    Prepare("stop");
    // 20,000 files of 10 bytes, none of them on the volume.
    Describe("volume letter=Z clusters=100", {});

    std::unique_ptr<TestDriver::RunningProgram> program =
        TestDriver::StartProgram(exe_, L"/LANG:IT " + TestDriver::HostPathToWindows(ORDALIS_E2E_MANY_FILES));
    ASSERT_TRUE(program);
    HWND main = TestDriver::WaitForWindow(kDialogClass, kMainTitle, program->ProcessId(), kWaitMs);
    ASSERT_NE(main, nullptr);
    HWND list = TestDriver::FindListViewByHeader(main, L"Nome");
    ASSERT_NE(list, nullptr);
    TestDriver::SendCommand(main, kCmdAnalyzeAll);
    std::wstring state;
    for (int i = 0; i < 200 && state != L"In elaborazione..."; ++i) {
        TestDriver::PumpMessages(20);
        state = TestDriver::ListViewCellText(list, 0, kStateColumn);
    }
    ASSERT_EQ(state, L"In elaborazione...");
    std::wstring during;
    EXPECT_LT(SlowestAnswer(list, during), 1000u);
    EXPECT_EQ(during, L"In elaborazione...");
    TestDriver::SendCommand(main, kCmdStop);
    for (int i = 0; i < 500 && state == L"In elaborazione..."; ++i) {
        TestDriver::PumpMessages(20);
        state = TestDriver::ListViewCellText(list, 0, kStateColumn);
    }
    EXPECT_EQ(state, L"Interrotto");
    TestDriver::SendCommand(main, kCmdExit);
    ASSERT_TRUE(program->WaitForExit(kWaitMs));
    EXPECT_EQ(EndState().substr(EndState().size() - 9), "check ok\n");
}

// The window keeps answering while the move thread works through a file on a
// slow disk, and Stop ends the file between two extents, long before the
// move would have ended.
TEST_F(RunsProgramTest, StopDuringASlowMoveInterruptsTheFile) {
    Prepare("slow-move");
    constexpr int kExtents = 300;
    MakeFile("data/big.bin", kExtents * 4096);
    std::string runs, gaps;
    for (int i = 0; i < kExtents; ++i) {
        runs += (i ? "," : "") + std::to_string(1000 + 2 * i) + ":1";
        gaps += "reserve " + std::to_string(1001 + 2 * i) + " 1\n";
    }
    // 30 ms a move: the whole file would take about nine seconds.
    Describe("volume letter=Z clusters=4000 clusterSize=4096 moveDelay=30",
             {{"data/big.bin", "size=" + std::to_string(kExtents * 4096) + " runs=" + runs}}, gaps);

    // Neither the disk check nor the cleanup is asked before this defragmentation.
    std::unique_ptr<TestDriver::RunningProgram> program = TestDriver::StartProgram(
        exe_, L"/LANG:IT /CHKDSK:0 /CLEAN:0 " + TestDriver::HostPathToWindows((host_ / "data" / "big.bin").string()));
    ASSERT_TRUE(program);
    HWND main = TestDriver::WaitForWindow(kDialogClass, kMainTitle, program->ProcessId(), kWaitMs);
    ASSERT_NE(main, nullptr);
    HWND list = TestDriver::FindListViewByHeader(main, L"Nome");
    ASSERT_NE(list, nullptr);
    TestDriver::SendCommand(main, kCmdDefragAll);
    std::wstring state;
    for (int i = 0; i < 200 && state != L"In elaborazione..."; ++i) {
        TestDriver::PumpMessages(20);
        state = TestDriver::ListViewCellText(list, 0, kStateColumn);
    }
    ASSERT_EQ(state, L"In elaborazione...");
    std::wstring during;
    EXPECT_LT(SlowestAnswer(list, during), 1000u);
    EXPECT_EQ(during, L"In elaborazione...");
    // Painting comes last among a thread's messages: give it a moment.
    TestDriver::PumpMessages(500);
    TestDriver::SaveWindowScreenshot(main, L"runs-slow-move-during");
    const DWORD stopped = GetTickCount();
    TestDriver::SendCommand(main, kCmdStop);
    for (int i = 0; i < 500 && state == L"In elaborazione..."; ++i) {
        TestDriver::PumpMessages(20);
        state = TestDriver::ListViewCellText(list, 0, kStateColumn);
    }
    EXPECT_EQ(state, L"Interrotto");
    EXPECT_LT(GetTickCount() - stopped, 3000u);
    // The summary follows a stop as it follows a finished run: the file whose
    // move was stopped is processed and still fragmented. While it is open
    // the status bars already say the run has ended.
    HWND summary = TestDriver::WaitForWindow(kDialogClass, L"Riepilogo", program->ProcessId(), kWaitMs);
    ASSERT_NE(summary, nullptr);
    EXPECT_EQ(TestDriver::ChildTexts(summary),
              (std::vector<std::wstring>{L"File elaborati:", L"1", L"File frammentati:", L"1",
                                         L"File non frammentati:", L"0", L"File deframmentati:", L"0",
                                         L"Errori:", L"0", L"OK"}));
    std::vector<HWND> bars = TestDriver::ChildWindows(main, STATUSCLASSNAMEW);
    ASSERT_EQ(bars.size(), 2u);
    EXPECT_EQ(TestDriver::StatusBarTexts(bars[0]),
              (std::vector<std::wstring>{L"Oggetti totali in elenco: 1", L"Totale file elaborati: 1"}));
    EXPECT_EQ(TestDriver::StatusBarTexts(bars[1]), (std::vector<std::wstring>{L"In attesa"}));
    TestDriver::PressButton(summary, IDOK);
    TestDriver::SendCommand(main, kCmdExit);
    ASSERT_TRUE(program->WaitForExit(kWaitMs));
    const std::string end = EndState();
    EXPECT_EQ(end.substr(end.size() - 9), "check ok\n");
    // Stopped part way: the first extent has left its place, the last has not.
    const size_t line = end.find("big.bin\"");
    ASSERT_NE(line, std::string::npos);
    const std::string fileLine = end.substr(line, end.find('\n', line) - line);
    EXPECT_EQ(fileLine.find("runs=1000:1,"), std::string::npos) << fileLine;
    EXPECT_NE(fileLine.find(",1598:1"), std::string::npos) << fileLine;
}

// The files a defragmentation could not move, seen in the window: one with
// no free run long enough and one whose move the volume refuses, beside one
// that moves and one already in one piece.
class ErrorTabTest : public RunsProgramTest {
public:
    // The texts the window shows in one language.
    struct Texts {
        std::wstring language;  // the "/LANG:" value
        std::wstring errorHeader, noFreeRun, errorsTab;
        std::vector<std::wstring> counterLabels;  // fragmented, contiguous, defragmented, errors
        std::wstring summaryTitle;
    };

protected:
    void PrepareVolume(const std::string& caseName) {
        Prepare(caseName);
        MakeFile("data/a.bin", 16384);
        MakeFile("data/b.bin", 16000);
        MakeFile("data/big.bin", 3686400);
        MakeFile("data/refused.bin", 8000);
        Describe("volume letter=Z clusters=2000 clusterSize=4096",
                 {{"data\\a.bin", "size=16384 runs=100:2,110:2"},
                  {"data\\b.bin", "size=16000 runs=200:4"},
                  {"data\\big.bin", "size=3686400 runs=1000:500,1600:400"},
                  {"data\\refused.bin", "size=8000 runs=430:1,440:1"}},
                 "fault \"" + Win("data\\refused.bin") + "\" control=move call=1 status=0xC0000022\n");
    }

    void Start(const Texts& texts) {
        // Neither the disk check nor the cleanup is asked before a defragmentation.
        program_ = TestDriver::StartProgram(exe_, L"/QUICK /CHKDSK:0 /CLEAN:0 /LANG:" + texts.language + L" " +
                                                      TestDriver::HostPathToWindows((host_ / "data").string()));
        ASSERT_TRUE(program_);
        main_ = TestDriver::WaitForWindow(kDialogClass, kMainTitle, program_->ProcessId(), kWaitMs);
        ASSERT_NE(main_, nullptr);
        // Room for both columns of the error list in the pictures.
        SetWindowPos(main_, nullptr, 0, 0, Scaled(860), Scaled(540), SWP_NOZORDER | SWP_NOACTIVATE);
        items_ = TestDriver::ChildWindows(main_, WC_LISTVIEWW).front();
        for (HWND list : TestDriver::ChildWindows(main_, WC_LISTVIEWW)) {
            if (TestDriver::ListViewColumnHeader(list, 1) == texts.errorHeader) errors_ = list;
        }
        ASSERT_NE(errors_, nullptr) << "no list with the column " << Narrow(texts.errorHeader);
    }

    // The value beside a counter's label (the value's control follows the
    // four labels).
    std::wstring Counter(const std::wstring& label) const {
        for (HWND child : TestDriver::ChildWindows(main_)) {
            if (TestDriver::WindowText(child) == label) {
                return TestDriver::WindowText(GetDlgItem(GetParent(child), GetDlgCtrlID(child) + 4));
            }
        }
        return L"<no label " + label + L">";
    }

    std::vector<std::wstring> Counters(const Texts& texts) const {
        std::vector<std::wstring> values;
        for (const std::wstring& label : texts.counterLabels) values.push_back(Counter(label));
        return values;
    }

    // Rows of the error list as "path|text", in path order.
    std::vector<std::wstring> ErrorRows() const {
        std::vector<std::wstring> paths = TestDriver::ListViewColumnTexts(errors_, 0);
        std::vector<std::wstring> reasons = TestDriver::ListViewColumnTexts(errors_, 1);
        std::vector<std::wstring> rows;
        for (size_t i = 0; i < paths.size() && i < reasons.size(); ++i) rows.push_back(paths[i] + L"|" + reasons[i]);
        std::sort(rows.begin(), rows.end());
        return rows;
    }

    // The system's text for a refused move, as the list shows it: without
    // its line end.
    static std::wstring AccessDeniedText() {
        wchar_t buffer[512] = L"";
        DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                      ERROR_ACCESS_DENIED, MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT), buffer, 512,
                                      nullptr);
        std::wstring text(buffer, length);
        return text.size() >= 2 ? text.substr(0, text.size() - 2) : text;
    }

    static std::wstring Dpi() { return std::to_wstring(ScreenDpi()); }

    // Defragments, waits for the summary dialog and checks it against the
    // panel's counters and the error list.
    void DefragmentAndCheck(const Texts& texts) {
        TestDriver::SendCommand(main_, kCmdDefragAll);
        HWND summary = TestDriver::WaitForDialogOf(program_->ProcessId(), main_, kWaitMs);
        ASSERT_NE(summary, nullptr) << "no summary after the defragmentation";
        EXPECT_EQ(TestDriver::WindowText(summary), texts.summaryTitle);
        // Processed, fragmented, not fragmented, defragmented, errors.
        std::vector<std::wstring> dialog = TestDriver::ChildTexts(summary);
        ASSERT_GE(dialog.size(), 10u);
        EXPECT_EQ((std::vector<std::wstring>{dialog[3], dialog[5], dialog[7], dialog[9]}),
                  (std::vector<std::wstring>{L"0", L"1", L"1", L"2"}));
        EXPECT_EQ(Counters(texts), (std::vector<std::wstring>{dialog[3], dialog[5], dialog[7], dialog[9]}));
        // The status bars say the run has ended while the summary is open.
        const bool italian = texts.language == L"IT";
        std::vector<HWND> bars = TestDriver::ChildWindows(main_, STATUSCLASSNAMEW);
        ASSERT_EQ(bars.size(), 2u);
        const std::vector<std::wstring> upper = TestDriver::StatusBarTexts(bars[0]);
        ASSERT_EQ(upper.size(), 2u);
        EXPECT_EQ(upper[0], italian ? L"Oggetti totali in elenco: 1" : L"Items in list: 1");
        EXPECT_EQ(upper[1], (italian ? L"Totale file elaborati: " : L"Files processed: ") + dialog[1]);
        EXPECT_EQ(TestDriver::StatusBarTexts(bars[1]), (std::vector<std::wstring>{italian ? L"In attesa" : L"Ready"}));
        TestDriver::PressButton(summary, IDOK);
        TestDriver::PumpMessages(300);

        const std::wstring data = TestDriver::HostPathToWindows((host_ / "data").string());
        EXPECT_EQ(ErrorRows(), (std::vector<std::wstring>{data + L"\\big.bin|" + texts.noFreeRun,
                                                          data + L"\\refused.bin|" + AccessDeniedText()}));
        EXPECT_TRUE(IsWindowVisible(errors_)) << "the error tab stays chosen after the run";
        EXPECT_EQ(TestDriver::ListViewColumnHeader(errors_, 0), texts.language == L"IT" ? L"      Nome" : L"      Name");
    }

    void Close() {
        TestDriver::SendCommand(main_, kCmdExit);
        ASSERT_TRUE(program_->WaitForExit(kWaitMs));
        EXPECT_EQ(EndState().substr(EndState().size() - 9), "check ok\n");
    }

    std::unique_ptr<TestDriver::RunningProgram> program_;
    HWND main_ = nullptr;
    HWND items_ = nullptr;
    HWND errors_ = nullptr;
};

const ErrorTabTest::Texts kItalian = {
    L"IT", L"Errore", L"Non esistono cluster contigui sufficienti per deframmentare completamente il file.",
    L"Errori", {L"Frammentati:", L"Non frammentati:", L"Deframmentati:", L"Errori:"}, L"Riepilogo"};
const ErrorTabTest::Texts kEnglish = {
    L"EN", L"Error", L"There are not enough contiguous free clusters to defragment the whole file.",
    L"Errors", {L"Fragmented:", L"Not fragmented:", L"Defragmented:", L"Errors:"}, L"Summary"};

// In the built-in language: an analysis fills the fragmented-file tab and
// the counters; the defragmentation then works on the error tab, which ends
// with the two files and their reasons.
TEST_F(ErrorTabTest, TheErrorTabListsTheFilesThatCouldNotBeMoved) {
    PrepareVolume("error-tab");
    Start(kItalian);
    if (HasFatalFailure()) return;
    EXPECT_EQ(TestDriver::ListViewRowCount(errors_), 0);

    TestDriver::SendCommand(main_, kCmdAnalyzeAll);
    std::wstring state;
    for (int i = 0; i < 500 && state != L"Frammentata"; ++i) {
        TestDriver::PumpMessages(20);
        state = TestDriver::ListViewCellText(items_, 0, kStateColumn);
    }
    ASSERT_EQ(state, L"Frammentata");
    TestDriver::PumpMessages(300);
    HWND fragmented = TestDriver::FindListViewByHeader(main_, L"      Nome");
    EXPECT_TRUE(IsWindowVisible(fragmented));
    EXPECT_EQ(TestDriver::ListViewRowCount(fragmented), 3) << "a.bin, big.bin and refused.bin";
    EXPECT_EQ(Counters(kItalian), (std::vector<std::wstring>{L"3", L"1", L"0", L"0"}));
    TestDriver::PumpMessages(500);
    TestDriver::SaveWindowScreenshot(main_, L"bottom-panel-analysis-" + Dpi());

    DefragmentAndCheck(kItalian);
    EXPECT_FALSE(IsWindowVisible(fragmented));
    TestDriver::PumpMessages(500);
    TestDriver::SaveWindowScreenshot(main_, L"bottom-panel-errors-" + Dpi());

    // Back on the fragmented-file tab: the defragmentation emptied its list.
    TestDriver::SendCommand(main_, 5001);
    TestDriver::PumpMessages(300);
    EXPECT_FALSE(IsWindowVisible(errors_));
    EXPECT_EQ(TestDriver::WindowText(GetParent(fragmented)), L"Non sono presenti file frammentati.");

    // A failed file goes to the exclusions from its row, as the error list's
    // menu does it: the list clicked, then the command.
    TestDriver::SendCommand(main_, 5002);
    TestDriver::PumpMessages(300);
    const std::wstring failed = TestDriver::ListViewCellText(errors_, 0, 0);
    RECT header{};
    GetWindowRect(reinterpret_cast<HWND>(SendMessageW(errors_, LVM_GETHEADER, 0, 0)), &header);
    TestDriver::ClickAt(errors_, POINT{40, static_cast<LONG>(header.bottom - header.top) + 6});
    TestDriver::PumpMessages(300);
    EXPECT_EQ(TestDriver::ListViewSelectedRows(errors_), std::vector<int>{0});
    TestDriver::SendCommand(main_, 9066);
    HWND box = TestDriver::WaitForDialogOf(program_->ProcessId(), main_, kWaitMs);
    ASSERT_NE(box, nullptr) << "no word about the exclusion";
    EXPECT_EQ(TestDriver::MessageBoxMessage(box), L"Oggetto aggiunto all'elenco degli elementi da escludere.");
    const std::vector<TestDriver::DialogButton> buttons = TestDriver::DialogButtons(box);
    ASSERT_EQ(buttons.size(), 1u);
    TestDriver::PressButton(box, buttons[0].id);
    for (DWORD waited = 0; IsWindow(box) && waited < kWaitMs; waited += 50) TestDriver::PumpMessages(50);
    const std::string stored = ReadWhole(host_ / "program" / "Exclude.ini");
    std::wstring excluded;
    for (size_t at = 0; at + 1 < stored.size(); at += 2) {
        excluded += static_cast<wchar_t>(static_cast<unsigned char>(stored[at]) | (static_cast<unsigned char>(stored[at + 1]) << 8));
    }
    auto upper = [](std::wstring text) {
        for (wchar_t& c : text) c = static_cast<wchar_t>(towupper(c));
        return text;
    };
    EXPECT_NE(upper(excluded).find(upper(failed)), std::wstring::npos) << Narrow(failed);
    Close();
}

TEST_F(ErrorTabTest, TheErrorTabSpeaksTheLanguageOfTheLanguageFile) {
    PrepareVolume("error-tab-en");
    Start(kEnglish);
    if (HasFatalFailure()) return;
    DefragmentAndCheck(kEnglish);
    TestDriver::PumpMessages(500);
    TestDriver::SaveWindowScreenshot(main_, L"bottom-panel-errors-en-" + Dpi());
    Close();
}

}  // namespace
