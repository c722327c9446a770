// The program's dialogs and message box as the user meets them: the fragment
// details, the highlight dialog, the steps before a defragmentation (disk
// check, cleanup, solid-state warning) with their keys, choices and results,
// the filter dialog, every dialog in English, and the message box's buttons,
// keys and rich text. Pictures of each go to build/screenshots/ with the
// screen's dots per inch in their names.

#include "RunTestSupport.h"
#include "DialogHarness.h"
#include "items/ItemCells.h"
#include "items/win32/ShellItemTexts.h"
#include "res/ResourceIds.h"
#include "options/LanguageFile.h"
#include "options/Settings.h"
#include "ui/dialogs/FilterDialog.h"
#include "ui/ProfileCommands.h"
#include "ui/PreRunSteps.h"
#include "engine/diskcheck/DiskCheck.h"
#include "runs/RunSteps.h"
#include "selection/Filters.h"
#include "util/ProgramFolder.h"
#include "ui/CleanupDialog.h"
#include "ui/DiskCheckDialog.h"
#include "ui/dialogs/FragmentsDialog.h"
#include "ui/HighlightDialog.h"
#include "ui/dialogs/InfoDialogs.h"
#include "ui/dialogs/MessageBox.h"
#include "ui/controls/Dpi.h"
#include "ui/controls/Controls.h"
#include "util/UnicodeTextFile.h"

#include <commctrl.h>
#include <richedit.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <functional>

namespace {

// ---- Frammenti ----

const char* kVolume =
    "volume letter=Z clusters=4000 clusterSize=4096\n"
    "file \"Z:\\Documenti\\relazione.doc\" size=184320 runs=100:12,300:8,520:4,900:20,1400:1\n"
    "file \"Z:\\Documenti\\foto.jpg\" size=8192 runs=2000:2\n"
    "file \"Z:\\Documenti\\vuoto.txt\" size=0\n";

class ItemDialogsTest : public RunFixture {
protected:
    void SetUp() override {
        RunFixture::SetUp();
        INITCOMMONCONTROLSEX controls{sizeof controls, ICC_WIN95_CLASSES | ICC_TAB_CLASSES};
        InitCommonControlsEx(&controls);
        saved_ = gSettings;
        gSettings.fragmentDetailsWidth = ScaledWidth(420);
        gSettings.fragmentDetailsHeight = ScaledWidth(430);
        Volume(kVolume);
        for (const wchar_t* file : {L"Z:\\Documenti\\vuoto.txt", L"Z:\\Documenti\\foto.jpg", L"Z:\\Documenti\\relazione.doc"}) {
            ASSERT_EQ(AddItem(items_, false, file), kAddOk);
        }
        options_.unattended = true;
        Run(RunMode::AnalyseAll);
    }
    void TearDown() override {
        gSettings = saved_;
        ResetTexts();
        RunFixture::TearDown();
    }
    static int ScaledWidth(int size96) { return MulDiv(size96, std::stoi(DpiText()), 96); }

