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

class HandOverTest : public ProgramCase {
protected:
    void SetUp() override {
        Prepare("handover-" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()),
                ORDALIS_PROGRAM);
    }
    std::wstring MakeDataFile(const std::string& name) {
        MakeFile("data/" + name, 9);
        return Win("data/" + name);
    }
};

TEST_F(HandOverTest, AnIdleFirstInstanceAddsThePathsAndTheSecondEndsWithZero) {
    const std::wstring before = MakeDataFile("prima.txt");
    Start(L"/LANG:IT \"" + before + L"\"");
    ASSERT_EQ(TestDriver::ListViewColumnTexts(items_, 0), std::vector<std::wstring>{before});

    // The second start runs in another current folder and names a path
    // relative to it: the first instance, whose folder differs, must receive
    // it whole.
    MakeFile("second/consegnato.txt", 9);
    TestDriver::RunResult second = TestDriver::RunProgram(exe_, L"consegnato.txt /ANALYZE", kWaitMs, Win("second"));
    ASSERT_TRUE(second.finished) << "the second start did not end";
    EXPECT_EQ(second.exitCode, 0u);
    std::vector<std::wstring> names;
    for (int i = 0; i < 100 && names.size() < 2; ++i) {
        TestDriver::PumpMessages(50);
        names = TestDriver::ListViewColumnTexts(items_, 0);
    }
    std::sort(names.begin(), names.end());
    std::vector<std::wstring> expected{before, Win("second/consegnato.txt")};
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(names, expected);
    // Only the path was handed over: the option started no run, and both
    // items are still as they were added.
    EXPECT_EQ(TestDriver::ListViewCellText(items_, 0, kStateColumn), TestDriver::ListViewCellText(items_, 1, kStateColumn));
    HWND message = TestDriver::FindTopWindow({kDialogClass, nullptr, program_->ProcessId(), main_});
    EXPECT_EQ(message, nullptr) << "unexpected message: " << Narrow(TestDriver::MessageBoxMessage(message));
    Picture(L"e2e_handover_idle");
    EXPECT_EQ(Close(), 0u);
}

TEST_F(HandOverTest, DuringARunNothingIsAddedAndTheFirstSaysWhy) {
    const std::wstring handed = MakeDataFile("durante.txt");
    const std::wstring many = TestDriver::HostPathToWindows(ORDALIS_E2E_MANY_FILES);
    Start(L"/LANG:IT \"" + many + L"\"");
    TestDriver::SendCommand(main_, kCmdAnalyzeAll);
    ASSERT_EQ(WaitForCell(items_, 0, kStateColumn, kWorking), kWorking);

    TestDriver::RunResult second = TestDriver::RunProgram(exe_, L"\"" + handed + L"\"", kWaitMs);
    ASSERT_TRUE(second.finished) << "the second start waited for the first one's message";
    EXPECT_EQ(second.exitCode, 0u);
    HWND box = WaitForDialog();
    ASSERT_NE(box, nullptr) << "the first instance did not say why";
    const std::wstring message = TestDriver::MessageBoxMessage(box);
    EXPECT_NE(message.find(L"È in corso un'analisi o una deframmentazione"), std::wstring::npos) << Narrow(message);
    EXPECT_NE(message.find(handed), std::wstring::npos) << Narrow(message);
    Picture(L"e2e_handover_during_run", box);
    TestDriver::PressButton(box, IDOK);
    TestDriver::PumpMessages(300);
    EXPECT_EQ(TestDriver::ListViewColumnTexts(items_, 0), std::vector<std::wstring>{many});
    TestDriver::SendCommand(main_, kCmdStop);
    WaitForCell(items_, 0, kStateColumn, L"Interrotto");
    EXPECT_EQ(TestDriver::ListViewColumnTexts(items_, 0), std::vector<std::wstring>{many});
    EXPECT_EQ(Close(), 0u);
}

// The report's labels in one language.
struct ReportLabels {
    std::vector<std::string> system;  // the heading, then the machine's values
    std::string program, version, build, exception;
};
const ReportLabels kItalian{{"Informazioni sul sistema", "Nome sistema operativo:", "Edizione sistema operativo:",
                             "Versione sistema operativo:", "Service pack:", "Architettura sistema operativo:",
                             "Memoria fisica totale:", "Memoria fisica disponibile:",
                             "Memoria del file di paging totale:", "Memoria del file di paging disponibile:",
                             "Memoria virtuale totale:", "Memoria virtuale disponibile:"},
                            "Informazioni su Ordalis", "Versione:", "Build:", "Informazioni sull'eccezione"};
const ReportLabels kEnglish{{"System info", "OS name:", "OS edition:", "OS version number:", "OS service pack:",
                             "OS architecture:", "Total physical memory:", "Available physical memory:",
                             "Total page file memory:", "Available page file memory:", "Total virtual memory:",
                             "Free virtual memory:"},
                            "Info about Ordalis", "Version:", "Build:", "Exception info"};

