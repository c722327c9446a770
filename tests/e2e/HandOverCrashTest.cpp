// A second start of the program with a path while the first one runs: the
// first takes the path into its list when it is idle and says why it does
// not while a run goes on; the second start ends with 0 either way.
//
// The crash report, made to happen in the simulating program at a chosen
// TAG: below neutral the program ends without a word and with the TAG as exit
// code; from neutral on the report shows first, with its rich text as the
// box received it; after a fault while solid-state drives are identified
// the warning about that identification follows; a worker that runs out of
// memory reaches the same report.
#include "ProgramCase.h"
#include "res/CrashReportIds.h"

#include <regex>

namespace {

using namespace e2e;

using HandOverTest = ProgramCase;

TEST_F(HandOverTest, AnIdleFirstInstanceAddsThePathsAndDuringARunSaysWhyItDoesNot) {
    Prepare("handover", ORDALIS_PROGRAM);
    const std::wstring many = TestDriver::HostPathToWindows(ORDALIS_E2E_MANY_FILES);
    Start(L"/LANG:IT \"" + many + L"\"");

    // The second start runs in another current folder and names a path
    // relative to it: the first instance, whose folder differs, must receive
    // it whole.
    MakeFile("second/consegnato.txt", 9);
    std::unique_ptr<TestDriver::RunningProgram> second =
        TestDriver::StartProgram(exe_, L"consegnato.txt /ANALYZE", Win("second"));
    ASSERT_TRUE(second && second->WaitForExit(kWaitMs)) << "the second start did not end";
    EXPECT_EQ(second->ExitCode(), 0u);
    const std::wstring handed = Win("second/consegnato.txt");
    for (int i = 0; i < 100 && RowOf(items_, handed) < 0; ++i) TestDriver::PumpMessages(50);
    EXPECT_GE(RowOf(items_, handed), 0);
    EXPECT_EQ(TestDriver::ListViewRowCount(items_), 2);
    // Only the path was handed over: the option started no run, and both
    // items are still as they were added.
    EXPECT_EQ(TestDriver::ListViewCellText(items_, 0, kStateColumn), TestDriver::ListViewCellText(items_, 1, kStateColumn));
    HWND message = TestDriver::FindTopWindow({kDialogClass, nullptr, program_->ProcessId(), main_});
    EXPECT_EQ(message, nullptr) << "unexpected message: " << Narrow(TestDriver::MessageBoxMessage(message));
    Picture(L"e2e_handover_idle");

    const int folder = RowOf(items_, many);
    TestDriver::SendCommand(main_, kCmdAnalyzeAll);
    ASSERT_EQ(WaitForCell(items_, folder, kStateColumn, kWorking), kWorking);
    MakeFile("data/durante.txt", 9);
    second = TestDriver::StartProgram(exe_, L"\"" + Win("data/durante.txt") + L"\"");
    ASSERT_TRUE(second && second->WaitForExit(kWaitMs)) << "the second start waited for the first one's message";
    EXPECT_EQ(second->ExitCode(), 0u);
    HWND box = WaitForDialog();
    ASSERT_NE(box, nullptr) << "the first instance did not say why";
    const std::wstring said = TestDriver::MessageBoxMessage(box);
    EXPECT_NE(said.find(L"È in corso un'analisi o una deframmentazione"), std::wstring::npos) << Narrow(said);
    EXPECT_NE(said.find(Win("data/durante.txt")), std::wstring::npos) << Narrow(said);
    Picture(L"e2e_handover_during_run", box);
    TestDriver::PressButton(box, IDOK);
    TestDriver::PumpMessages(300);
    // The analysis may have ended by itself meanwhile: what matters is that
    // the run is over.
    TestDriver::SendCommand(main_, kCmdStop);
    for (int i = 0; i < 500 && TestDriver::ListViewCellText(items_, folder, kStateColumn) == kWorking; ++i) {
        TestDriver::PumpMessages(20);
    }
    EXPECT_EQ(TestDriver::ListViewRowCount(items_), 2);
    EXPECT_EQ(RowOf(items_, Win("data/durante.txt")), -1);
    EXPECT_EQ(Close(), 0u);
}

// The value of one line of the report.
std::string ReportValue(const std::string& report, const std::string& label) {
    std::smatch match;
    if (!std::regex_search(report, match, std::regex("  " + label + " (.*?)\\\\par "))) return {};
    return match[1];
}

// The whole rich text of the report is the report writer's own; here it is
// what the real fault puts into it and the dialog that shows it.
class CrashReportTest : public ProgramCase {
protected:
    // The simulating program, a volume with one fragmented file, and the fault switch.
    void PrepareFault(const std::string& caseName, const char* tag, const wchar_t* kind = nullptr) {
        Prepare("crash-" + caseName, ORDALIS_SIM_PROGRAM);
        Describe("volume letter=Z clusters=4000 clusterSize=4096", {{"data/a.bin", 16384, "100:2,110:2"}});
        EnvPath(L"ORDALIS_SIM_CRASH_REPORT", "report.rtf");
        Env(L"ORDALIS_SIM_FAULT_TAG", Widen(tag));
        if (kind) Env(L"ORDALIS_SIM_FAULT_KIND", kind);
    }