    Settings saved_;
};

TEST_F(ItemDialogsTest, TheFragmentsDialogShowsTheTableWholeAndTheGeneralData) {
    const std::wstring path = L"Z:\\Documenti\\relazione.doc";
    OpenDialog open([&] { ShowFragmentsDialog(nullptr, items_, path); }, L"Frammenti");
    ASSERT_NE(open.Dialog(), nullptr);
    HWND table = open.Item(IDC_FRAG_TABLE);
    EXPECT_EQ(TestDriver::ListViewRowCount(table), 5);
    EXPECT_TRUE(IsWindowVisible(table));
    EXPECT_FALSE(IsWindowVisible(open.Item(IDC_FRAG_NOTICE)));

    // The rows are the fragment details' own. The first column is out of
    // sight; the others are at least their designed width, and no number is
    // cut.
    EXPECT_EQ(TestDriver::ListViewColumnWidth(table, 0), 0);
    for (int column = 1; column <= 6; ++column) {
        EXPECT_GE(TestDriver::ListViewColumnWidth(table, column), ScaledWidth(50)) << column;
        EXPECT_GT(TestDriver::ListViewColumnWidth(table, column),
                  ListView_GetStringWidth(table, TestDriver::ListViewCellText(table, 0, column).c_str()))
            << column;
    }
    const NumberFormat& numbers = LocaleNumbers();
    EXPECT_EQ(TestDriver::ListViewCellText(table, 4, 3), numbers.GroupDigits(1400));

    // The general data.
    EXPECT_EQ(open.ItemText(IDC_FRAG_NAME), L"relazione.doc");
    EXPECT_EQ(open.ItemText(IDC_FRAG_PATH), L"Z:\\Documenti");
    EXPECT_EQ(open.ItemText(IDC_FRAG_COUNT), L"5");
    EXPECT_EQ(open.ItemText(IDC_FRAG_CLUSTERS), L"45");
    EXPECT_EQ(open.ItemText(IDC_FRAG_SIZE), numbers.KBSize(184320) + L" (" + numbers.GroupDigits(184320) + L" byte)");
    // One item: nothing to step to.
    EXPECT_FALSE(IsWindowVisible(open.Item(IDC_FRAG_PREVIOUS)));
    EXPECT_FALSE(IsWindowVisible(open.Item(IDC_FRAG_NEXT)));
    TestDriver::SaveWindowScreenshot(open.Dialog(), L"dialog-fragments-" + DpiText());

    open.Press(IDOK);
    EXPECT_TRUE(open.Closed());
}

TEST_F(ItemDialogsTest, LessAndGreaterStepThroughTheSelectedItems) {
    const std::vector<std::wstring> paths = {L"Z:\\Documenti\\relazione.doc", L"Z:\\Documenti\\foto.jpg",
                                             L"Z:\\Documenti\\vuoto.txt"};
    OpenDialog open([&] { ShowFragmentsDialog(nullptr, items_, paths, 1); }, L"Frammenti");
    ASSERT_NE(open.Dialog(), nullptr);
    HWND table = open.Item(IDC_FRAG_TABLE);
    EXPECT_EQ(open.ItemText(IDC_FRAG_NAME), L"foto.jpg");
    EXPECT_EQ(TestDriver::ListViewRowCount(table), 1);
    EXPECT_TRUE(IsWindowEnabled(open.Item(IDC_FRAG_PREVIOUS)));
    EXPECT_TRUE(IsWindowEnabled(open.Item(IDC_FRAG_NEXT)));

    open.Press(IDC_FRAG_NEXT);
    EXPECT_EQ(open.ItemText(IDC_FRAG_NAME), L"vuoto.txt");
    EXPECT_FALSE(IsWindowVisible(table));
    EXPECT_TRUE(IsWindowVisible(open.Item(IDC_FRAG_NOTICE)));
    EXPECT_EQ(open.ItemText(IDC_FRAG_NOTICE), L"Il file non occupa alcun cluster");
    EXPECT_FALSE(IsWindowEnabled(open.Item(IDC_FRAG_NEXT)));
    TestDriver::SaveWindowScreenshot(open.Dialog(), L"dialog-fragments-notice-" + DpiText());

    open.Press(IDC_FRAG_PREVIOUS);
    open.Press(IDC_FRAG_PREVIOUS);
    EXPECT_EQ(open.ItemText(IDC_FRAG_NAME), L"relazione.doc");
    EXPECT_TRUE(IsWindowVisible(table));
    EXPECT_EQ(TestDriver::ListViewRowCount(table), 5);
    EXPECT_FALSE(IsWindowEnabled(open.Item(IDC_FRAG_PREVIOUS)));

    // Its size is remembered for the next time.
    RECT bounds{};
    GetWindowRect(open.Dialog(), &bounds);
    SetWindowPos(open.Dialog(), nullptr, 0, 0, bounds.right - bounds.left + 40, bounds.bottom - bounds.top + 30,
                 SWP_NOMOVE | SWP_NOZORDER);
    TestDriver::PumpMessages(100);
    PostMessageW(open.Dialog(), WM_COMMAND, IDCANCEL, 0);
    ASSERT_TRUE(open.Closed());
    EXPECT_EQ(gSettings.fragmentDetailsWidth, bounds.right - bounds.left + 40);
    EXPECT_EQ(gSettings.fragmentDetailsHeight, bounds.bottom - bounds.top + 30);
}

// ---- The steps before a defragmentation: Enter and Escape ----

// The window with the keyboard focus in the dialog's thread.
HWND FocusOf(HWND dialog) {
    GUITHREADINFO info{sizeof info};
    GetGUIThreadInfo(GetWindowThreadProcessId(dialog, nullptr), &info);
    return info.hwndFocus;
}

// The controls of the disk-check and cleanup dialogs.
constexpr int kDiskDrives = 1003, kDiskOutput = 1005, kDiskNever = 1009, kCheckButton = 1010, kDiskSkip = 1011;
constexpr int kCleanupExternal = 1104, kCleanupPath = 1106, kCleanupNever = 1110, kStartCleanup = 1111,
              kCleanupSkip = 1112;

// The cleanup walks this fixture's own file system, where the temporary
// folder holds one file; on the disk that folder only has to exist. The
// checker is the scripted stand-in, its calls logged.
class PreRunStepsTest : public ItemDialogsTest {
protected:
    void SetUp() override {
        ItemDialogsTest::SetUp();
        std::filesystem::create_directories(temp_);
        files_.fake.AddFile((temp_ / "a.tmp").wstring(), 1);
        std::filesystem::remove(log_);
        SetEnvironmentVariableW(L"TMP", temp_.wstring().c_str());
        SetEnvironmentVariableW(L"TEMP", temp_.wstring().c_str());
        SetEnvironmentVariableW(L"ORDALIS_FMIFS_LOG", log_.wstring().c_str());
        ASSERT_TRUE(ResolveChkdsk(TestDriver::HostPathToWindows(ORDALIS_FMIFS_DLL).c_str()));
    }
    void TearDown() override {
        for (const wchar_t* name : {L"TMP", L"TEMP", L"ORDALIS_FMIFS_LOG", L"ORDALIS_FMIFS_SCRIPT"}) {
            SetEnvironmentVariableW(name, nullptr);
        }
        std::filesystem::remove_all(temp_);
        std::filesystem::remove(log_);
        ItemDialogsTest::TearDown();
    }
    static void Script(const wchar_t* script) { SetEnvironmentVariableW(L"ORDALIS_FMIFS_SCRIPT", script); }
    // A click on a check box, which a command alone would not tick.
    static void Tick(OpenDialog& open, int id) {
        PostMessageW(open.Item(id), BM_CLICK, 0, 0);
        TestDriver::PumpMessages(200);
    }
    bool Checked() const { return std::filesystem::exists(log_); }
    bool Cleaned() const { return !files_.fake.Exists((temp_ / "a.tmp").wstring()); }

