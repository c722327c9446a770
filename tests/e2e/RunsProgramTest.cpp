// Runs of the simulating program: the files are real files under the case
// folder, their clusters live on the described volume. The unattended runs
// are compared by their whole console output, exit code and the volume's end
// state; the disk check through the checker library's own calls. The steps'
// dialogs themselves are shown in-process; here only a cancelled check
// keeping the window's run from starting.
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

// The disk check asked for and cancelled while the checker works: the
// window's defragmentation never starts.
TEST_F(RunsProgramTest, ACancelledDiskCheckKeepsTheRunFromStarting) {
    PrepareOneFile("chkdsk-cancel", L"CLNUP=0");
    Env(L"ORDALIS_FMIFS_SCRIPT", L"Z:delay=60000;progress=10");
    StartIt(L"/DEFRAG /QUICK /CHKDSK:2 " + Win("data"));
    HWND dialog = WaitForTitle(L"Controllo disco");
    ASSERT_NE(dialog, nullptr);
    TestDriver::PressButton(dialog, kDiskCheckStart);
    ASSERT_EQ(WaitForCell(GetDlgItem(dialog, kDiskCheckDrives), 0, 1, L"In analisi...", 10000), L"In analisi...");
    TestDriver::PressButton(dialog, IDCANCEL);
    WaitGone(dialog);
    TestDriver::PumpMessages(500);
    EXPECT_EQ(Close(), 0u);
    EXPECT_TRUE(Untouched());
}

}  // namespace
