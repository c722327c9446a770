// Runs of the simulating program: the files are real files under the case
// folder, their clusters live on the described volume. The unattended runs
// are compared by their whole console output, exit code and the volume's end
// state; the steps before a defragmentation and the results are seen in the
// real dialogs and the window.
#include "ProgramCase.h"

#include <functional>

namespace {

using namespace e2e;

const char* kVolume = "volume letter=Z clusters=4000 clusterSize=4096";
const std::string kNoneLeftOut = "Number of files left out by the include and exclude masks and the size limit : 0\r\n\r\n";

std::string Summary(int processed, int fragmented, int contiguous, int defragmented, int errors) {
    return "Summary:\r\n\r\nNumber of processed files : " + std::to_string(processed) +
           "\r\nNumber of fragmented files : " + std::to_string(fragmented) +
           "\r\nNumber of already contiguous files : " + std::to_string(contiguous) +
           "\r\nNumber of defragmented files : " + std::to_string(defragmented) +
           "\r\nNumber of files that were not defragmented due to processing errors : " + std::to_string(errors) +
           "\r\n\r\n";
}

std::string AnalysedFolder(const std::string& path, const char* outcome, int items) {
    return "Analyzed folder : " + path + "\r\nFolder is " + outcome + "\r\n\r\n\r\nNumber of items processed : " +
           std::to_string(items) + " \r\n";
}

class RunsProgramTest : public ProgramCase {
protected:
    // The simulating program, the fmifs double's log, a temporary folder of
    // the case's own and one fragmented file "data\a.bin" on the volume.
    void PrepareOneFile(const std::string& caseName, const std::wstring& settings = L"") {
        Prepare("runs-" + caseName, ORDALIS_SIM_PROGRAM, settings);
        MakeFile("data/a.bin", 16384);
        Describe(kVolume, {{"data/a.bin", "size=16384 runs=100:2,110:2"}});
        EnvPath(L"ORDALIS_FMIFS_LOG", "chkdsk.log");
        Env(L"ORDALIS_FMIFS_SCRIPT", L"Z:result=ok");
        fs::create_directories(host_ / "temp");
        EnvPath(L"TMP", "temp");
        EnvPath(L"TEMP", "temp");
    }
    bool Moved() const { return FileLine(EndState(), Win("data/a.bin")).find("runs=0:4") != std::string::npos; }
    bool Untouched() const { return FileLine(EndState(), Win("data/a.bin")) == FileLine(description_, Win("data/a.bin")); }
    std::string ChkdskLog() const { return ReadWhole(host_ / "chkdsk.log"); }