    std::string Report() const { return ReadWhole(host_ / "report.rtf"); }

    // The report dialog with its texts in one language, pictured; its box's
    // text as shown.
    HWND WaitForReport(const wchar_t* title, const std::vector<std::wstring>& texts, const std::wstring& picture) {
        HWND report = WaitForTitle(title);
        if (!report) return nullptr;
        Picture(picture, report);
        const std::vector<std::wstring> shown = TestDriver::ChildTexts(report);
        for (const std::wstring& text : texts) {
            EXPECT_NE(std::find(shown.begin(), shown.end(), text), shown.end()) << Narrow(text);
        }
        // The support address is a mail link, not the plain text shown when
        // the link control cannot be made.
        EXPECT_EQ(TestDriver::WindowClass(GetDlgItem(report, IDC_CRASH_LINK)), WC_LINK);
        shown_ = TestDriver::WindowText(GetDlgItem(report, IDC_CRASH_DETAILS));
        return report;
    }
    HWND WaitForItalianReport(const std::wstring& picture) {
        return WaitForReport(L"Eccezione di Ordalis", {L"Ordalis ha smesso di funzionare", L"&Chiudi il programma"},
                             picture);
    }

    // Closes the report; the program ends with the TAG.
    void CloseReport(HWND report, DWORD tag) {
        TestDriver::PressButton(report, IDC_CRASH_CLOSE);
        ASSERT_TRUE(program_->WaitForExit(kWaitMs));
        EXPECT_EQ(program_->ExitCode(), tag);
    }

    // The report holds each of these lines.
    void ExpectLines(const std::vector<std::string>& lines) {
        const std::string text = Report();
        for (const std::string& line : lines) EXPECT_NE(text.find("  " + line + "\\par "), std::string::npos) << line << " in " << text;
    }

