// The crash report in the simulating program, made to fault at a chosen TAG:
// below neutral the program ends without a word and with the TAG as exit
// code; from neutral on the report shows first, with its rich text as the
// box received it; after a fault while solid-state drives are identified
// the warning about that identification follows, after a stack overflow as
// well; a worker that runs out of memory reaches the same report.
#include "ProgramCase.h"
#include "res/CrashReportIds.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

namespace {

using namespace e2e;

constexpr wchar_t kReportTitle[] = L"Eccezione di Ordalis";

// The report with what depends on the machine and the moment replaced by
// "*": the system's values, the build, the fault's address and registers.
std::string Masked(std::string report) {
    static const char* const kMachineLabels[] = {
        "Nome sistema operativo:", "Edizione sistema operativo:", "Versione sistema operativo:",
        "Service pack:", "Architettura sistema operativo:", "Memoria fisica totale:",
        "Memoria fisica disponibile:", "Memoria del file di paging totale:",
        "Memoria del file di paging disponibile:", "Memoria virtuale totale:",
        "Memoria virtuale disponibile:", "Build:", "Indirizzo:", "OS name:", "OS edition:",
        "OS version number:", "OS service pack:", "OS architecture:", "Total physical memory:",
        "Available physical memory:", "Total page file memory:", "Available page file memory:",
        "Total virtual memory:", "Free virtual memory:", "Address:"};
    for (const char* label : kMachineLabels) {
        report = std::regex_replace(report, std::regex(std::string("(  ") + label + ") .*?\\\\par "),
                                    "$1 *\\par ");
    }
    report = std::regex_replace(report, std::regex("at address [0-9A-F]{8}"), "at address *");
    report = std::regex_replace(report, std::regex("(Program counter: 0|Frame pointer: |Stack pointer: )[0-9a-f]{16}"),
                                "$1*");
    return report;
}

std::string ExpectedReport(const std::string& exception) {
    return "{\\rtf1\\ansi{\\colortbl;\\red0\\green51\\blue153;}"
           "{\\b \\f1\\cf1 Informazioni sul sistema}\\par "
           "  Nome sistema operativo: *\\par "
           "  Edizione sistema operativo: *\\par "
           "  Versione sistema operativo: *\\par "
           "  Service pack: *\\par "
           "  Architettura sistema operativo: *\\par "
           "  Memoria fisica totale: *\\par "
           "  Memoria fisica disponibile: *\\par "
           "  Memoria del file di paging totale: *\\par "
           "  Memoria del file di paging disponibile: *\\par "
           "  Memoria virtuale totale: *\\par "
           "  Memoria virtuale disponibile: *\\par "
           "\\par "
           "{\\b \\f1\\cf1 Informazioni su Ordalis}\\par "
           "  Versione: 1.00 (64-bit)\\par "
           "  Build: *\\par "
           "\\par "
           "{\\b \\f1\\cf1 Informazioni sull'eccezione}\\par " +
           exception +
           "Registers: \r\nProgram counter: 0*, Frame pointer: *n, Stack pointer: *n}";
}

std::string ExpectedEnglishReport(const std::string& exception) {
    return "{\\rtf1\\ansi{\\colortbl;\\red0\\green51\\blue153;}"
           "{\\b \\f1\\cf1 System info}\\par "
           "  OS name: *\\par "
           "  OS edition: *\\par "
           "  OS version number: *\\par "
           "  OS service pack: *\\par "
           "  OS architecture: *\\par "
           "  Total physical memory: *\\par "
           "  Available physical memory: *\\par "
           "  Total page file memory: *\\par "
           "  Available page file memory: *\\par "
           "  Total virtual memory: *\\par "
           "  Free virtual memory: *\\par "
           "\\par "
           "{\\b \\f1\\cf1 Info about Ordalis}\\par "
           "  Version: 1.00 (64-bit)\\par "
           "  Build: *\\par "
           "\\par "
           "{\\b \\f1\\cf1 Exception info}\\par " +
           exception +
           "Registers: \r\nProgram counter: 0*, Frame pointer: *n, Stack pointer: *n}";
}

// The value of one line of the report, unmasked.
std::string ReportValue(const std::string& report, const std::string& label) {
    std::smatch match;
    if (!std::regex_search(report, match, std::regex("  " + label + " (.*?)\\\\par "))) return {};
    return match[1];
}

class CrashReportTest : public ::testing::Test {
protected:
    void TearDown() override {
        for (const wchar_t* name : {L"ORDALIS_SIMVOLUME", L"ORDALIS_SIMVOLUME_OUT", L"ORDALIS_SIM_FAULT_TAG",
                                    L"ORDALIS_SIM_FAULT_KIND", L"ORDALIS_SIM_CRASH_REPORT"}) {
            SetEnvironmentVariableW(name, nullptr);
        }
    }

