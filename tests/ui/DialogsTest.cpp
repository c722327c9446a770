// The program's dialogs and message box as the user meets them, inside the
// test process: each is shown on a thread of its own, as the window thread
// would show it, and the test finds it by its title, reads it and answers it.
// Pictures of some go to build/screenshots/ with the screen's dots per inch
// in their names.

#include "RunTestSupport.h"
#include "TestDriver.h"
#include "res/ResourceIds.h"
#include "engine/diskcheck/DiskCheck.h"
#include "options/LanguageFile.h"
#include "selection/Filters.h"
#include "ui/CleanupDialog.h"
#include "ui/DiskCheckDialog.h"
#include "ui/HighlightDialog.h"
#include "ui/ItemListView.h"
#include "ui/Language.h"
#include "ui/PreRunSteps.h"
#include "ui/ProfileCommands.h"
#include "ui/StatusBars.h"
#include "ui/controls/Controls.h"
#include "ui/dialogs/FilterDialog.h"
#include "ui/dialogs/FragmentsDialog.h"
#include "ui/dialogs/InfoDialogs.h"
#include "ui/dialogs/MessageBox.h"
#include "util/ProgramFolder.h"
#include "util/UnicodeTextFile.h"

#include <commctrl.h>
#include <richedit.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <future>
#include <set>
#include <type_traits>