// The report with what depends on the machine and the moment replaced by
// "*": the system's values, the build, the fault's address and registers.
std::string Masked(std::string report, const ReportLabels& labels, const std::string& address) {
    std::vector<std::string> masked(labels.system.begin() + 1, labels.system.end());
    masked.push_back(labels.build);
    masked.push_back(address);
    for (const std::string& label : masked) {
        report = std::regex_replace(report, std::regex("(  " + label + ") .*?\\\\par "), "$1 *\\par ");
    }
    report = std::regex_replace(report, std::regex("at address [0-9A-F]{8}"), "at address *");
    return std::regex_replace(report, std::regex("(Program counter: 0|Frame pointer: |Stack pointer: )[0-9a-f]{16}"),
                              "$1*");
}

std::string ExpectedReport(const ReportLabels& labels, const std::string& exception) {
    const std::string heading = "{\\b \\f1\\cf1 ";
    std::string report = "{\\rtf1\\ansi{\\colortbl;\\red0\\green51\\blue153;}" + heading + labels.system[0] + "}\\par ";
    for (size_t i = 1; i < labels.system.size(); ++i) report += "  " + labels.system[i] + " *\\par ";
    return report + "\\par " + heading + labels.program + "}\\par   " + labels.version + " 1.00 (64-bit)\\par   " +
           labels.build + " *\\par \\par " + heading + labels.exception + "}\\par " + exception +
           "Registers: \r\nProgram counter: 0*, Frame pointer: *n, Stack pointer: *n}";
}

// The value of one line of the report, unmasked.
std::string ReportValue(const std::string& report, const std::string& label) {
    std::smatch match;
    if (!std::regex_search(report, match, std::regex("  " + label + " (.*?)\\\\par "))) return {};
    return match[1];
}

class CrashReportTest : public ProgramCase {
protected:
    // The simulating program, a volume with one fragmented file, and the fault switch.
    void PrepareFault(const std::string& caseName, const char* tag, const wchar_t* kind = nullptr) {
        Prepare("crash-" + caseName, ORDALIS_SIM_PROGRAM);
        MakeFile("data/a.bin", 16384);
        Describe("volume letter=Z clusters=4000 clusterSize=4096", {{"data/a.bin", "size=16384 runs=100:2,110:2"}});
        EnvPath(L"ORDALIS_SIM_CRASH_REPORT", "report.rtf");
        Env(L"ORDALIS_SIM_FAULT_TAG", Widen(tag));
        if (kind) Env(L"ORDALIS_SIM_FAULT_KIND", kind);
    }

    std::string Report() const { return ReadWhole(host_ / "report.rtf"); }

    // The report dialog, its texts and a picture; its box's text as shown.
    HWND WaitForReport(const std::wstring& picture) {
        HWND report = WaitForTitle(L"Eccezione di Ordalis");
        if (!report) return nullptr;
        TestDriver::PumpMessages(300);
        TestDriver::SaveScreenshot(picture);
        const std::vector<std::wstring> texts = TestDriver::ChildTexts(report);
        for (const wchar_t* text :
             {L"Ordalis ha smesso di funzionare",
              L"Si \u00E8 verificato un errore dell'applicazione non gestito. Si prega di copiare i dettagli "
              L"dell'eccezione negli Appunti di Windows e di inviarli all'autore:",
              L"Dettagli problema", L"&Chiudi il programma"}) {
            EXPECT_NE(std::find(texts.begin(), texts.end(), text), texts.end()) << Narrow(text);
        }
        // The mail link names the support address and writes to it.
        bool linkFound = false;
        for (const std::wstring& text : texts) {
            if (text.find(L"mailto:") == std::wstring::npos) continue;
            linkFound = true;
            EXPECT_NE(text.find(L"?Subject=[Ordalis 1.00] &body="), std::wstring::npos) << Narrow(text);
        }
        EXPECT_TRUE(linkFound) << "no mail link";
        shown_ = TestDriver::WindowText(GetDlgItem(report, IDC_CRASH_DETAILS));
        return report;
    }

    // Closes the report; the program ends with the TAG.
    void CloseReport(HWND report, DWORD tag) {
        TestDriver::PressButton(report, IDC_CRASH_CLOSE);
        ASSERT_TRUE(program_->WaitForExit(kWaitMs));
        EXPECT_EQ(program_->ExitCode(), tag);
    }

    std::wstring shown_;
};

TEST_F(CrashReportTest, BeforeTheFirstCheckpointTheProgramEndsSilentlyWithTheTag) {
    for (const char* tag : {"8123", "1"}) {
        SCOPED_TRACE(tag);
        PrepareFault(std::string("silent-") + tag, tag);
        program_ = TestDriver::StartProgram(exe_, L"/LANG:IT " + Win("data"));
        ASSERT_TRUE(program_);
        HWND seen = nullptr;
        for (const DWORD start = GetTickCount(); program_->Running() && GetTickCount() - start < kWaitMs;) {
            if ((seen = TestDriver::FindTopWindow({nullptr, nullptr, program_->ProcessId()}))) break;
            TestDriver::PumpMessages(20);
        }
        EXPECT_EQ(seen, nullptr) << "window \"" << Narrow(TestDriver::WindowText(seen)) << "\"";
        ASSERT_TRUE(program_->WaitForExit(kWaitMs));
        EXPECT_EQ(program_->ExitCode(), std::stoul(tag));
        EXPECT_EQ(program_->Output(), "");
        EXPECT_FALSE(fs::exists(host_ / "report.rtf"));
        TearDown();
        environment_.clear();
    }
}