    // In the built-in language, whatever the machine's locale.
    void StartIt(const std::wstring& arguments) { Start(L"/LANG:IT " + arguments); }
    // A visible dialog of the program other than the main window and `dialog`.
    HWND DialogOtherThan(HWND dialog) {
        for (int i = 0; i < 200; ++i) {
            for (HWND window = nullptr; (window = FindWindowExW(nullptr, window, kDialogClass, nullptr));) {
                if (window != dialog && window != main_ && IsWindowVisible(window) &&
                    TestDriver::ProcessIdOf(window) == program_->ProcessId()) {
                    return window;
                }
            }
            TestDriver::PumpMessages(100);
        }
        return nullptr;
    }
    // Answers the summary that ends a defragmentation.
    void AcknowledgeSummary() {
        HWND summary = WaitForTitle(L"Riepilogo");
        ASSERT_NE(summary, nullptr) << "no summary";
        TestDriver::PressButton(summary, IDOK);
        WaitGone(summary);
    }
};

// One unattended start per row: what it prints, byte for byte, the exit
// code, and what it leaves on the volume.
TEST_F(RunsProgramTest, UnattendedRunsPrintTheirReportAndEndWithTheirCode) {
    struct Row {
        const char* name;
        std::function<std::wstring()> prepare;  // the arguments after "/NOGUI"
        std::function<std::string()> output;
        DWORD code;
        std::function<void()> check;
    };
    std::string longFolder;
    const Row rows[] = {
        // Moved, already contiguous, no free run long enough, a refused
        // extent and a file that cannot be opened, in one folder; the
        // analysis first, first fit for predictable places.
        {"both runs with failures",
         [this] {
             Prepare("runs-both", ORDALIS_SIM_PROGRAM);
             for (auto [name, size] : {std::pair{"a", 16384}, {"b", 16000}, {"big", 3686400}, {"refused", 8000},
                                       {"locked", 8192}}) {
                 MakeFile(std::string("data/") + name + ".bin", size);
             }
             Describe("volume letter=Z clusters=2000 clusterSize=4096",
                      {{"data/a.bin", "size=16384 runs=100:2,110:2"},
                       {"data/b.bin", "size=16000 runs=200:4"},
                       {"data/big.bin", "size=3686400 runs=1000:500,1600:400"},
                       {"data/refused.bin", "size=8000 runs=430:1,440:1"},
                       {"data/locked.bin", "size=8192 runs=450:1,460:1"}},
                      "fault \"" + WinText("data/refused.bin") + "\" control=move call=1 status=0xC0000022\n" +
                          "fault \"" + WinText("data/locked.bin") + "\" control=open status=0xC0000043\n");
             return L"/ANALYZE /DEFRAG /QUICK " + Win("data");
         },
         [this] {
             // The error texts as Wine's message table and the English file word them.
             const std::string locked = "Failed file : " + WinText("data/locked.bin") + " : Sharing violation.\r\n";
             return AnalysedFolder(WinText("data"), "Fragmented", 1) + locked + kNoneLeftOut + Summary(5, 0, 1, 1, 3) +
                    "Failed file : " + WinText("data/big.bin") +
                    " : There are not enough contiguous free clusters to defragment the whole file.\r\n" + locked +
                    "Failed file : " + WinText("data/refused.bin") + " : Access denied.\r\n" + kNoneLeftOut;
         },
         4,
         [this] {
             EXPECT_NE(FileLine(EndState(), Win("data/a.bin")).find("runs=0:4"), std::string::npos);
             for (const char* kept : {"data/big.bin", "data/refused.bin"}) {
                 EXPECT_EQ(FileLine(EndState(), Win(kept)), FileLine(description_, Win(kept))) << kept;
             }
         }},
        // A disk check that finds errors ends the run before any move.
        {"disk check with errors",
         [this] {
             PrepareOneFile("chkdsk-damaged");
             Env(L"ORDALIS_FMIFS_SCRIPT", L"Z:text=Checking files|Found a problem;result=fail");
             return L"/DEFRAG /CHKDSK:1 " + Win("data");
         },
         [] { return Summary(0, 0, 0, 0, 0) + kNoneLeftOut; }, 2,
         [this] {
             EXPECT_TRUE(Untouched());
             EXPECT_EQ(ChkdskLog().rfind("Chkdsk root=Z:\\ fs=", 0), 0u) << ChkdskLog();
             EXPECT_NE(ChkdskLog().find(" fix=0 verbose=0 dirtyonly=0 scan=0 reserved=0,0 callback=1\r\n"),
                       std::string::npos)
                 << ChkdskLog();
         }},
        // A clean check goes on; the cleanup empties the temporary folder,
        // read-only files included, and keeps the folder.
        {"clean disk check and cleanup",
         [this] {
             PrepareOneFile("chkdsk-clean");
             fs::create_directories(host_ / "temp" / "sub" / "deeper");
             std::ofstream(host_ / "temp" / "a.tmp") << "a";
             std::ofstream(host_ / "temp" / "sub" / "deeper" / "b.tmp") << "b";
             std::ofstream(host_ / "temp" / "ro.tmp") << "r";
             fs::permissions(host_ / "temp" / "ro.tmp",
                             fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write,
                             fs::perm_options::remove);
             return L"/DEFRAG /QUICK /CHKDSK:1 /CLEAN:1 " + Win("data");
         },
         [] { return Summary(1, 0, 0, 1, 0) + kNoneLeftOut; }, 0,
         [this] {
             EXPECT_TRUE(Moved()) << EndState();
             EXPECT_NE(ChkdskLog().find("Chkdsk root=Z:\\"), std::string::npos);
             EXPECT_TRUE(fs::exists(host_ / "temp"));
             EXPECT_TRUE(fs::is_empty(host_ / "temp"));
         }},
        {"missing profile",
         [this] {
             PrepareOneFile("missing-profile");
             return std::wstring(L"/LANG:IT /PROF:Z:\\no\\such\\profile.olp");
         },
         [] { return std::string("The profile specified on the command line does not exist.\r\n"); }, 1, [] {}},
        // The console takes each item's lines whole, however long its path.
        // The folder comes from a profile, whose lines are far longer than a
        // command line. It lies outside the case folder, which is emptied
        // with calls that stop at the ordinary path limit; it is made level
        // by level through the long prefix, as the program reaches it.
        {"a folder path near 2,048 characters",
         [this, &longFolder] {
             PrepareOneFile("long-path");
             longFolder = Narrow(TestDriver::HostPathToWindows(ORDALIS_E2E_WORK_DIR)) + "\\long-path";
             for (;;) {
                 CreateDirectoryW(Widen("\\\\?\\" + longFolder).c_str(), nullptr);
                 if (longFolder.size() >= 2030) break;
                 longFolder += "\\" + std::string(std::min<size_t>(200, 2030 - longFolder.size()), 'n');
             }
             std::ofstream(host_ / "long.olp", std::ios::binary) << Utf16FileLines({L"KV70RX", L">" + Widen(longFolder)});
             return L"/ANALYZE /PROF:" + Win("long.olp");
         },
         [&longFolder] { return AnalysedFolder(longFolder, "Not Fragmented", 1) + kNoneLeftOut; }, 0, [] {}},
        // A link inside the tree back to its own folder (made when the tests
        // are configured: a program under Wine cannot make one) is not
        // followed round.
        {"a link back up the tree",
         [this] {
             Prepare("runs-loop", ORDALIS_SIM_PROGRAM);
             host_ = fs::path(ORDALIS_E2E_WORK_DIR) / "link-fixture";
             MakeFile("data/a.bin", 8192);
             Describe(kVolume, {{"data/a.bin", "size=8192 runs=100:1,110:1"}});
             return L"/ANALYZE " + Win("data");
         },
         [this] { return AnalysedFolder(WinText("data"), "Fragmented", 1) + kNoneLeftOut; }, 0,
         [this] { EXPECT_EQ(EndState().find("\\loop\\"), std::string::npos) << EndState(); }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const std::wstring arguments = row.prepare();
        TestDriver::RunResult run = Run(L"/NOGUI " + arguments);
        ASSERT_TRUE(run.finished);
        EXPECT_EQ(run.output, kBanner + row.output()) << Printable(run.output);
        EXPECT_EQ(run.exitCode, row.code);
        row.check();
        if (fs::exists(host_ / "end.txt")) EXPECT_EQ(Verdict(), "check ok\n");
        TearDown();
        environment_.clear();
    }
}

// "/SHOWREPORT" shows the summary after the defragmentation and the program
// ends when it is closed; "/SHUTDOWN" then powers off (into a log here).
TEST_F(RunsProgramTest, TheSummaryAndThePowerOffFollowAFinishedUnattendedDefragmentation) {
    PrepareOneFile("follow-ups");
    MakeFile("data/b.bin", 4096);
    Describe(kVolume, {{"data/a.bin", "size=16384 runs=100:2,110:2"}, {"data/b.bin", "size=4096 runs=200:1"}});
    EnvPath(L"ORDALIS_POWEROFF_LOG", "poweroff.log");
    program_ = TestDriver::StartProgram(exe_, L"/NOGUI /DEFRAG /SHOWREPORT /SHUTDOWN /LANG:IT " + Win("data"));
    ASSERT_TRUE(program_);
    HWND summary = WaitForTitle(L"Riepilogo");
    ASSERT_NE(summary, nullptr);
    EXPECT_FALSE(fs::exists(host_ / "poweroff.log"));  // nothing is powered off while the summary is open
    EXPECT_EQ(TestDriver::ChildTexts(summary),
              (std::vector<std::wstring>{L"File elaborati:", L"2", L"File frammentati:", L"0", L"File non frammentati:",
                                         L"1", L"File deframmentati:", L"1", L"Errori:", L"0", L"OK"}));
    TestDriver::PressButton(summary, IDOK);
    ASSERT_TRUE(program_->WaitForExit(kWaitMs));
    EXPECT_EQ(program_->ExitCode(), 0u);
    EXPECT_EQ(ReadWhole(host_ / "poweroff.log"), "power off 13 ffffffff\r\n");
    EXPECT_EQ(Verdict(), "check ok\n");
}

// The files a defragmentation could not move, seen in the window: one with
// no free run long enough and one whose move the volume refuses, beside one
// that moves and one already in one piece. An analysis fills the
// fragmented-file tab and the counters; the defragmentation then works on
// the error tab, whose counters, summary and status panes agree.
TEST_F(RunsProgramTest, TheErrorTabListsTheFilesThatCouldNotBeMoved) {
    Prepare("runs-error-tab", ORDALIS_SIM_PROGRAM);
    MakeFile("data/a.bin", 16384);
    MakeFile("data/b.bin", 16000);
    MakeFile("data/big.bin", 3686400);
    MakeFile("data/refused.bin", 8000);
    Describe("volume letter=Z clusters=2000 clusterSize=4096",
             {{"data/a.bin", "size=16384 runs=100:2,110:2"},
              {"data/b.bin", "size=16000 runs=200:4"},
              {"data/big.bin", "size=3686400 runs=1000:500,1600:400"},
              {"data/refused.bin", "size=8000 runs=430:1,440:1"}},
             "fault \"" + WinText("data/refused.bin") + "\" control=move call=1 status=0xC0000022\n");
    // Neither the disk check nor the cleanup is asked before a defragmentation.
    StartIt(L"/QUICK /CHKDSK:0 /CLEAN:0 " + Win("data"));
    // Room for both columns of the error list in the pictures.
    SetWindowPos(main_, nullptr, 0, 0, Scaled(860), Scaled(540), SWP_NOZORDER | SWP_NOACTIVATE);
    HWND errors = nullptr;
    for (HWND list : TestDriver::ChildWindows(main_, WC_LISTVIEWW)) {
        if (TestDriver::ListViewColumnHeader(list, 1) == L"Errore") errors = list;
    }
    ASSERT_NE(errors, nullptr);
    HWND fragmented = TestDriver::FindListViewByHeader(main_, L"      Nome");
    ASSERT_NE(fragmented, nullptr);
    // The value beside each counter's label (the value's control follows the four labels).
    auto counters = [this] {
        std::vector<std::wstring> values;
        for (const wchar_t* label : {L"Frammentati:", L"Non frammentati:", L"Deframmentati:", L"Errori:"}) {
            std::wstring value = L"<no label>";
            for (HWND child : TestDriver::ChildWindows(main_)) {
                if (TestDriver::WindowText(child) == label) {
                    value = TestDriver::WindowText(GetDlgItem(GetParent(child), GetDlgCtrlID(child) + 4));
                }
            }
            values.push_back(value);
        }
        return values;
    };

    TestDriver::SendCommand(main_, kCmdAnalyzeAll);
    ASSERT_EQ(WaitForCell(items_, 0, kStateColumn, L"Frammentata"), L"Frammentata");
    TestDriver::PumpMessages(300);
    EXPECT_TRUE(IsWindowVisible(fragmented));
    EXPECT_EQ(TestDriver::ListViewRowCount(fragmented), 3) << "a.bin, big.bin and refused.bin";
    EXPECT_EQ(counters(), (std::vector<std::wstring>{L"3", L"1", L"0", L"0"}));
    Picture(L"bottom-panel-analysis");

    TestDriver::SendCommand(main_, kCmdDefragAll);
    HWND summary = WaitForDialog();
    ASSERT_NE(summary, nullptr) << "no summary after the defragmentation";
    EXPECT_EQ(TestDriver::WindowText(summary), L"Riepilogo");
    // Processed, fragmented, not fragmented, defragmented, errors.
    const std::vector<std::wstring> dialog = TestDriver::ChildTexts(summary);
    ASSERT_GE(dialog.size(), 10u);
    EXPECT_EQ((std::vector<std::wstring>{dialog[3], dialog[5], dialog[7], dialog[9]}),
              (std::vector<std::wstring>{L"0", L"1", L"1", L"2"}));
    EXPECT_EQ(counters(), (std::vector<std::wstring>{dialog[3], dialog[5], dialog[7], dialog[9]}));
    // The status panes say the run has ended while the summary is open.
    EXPECT_EQ(StatusTexts(main_), (std::vector<std::vector<std::wstring>>{
                                      {L"Oggetti totali in elenco: 1", L"Totale file elaborati: " + dialog[1]},
                                      {L"In attesa"}}));
    TestDriver::PressButton(summary, IDOK);
    TestDriver::PumpMessages(300);
    std::vector<std::wstring> rows;
    for (int row = 0; row < TestDriver::ListViewRowCount(errors); ++row) {
        rows.push_back(TestDriver::ListViewCellText(errors, row, 0) + L"|" +
                       TestDriver::ListViewCellText(errors, row, 1));
    }
    std::sort(rows.begin(), rows.end());
    // The system's text for a refused move, without its line end.
    wchar_t denied[512] = L"";
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                        ERROR_ACCESS_DENIED, MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT), denied, 512,
                                        nullptr);
    EXPECT_EQ(rows, (std::vector<std::wstring>{
                        Win("data/big.bin") +
                            L"|Non esistono cluster contigui sufficienti per deframmentare completamente il file.",
                        Win("data/refused.bin") + L"|" + std::wstring(denied, length >= 2 ? length - 2 : length)}));
    EXPECT_TRUE(IsWindowVisible(errors)) << "the error tab stays chosen after the run";
    EXPECT_FALSE(IsWindowVisible(fragmented));
    Picture(L"bottom-panel-errors");