    const std::filesystem::path temp_ = std::filesystem::current_path() / "dialogs-cleanup-temp";
    const std::filesystem::path log_ = std::filesystem::current_path() / "dialogs-chkdsk.log";
};

TEST_F(PreRunStepsTest, EnterDoesWhatTheDefaultButtonSaysEscapeCancelsAndAnAutomaticCheckGoesOn) {
    struct Case {
        const char* what;
        std::function<int()> show;
        const wchar_t* title;
        int focused;   // the control that has the focus on opening
        UINT key;
        int result;
    };
    const Case cases[] = {
        // Enter checks the disk (nothing found, so the run goes on by itself),
        // it never cancels the defragmentation.
        {"disk check, Enter", [] { return RunDiskCheckDialog(nullptr, false); }, L"Controllo disco", kCheckButton,
         VK_RETURN, 9},
        {"disk check, Escape", [] { return RunDiskCheckDialog(nullptr, false); }, L"Controllo disco", kCheckButton,
         VK_ESCAPE, kDiskCheckResultCancelled},
        {"cleanup, Enter", [] { return RunCleanupDialog(nullptr, false); }, L"Eliminazione file temporanei",
         kStartCleanup, VK_RETURN, kCleanupResultDone},
        {"cleanup, Escape", [] { return RunCleanupDialog(nullptr, false); }, L"Eliminazione file temporanei",
         kStartCleanup, VK_ESCAPE, kCleanupResultCancelled},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        int result = -1;
        OpenDialog open([&] { result = c.show(); }, c.title);
        ASSERT_NE(open.Dialog(), nullptr);
        EXPECT_EQ(FocusOf(open.Dialog()), open.Item(c.focused));
        EXPECT_EQ(LOWORD(SendMessageW(open.Dialog(), DM_GETDEFID, 0, 0)), c.focused);
        TestDriver::PressKey(open.Dialog(), c.key);
        ASSERT_TRUE(open.Closed());
        EXPECT_EQ(result, c.result);
    }
    EXPECT_TRUE(Cleaned()) << "Enter started no cleanup";
    // Automatic, the check starts at once and, finding nothing, the dialog
    // closes by itself with the run going on.
    int automatic = -1;
    OpenDialog open([&] { automatic = RunDiskCheckDialog(nullptr, true); }, L"Controllo disco", 0);
    ASSERT_TRUE(open.Closed());
    EXPECT_EQ(automatic, 9);
}

// Asked for, each dialog waits: nothing is checked or cleaned before a
// button. "Never again" moves the stored choice at once; Cancel puts it back
// and ends the run, skipping keeps it and lets the run go on unchecked.
TEST_F(PreRunStepsTest, NeverAgainIsKeptOnlyWhenTheStepIsSkipped) {
    struct Case {
        const char* what;
        bool disk;
        int button;
        int result;
        uint32_t kept;
    };
    const Case cases[] = {
        {"disk check, cancelled", true, IDCANCEL, kDiskCheckResultCancelled, kDiskCheckAsk},
        {"disk check, skipped", true, kDiskSkip, kDiskCheckResultSkipped, kDiskCheckOff},
        {"cleanup, cancelled", false, IDCANCEL, kCleanupResultCancelled, kCleanupAsk},
        {"cleanup, skipped", false, kCleanupSkip, kCleanupResultSkipped, kCleanupOff},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        gSettings.diskCheck = kDiskCheckAsk;
        gSettings.cleanup = kCleanupAsk;
        const uint32_t& choice = c.disk ? gSettings.diskCheck : gSettings.cleanup;
        int result = -1;
        OpenDialog open([&] { result = c.disk ? RunDiskCheckDialog(nullptr, false) : RunCleanupDialog(nullptr, false); },
                        c.disk ? L"Controllo disco" : L"Eliminazione file temporanei");
        ASSERT_NE(open.Dialog(), nullptr);
        Tick(open, c.disk ? kDiskNever : kCleanupNever);
        EXPECT_EQ(choice, c.disk ? kDiskCheckOff : kCleanupOff) << "not moved at once";
        open.Press(c.button);
        ASSERT_TRUE(open.Closed());
        EXPECT_EQ(result, c.result);
        EXPECT_EQ(choice, c.kept);
        EXPECT_FALSE(Checked());
        EXPECT_FALSE(Cleaned());
    }
}

// A check shows the drive, streams the checker's report and, finding errors,
// stays open relabelled; closed, it hands the errors on. A checker that does
// not end holds nothing: Cancel stays usable and ends the dialog at once.
TEST_F(PreRunStepsTest, TheDiskCheckShowsTheCheckersReportAndHandsItsErrorsOn) {
    Script(L"Z:progress=30,100;text=Phase one|Bad index found;result=fail");
    int result = -1;
    {
        OpenDialog open([&] { result = RunDiskCheckDialog(nullptr, false); }, L"Controllo disco");
        ASSERT_NE(open.Dialog(), nullptr);
        HWND list = open.Item(kDiskDrives);
        ASSERT_EQ(TestDriver::ListViewRowCount(list), 1);
        EXPECT_NE(TestDriver::ListViewCellText(list, 0, 0).find(L"(Z:)"), std::wstring::npos);
        EXPECT_EQ(open.ItemText(kDiskOutput), L"Il disco non \u00E8 stato ancora analizzato.");
        open.Press(kCheckButton);
        for (int i = 0; i < 100 && open.ItemText(IDCANCEL) != L"C&hiudi"; ++i) TestDriver::PumpMessages(100);
        EXPECT_EQ(open.ItemText(IDCANCEL), L"C&hiudi");
        EXPECT_EQ(open.ItemText(1001), L"Errore disco");
        EXPECT_EQ(open.ItemText(kDiskOutput), L"Phase one\r\nBad index found\r\n");
        EXPECT_EQ(TestDriver::ListViewCellText(list, 0, 1), L"Completato");
        EXPECT_TRUE(Checked());
        TestDriver::SaveWindowScreenshot(open.Dialog(), L"dialog-diskcheck-errors-" + DpiText());
        open.Press(IDCANCEL);
        ASSERT_TRUE(open.Closed());
    }
    EXPECT_EQ(result & kDiskCheckErrorsFound, kDiskCheckErrorsFound);

    Script(L"Z:delay=60000;progress=10");
    gSettings.diskCheck = kDiskCheckAsk;
    OpenDialog open([&] { result = RunDiskCheckDialog(nullptr, false); }, L"Controllo disco");
    ASSERT_NE(open.Dialog(), nullptr);
    Tick(open, kDiskNever);
    open.Press(kCheckButton);
    HWND list = open.Item(kDiskDrives);
    for (int i = 0; i < 100 && TestDriver::ListViewCellText(list, 0, 1) != L"In analisi..."; ++i) {
        TestDriver::PumpMessages(100);
    }
    EXPECT_EQ(TestDriver::ListViewCellText(list, 0, 1), L"In analisi...");
    EXPECT_TRUE(IsWindowEnabled(open.Item(IDCANCEL)));
    open.Press(IDCANCEL);
    ASSERT_TRUE(open.Closed(3000)) << "the dialog still waits for the checker";
    EXPECT_EQ(result, kDiskCheckResultCancelled);
    EXPECT_EQ(gSettings.diskCheck, kDiskCheckAsk);
}

// The external program's fields open up only when it is chosen; starting it
// unnamed complains and keeps the dialog, with nothing cleaned.
TEST_F(PreRunStepsTest, TheCleanupRefusesAnUnnamedExternalProgramAndStaysOpen) {
    gSettings.cleanupProgramPath.clear();
    int result = -1;
    OpenDialog open([&] { result = RunCleanupDialog(nullptr, false); }, L"Eliminazione file temporanei");
    ASSERT_NE(open.Dialog(), nullptr);
    EXPECT_FALSE(IsWindowEnabled(open.Item(kCleanupPath)));
    open.Press(kCleanupExternal);
    EXPECT_TRUE(IsWindowEnabled(open.Item(kCleanupPath)));
    PostMessageW(open.Item(kStartCleanup), BM_CLICK, 0, 0);
    HWND complaint = TestDriver::WaitForWindow({L"#32770", L"Ordalis", GetCurrentProcessId(), open.Dialog()}, kWaitMs);
    ASSERT_NE(complaint, nullptr);
    EXPECT_EQ(TestDriver::MessageBoxMessage(complaint), L"Nessun programma esterno specificato.");
    TestDriver::PressButton(complaint, IDOK);
    for (int i = 0; i < 100 && !IsWindowEnabled(open.Item(kCleanupSkip)); ++i) TestDriver::PumpMessages(50);
    EXPECT_TRUE(IsWindowEnabled(open.Item(kCleanupSkip))) << "the dialog is not usable again";
    EXPECT_FALSE(open.Closed(0));
    open.Press(kCleanupSkip);
    ASSERT_TRUE(open.Closed());
    EXPECT_EQ(result, kCleanupResultSkipped);
    EXPECT_FALSE(Cleaned());
}

// Every text of every dialog, in English, is a text of the English file:
// none is left in the built-in Italian. The controls listed as data show the
// item's own values.
TEST_F(ItemDialogsTest, EveryDialogShowsOnlyTextsOfTheEnglishFile) {
    ASSERT_TRUE(LoadEnglishTexts());
    const std::set<std::wstring> english = LoadedTexts();
    struct Case {
        std::function<void()> show;
        std::wstring title;
        std::vector<int> data;
    };
    const Case cases[] = {
        {[this] { ShowFragmentsDialog(nullptr, items_, L"Z:\\Documenti\\relazione.doc"); }, L"Fragments",
         {IDC_FRAG_NAME, IDC_FRAG_PATH, IDC_FRAG_TYPE, IDC_FRAG_SIZE, IDC_FRAG_DISK, IDC_FRAG_COUNT,
          IDC_FRAG_CLUSTERS}},
        {[] { ShowHighlightDialog(nullptr); }, L"Item highlighting", {}},
        {[] { ShowWarrantyDialog(nullptr); }, L"Warranty disclaimer", {IDC_INFO_HEADING}},
        {[] { ShowCommandLineDialog(nullptr); }, L"Command-line options", {IDC_INFO_HEADING}},
        {[] { ShowAboutDialog(nullptr); }, L"About Ordalis", {IDC_INFO_HEADING}},
        {[] { RunDiskCheckDialog(nullptr, false); }, L"Disk check", {}},
        {[] { RunCleanupDialog(nullptr, false); }, L"Deleting temporary files", {}},
        {[] { ShowFilterDialog(nullptr); }, L"Filter", {IDC_FILTER_SIZE_BYTES}},
        {[] { ShowRecentProfilesDialog(nullptr); }, L"Recent profiles", {}},
    };
    for (const Case& shown : cases) {
        SCOPED_TRACE(std::string(shown.title.begin(), shown.title.end()));
        OpenDialog open(shown.show, shown.title);
        ASSERT_NE(open.Dialog(), nullptr);
        std::vector<std::wstring> untranslated;
        auto check = [&](const std::wstring& text) {
            // Signs such as "<" and ">" belong to no language.
            const bool words = std::any_of(text.begin(), text.end(), [](wchar_t c) { return iswalpha(c); });
            if (words && !english.count(text)) untranslated.push_back(text);
        };
        for (HWND child : TestDriver::ChildWindows(open.Dialog())) {
            const std::wstring kind = TestDriver::WindowClass(child);
            const int id = GetDlgCtrlID(child);
            if (std::find(shown.data.begin(), shown.data.end(), id) != shown.data.end()) continue;
            if (_wcsicmp(kind.c_str(), L"Static") == 0 || _wcsicmp(kind.c_str(), L"Button") == 0 ||
                kind.rfind(L"myTheme_", 0) == 0) {
                check(TestDriver::WindowText(child));
            } else if (kind == WC_LISTVIEWW) {
                HWND header = ListView_GetHeader(child);
                for (int column = 0; header && column < Header_GetItemCount(header); ++column) {
                    check(TestDriver::ListViewColumnHeader(child, column));
                }
            } else if (kind == WC_TABCONTROLW) {
                for (int tab = 0; tab < TabCtrl_GetItemCount(child); ++tab) {
                    wchar_t text[256] = L"";
                    TCITEMW item{};
                    item.mask = TCIF_TEXT;
                    item.pszText = text;
                    item.cchTextMax = 256;
                    TabCtrl_GetItem(child, tab, &item);
                    check(text);
                }
            }
        }
        if (shown.title == L"Disk check") {
            // A drive without a label is named by its kind: "Local disk (Z:)".
            std::wstring volume = TestDriver::ListViewCellText(GetDlgItem(open.Dialog(), 1003), 0, 0);
            ASSERT_GT(volume.size(), 5u);
            EXPECT_EQ(volume.substr(volume.size() - 5), L" (Z:)");
            check(volume.substr(0, volume.size() - 5));
        }
        EXPECT_EQ(untranslated, std::vector<std::wstring>{});
        TestDriver::SaveWindowScreenshot(open.Dialog(), L"dialog-english-" + shown.title + L"-" + DpiText());
    }
    // The information dialogs are titled like their menu commands.
    EXPECT_EQ(TitleFromMenuText(L"Salva && &chiudi\tCTRL+S"), L"Salva & chiudi");
}

// ---- Evidenziazione oggetti ----

class HighlightDialogTest : public ::testing::Test {
protected:
    void SetUp() override {
        ResetTexts();
        saved_ = gSettings;
        const COLORREF colours[] = {RGB(200, 30, 30), RGB(30, 140, 60), RGB(20, 80, 200), RGB(200, 120, 0),
                                    RGB(120, 120, 120)};
        for (int i = 0; i < kItemColourCount; ++i) {
            gSettings.itemTextColour[i] = colours[i];
            gSettings.itemTextColourEnabled[i] = i != 3;
        }
        gSettings.itemTextColourFullRow = false;
    }
    void TearDown() override {
        gSettings = saved_;
        ResetTexts();
    }
    Settings saved_;
};

TEST_F(HighlightDialogTest, OkStoresTheChoicesAndCancelKeepsThem) {
    {
        OpenDialog open([] { ShowHighlightDialog(nullptr); }, L"Evidenziazione oggetti");
        ASSERT_NE(open.Dialog(), nullptr);
        for (int i = 0; i < 5; ++i) {
            HWND button = open.Item(IDC_HIGHLIGHT_COLOUR_FIRST + i);
            EXPECT_EQ(TestDriver::WindowClass(button), L"myTheme_ColoredButton358");
            EXPECT_EQ(static_cast<COLORREF>(SendMessageW(button, kColourGet, 0, 0)), gSettings.itemTextColour[i]);
            // A colour is chosen only for a category that is on.
            EXPECT_EQ(IsWindowEnabled(button) != FALSE, i != 3) << i;
        }
        TestDriver::SaveWindowScreenshot(open.Dialog(), L"dialog-highlight-" + DpiText());

        // Errors on with a new colour, skipped off, the whole row.
        SendMessageW(open.Item(IDC_HIGHLIGHT_CHECK_FIRST + 3), BM_CLICK, 0, 0);
        EXPECT_TRUE(IsWindowEnabled(open.Item(IDC_HIGHLIGHT_COLOUR_FIRST + 3)));
        SendMessageW(open.Item(IDC_HIGHLIGHT_COLOUR_FIRST + 3), kColourSet, RGB(1, 2, 3), 0);
        SendMessageW(open.Item(IDC_HIGHLIGHT_CHECK_FIRST + 4), BM_CLICK, 0, 0);
        SendMessageW(open.Item(IDC_HIGHLIGHT_FULL_ROW), BM_CLICK, 0, 0);
        open.Press(IDOK);
        ASSERT_TRUE(open.Closed());
    }
    EXPECT_EQ((std::vector<bool>(gSettings.itemTextColourEnabled, gSettings.itemTextColourEnabled + 5)),
              (std::vector<bool>{true, true, true, true, false}));
    EXPECT_EQ(gSettings.itemTextColour[3], RGB(1, 2, 3));
    EXPECT_EQ(gSettings.itemTextColour[0], RGB(200, 30, 30));
    EXPECT_TRUE(gSettings.itemTextColourFullRow);

    const Settings before = gSettings;
    {
        OpenDialog open([] { ShowHighlightDialog(nullptr); }, L"Evidenziazione oggetti");
        ASSERT_NE(open.Dialog(), nullptr);
        SendMessageW(open.Item(IDC_HIGHLIGHT_CHECK_FIRST), BM_CLICK, 0, 0);
        SendMessageW(open.Item(IDC_HIGHLIGHT_COLOUR_FIRST + 1), kColourSet, RGB(9, 9, 9), 0);
        SendMessageW(open.Item(IDC_HIGHLIGHT_FULL_ROW), BM_CLICK, 0, 0);
        PostMessageW(open.Dialog(), WM_COMMAND, IDCANCEL, 0);
        ASSERT_TRUE(open.Closed());
    }
    EXPECT_TRUE(gSettings.itemTextColourEnabled[0]);
    EXPECT_EQ(gSettings.itemTextColour[1], before.itemTextColour[1]);
    EXPECT_TRUE(gSettings.itemTextColourFullRow);
}

// ---- Filtro ----

// The filter lists of a program folder of the test's own, loaded as at
// start-up, with nothing saved yet.
class FilterDialogTest : public ::testing::Test {
protected:
    void SetUp() override {
        INITCOMMONCONTROLSEX controls{sizeof controls, ICC_WIN95_CLASSES | ICC_TAB_CLASSES};
        InitCommonControlsEx(&controls);
        ResetTexts();
        saved_ = gSettings;
        savedFolder_ = gProgramFolder;
        std::filesystem::remove_all(folder_);
        std::filesystem::create_directories(folder_);
        gProgramFolder = folder_.wstring();
        gSettings.excludeBySize = false;
        gSettings.maxFileSizeKiB = 100;
        LoadFilterLists();
    }
    void TearDown() override {
        gProgramFolder = savedFolder_;
        LoadFilterLists();
        gSettings = saved_;
        std::filesystem::remove_all(folder_);
    }
    // The stored lines of one filter file; "<none>" when there is none.
    std::vector<std::wstring> Stored(const wchar_t* name) const {
        UnicodeTextReader reader;
        if (!reader.Open((folder_ / name).wstring(), true, kLineLimitFilters)) return {L"<none>"};
        std::vector<std::wstring> lines;
        for (std::wstring line; reader.NextLine(line);) lines.push_back(line);
        return lines;
    }
    static void SetText(HWND control, const std::wstring& text) {
        SendMessageW(control, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text.c_str()));
        TestDriver::PumpMessages(100);
    }
    // The program's message or choice over `dialog`, titled `title`.
    static HWND WaitForBoxOver(HWND dialog, const wchar_t* title) {
        return TestDriver::WaitForWindow({L"#32770", title, GetCurrentProcessId(), dialog}, kWaitMs);
    }

