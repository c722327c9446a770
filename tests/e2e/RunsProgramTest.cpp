// Runs of the simulating program: the files are real files under the case
// folder, their clusters live on the described volume. The unattended runs
// are compared by their whole console output, exit code and the volume's end
// state; the disk check and the cleanup are seen in their real dialogs, the
// disk check through the checker library's own calls.
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
        Describe(kVolume, {{"data/a.bin", 16384, "100:2,110:2"}});
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
    // A defragmentation started with the disk check to be asked and the
    // checker scripted; the disk-check dialog, waiting.
    HWND StartAtTheDiskCheck(const std::string& caseName, const std::wstring& settings, const wchar_t* script) {
        PrepareOneFile(caseName, settings);
        Env(L"ORDALIS_FMIFS_SCRIPT", script);
        StartIt(L"/DEFRAG /QUICK /CHKDSK:2 " + Win("data"));
        return main_ ? WaitForTitle(L"Controllo disco") : nullptr;
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
             Describe("volume letter=Z clusters=2000 clusterSize=4096",
                      {{"data/a.bin", 16384, "100:2,110:2"},
                       {"data/b.bin", 16000, "200:4"},
                       {"data/big.bin", 3686400, "1000:500,1600:400"},
                       {"data/refused.bin", 8000, "430:1,440:1"},
                       {"data/locked.bin", 8192, "450:1,460:1"}},
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
        // read-only files included, and keeps the folder; the machine is
        // powered off after the run (into a log here).
        {"clean disk check, cleanup and power-off",
         [this] {
             PrepareOneFile("chkdsk-clean");
             EnvPath(L"ORDALIS_POWEROFF_LOG", "poweroff.log");
             fs::create_directories(host_ / "temp" / "sub" / "deeper");
             std::ofstream(host_ / "temp" / "sub" / "deeper" / "b.tmp") << "b";
             std::ofstream(host_ / "temp" / "ro.tmp") << "r";
             fs::permissions(host_ / "temp" / "ro.tmp",
                             fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write,
                             fs::perm_options::remove);
             return L"/DEFRAG /QUICK /CHKDSK:1 /CLEAN:1 /SHUTDOWN " + Win("data");
         },
         [] { return Summary(1, 0, 0, 1, 0) + kNoneLeftOut; }, 0,
         [this] {
             EXPECT_TRUE(Moved()) << EndState();
             EXPECT_NE(ChkdskLog().find("Chkdsk root=Z:\\"), std::string::npos);
             EXPECT_TRUE(fs::exists(host_ / "temp"));
             EXPECT_TRUE(fs::is_empty(host_ / "temp"));
             EXPECT_EQ(ReadWhole(host_ / "poweroff.log"), "power off 13 ffffffff\r\n");
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
             Describe(kVolume, {{"data/a.bin", 8192, "100:1,110:1"}});
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
        if (fs::exists(host_ / "end.txt")) {
            EXPECT_EQ(Verdict(), "check ok\n");
        }
        TearDown();
    }
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
    HWND dialog =
        StartAtTheDiskCheck("chkdsk-ask", L"CLNUP=1", L"Z:progress=30,100;text=Phase one|Bad index found;result=fail");
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
    HWND dialog = StartAtTheDiskCheck("chkdsk-cancel", L"CLNUP=0", L"Z:delay=60000;progress=10");
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