    // Back on the fragmented-file tab: the defragmentation emptied its list.
    TestDriver::SendCommand(main_, kCmdTabFragmented);
    TestDriver::PumpMessages(300);
    EXPECT_FALSE(IsWindowVisible(errors));
    EXPECT_EQ(TestDriver::WindowText(GetParent(fragmented)), L"Non sono presenti file frammentati.");

    // A failed file goes to the exclusions from its row, as the error list's
    // menu does it: the list clicked, then the command.
    TestDriver::SendCommand(main_, kCmdTabErrors);
    TestDriver::PumpMessages(300);
    const std::wstring failed = TestDriver::ListViewCellText(errors, 0, 0);
    RECT header{};
    GetWindowRect(reinterpret_cast<HWND>(SendMessageW(errors, LVM_GETHEADER, 0, 0)), &header);
    TestDriver::ClickAt(errors, POINT{40, static_cast<LONG>(header.bottom - header.top) + 6});
    TestDriver::PumpMessages(300);
    EXPECT_EQ(TestDriver::ListViewSelectedRows(errors), std::vector<int>{0});
    TestDriver::SendCommand(main_, kCmdExcludeSelected);
    HWND box = WaitForDialog();
    ASSERT_NE(box, nullptr) << "no word about the exclusion";
    EXPECT_EQ(TestDriver::MessageBoxMessage(box), L"Oggetto aggiunto all'elenco degli elementi da escludere.");
    const std::vector<TestDriver::DialogButton> buttons = TestDriver::DialogButtons(box);
    ASSERT_EQ(buttons.size(), 1u);
    TestDriver::PressButton(box, buttons[0].id);
    WaitGone(box);
    std::string excluded = ReadUtf16(host_ / "program" / "Exclude.ini");
    std::string wanted = Narrow(failed);
    for (std::string* text : {&excluded, &wanted}) std::transform(text->begin(), text->end(), text->begin(), ::toupper);
    EXPECT_NE(excluded.find(wanted), std::string::npos) << wanted;
    EXPECT_EQ(Close(), 0u);
    EXPECT_EQ(Verdict(), "check ok\n");
}