    const std::filesystem::path folder_ = std::filesystem::current_path() / "filter-dialog-folder";
    Settings saved_;
    std::wstring savedFolder_;
};

// Cancel after a change writes nothing and leaves the lists and the size
// limit as they were. Masks are split at ";" and trimmed, a backslash or a
// colon typed is refused, a mask too long for the filter file stays in the
// box with the reason, the size box keeps 1 to 999999999, and OK warns about
// a mask both included and excluded before it saves.
TEST_F(FilterDialogTest, TheFilterDialogCorrectsChecksAndSavesOnlyOnOk) {
    {
        OpenDialog open([] { ShowFilterDialog(nullptr); }, L"Filtro");
        ASSERT_NE(open.Dialog(), nullptr);
        SetText(open.Item(IDC_FILTER_MASK), L"*.dll");
        open.Press(IDC_FILTER_ADD_INCLUDED);
        PostMessageW(open.Item(IDC_FILTER_SIZE_CHECK), BM_CLICK, 0, 0);
        SetText(open.Item(IDC_FILTER_SIZE), L"2048");
        open.Press(IDCANCEL);
        ASSERT_TRUE(open.Closed());
    }
    EXPECT_EQ(gInclusions.head, nullptr);
    EXPECT_FALSE(gSettings.excludeBySize);
    EXPECT_EQ(gSettings.maxFileSizeKiB, 100);
    EXPECT_EQ(Stored(L"Include.ini"), std::vector<std::wstring>{L"<none>"});
    EXPECT_EQ(Stored(L"Exclude.ini"), std::vector<std::wstring>{L"<none>"});

    OpenDialog open([] { ShowFilterDialog(nullptr); }, L"Filtro");
    ASSERT_NE(open.Dialog(), nullptr);
    HWND maskBox = open.Item(IDC_FILTER_MASK);
    SetText(maskBox, L" *.dll ; *.exe;;");
    PostMessageW(maskBox, WM_CHAR, L'\\', 1);
    TestDriver::PumpMessages(200);
    EXPECT_EQ(TestDriver::WindowText(maskBox), L" *.dll ; *.exe;;");
    PostMessageW(maskBox, WM_LBUTTONDOWN, 0, 0);  // a click takes the balloon away
    PostMessageW(maskBox, WM_LBUTTONUP, 0, 0);
    open.Press(IDC_FILTER_ADD_INCLUDED);
    EXPECT_EQ(TestDriver::WindowText(maskBox), L"");

    // The long mask stays in the box to be shortened; the one beside it is added.
    const std::wstring refusedText = L"*.ok;*" + std::wstring(2044, L'a');
    SetText(maskBox, refusedText);
    open.Press(IDC_FILTER_ADD_INCLUDED);
    HWND refusal = WaitForBoxOver(open.Dialog(), L"Ordalis");
    ASSERT_NE(refusal, nullptr) << "the long mask was not refused";
    EXPECT_EQ(TestDriver::MessageBoxMessage(refusal),
              L"Una maschera pu\u00F2 contenere al massimo 2.044 caratteri: le maschere pi\u00F9 lunghe non sono "
              L"state aggiunte.");
    TestDriver::PressButton(refusal, IDOK);
    TestDriver::PumpMessages(300);
    EXPECT_EQ(TestDriver::WindowText(maskBox), refusedText);
    SetText(maskBox, L"");

    PostMessageW(open.Item(IDC_FILTER_SIZE_CHECK), BM_CLICK, 0, 0);
    TestDriver::PumpMessages(200);
    for (auto [typed, kept] : {std::pair{L"0", L"1"}, {L"12345678901", L"999999999"}, {L"2048", L"2048"}}) {
        SetText(open.Item(IDC_FILTER_SIZE), typed);
        EXPECT_EQ(open.ItemText(IDC_FILTER_SIZE), kept);
    }

    // An exclusion mask through the small input dialog, the same as an
    // inclusion mask.
    PostMessageW(open.Item(IDC_FILTER_ADD_MASKS), BM_CLICK, 0, 0);
    HWND input = WaitForBoxOver(open.Dialog(), L"Aggiungi maschera");
    ASSERT_NE(input, nullptr);
    PostMessageW(GetDlgItem(input, IDC_MASK_INPUT), WM_CHAR, L':', 1);
    TestDriver::PumpMessages(300);
    EXPECT_EQ(TestDriver::WindowText(GetDlgItem(input, IDC_MASK_INPUT)), L"");
    SetText(GetDlgItem(input, IDC_MASK_INPUT), L"*.tmp;*.DLL");
    TestDriver::PressButton(input, IDOK);
    TestDriver::PumpMessages(300);
    TestDriver::SaveWindowScreenshot(open.Dialog(), L"dialog-filter-edited-" + DpiText());

    // OK warns about the duplicate mask; "edit" keeps the dialog open.
    open.Press(IDOK);
    HWND warning = WaitForBoxOver(open.Dialog(), L"Maschere duplicate");
    ASSERT_NE(warning, nullptr);
    TestDriver::PressButton(warning, IDC_CHOICE_THIRD);
    TestDriver::PumpMessages(300);
    EXPECT_FALSE(open.Closed(0));
    EXPECT_EQ(Stored(L"Include.ini"), std::vector<std::wstring>{L"<none>"});
    open.Press(IDOK);
    warning = WaitForBoxOver(open.Dialog(), L"Maschere duplicate");
    ASSERT_NE(warning, nullptr);
    TestDriver::PressButton(warning, IDC_CHOICE_SECOND);
    ASSERT_TRUE(open.Closed());
    EXPECT_EQ(Stored(L"Include.ini"), (std::vector<std::wstring>{L"W*.dll", L"W*.exe", L"W*.ok"}));
    EXPECT_EQ(Stored(L"Exclude.ini"), (std::vector<std::wstring>{L"W*.DLL", L"W*.tmp"}));
    EXPECT_TRUE(gSettings.excludeBySize);
    EXPECT_EQ(gSettings.maxFileSizeKiB, 2048);
}