TEST_F(CrashReportTest, AtTheNeutralTagTheReportShowsAndClosingItEndsTheProgramWithTheTag) {
    PrepareFault("neutral", "9000");
    program_ = TestDriver::StartProgram(exe_, L"/LANG:IT " + Win("data"));
    ASSERT_TRUE(program_);
    HWND report = WaitForReport(L"e2e_crash_report_9000");
    ASSERT_NE(report, nullptr) << "no report";
    const std::string text = Report();
    EXPECT_EQ(Masked(text, kItalian, "Indirizzo:"),
              ExpectedReport(kItalian, "  Codice eccezione: c0000005\\par "
                                       "  Descrizione: Access violation writing 0x00000010\\par "
                                       "  Indirizzo: *\\par "
                                       "  TAG: 0x00002328\\par "
                                       "Exception C0000005 at address *\r\n"))
        << text;
    // The machine's values are there, and the fault's address is where the
    // program counter stood.
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
        program_ = TestDriver::StartProgram(exe_, L"/DEFRAG /QUICK /CHKDSK:0 /CLEAN:0 /LANG:IT " + Win("data"));
        ASSERT_TRUE(program_);
        HWND report = WaitForReport(std::wstring(L"e2e_crash_report_9001_") + kind);
        ASSERT_NE(report, nullptr) << "no report";
        EXPECT_NE(Report().find(stack ? "  Codice eccezione: c00000fd\\par " : "  Codice eccezione: c0000005\\par "),
                  std::string::npos) << Report();
        EXPECT_NE(Report().find("  TAG: 0x00002329\\par "), std::string::npos) << Report();
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
        TestDriver::PumpMessages(300);
        TestDriver::SaveScreenshot(std::wstring(L"e2e_crash_report_9001_warning_") + kind);
        EXPECT_EQ(TestDriver::WindowText(warning), kMainTitle);
        EXPECT_EQ(TestDriver::MessageBoxMessage(warning),
                  L"L'identificazione automatica delle unit\u00E0 a stato solido potrebbe non essere compatibile "
                  L"con alcune combinazioni hardware. In tal caso, selezionare \"Disabilita identificazione unit"
                  L"\u00E0 a stato solido\" dal menu \"Opzioni\".");
        EXPECT_TRUE(program_->Running());
        TestDriver::PressButton(warning, IDOK);
        ASSERT_TRUE(program_->WaitForExit(kWaitMs));
        EXPECT_EQ(program_->ExitCode(), 9001u);
    }
}

TEST_F(CrashReportTest, AMoveThreadThatRunsOutOfMemoryReachesTheReport) {
    PrepareFault("worker", "9004", L"memory");
    program_ = TestDriver::StartProgram(exe_, L"/DEFRAG /QUICK /CHKDSK:0 /CLEAN:0 /LANG:IT " + Win("data"));
    ASSERT_TRUE(program_);
    HWND report = WaitForReport(L"e2e_crash_report_worker");
    ASSERT_NE(report, nullptr) << "no report";
    const std::string text = Report();
    EXPECT_NE(text.find("  Codice eccezione: c0000017\\par   Descrizione: Unknown (0xc0000017)\\par "),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("  TAG: 0x0000232c\\par "), std::string::npos) << text;
    CloseReport(report, 9004);
    // The thread died before its first move: the volume is as described.
    EXPECT_EQ(FileLine(EndState(), Win("data/a.bin")), FileLine(description_, Win("data/a.bin")));
    EXPECT_EQ(Verdict(), "check ok\n");
}

// With a language file loaded the report speaks English, and so does the
// dialog, from the language file.
TEST_F(CrashReportTest, WithALanguageFileTheReportHasItsEnglishLabels) {
    PrepareFault("english", "9002");
    program_ = TestDriver::StartProgram(exe_, L"/LANG:EN " + Win("data"));
    ASSERT_TRUE(program_);
    HWND report = WaitForTitle(L"Ordalis exception");
    ASSERT_NE(report, nullptr) << "no report";
    TestDriver::PumpMessages(300);
    TestDriver::SaveScreenshot(L"e2e_crash_report_english");
    const std::vector<std::wstring> texts = TestDriver::ChildTexts(report);
    for (const wchar_t* text : {L"Ordalis has stopped working", L"Problem details", L"&Close the program"}) {
        EXPECT_NE(std::find(texts.begin(), texts.end(), text), texts.end()) << Narrow(text);
    }
    const std::string text = Report();
    EXPECT_EQ(Masked(text, kEnglish, "Address:"),
              ExpectedReport(kEnglish, "  Exception code: c0000005\\par "
                                       "  Description: Access violation writing 0x00000010\\par "
                                       "  Address: *\\par "
                                       "  TAG: 0x0000232a\\par "
                                       "Exception C0000005 at address *\r\n"))
        << text;
    CloseReport(report, 9002);
}

}  // namespace