    // The program in its own folder, a volume with one fragmented file, and
    // the fault switch.
    void Prepare(const std::string& caseName, const std::string& tag, const std::string& kind = "") {
        host_ = fs::path(ORDALIS_E2E_WORK_DIR) / ("crash-" + caseName);
        fs::remove_all(host_);
        fs::create_directories(host_ / "data");
        std::ofstream(host_ / "data" / "a.bin", std::ios::binary) << std::string(16384, 'x');
        TestDriver::ProgramUnderTest program(TestDriver::HostPathToWindows((host_ / "program").string()),
                                             TestDriver::HostPathToWindows(ORDALIS_SIM_PROGRAM),
                                             TestDriver::HostPathToWindows(ORDALIS_FMIFS_DLL));
        ASSERT_TRUE(program.Ready()) << fs::path(program.Error()).string();
        exe_ = program.ExePath();
        data_ = TestDriver::HostPathToWindows((host_ / "data").string());
        std::ofstream(host_ / "volume.txt", std::ios::binary)
            << "volume letter=Z clusters=4000 clusterSize=4096\n"
               "file \"" + Narrow(data_) + "\\a.bin\" size=16384 runs=100:2,110:2\n";
        Set(L"ORDALIS_SIMVOLUME", TestDriver::HostPathToWindows((host_ / "volume.txt").string()));
        Set(L"ORDALIS_SIMVOLUME_OUT", TestDriver::HostPathToWindows((host_ / "end.txt").string()));
        Set(L"ORDALIS_SIM_CRASH_REPORT", TestDriver::HostPathToWindows((host_ / "report.rtf").string()));
        Set(L"ORDALIS_SIM_FAULT_TAG", std::wstring(tag.begin(), tag.end()));
        if (!kind.empty()) Set(L"ORDALIS_SIM_FAULT_KIND", std::wstring(kind.begin(), kind.end()));
    }

    static void Set(const wchar_t* name, const std::wstring& value) {
        SetEnvironmentVariableW(name, value.c_str());
    }

    std::string Report() const { return ReadWhole(host_ / "report.rtf"); }

    // The report dialog: its texts, a picture, and its box's text as shown.
    HWND WaitForReport(const std::wstring& picture) {
        HWND report = TestDriver::WaitForWindow(kDialogClass, kReportTitle, program_->ProcessId(), kWaitMs);
        if (!report) return nullptr;
        TestDriver::PumpMessages(300);
        TestDriver::SaveScreenshot(picture);
        std::vector<std::wstring> texts = TestDriver::ChildTexts(report);
        const std::wstring expectedTexts[] = {
            L"Ordalis ha smesso di funzionare",
            L"Si \u00E8 verificato un errore dell'applicazione non gestito. Si prega di copiare i dettagli "
            L"dell'eccezione negli Appunti di Windows e di inviarli all'autore:",
            L"Dettagli problema", L"&Chiudi il programma"};
        for (const std::wstring& text : expectedTexts) {
            EXPECT_NE(std::find(texts.begin(), texts.end(), text), texts.end()) << Narrow(text);
        }
        // The mail link names the support address and writes to it.
        bool linkFound = false;
        for (HWND child : TestDriver::ChildWindows(report)) {
            std::wstring text = TestDriver::WindowText(child);
            if (text.find(L"mailto:") != std::wstring::npos) {
                linkFound = true;
                EXPECT_NE(text.find(L"?Subject=[Ordalis 1.00] &body="), std::wstring::npos) << Narrow(text);
            }
        }
        EXPECT_TRUE(linkFound) << "no mail link";
        shown_ = TestDriver::WindowText(GetDlgItem(report, IDC_CRASH_DETAILS));
        return report;
    }