// ---- The message box ----

// The program's message box, titled with the program's name.
class OpenBox : public OpenDialog {
public:
    OpenBox(uint32_t flags, uint32_t textId, const wchar_t* literal)
        : OpenDialog([=] { return ShowMessageBox(nullptr, flags, textId, literal); }, L"Ordalis", 0) {}
};

struct ButtonSet {
    uint32_t flags;
    std::vector<std::wstring> italian;
    std::vector<std::wstring> english;
    std::vector<int> results;
    int escape;  // what Escape and the close button give; -1: the box stays open
};

const std::vector<ButtonSet> kButtonSets = {
    {0x800, {L"&Continua", L"&Esci"}, {L"&Continue", L"&Quit"}, {10, 11}, -1},
    {0x1000, {L"&S\u00EC", L"&No", L"Annulla"}, {L"&Yes", L"&No", L"Cancel"}, {6, 7, 2}, 2},
    {0x2000, {L"OK", L"Annulla"}, {L"OK", L"Cancel"}, {1, 2}, 2},
    {0x4000, {L"&S\u00EC", L"&No"}, {L"&Yes", L"&No"}, {6, 7}, 7},
    {0, {L"OK"}, {L"OK"}, {1}, 1},
};

std::vector<std::wstring> Texts(const std::vector<TestDriver::DialogButton>& buttons) {
    std::vector<std::wstring> texts;
    for (const auto& button : buttons) texts.push_back(button.text);
    return texts;
}