// Skipping off and the warning on: the warning about a solid-state drive,
// with its two buttons; "Non deframmentare" ends the run.
TEST_F(RunsProgramTest, TheSolidStateWarningCanEndTheRun) {
    PrepareOneFile("ssd-warn", L"SKIPSSD=0\r\nSkipSSDWarning=0\r\nSCANDISK=1\r\nCLNUP=1");
    Env(L"ORDALIS_SIM_DRIVES", L"Z:smart=Samsung SSD 850 EVO");
    StartIt(L"/DEFRAG /QUICK " + Win("data"));
    HWND warning = WaitForTitle(L"Disco SSD");
    ASSERT_NE(warning, nullptr);
    Picture(L"e2e_prerun_ssd_warning", warning);
    constexpr int kKeepOff = 100, kGoOn = 200;
    EXPECT_EQ(TestDriver::WindowText(GetDlgItem(warning, kKeepOff)), L"&Non deframmentare");
    EXPECT_EQ(TestDriver::WindowText(GetDlgItem(warning, kGoOn)), L"&Deframmenta comunque");
    EXPECT_NE(TestDriver::MessageBoxMessage(warning).find(L"Rilevato disco SSD"), std::wstring::npos);
    RECT frame{};
    GetWindowRect(warning, &frame);
    EXPECT_GE(frame.right - frame.left, 480);
    TestDriver::PressButton(warning, kKeepOff);
    TestDriver::PumpMessages(500);
    EXPECT_EQ(Close(), 0u);
    EXPECT_TRUE(Untouched());
}