    std::wstring shown_;
};

TEST_F(CrashReportTest, BeforeTheFirstCheckpointTheProgramEndsSilentlyWithTheTag) {
    PrepareFault("silent", "8123");
    ASSERT_TRUE(StartOnly(L"/LANG:IT " + Win("data")));
    const HWND seen = WindowBeforeTheEnd(*program_);
    EXPECT_EQ(seen, nullptr) << "window \"" << Narrow(TestDriver::WindowText(seen)) << "\"";
    ASSERT_TRUE(program_->WaitForExit(kWaitMs));
    EXPECT_EQ(program_->ExitCode(), 8123u);
    EXPECT_EQ(program_->Output(), "");
    EXPECT_FALSE(fs::exists(host_ / "report.rtf"));
}

TEST_F(CrashReportTest, AtTheNeutralTagTheReportShowsAndClosingItEndsTheProgramWithTheTag) {
    PrepareFault("neutral", "9000");
    ASSERT_TRUE(StartOnly(L"/LANG:IT " + Win("data")));
    HWND report = WaitForItalianReport(L"e2e_crash_report_9000");
    ASSERT_NE(report, nullptr) << "no report";
    ExpectLines({"Versione: 1.00 (64-bit)", "Codice eccezione: c0000005",
                 "Descrizione: Access violation writing 0x00000010", "TAG: 0x00002328"});
    // The machine's values are there, and the fault's address is where the
    // program counter stood.
    const std::string text = Report();
    EXPECT_EQ(ReportValue(text, "Nome sistema operativo:").rfind("Windows", 0), 0u) << text;
    EXPECT_TRUE(std::regex_match(ReportValue(text, "Versione sistema operativo:"), std::regex("[0-9]+\\.[0-9]+")));
    EXPECT_NE(ReportValue(text, "Memoria fisica totale:"), "");
    std::smatch pc;
    ASSERT_TRUE(std::regex_search(text, pc, std::regex("Program counter: 0([0-9a-f]{16})")));
    EXPECT_EQ(std::stoull(ReportValue(text, "Indirizzo:"), nullptr, 16), std::stoull(pc[1], nullptr, 16));
    // What the box shows is the same report, read as text.
    for (const wchar_t* line : {L"Informazioni sul sistema", L"  Versione: 1.00 (64-bit)", L"Informazioni sull'eccezione",
                                L"  Descrizione: Access violation writing 0x00000010", L"  TAG: 0x00002328"}) {
        EXPECT_NE(shown_.find(line), std::wstring::npos) << Narrow(line) << " not in " << Narrow(shown_);
    }
    EXPECT_TRUE(program_->Running());
    CloseReport(report, 9000);
}

// On the window thread, an access violation and a stack overflow alike: the
// report runs on a thread of its own (the faulting one may have no stack
// left), and the warning follows it.
TEST_F(CrashReportTest, AFaultWhileDrivesAreIdentifiedIsFollowedByTheSolidStateWarning) {
    for (const wchar_t* kind : {L"write", L"stack"}) {
        const bool stack = std::wstring(kind) == L"stack";
        SCOPED_TRACE(stack ? "stack" : "write");
        PrepareFault(std::string("drives-") + (stack ? "stack" : "write"), "9001", kind);
        ASSERT_TRUE(StartOnly(L"/DEFRAG /QUICK /CHKDSK:0 /CLEAN:0 /LANG:IT " + Win("data")));
        HWND report = WaitForItalianReport(std::wstring(L"e2e_crash_report_9001_") + kind);
        ASSERT_NE(report, nullptr) << "no report";
        ExpectLines({stack ? "Codice eccezione: c00000fd" : "Codice eccezione: c0000005", "TAG: 0x00002329"});
        main_ = TestDriver::FindTopWindow({kDialogClass, kMainTitle, program_->ProcessId()});
        ASSERT_NE(main_, nullptr);
        EXPECT_NE(GetWindowThreadProcessId(report, nullptr), GetWindowThreadProcessId(main_, nullptr));
        if (!stack) {
            // The report is modal over the window that was active: the main
            // window, whose thread still answers.
            EXPECT_EQ(GetWindow(report, GW_OWNER), main_);
            EXPECT_FALSE(IsWindowEnabled(main_));
        }
        TestDriver::PressButton(report, IDC_CRASH_CLOSE);
        WaitGone(report);
        ASSERT_FALSE(IsWindow(report)) << "the report did not close";
        HWND warning = WaitForDialog();
        ASSERT_NE(warning, nullptr) << "no warning after the report";
        Picture(std::wstring(L"e2e_crash_report_9001_warning_") + kind, warning);
        EXPECT_EQ(TestDriver::WindowText(warning), kMainTitle);
        EXPECT_NE(TestDriver::MessageBoxMessage(warning).find(L"stato solido"), std::wstring::npos);
        EXPECT_TRUE(program_->Running());
        TestDriver::PressButton(warning, IDOK);
        ASSERT_TRUE(program_->WaitForExit(kWaitMs));
        EXPECT_EQ(program_->ExitCode(), 9001u);
        TearDown();
    }
}

// With a language file loaded the report and its dialog speak English.
TEST_F(CrashReportTest, AMoveThreadThatRunsOutOfMemoryReachesTheReportInTheLoadedLanguage) {
    PrepareFault("worker", "9004", L"memory");
    ASSERT_TRUE(StartOnly(L"/DEFRAG /QUICK /CHKDSK:0 /CLEAN:0 /LANG:EN " + Win("data")));
    HWND report = WaitForReport(L"Ordalis exception",
                                {L"Ordalis has stopped working", L"Problem details", L"&Close the program"},
                                L"e2e_crash_report_worker");
    ASSERT_NE(report, nullptr) << "no report";
    ExpectLines({"Version: 1.00 (64-bit)", "Exception code: c0000017", "Description: Unknown (0xc0000017)",
                 "TAG: 0x0000232c"});
    CloseReport(report, 9004);
    // The thread died before its first move: the volume is as described.
    EXPECT_EQ(FileLine(EndState(), Win("data/a.bin")), FileLine(description_, Win("data/a.bin")));
    EXPECT_TRUE(EndState().ends_with("check ok\n")) << EndState();
}

}  // namespace