class MessageBoxTest : public ::testing::Test {
protected:
    void SetUp() override {
        INITCOMMONCONTROLSEX controls{sizeof controls, ICC_WIN95_CLASSES};
        InitCommonControlsEx(&controls);
        ResetTexts();
    }
    void TearDown() override { ResetTexts(); }
};

TEST_F(MessageBoxTest, EveryButtonOfEverySetEndsTheBoxWithItsResult) {
    for (bool english : {false, true}) {
        if (english) ASSERT_TRUE(LoadEnglishTexts());
        for (const ButtonSet& set : kButtonSets) {
            for (size_t chosen = 0; chosen < set.results.size(); ++chosen) {
                SCOPED_TRACE(testing::Message() << "flags 0x" << std::hex << set.flags << std::dec
                                                << " button " << chosen << (english ? " English" : ""));
                OpenBox box(set.flags, 0, L"Messaggio");
                ASSERT_NE(box.Dialog(), nullptr);
                auto buttons = TestDriver::DialogButtons(box.Dialog());
                EXPECT_EQ(Texts(buttons), english ? set.english : set.italian);
                ASSERT_EQ(buttons.size(), set.results.size());
                TestDriver::PressButton(box.Dialog(), buttons[chosen].id);
                EXPECT_EQ(box.Result(), set.results[chosen]);
            }
        }
    }
}