// Ask mode: the dialog waits; the check shows the checker's lines; errors
// keep it open and the question that follows can stop the run.
TEST_F(RunsProgramTest, TheDiskCheckDialogWaitsShowsTheCheckerAndItsErrorsStopTheRun) {
    PrepareOneFile("chkdsk-ask", L"CLNUP=1");
    Env(L"ORDALIS_FMIFS_SCRIPT", L"Z:progress=30,100;text=Phase one|Bad index found;result=fail");
    StartIt(L"/DEFRAG /QUICK /CHKDSK:2 " + Win("data"));
    HWND dialog = WaitForTitle(L"Controllo disco");
    ASSERT_NE(dialog, nullptr);
    TestDriver::PumpMessages(1000);
    EXPECT_FALSE(fs::exists(host_ / "chkdsk.log"));  // waiting for the user
    HWND list = GetDlgItem(dialog, kDiskCheckDrives);
    ASSERT_EQ(TestDriver::ListViewRowCount(list), 1);
    EXPECT_EQ(TestDriver::ListViewColumnHeader(list, 5), L"% spazio libero");
    EXPECT_NE(TestDriver::ListViewCellText(list, 0, 0).find(L"(Z:)"), std::wstring::npos);
    EXPECT_EQ(TestDriver::WindowText(GetDlgItem(dialog, kDiskCheckOutput)), L"Il disco non è stato ancora analizzato.");
    Picture(L"e2e_prerun_diskcheck_waiting", dialog);

    TestDriver::PressButton(dialog, kDiskCheckStart);
    // Errors keep the dialog open, relabelled.
    for (int i = 0; i < 100 && TestDriver::WindowText(GetDlgItem(dialog, IDCANCEL)) != L"C&hiudi"; ++i) {
        TestDriver::PumpMessages(100);
    }
    EXPECT_EQ(TestDriver::WindowText(GetDlgItem(dialog, IDCANCEL)), L"C&hiudi");
    EXPECT_EQ(TestDriver::WindowText(GetDlgItem(dialog, 1001)), L"Errore disco");
    EXPECT_EQ(TestDriver::WindowText(GetDlgItem(dialog, kDiskCheckOutput)), L"Phase one\r\nBad index found\r\n");
    EXPECT_EQ(TestDriver::ListViewCellText(list, 0, 1), L"Completato");
    Picture(L"e2e_prerun_diskcheck_errors", dialog);
    TestDriver::PressButton(dialog, IDCANCEL);
    // The question after errors: "Esci" stops the run.
    HWND question = DialogOtherThan(dialog);
    ASSERT_NE(question, nullptr);
    EXPECT_NE(TestDriver::MessageBoxMessage(question).find(L"controllo di coerenza"), std::wstring::npos);
    Picture(L"e2e_prerun_diskcheck_question", question);
    TestDriver::PressButton(question, 11);
    TestDriver::PumpMessages(500);
    EXPECT_EQ(Close(), 2u) << "the disk's errors are the exit code";
    EXPECT_TRUE(Untouched());
}

