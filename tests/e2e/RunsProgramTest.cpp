// Runs of the simulating program: the files are real files under the case
// folder, their clusters live on the described volume. The unattended runs
// are compared by their whole console output, exit code and the volume's end
// state; the disk check through the checker library's own calls. The steps'
// dialogs and what a cancelled step leaves are shown in-process.
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

class RunsProgramTest : public ProgramCase {
protected:
    // The simulating program, the fmifs double's log, a temporary folder of
    // the case's own and one fragmented file "data\a.bin" on the volume.
    void PrepareOneFile(const std::string& caseName) {
        Prepare("runs-" + caseName, ORDALIS_SIM_PROGRAM);
        Describe(kVolume, {{"data/a.bin", 16384, "100:2,110:2"}});
        EnvPath(L"ORDALIS_FMIFS_LOG", "chkdsk.log");
        Env(L"ORDALIS_FMIFS_SCRIPT", L"Z:result=ok");
        fs::create_directories(host_ / "temp");
        EnvPath(L"TMP", "temp");
        EnvPath(L"TEMP", "temp");
    }
    std::string ChkdskLog() const { return ReadWhole(host_ / "chkdsk.log"); }
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
        // A disk check that finds errors ends the run before any move.
        {"disk check with errors",
         [this] {
             PrepareOneFile("chkdsk-damaged");
             Env(L"ORDALIS_FMIFS_SCRIPT", L"Z:text=Checking files|Found a problem;result=fail");
             return L"/DEFRAG /CHKDSK:1 " + Win("data");
         },
         [] { return Summary(0, 0, 0, 0, 0) + kNoneLeftOut; }, 2,
         [this] {
             EXPECT_EQ(FileLine(EndState(), Win("data/a.bin")), FileLine(description_, Win("data/a.bin")));
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
             EXPECT_NE(FileLine(EndState(), Win("data/a.bin")).find("runs=0:4"), std::string::npos);
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
         [&longFolder] {
             return "Analyzed folder : " + longFolder +
                    "\r\nFolder is Not Fragmented\r\n\r\n\r\nNumber of items processed : 1 \r\n" + kNoneLeftOut;
         },
         0, [] {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const std::wstring arguments = row.prepare();
        ASSERT_TRUE(StartOnly(L"/NOGUI " + arguments) && program_->WaitForExit(kWaitMs));
        EXPECT_EQ(program_->Output(), kBanner + row.output());
        EXPECT_EQ(program_->ExitCode(), row.code);
        row.check();
        if (fs::exists(host_ / "end.txt")) {
            EXPECT_TRUE(EndState().ends_with("check ok\n")) << EndState();
        }
        TearDown();
    }
}

}  // namespace