TEST_F(MessageBoxTest, EscapeAndTheCloseButtonCancelWhereTheSetAllowsIt) {
    for (const ButtonSet& c : kButtonSets) {
        for (bool closeButton : {false, true}) {
            SCOPED_TRACE(testing::Message() << "flags 0x" << std::hex << c.flags
                                            << (closeButton ? " close button" : " Escape"));
            OpenBox box(c.flags | 0x2, 0, L"Domanda");
            ASSERT_NE(box.Dialog(), nullptr);
            if (closeButton) {
                PostMessageW(box.Dialog(), WM_SYSCOMMAND, SC_CLOSE, 0);
            } else {
                TestDriver::PressKey(box.Dialog(), VK_ESCAPE);
            }
            if (c.escape >= 0) {
                EXPECT_EQ(box.Result(), c.escape);
                continue;
            }
            EXPECT_EQ(box.Result(1500), -1) << "a box without a way to cancel must stay open";
            TestDriver::PressButton(box.Dialog(), 10);
            EXPECT_EQ(box.Result(), 10);
        }
    }
}

// The warning before files on a solid-state drive are defragmented: its
// heading, its two buttons and which of them leaves the files alone.
TEST_F(MessageBoxTest, TheSolidStateWarningLeavesTheFilesAloneOnlyWhenAskedTo) {
    constexpr int kKeepOff = 100, kGoOn = 200;
    for (int answer : {kKeepOff, kGoOn}) {
        SCOPED_TRACE(answer);
        bool keepOff = answer != kKeepOff;
        OpenDialog warning([&] { keepOff = SolidStateWarningDialog(nullptr); }, L"Disco SSD");
        ASSERT_NE(warning.Dialog(), nullptr);
        EXPECT_EQ(warning.ItemText(kKeepOff), L"&Non deframmentare");
        EXPECT_EQ(warning.ItemText(kGoOn), L"&Deframmenta comunque");
        EXPECT_NE(TestDriver::MessageBoxMessage(warning.Dialog()).find(L"Rilevato disco SSD"), std::wstring::npos);
        RECT client{};
        GetClientRect(warning.Dialog(), &client);
        EXPECT_EQ(client.right, ScaleForDpi(480, WindowDpi(warning.Dialog())));
        if (answer == kKeepOff) TestDriver::SaveWindowScreenshot(warning.Dialog(), L"dialog-ssd-warning-" + DpiText());
        warning.Press(answer);
        ASSERT_TRUE(warning.Closed());
        EXPECT_EQ(keepOff, answer == kKeepOff);
    }
}