// A checker that does not end holds nothing: "Annulla" stays available
// while it works, ends the dialog at once and the run does not start.
TEST_F(RunsProgramTest, ACheckThatDoesNotEndIsCancelledAndTheRunDoesNotStart) {
    PrepareOneFile("chkdsk-cancel", L"CLNUP=0");
    Env(L"ORDALIS_FMIFS_SCRIPT", L"Z:delay=60000;progress=10");
    StartIt(L"/DEFRAG /QUICK /CHKDSK:2 " + Win("data"));
    HWND dialog = WaitForTitle(L"Controllo disco");
    ASSERT_NE(dialog, nullptr);
    TestDriver::PressButton(dialog, kDiskCheckStart);
    ASSERT_EQ(WaitForCell(GetDlgItem(dialog, kDiskCheckDrives), 0, 1, L"In analisi...", 10000), L"In analisi...");
    EXPECT_TRUE(IsWindowEnabled(GetDlgItem(dialog, IDCANCEL)));
    TestDriver::PressButton(dialog, IDCANCEL);
    for (int i = 0; i < 50 && IsWindow(dialog); ++i) TestDriver::PumpMessages(100);
    EXPECT_FALSE(IsWindow(dialog)) << "the dialog still waits for the checker";
    TestDriver::PumpMessages(500);
    EXPECT_EQ(Close(), 0u);
    EXPECT_TRUE(Untouched());
}