    fs::path host_;
    std::wstring exe_;
    std::wstring data_;
    std::unique_ptr<TestDriver::RunningProgram> program_;
    std::wstring shown_;
};

TEST_F(CrashReportTest, BeforeTheFirstCheckpointTheProgramEndsSilentlyWithTheTag) {
    for (const char* tag : {"8123", "1"}) {
        Prepare(std::string("silent-") + tag, tag);
        program_ = TestDriver::StartProgram(exe_, L"/LANG:IT " + data_);
        ASSERT_TRUE(program_);
        HWND seen = nullptr;
        const DWORD start = GetTickCount();
        while (program_->Running() && GetTickCount() - start < kWaitMs) {
            TestDriver::WindowQuery query;
            query.processId = program_->ProcessId();
            if ((seen = TestDriver::FindTopWindow(query))) break;
            TestDriver::PumpMessages(20);
        }
        EXPECT_EQ(seen, nullptr) << "window \"" << Narrow(TestDriver::WindowText(seen)) << "\"";
        ASSERT_TRUE(program_->WaitForExit(kWaitMs));
        EXPECT_EQ(program_->ExitCode(), std::stoul(tag));
        EXPECT_EQ(program_->Output(), "");
        EXPECT_FALSE(fs::exists(host_ / "report.rtf"));
    }
}

TEST_F(CrashReportTest, AtTheNeutralTagTheReportShowsAndClosingItEndsTheProgramWithTheTag) {
    Prepare("neutral", "9000");
    program_ = TestDriver::StartProgram(exe_, L"/LANG:IT " + data_);
    ASSERT_TRUE(program_);
    HWND report = WaitForReport(L"e2e_crash_report_9000");
    ASSERT_NE(report, nullptr) << "no report";

    const std::string text = Report();
    EXPECT_EQ(Masked(text), ExpectedReport("  Codice eccezione: c0000005\\par "
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
    const std::wstring expectedShown[] = {L"Informazioni sul sistema", L"  Versione: 1.00 (64-bit)",
                                          L"Informazioni sull'eccezione",
                                          L"  Descrizione: Access violation writing 0x00000010",
                                          L"  TAG: 0x00002328"};
    for (const std::wstring& line : expectedShown) {
        EXPECT_NE(shown_.find(line), std::wstring::npos) << Narrow(line) << " not in " << Narrow(shown_);
    }

    EXPECT_TRUE(program_->Running());
    TestDriver::PressButton(report, IDC_CRASH_CLOSE);
    ASSERT_TRUE(program_->WaitForExit(kWaitMs));
    EXPECT_EQ(program_->ExitCode(), 9000u);
}

// On the window thread, an access violation and a stack overflow alike: the
// report runs on a thread of its own (the faulting one may have no stack
// left), and the warning follows it.
TEST_F(CrashReportTest, AFaultWhileDrivesAreIdentifiedIsFollowedByTheSolidStateWarning) {
    for (const char* kind : {"write", "stack"}) {
        SCOPED_TRACE(kind);
        const bool stack = std::string(kind) == "stack";
        Prepare(std::string("drives-") + kind, "9001", kind);
        program_ = TestDriver::StartProgram(exe_, L"/DEFRAG /QUICK /CHKDSK:0 /CLEAN:0 /LANG:IT " + data_);
        ASSERT_TRUE(program_);
        HWND report = WaitForReport(std::wstring(L"e2e_crash_report_9001_") + (stack ? L"stack" : L"write"));
        ASSERT_NE(report, nullptr) << "no report";
        EXPECT_NE(Report().find(stack ? "  Codice eccezione: c00000fd\\par " : "  Codice eccezione: c0000005\\par "),
                  std::string::npos) << Report();
        EXPECT_NE(Report().find("  TAG: 0x00002329\\par "), std::string::npos) << Report();
        HWND mainWindow = TestDriver::FindTopWindow({kDialogClass, kMainTitle, program_->ProcessId()});
        ASSERT_NE(mainWindow, nullptr);
        EXPECT_NE(GetWindowThreadProcessId(report, nullptr), GetWindowThreadProcessId(mainWindow, nullptr));
        if (!stack) {
            // The report is modal over the window that was active: the main
            // window, whose thread still answers.
            EXPECT_EQ(GetWindow(report, GW_OWNER), mainWindow);
            EXPECT_FALSE(IsWindowEnabled(mainWindow));
        }

        TestDriver::PressButton(report, IDC_CRASH_CLOSE);
        const DWORD start = GetTickCount();
        while (IsWindow(report) && GetTickCount() - start < kWaitMs) TestDriver::PumpMessages(50);
        ASSERT_FALSE(IsWindow(report)) << "the report did not close";
        HWND warning = TestDriver::WaitForDialogOf(program_->ProcessId(), mainWindow, kWaitMs);
        ASSERT_NE(warning, nullptr) << "no warning after the report";
        TestDriver::PumpMessages(300);
        TestDriver::SaveScreenshot(std::wstring(L"e2e_crash_report_9001_warning_") + (stack ? L"stack" : L"write"));
        EXPECT_EQ(TestDriver::WindowText(warning), L"Ordalis");
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
    Prepare("worker", "9004", "memory");
    program_ = TestDriver::StartProgram(exe_, L"/DEFRAG /QUICK /CHKDSK:0 /CLEAN:0 /LANG:IT " + data_);
    ASSERT_TRUE(program_);
    HWND report = WaitForReport(L"e2e_crash_report_worker");
    ASSERT_NE(report, nullptr) << "no report";
    const std::string text = Report();
    EXPECT_NE(text.find("  Codice eccezione: c0000017\\par   Descrizione: Unknown (0xc0000017)\\par "),
              std::string::npos) << text;
    EXPECT_NE(text.find("  TAG: 0x0000232c\\par "), std::string::npos) << text;
    TestDriver::PressButton(report, IDC_CRASH_CLOSE);
    ASSERT_TRUE(program_->WaitForExit(kWaitMs));
    EXPECT_EQ(program_->ExitCode(), 9004u);
    // The thread died before its first move: the volume is as described.
    const std::string end = ReadWhole(host_ / "end.txt");
    EXPECT_NE(end.find("a.bin\" size=16384 runs=100:2,110:2\ncheck ok\n"), std::string::npos) << end;
}

// With a language file loaded the report speaks English, and so does the
// dialog, from the language file.
TEST_F(CrashReportTest, WithALanguageFileTheReportHasItsEnglishLabels) {
    Prepare("english", "9002");
    program_ = TestDriver::StartProgram(exe_, L"/LANG:EN " + data_);
    ASSERT_TRUE(program_);
    HWND report = TestDriver::WaitForWindow(kDialogClass, L"Ordalis exception", program_->ProcessId(), kWaitMs);
    ASSERT_NE(report, nullptr) << "no report";
    TestDriver::PumpMessages(300);
    TestDriver::SaveScreenshot(L"e2e_crash_report_english");
    const std::vector<std::wstring> texts = TestDriver::ChildTexts(report);
    for (const wchar_t* text : {L"Ordalis has stopped working", L"Problem details", L"&Close the program"}) {
        EXPECT_NE(std::find(texts.begin(), texts.end(), text), texts.end()) << Narrow(text);
    }
    const std::string text = Report();
    EXPECT_EQ(Masked(text), ExpectedEnglishReport("  Exception code: c0000005\\par "
                                                  "  Description: Access violation writing 0x00000010\\par "
                                                  "  Address: *\\par "
                                                  "  TAG: 0x0000232a\\par "
                                                  "Exception C0000005 at address *\r\n"))
        << text;
    TestDriver::PressButton(report, IDC_CRASH_CLOSE);
    ASSERT_TRUE(program_->WaitForExit(kWaitMs));
    EXPECT_EQ(program_->ExitCode(), 9002u);
}

}  // namespace