TEST_F(MessageBoxTest, MessageShowsBoldRunsAndParagraphsAndTheLanguageText) {
    OpenBox box(0x4, 0, L"Il file <b>Z:\\a.txt</b> non esiste.\r\nSecondo paragrafo.");
    ASSERT_NE(box.Dialog(), nullptr);
    HWND rich = nullptr;
    for (HWND child : TestDriver::ChildWindows(box.Dialog())) {
        if (_wcsicmp(TestDriver::WindowClass(child).c_str(), L"RichEdit20W") == 0) rich = child;
    }
    ASSERT_NE(rich, nullptr) << "the message is shown through the rich-edit control";
    GETTEXTEX request{};
    wchar_t buffer[256] = {};
    request.cb = sizeof buffer;
    request.flags = GT_DEFAULT;
    request.codepage = 1200;
    SendMessageW(rich, EM_GETTEXTEX, reinterpret_cast<WPARAM>(&request), reinterpret_cast<LPARAM>(buffer));
    EXPECT_EQ(std::wstring(buffer), L"Il file Z:\\a.txt non esiste.\rSecondo paragrafo.");
    EXPECT_EQ(SendMessageW(rich, EM_GETLINECOUNT, 0, 0), 2);

    auto boldAt = [rich](LONG start, LONG end) {
        SendMessageW(rich, EM_SETSEL, start, end);
        CHARFORMAT2W format{};
        format.cbSize = sizeof format;
        SendMessageW(rich, EM_GETCHARFORMAT, SCF_SELECTION, reinterpret_cast<LPARAM>(&format));
        return (format.dwMask & CFM_BOLD) && (format.dwEffects & CFE_BOLD);
    };
    EXPECT_FALSE(boldAt(0, 7)) << "Il file";
    EXPECT_TRUE(boldAt(8, 16)) << "Z:\\a.txt";
    EXPECT_FALSE(boldAt(17, 28)) << "non esiste.";

    RECT client{};
    GetClientRect(box.Dialog(), &client);
    EXPECT_EQ(client.right, ScaleForDpi(400, WindowDpi(box.Dialog())));
    TestDriver::PressButton(box.Dialog(), 1);
    EXPECT_EQ(box.Result(), 1);

    // With a language loaded, a string id shows the language's text.
    SetBuiltInTexts(false);
    SetText(300, L"File not found.");
    OpenBox english(0x1, 300, L"File non trovato.");
    ASSERT_NE(english.Dialog(), nullptr);
    EXPECT_EQ(TestDriver::MessageBoxMessage(english.Dialog()), L"File not found.");
    TestDriver::PressButton(english.Dialog(), 1);
    EXPECT_EQ(english.Result(), 1);
}

}  // namespace