// "Non controllare i dischi in futuro" moves the choice at once; "Annulla"
// before a check restores it, "Non controllare" keeps it and goes on.
TEST_F(RunsProgramTest, NeverCheckingAgainIsKeptOnlyWhenTheCheckIsSkipped) {
    for (int button : {IDCANCEL, kDiskCheckSkip}) {
        SCOPED_TRACE(button);
        PrepareOneFile("chkdsk-never", L"SCANDISK=2\r\nCLNUP=1");
        StartIt(L"/DEFRAG /QUICK " + Win("data"));
        HWND dialog = WaitForTitle(L"Controllo disco");
        ASSERT_NE(dialog, nullptr);
        PostMessageW(GetDlgItem(dialog, kDiskCheckNever), BM_CLICK, 0, 0);
        TestDriver::PumpMessages(300);
        TestDriver::PressButton(dialog, button);
        if (button == kDiskCheckSkip) AcknowledgeSummary();
        TestDriver::PumpMessages(300);
        EXPECT_EQ(Close(), 0u);
        const std::string settings = ReadUtf16(host_ / "program" / "ordalis.ini");
        EXPECT_NE(settings.find(button == IDCANCEL ? "SCANDISK=2" : "SCANDISK=1"), std::string::npos) << settings;
        EXPECT_EQ(Moved(), button == kDiskCheckSkip);
        TearDown();
        environment_.clear();
    }
}

// The cleanup dialog waits; the external program's fields open up, and with
// no program named it complains and stays; skipping goes on with the run
// and "never again" is kept.
TEST_F(RunsProgramTest, TheCleanupDialogWaitsAndItsChoicesAreKept) {
    PrepareOneFile("clean-dialog", L"SCANDISK=1\r\nCLNUP=2");
    std::ofstream(host_ / "temp" / "a.tmp") << "a";
    StartIt(L"/DEFRAG /QUICK " + Win("data"));
    HWND dialog = WaitForTitle(L"Eliminazione file temporanei");
    ASSERT_NE(dialog, nullptr);
    TestDriver::PumpMessages(500);
    EXPECT_FALSE(IsWindowEnabled(GetDlgItem(dialog, kCleanupPath)));
    Picture(L"e2e_prerun_cleanup_waiting", dialog);
    PostMessageW(GetDlgItem(dialog, kCleanupExternal), BM_CLICK, 0, 0);
    TestDriver::PumpMessages(300);
    EXPECT_TRUE(IsWindowEnabled(GetDlgItem(dialog, kCleanupPath)));
    PostMessageW(GetDlgItem(dialog, kCleanupNever), BM_CLICK, 0, 0);
    TestDriver::PumpMessages(300);
    TestDriver::PressButton(dialog, kCleanupStart);
    HWND complaint = DialogOtherThan(dialog);
    ASSERT_NE(complaint, nullptr);
    EXPECT_EQ(TestDriver::MessageBoxMessage(complaint), L"Nessun programma esterno specificato.");
    TestDriver::PressButton(complaint, IDOK);
    TestDriver::PumpMessages(300);
    EXPECT_TRUE(IsWindow(dialog));
    TestDriver::PressButton(dialog, kCleanupSkip);
    AcknowledgeSummary();
    EXPECT_EQ(Close(), 0u);
    EXPECT_TRUE(fs::exists(host_ / "temp" / "a.tmp"));  // not cleaned by choice
    EXPECT_TRUE(Moved());
    EXPECT_NE(ReadUtf16(host_ / "program" / "ordalis.ini").find("CLNUP=1"), std::string::npos);  // never again, kept
}

}  // namespace