namespace {

constexpr DWORD kWaitMs = 10000;

// The common controls the dialogs are made of, registered once as the
// program registers them at start.
const bool kControlsRegistered = [] {
    INITCOMMONCONTROLSEX controls{sizeof controls, ICC_WIN95_CLASSES | ICC_TAB_CLASSES};
    return InitCommonControlsEx(&controls) != FALSE;
}();

// The screen's dots per inch, for the names of pictures.
std::wstring DpiText() {
    HDC screen = GetDC(nullptr);
    const int dpi = GetDeviceCaps(screen, LOGPIXELSX);
    ReleaseDC(nullptr, screen);
    return std::to_wstring(dpi);
}

// The English file the program ships, taken as the program takes a language.
bool LoadEnglishTexts() {
    ResetTexts();
    SetTextCapacity(kProgramTextCapacity);
    if (LoadLanguageFile((std::filesystem::path(ORDALIS_LANG_DIR) / L"Ordalis_EN.lng").wstring()) != 0) return false;
    PadLanguageTextsForLayout();
    SetBuiltInTexts(false);
    return true;
}

// The texts of a dialog's labels, buttons, column headers and tabs that are
// no text of the loaded language: left in the built-in language. The
// controls listed as data show the item's own values.
std::vector<std::wstring> Untranslated(HWND dialog, const std::vector<int>& data = {}) {
    // Every entry as shown, and without the blanks the layout pads it with.
    std::set<std::wstring> language;
    for (uint32_t id = 0; id < TextCapacity(); ++id) {
        const std::wstring text = Text(id, L"");
        const size_t first = text.find_first_not_of(L' '), last = text.find_last_not_of(L' ');
        if (first == std::wstring::npos) continue;
        language.insert(text);
        language.insert(text.substr(first, last - first + 1));
    }
    std::vector<std::wstring> untranslated;
    auto check = [&](const std::wstring& text) {
        // Signs such as "<" and ">" belong to no language.
        const bool words = std::any_of(text.begin(), text.end(), [](wchar_t c) { return iswalpha(c); });
        if (words && !language.count(text)) untranslated.push_back(text);
    };
    for (HWND child : TestDriver::ChildWindows(dialog)) {
        const std::wstring kind = TestDriver::WindowClass(child);
        if (std::find(data.begin(), data.end(), GetDlgCtrlID(child)) != data.end()) continue;
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
    return untranslated;
}

class OpenDialog {
public:
    // `paintMs`: how long to let it paint before anything is read or pictured.
    template <typename Show>
    OpenDialog(Show show, const std::wstring& title, DWORD paintMs = 300)
        : result_(std::async(std::launch::async, [show] {
              if constexpr (std::is_void_v<std::invoke_result_t<Show>>) {
                  show();
                  return 0;
              } else {
                  return int(show());
              }
          })) {
        dialog_ = TestDriver::WaitForWindow({L"#32770", title.c_str(), GetCurrentProcessId()}, kWaitMs);
        if (paintMs != 0) TestDriver::PumpMessages(paintMs);
    }
    // A dialog the test left open is cancelled; one that cannot be cancelled
    // (a message box without a way out) is ended.
    ~OpenDialog() {
        if (!result_.valid()) return;
        if (dialog_ && IsWindow(dialog_)) {
            PostMessageW(dialog_, WM_COMMAND, IDCANCEL, 0);
            if (result_.wait_for(std::chrono::seconds(1)) != std::future_status::ready && IsWindow(dialog_)) {
                EndDialog(dialog_, 0);
            }
        }
        result_.wait();
    }
    HWND Dialog() const { return dialog_; }
    HWND Item(int id) const { return GetDlgItem(dialog_, id); }
    std::wstring ItemText(int id) const { return TestDriver::WindowText(Item(id)); }
    // The program's message or choice over the dialog, titled `title`.
    HWND BoxOver(const wchar_t* title) const {
        return TestDriver::WaitForWindow({L"#32770", title, GetCurrentProcessId(), dialog_}, kWaitMs);
    }
    void Press(int id) {
        TestDriver::PressButton(dialog_, id);
        TestDriver::PumpMessages(200);
    }
    // True when the dialog closed within the wait.
    bool Closed(DWORD waitMs = kWaitMs) {
        return result_.wait_for(std::chrono::milliseconds(waitMs)) == std::future_status::ready;
    }
    // What showing it returned once it has closed, or -1 while it is open.
    int Result(DWORD waitMs = kWaitMs) {
        if (!Closed(waitMs)) return -1;
        return result_.get();
    }

private:
    std::future<int> result_;
    HWND dialog_ = nullptr;
};

const char* kVolume =
    "volume letter=Z clusters=4000 clusterSize=4096\n"
    "file \"Z:\\Documenti\\relazione.doc\" size=184320 runs=100:12,300:8,520:4,900:20,1400:1\n"
    "file \"Z:\\Documenti\\foto.jpg\" size=8192 runs=2000:2\n"
    "file \"Z:\\Documenti\\vuoto.txt\" size=0\n";

// Three analysed files in the list, and the interface in English, so that a
// text left in the built-in language shows; every case puts the settings and
// the texts back as it found them.
class ItemDialogsTest : public RunFixture {
protected:
    void SetUp() override {
        RunFixture::SetUp();
        ASSERT_TRUE(LoadEnglishTexts());
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

// The rows and the general data are the fragment details' own; the dialog
// shows them whole, steps through the selected items with Less and Greater,
// puts the notice in the table's place for a file without clusters and
// remembers its size for the next time.
TEST_F(ItemDialogsTest, TheFragmentsDialogShowsTheWholeTableAndStepsThroughTheSelectedItems) {
    const std::vector<std::wstring> paths = {L"Z:\\Documenti\\relazione.doc", L"Z:\\Documenti\\foto.jpg",
                                             L"Z:\\Documenti\\vuoto.txt"};
    OpenDialog open([&] { ShowFragmentsDialog(nullptr, items_, paths, 0); }, L"Fragments");
    ASSERT_NE(open.Dialog(), nullptr);
    EXPECT_EQ(Untranslated(open.Dialog(), {IDC_FRAG_NAME, IDC_FRAG_PATH, IDC_FRAG_TYPE, IDC_FRAG_SIZE, IDC_FRAG_DISK,
                                           IDC_FRAG_COUNT, IDC_FRAG_CLUSTERS}),
              std::vector<std::wstring>{});
    HWND table = open.Item(IDC_FRAG_TABLE);
    EXPECT_EQ(TestDriver::ListViewRowCount(table), 5);
    EXPECT_EQ(open.ItemText(IDC_FRAG_NAME), L"relazione.doc");
    EXPECT_FALSE(IsWindowEnabled(open.Item(IDC_FRAG_PREVIOUS)));
    // The first column is out of sight; the others are at least their
    // designed width, and no number is cut.
    EXPECT_EQ(TestDriver::ListViewColumnWidth(table, 0), 0);
    for (int column = 1; column <= 6; ++column) {
        EXPECT_GE(TestDriver::ListViewColumnWidth(table, column), ScaledWidth(50)) << column;
        EXPECT_GT(TestDriver::ListViewColumnWidth(table, column),
                  ListView_GetStringWidth(table, TestDriver::ListViewCellText(table, 0, column).c_str()))
            << column;
    }
    TestDriver::SaveWindowScreenshot(open.Dialog(), L"dialog-fragments-" + DpiText());

    open.Press(IDC_FRAG_NEXT);
    open.Press(IDC_FRAG_NEXT);
    EXPECT_EQ(open.ItemText(IDC_FRAG_NAME), L"vuoto.txt");
    EXPECT_FALSE(IsWindowVisible(table));
    EXPECT_TRUE(IsWindowVisible(open.Item(IDC_FRAG_NOTICE)));
    EXPECT_FALSE(IsWindowEnabled(open.Item(IDC_FRAG_NEXT)));
    TestDriver::SaveWindowScreenshot(open.Dialog(), L"dialog-fragments-notice-" + DpiText());

    open.Press(IDC_FRAG_PREVIOUS);
    EXPECT_EQ(open.ItemText(IDC_FRAG_NAME), L"foto.jpg");
    EXPECT_TRUE(IsWindowVisible(table));
    EXPECT_EQ(TestDriver::ListViewRowCount(table), 1);

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

// The text colour of one cell of the item list, asked in the list view's
// order as it paints: the paint, the row, the cell. CLR_INVALID when a stage
// does not ask for the next.
COLORREF CellColour(int row, int column) {
    NMLVCUSTOMDRAW draw{};
    draw.nmcd.hdr.code = NM_CUSTOMDRAW;
    draw.nmcd.dwItemSpec = static_cast<DWORD_PTR>(row);
    draw.iSubItem = column;
    LRESULT result = 0;
    const std::pair<DWORD, LRESULT> stages[] = {{CDDS_PREPAINT, CDRF_NOTIFYITEMDRAW},
                                                {CDDS_ITEMPREPAINT, CDRF_NOTIFYSUBITEMDRAW}};
    for (auto [stage, next] : stages) {
        draw.nmcd.dwDrawStage = stage;
        if (!OnItemListNotify(nullptr, &draw.nmcd.hdr, result) || !(result & next)) return CLR_INVALID;
    }
    draw.nmcd.dwDrawStage = CDDS_ITEMPREPAINT | CDDS_SUBITEM;
    OnItemListNotify(nullptr, &draw.nmcd.hdr, result);
    return draw.clrText;
}

// The highlight dialog's choices, once cancelled and once confirmed, as the
// item list paints them: errors on with a new colour, skipped off, the whole
// row. Which colour a row gets is the items' own rule; here, that the dialog
// stores the choices and each cell of the list receives the colour meant for
// it. A colour is chosen only for a category that is on.
TEST_F(ItemDialogsTest, TheHighlightDialogsChoicesReachTheListOnlyOnOk) {
    const COLORREF colours[] = {RGB(200, 30, 30), RGB(30, 140, 60), RGB(20, 80, 200), RGB(200, 120, 0),
                                RGB(120, 120, 120)};
    for (int i = 0; i < kItemColourCount; ++i) {
        gSettings.itemTextColour[i] = colours[i];
        gSettings.itemTextColourEnabled[i] = i != 3;
    }
    gSettings.itemTextColourFullRow = false;
    constexpr int kName = 0, kSize = 2;
    for (int button : {IDCANCEL, IDOK}) {
        SCOPED_TRACE(button == IDOK ? "OK" : "Cancel");
        OpenDialog open([] { ShowHighlightDialog(nullptr); }, L"Item highlighting");
        ASSERT_NE(open.Dialog(), nullptr);
        for (int i = 0; i < kItemColourCount; ++i) {
            HWND colour = open.Item(IDC_HIGHLIGHT_COLOUR_FIRST + i);
            EXPECT_EQ(static_cast<COLORREF>(SendMessageW(colour, kColourGet, 0, 0)), colours[i]);
            EXPECT_EQ(IsWindowEnabled(colour) != FALSE, i != 3) << i;
        }
        EXPECT_EQ(Untranslated(open.Dialog()), std::vector<std::wstring>{});
        if (button == IDOK) TestDriver::SaveWindowScreenshot(open.Dialog(), L"dialog-highlight-" + DpiText());
        SendMessageW(open.Item(IDC_HIGHLIGHT_CHECK_FIRST + 3), BM_CLICK, 0, 0);
        EXPECT_TRUE(IsWindowEnabled(open.Item(IDC_HIGHLIGHT_COLOUR_FIRST + 3)));
        SendMessageW(open.Item(IDC_HIGHLIGHT_COLOUR_FIRST + 3), kColourSet, RGB(1, 2, 3), 0);
        SendMessageW(open.Item(IDC_HIGHLIGHT_CHECK_FIRST + 4), BM_CLICK, 0, 0);
        SendMessageW(open.Item(IDC_HIGHLIGHT_FULL_ROW), BM_CLICK, 0, 0);
        PostMessageW(open.Dialog(), WM_COMMAND, button, 0);
        ASSERT_TRUE(open.Closed());
        const bool kept = button == IDCANCEL;
        EXPECT_EQ((std::vector<bool>(gSettings.itemTextColourEnabled, gSettings.itemTextColourEnabled + 5)),
                  (std::vector<bool>{true, true, true, !kept, kept}));
        EXPECT_EQ(gSettings.itemTextColour[3], kept ? colours[3] : RGB(1, 2, 3));
        // The newest item first: relazione.doc, fragmented, then foto.jpg, not.
        EXPECT_EQ(CellColour(0, kName), colours[0]);
        EXPECT_EQ(CellColour(0, kSize) == colours[0], !kept) << "the size in the highlight colour with the whole row";
        EXPECT_EQ(CellColour(1, kName), colours[1]);
        EXPECT_EQ(CellColour(1, kSize) == colours[1], !kept);
    }
}

std::wstring PartText(HWND bar, int part) {
    wchar_t text[256] = {};
    SendMessageW(bar, SB_GETTEXTW, static_cast<WPARAM>(part), reinterpret_cast<LPARAM>(text));
    return text;
}

// A status text changed with the bar's drawing held back (as a run changes
// them, painted with the window's next paint) reaches the part it was meant
// for, and a hidden bar stays hidden: drawing turned back on would show it.
TEST(StatusBarsTest, TextReachesItsPartAndAHiddenBarStaysHidden) {
    HWND parent = CreateWindowExW(0, L"STATIC", L"", WS_POPUP | WS_VISIBLE, 0, 0, 400, 100, nullptr, nullptr,
                                  GetModuleHandleW(nullptr), nullptr);
    ASSERT_NE(parent, nullptr);
    HWND bar = CreateWindowExW(0, STATUSCLASSNAMEW, L"", WS_CHILD, 0, 0, 400, 20, parent, nullptr,
                               GetModuleHandleW(nullptr), nullptr);
    ASSERT_NE(bar, nullptr);
    int parts[] = {200, -1};
    SendMessageW(bar, SB_SETPARTS, 2, reinterpret_cast<LPARAM>(parts));
    std::wstring first, second;
    SetTextPaintedLater(bar, SB_SETTEXTW, 0, L"Deframmentazione in corso...", first);
    SetTextPaintedLater(bar, SB_SETTEXTW, 1, L"Z:\\dati\\f1.bin", second);
    SetTextPaintedLater(bar, SB_SETTEXTW, 1, L"Z:\\dati\\f2.bin", second);
    EXPECT_EQ(PartText(bar, 0), L"Deframmentazione in corso...");
    EXPECT_EQ(PartText(bar, 1), L"Z:\\dati\\f2.bin");
    EXPECT_FALSE(IsWindowVisible(bar));
    DestroyWindow(parent);
}

// The controls of the disk-check and cleanup dialogs.
constexpr int kDiskDrives = 1003, kDiskOutput = 1005, kDiskNever = 1009, kCheckButton = 1010, kDiskSkip = 1011;
constexpr int kCleanupExternal = 1104, kCleanupNever = 1110, kStartCleanup = 1111, kCleanupSkip = 1112;

// The cleanup walks this fixture's own file system, where the temporary
// folder holds one file; on the disk that folder only has to exist. The
// checker is the scripted stand-in, its calls logged.
class PreRunStepsTest : public ItemDialogsTest {
protected:
    void SetUp() override {
        ItemDialogsTest::SetUp();
        std::filesystem::create_directories(temp_);
        gSettings.cleanupProgramPath.clear();
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
    bool Checked() const { return std::filesystem::exists(log_); }
    bool Cleaned() const { return !files_.fake.Exists((temp_ / "a.tmp").wstring()); }

    const std::filesystem::path temp_ = std::filesystem::current_path() / "dialogs-cleanup-temp";
    const std::filesystem::path log_ = std::filesystem::current_path() / "dialogs-chkdsk.log";
};

// Asked for, each dialog waits: nothing is checked or cleaned before a
// button. Enter does what the default button says (check, clean up), never
// cancelling the defragmentation. "Never again" moves the stored choice at
// once; Escape puts it back and ends the run, skipping keeps it and lets the
// run go on unchecked. Starting an external cleanup program nobody named
// complains and leaves the dialog usable.
TEST_F(PreRunStepsTest, EnterStartsTheStepEscapeCancelsAndNeverAgainIsKeptOnlyWhenSkipped) {
    struct Case {
        const char* what;
        bool disk;
        int pressed;  // a key, or the button
        int result;
        uint32_t kept;  // the stored choice afterwards
    };
    // Enter last: what it checks and cleans stays so.
    const Case cases[] = {
        {"disk check, Escape", true, VK_ESCAPE, kDiskCheckResultCancelled, kDiskCheckAsk},
        {"disk check, skipped", true, kDiskSkip, kDiskCheckResultSkipped, kDiskCheckOff},
        {"cleanup, Escape", false, VK_ESCAPE, kCleanupResultCancelled, kCleanupAsk},
        {"cleanup, refused, skipped", false, kCleanupSkip, kCleanupResultSkipped, kCleanupOff},
        // Nothing found, so the run goes on by itself.
        {"disk check, Enter", true, VK_RETURN, 9, kDiskCheckAsk},
        {"cleanup, Enter", false, VK_RETURN, kCleanupResultDone, kCleanupAsk},
    };
    bool checked = false;
    bool cleaned = false;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const bool enter = c.pressed == VK_RETURN;
        gSettings.diskCheck = kDiskCheckAsk;
        gSettings.cleanup = kCleanupAsk;
        const uint32_t& choice = c.disk ? gSettings.diskCheck : gSettings.cleanup;
        int result = -1;
        OpenDialog open([&] { result = c.disk ? RunDiskCheckDialog(nullptr, false) : RunCleanupDialog(nullptr, false); },
                        c.disk ? L"Disk check" : L"Deleting temporary files");
        ASSERT_NE(open.Dialog(), nullptr);
        const int start = c.disk ? kCheckButton : kStartCleanup;
        GUITHREADINFO focus{};
        focus.cbSize = sizeof focus;
        GetGUIThreadInfo(GetWindowThreadProcessId(open.Dialog(), nullptr), &focus);
        EXPECT_EQ(focus.hwndFocus, open.Item(start));
        EXPECT_EQ(Untranslated(open.Dialog()), std::vector<std::wstring>{});
        EXPECT_EQ(LOWORD(SendMessageW(open.Dialog(), DM_GETDEFID, 0, 0)), start);
        if (enter) {
            TestDriver::SaveWindowScreenshot(open.Dialog(),
                                             (c.disk ? L"dialog-diskcheck-" : L"dialog-cleanup-") + DpiText());
            TestDriver::PressKey(open.Dialog(), VK_RETURN);
        } else {
            // A click, which a command alone would not tick.
            PostMessageW(open.Item(c.disk ? kDiskNever : kCleanupNever), BM_CLICK, 0, 0);
            TestDriver::PumpMessages(200);
            EXPECT_EQ(choice, c.disk ? kDiskCheckOff : kCleanupOff) << "not moved at once";
            if (c.pressed == kCleanupSkip) {
                open.Press(kCleanupExternal);
                PostMessageW(open.Item(kStartCleanup), BM_CLICK, 0, 0);
                HWND complaint = open.BoxOver(L"Ordalis");
                ASSERT_NE(complaint, nullptr);
                TestDriver::PressButton(complaint, IDOK);
                for (int i = 0; i < 100 && !IsWindowEnabled(open.Item(kCleanupSkip)); ++i) TestDriver::PumpMessages(50);
                EXPECT_TRUE(IsWindowEnabled(open.Item(kCleanupSkip))) << "the dialog is not usable again";
            }
            if (c.pressed == VK_ESCAPE) {
                TestDriver::PressKey(open.Dialog(), VK_ESCAPE);
            } else {
                open.Press(c.pressed);
            }
        }
        ASSERT_TRUE(open.Closed());
        EXPECT_EQ(result, c.result);
        EXPECT_EQ(choice, c.kept);
        checked = checked || (c.disk && enter);
        cleaned = cleaned || (!c.disk && enter);
        EXPECT_EQ(Checked(), checked);
        EXPECT_EQ(Cleaned(), cleaned);
    }
}

// A check streams the checker's report and, finding errors, stays open for
// it to be read; closed, it hands the errors on. A checker that does not end
// holds nothing: Cancel stays usable and ends the dialog at once.
TEST_F(PreRunStepsTest, TheDiskCheckShowsTheCheckersReportAndHandsItsErrorsOn) {
    Script(L"Z:progress=30,100;text=Phase one|Bad index found;result=fail");
    int result = -1;
    OpenDialog open([&] { result = RunDiskCheckDialog(nullptr, false); }, L"Disk check");
    ASSERT_NE(open.Dialog(), nullptr);
    // A drive without a label is named by its kind.
    EXPECT_EQ(TestDriver::ListViewCellText(open.Item(kDiskDrives), 0, 0), L"Local disk (Z:)");
    open.Press(kCheckButton);
    for (int i = 0; i < 100 && open.ItemText(IDCANCEL) != L"C&lose"; ++i) TestDriver::PumpMessages(100);
    EXPECT_EQ(open.ItemText(IDCANCEL), L"C&lose");
    EXPECT_EQ(open.ItemText(kDiskOutput), L"Phase one\r\nBad index found\r\n");
    EXPECT_TRUE(Checked());
    TestDriver::SaveWindowScreenshot(open.Dialog(), L"dialog-diskcheck-errors-" + DpiText());
    open.Press(IDCANCEL);
    ASSERT_TRUE(open.Closed());
    EXPECT_EQ(result & kDiskCheckErrorsFound, kDiskCheckErrorsFound);

    // The checker goes on reporting for about ten seconds after Cancel: the
    // dialog must not wait for it, and its late reports must find nothing to
    // write into. It ends well before the tests do, never at the exit.
    Script(L"Z:delay=1000;progress=10,20,30,40,50,60,70,80,90");
    OpenDialog hanging([&] { result = RunDiskCheckDialog(nullptr, false); }, L"Disk check");
    ASSERT_NE(hanging.Dialog(), nullptr);
    hanging.Press(kCheckButton);
    HWND list = hanging.Item(kDiskDrives);
    for (int i = 0; i < 100 && TestDriver::ListViewCellText(list, 0, 1) != L"Analyzing..."; ++i) {
        TestDriver::PumpMessages(100);
    }
    ASSERT_EQ(TestDriver::ListViewCellText(list, 0, 1), L"Analyzing...");
    hanging.Press(IDCANCEL);
    ASSERT_TRUE(hanging.Closed(3000)) << "the dialog still waits for the checker";
    EXPECT_EQ(result, kDiskCheckResultCancelled);
}

// The warning before files on a solid-state drive are defragmented: which of
// its two buttons leaves the files alone.
TEST_F(PreRunStepsTest, TheSolidStateWarningLeavesTheFilesAloneOnlyWhenAskedTo) {
    constexpr int kKeepOff = 100, kGoOn = 200;
    for (int answer : {kKeepOff, kGoOn}) {
        SCOPED_TRACE(answer);
        bool keepOff = answer != kKeepOff;
        OpenDialog warning([&] { keepOff = SolidStateWarningDialog(nullptr); }, L"Solid-state drive");
        ASSERT_NE(warning.Dialog(), nullptr);
        warning.Press(answer);
        ASSERT_TRUE(warning.Closed());
        EXPECT_EQ(keepOff, answer == kKeepOff);
    }
}

// The dialogs that no case of their own opens, in English too.
TEST_F(ItemDialogsTest, EveryDialogShowsOnlyTextsOfTheEnglishFile) {
    struct Case {
        void (*show)(HWND owner);
        std::wstring title;
    };
    const Case cases[] = {
        {ShowWarrantyDialog, L"Warranty disclaimer"},
        {ShowCommandLineDialog, L"Command-line options"},
        {ShowAboutDialog, L"About Ordalis"},
        {ShowRecentProfilesDialog, L"Recent profiles"},
    };
    for (const Case& shown : cases) {
        SCOPED_TRACE(std::string(shown.title.begin(), shown.title.end()));
        OpenDialog open([show = shown.show] { show(nullptr); }, shown.title);
        ASSERT_NE(open.Dialog(), nullptr);
        // An information dialog's heading is its title or the program's name.
        EXPECT_EQ(Untranslated(open.Dialog(), {IDC_INFO_HEADING}), std::vector<std::wstring>{});
        TestDriver::SaveWindowScreenshot(open.Dialog(), L"dialog-english-" + shown.title + L"-" + DpiText());
    }
    // The information dialogs are titled like their menu commands.
    EXPECT_EQ(TitleFromMenuText(L"Salva && &chiudi\tCTRL+S"), L"Salva & chiudi");
}

// The filter lists of a program folder of the test's own, loaded as at
// start-up, with nothing saved yet.
class FilterDialogTest : public ItemDialogsTest {
protected:
    void SetUp() override {
        ItemDialogsTest::SetUp();
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
        std::filesystem::remove_all(folder_);
        ItemDialogsTest::TearDown();
    }
    // The stored lines of one filter file; "<none>" when there is none.
    std::vector<std::wstring> Stored(const wchar_t* name) const {
        UnicodeTextReader reader;
        if (!reader.Open((folder_ / name).wstring(), true, kLineLimitFilters)) return {L"<none>"};
        std::vector<std::wstring> lines;
        for (std::wstring line; reader.NextLine(line);) lines.push_back(line);
        return lines;
    }

    const std::filesystem::path folder_ = std::filesystem::current_path() / "filter-dialog-folder";
    std::wstring savedFolder_;
};

// Cancel after a change writes nothing and leaves the lists and the size
// limit as they were. Masks are split at ";" and trimmed, the size box keeps
// 1 to 999999999, and OK warns about a mask both included and excluded
// before it saves.
TEST_F(FilterDialogTest, TheFilterDialogCorrectsChecksAndSavesOnlyOnOk) {
    {
        OpenDialog open([] { ShowFilterDialog(nullptr); }, L"Filter");
        ASSERT_NE(open.Dialog(), nullptr);
        EXPECT_EQ(Untranslated(open.Dialog(), {IDC_FILTER_SIZE_BYTES}), std::vector<std::wstring>{});
        TestDriver::SetControlText(open.Item(IDC_FILTER_MASK), L"*.dll");
        open.Press(IDC_FILTER_ADD_INCLUDED);
        PostMessageW(open.Item(IDC_FILTER_SIZE_CHECK), BM_CLICK, 0, 0);
        TestDriver::SetControlText(open.Item(IDC_FILTER_SIZE), L"2048");
        open.Press(IDCANCEL);
        ASSERT_TRUE(open.Closed());
    }
    EXPECT_EQ(gInclusions.head, nullptr);
    EXPECT_FALSE(gSettings.excludeBySize);
    EXPECT_EQ(gSettings.maxFileSizeKiB, 100);
    EXPECT_EQ(Stored(L"Include.ini"), std::vector<std::wstring>{L"<none>"});

    OpenDialog open([] { ShowFilterDialog(nullptr); }, L"Filter");
    ASSERT_NE(open.Dialog(), nullptr);
    HWND maskBox = open.Item(IDC_FILTER_MASK);
    TestDriver::SetControlText(maskBox, L" *.dll ; *.exe;;");
    open.Press(IDC_FILTER_ADD_INCLUDED);
    EXPECT_EQ(TestDriver::WindowText(maskBox), L"");

    PostMessageW(open.Item(IDC_FILTER_SIZE_CHECK), BM_CLICK, 0, 0);
    TestDriver::PumpMessages(200);
    for (auto [typed, kept] : {std::pair{L"0", L"1"}, {L"12345678901", L"999999999"}, {L"2048", L"2048"}}) {
        TestDriver::SetControlText(open.Item(IDC_FILTER_SIZE), typed);
        EXPECT_EQ(open.ItemText(IDC_FILTER_SIZE), kept);
    }

    // Exclusion masks go through the small input dialog.
    PostMessageW(open.Item(IDC_FILTER_ADD_MASKS), BM_CLICK, 0, 0);
    HWND input = open.BoxOver(L"Add mask");
    ASSERT_NE(input, nullptr);
    TestDriver::SetControlText(GetDlgItem(input, IDC_MASK_INPUT), L"*.tmp;*.DLL");
    TestDriver::PressButton(input, IDOK);
    TestDriver::PumpMessages(300);
    TestDriver::SaveWindowScreenshot(open.Dialog(), L"dialog-filter-edited-" + DpiText());

    // OK warns about the duplicate mask; "edit" keeps the dialog open.
    open.Press(IDOK);
    HWND warning = open.BoxOver(L"Duplicate masks");
    ASSERT_NE(warning, nullptr);
    TestDriver::PressButton(warning, IDC_CHOICE_THIRD);
    TestDriver::PumpMessages(300);
    EXPECT_FALSE(open.Closed(0));
    EXPECT_EQ(Stored(L"Include.ini"), std::vector<std::wstring>{L"<none>"});
    open.Press(IDOK);
    warning = open.BoxOver(L"Duplicate masks");
    ASSERT_NE(warning, nullptr);
    TestDriver::PressButton(warning, IDC_CHOICE_SECOND);
    ASSERT_TRUE(open.Closed());
    EXPECT_EQ(Stored(L"Include.ini"), (std::vector<std::wstring>{L"W*.dll", L"W*.exe"}));
    EXPECT_EQ(Stored(L"Exclude.ini"), (std::vector<std::wstring>{L"W*.DLL", L"W*.tmp"}));
    EXPECT_TRUE(gSettings.excludeBySize);
    EXPECT_EQ(gSettings.maxFileSizeKiB, 2048);
}

using MessageBoxTest = ItemDialogsTest;

// Each button's number is the result it ends the box with; Escape cancels
// where the set has a way out, and a box without one stays open. A string
// id brings the language's text, whose bold runs lose their tags and whose
// paragraphs are lines of their own.
TEST_F(MessageBoxTest, EveryButtonEndsTheBoxWithItsResultAndEscapeCancelsWhereItMay) {
    using Buttons = std::vector<std::pair<int, std::wstring>>;
    struct ButtonSet {
        uint32_t flags;
        Buttons buttons;
        int escape;  // -1: the box stays open
    };
    const ButtonSet sets[] = {
        {0x800, {{10, L"&Continue"}, {11, L"&Quit"}}, -1},
        {0x1000, {{6, L"&Yes"}, {7, L"&No"}, {2, L"Cancel"}}, 2},
        {0x2000, {{1, L"OK"}, {2, L"Cancel"}}, 2},
        {0x4000, {{6, L"&Yes"}, {7, L"&No"}}, 7},
        {0, {{1, L"OK"}}, 1},
    };
    SetText(300, L"File <b>Z:\\a.txt</b> not found.\r\nSecond paragraph.");
    for (const ButtonSet& set : sets) {
        SCOPED_TRACE(testing::Message() << "flags 0x" << std::hex << set.flags);
        OpenDialog box([&] { return ShowMessageBox(nullptr, set.flags | 0x2, 300, L"Il file non esiste."); },
                       L"Ordalis", 0);
        ASSERT_NE(box.Dialog(), nullptr);
        Buttons shown;
        for (const TestDriver::DialogButton& button : TestDriver::DialogButtons(box.Dialog())) {
            shown.emplace_back(button.id, button.text);
        }
        EXPECT_EQ(shown, set.buttons);

        const std::vector<HWND> riches = TestDriver::ChildWindows(box.Dialog(), L"RichEdit20W");
        ASSERT_EQ(riches.size(), 1u) << "the message is shown through the rich-edit control";
        EXPECT_EQ(TestDriver::WindowText(riches[0]).substr(0, 24), L"File Z:\\a.txt not found.");
        EXPECT_EQ(SendMessageW(riches[0], EM_GETLINECOUNT, 0, 0), 2);
        auto boldAt = [rich = riches[0]](LONG start, LONG end) {
            SendMessageW(rich, EM_SETSEL, start, end);
            CHARFORMAT2W format{};
            format.cbSize = sizeof format;
            SendMessageW(rich, EM_GETCHARFORMAT, SCF_SELECTION, reinterpret_cast<LPARAM>(&format));
            return (format.dwMask & CFM_BOLD) && (format.dwEffects & CFE_BOLD);
        };
        EXPECT_FALSE(boldAt(0, 4)) << "File";
        EXPECT_TRUE(boldAt(5, 13)) << "Z:\\a.txt";
        EXPECT_FALSE(boldAt(14, 24)) << "not found.";

        TestDriver::PressKey(box.Dialog(), VK_ESCAPE);
        if (set.escape >= 0) {
            EXPECT_EQ(box.Result(), set.escape);
            continue;
        }
        // Ending a dialog takes Wine a while, but the box is hidden at once.
        TestDriver::PumpMessages(1000);
        EXPECT_TRUE(IsWindowVisible(box.Dialog())) << "a box without a way to cancel must stay open";
        TestDriver::PressButton(box.Dialog(), set.buttons.back().first);
        EXPECT_EQ(box.Result(), set.buttons.back().first);
    }
}

}  // namespace
