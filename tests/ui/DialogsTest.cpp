// The fragment details, the highlight dialog and the information dialogs as
// the user meets them: each runs on its own thread, as the window thread
// would show it, and the test reads and answers it. Pictures of each go to
// build/screenshots/ with the screen's dots per inch in their names.

#include "RunTestSupport.h"
#include "EnglishTexts.h"
#include "OpenDialog.h"
#include "items/ItemCells.h"
#include "items/win32/ShellItemTexts.h"
#include "res/ResourceIds.h"
#include "options/LanguageFile.h"
#include "options/Settings.h"
#include "ui/dialogs/FilterDialog.h"
#include "ui/ProfileCommands.h"
#include "ui/CleanupDialog.h"
#include "ui/DiskCheckDialog.h"
#include "ui/dialogs/FragmentsDialog.h"
#include "ui/HighlightDialog.h"
#include "ui/dialogs/InfoDialogs.h"
#include "ui/controls/Controls.h"
#include "util/UnicodeTextFile.h"

#include <commctrl.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <functional>

namespace {

std::wstring Dpi() {
    HDC screen = GetDC(nullptr);
    int dpi = GetDeviceCaps(screen, LOGPIXELSX);
    ReleaseDC(nullptr, screen);
    return std::to_wstring(dpi);
}

void LoadEnglish() { ASSERT_TRUE(LoadEnglishTexts()); }

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
    static int ScaledWidth(int size96) { return MulDiv(size96, std::stoi(Dpi()), 96); }

    Settings saved_;
};

TEST_F(ItemDialogsTest, AFragmentedFileShowsOneRowPerFragmentOfTheVolume) {
    const std::wstring path = L"Z:\\Documenti\\relazione.doc";
    OpenDialog open([&] { ShowFragmentsDialog(nullptr, items_, path); }, L"Frammenti");
    ASSERT_NE(open.Dialog(), nullptr);
    HWND table = open.Item(IDC_FRAG_TABLE);
    EXPECT_EQ(TestDriver::ListViewRowCount(table), static_cast<int>(Fragments(path)));
    EXPECT_EQ(TestDriver::ListViewRowCount(table), 5);
    EXPECT_TRUE(IsWindowVisible(table));
    EXPECT_FALSE(IsWindowVisible(open.Item(IDC_FRAG_NOTICE)));

    std::vector<std::wstring> headers, first, last;
    for (int column = 0; column <= 6; ++column) {
        headers.push_back(TestDriver::ListViewColumnHeader(table, column));
        first.push_back(TestDriver::ListViewCellText(table, 0, column));
        last.push_back(TestDriver::ListViewCellText(table, 4, column));
    }
    EXPECT_EQ(headers, (std::vector<std::wstring>{L"", L"N.", L"Cluster", L"Cluster iniziale", L"Cluster finale",
                                                  L"Dimensione (byte)", L"% del file"}));
    // The first column is out of sight; the others are at least their
    // designed width, and no number is cut.
    EXPECT_EQ(TestDriver::ListViewColumnWidth(table, 0), 0);
    for (int column = 1; column <= 6; ++column) {
        EXPECT_GE(TestDriver::ListViewColumnWidth(table, column), ScaledWidth(50)) << column;
        EXPECT_GT(TestDriver::ListViewColumnWidth(table, column),
                  ListView_GetStringWidth(table, TestDriver::ListViewCellText(table, 0, column).c_str()))
            << column;
    }
    const NumberFormat& numbers = LocaleNumbers();
    EXPECT_EQ(first, (std::vector<std::wstring>{L"", L"1", L"12", L"100", L"111", numbers.GroupDigits(49152),
                                                numbers.Percent(2667)}));
    EXPECT_EQ(last, (std::vector<std::wstring>{L"", L"5", L"1", numbers.GroupDigits(1400), numbers.GroupDigits(1400),
                                               numbers.GroupDigits(4096), numbers.Percent(222)}));

    // The general data.
    EXPECT_EQ(open.ItemText(IDC_FRAG_NAME), L"relazione.doc");
    EXPECT_EQ(open.ItemText(IDC_FRAG_PATH), L"Z:\\Documenti");
    EXPECT_EQ(open.ItemText(IDC_FRAG_COUNT), L"5");
    EXPECT_EQ(open.ItemText(IDC_FRAG_CLUSTERS), L"45");
    EXPECT_EQ(open.ItemText(IDC_FRAG_SIZE), numbers.KBSize(184320) + L" (" + numbers.GroupDigits(184320) + L" byte)");
    EXPECT_EQ(open.ItemText(IDC_FRAG_NAME_LABEL), L"Nome:");
    EXPECT_EQ(open.ItemText(IDC_FRAG_DISK_LABEL), L"Dimensione su disco:");
    // One item: nothing to step to.
    EXPECT_FALSE(IsWindowVisible(open.Item(IDC_FRAG_PREVIOUS)));
    EXPECT_FALSE(IsWindowVisible(open.Item(IDC_FRAG_NEXT)));
    TestDriver::SaveWindowScreenshot(open.Dialog(), L"dialog-fragments-" + Dpi());

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
    TestDriver::SaveWindowScreenshot(open.Dialog(), L"dialog-fragments-notice-" + Dpi());

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

TEST_F(ItemDialogsTest, EnglishTexts) {
    LoadEnglish();
    OpenDialog open([this] { ShowFragmentsDialog(nullptr, items_, L"Z:\\Documenti\\relazione.doc"); }, L"Fragments");
    ASSERT_NE(open.Dialog(), nullptr);
    HWND table = open.Item(IDC_FRAG_TABLE);
    std::vector<std::wstring> headers;
    for (int column = 1; column <= 6; ++column) headers.push_back(TestDriver::ListViewColumnHeader(table, column));
    EXPECT_EQ(headers, (std::vector<std::wstring>{L"No.", L"Clusters", L"First cluster", L"Last cluster",
                                                  L"Size (bytes)", L"% of file"}));
    EXPECT_EQ(open.ItemText(IDC_FRAG_TABLE_LABEL), L"Fragment details:");
    EXPECT_EQ(open.ItemText(IDC_FRAG_DISK_LABEL), L"Size on disk:");
    EXPECT_EQ(open.ItemText(IDOK), L"&Close");
    TestDriver::SaveWindowScreenshot(open.Dialog(), L"dialog-fragments-english-" + Dpi());
}

// ---- The steps before a defragmentation: Enter and Escape ----

// The window with the keyboard focus in the dialog's thread.
HWND FocusOf(HWND dialog) {
    GUITHREADINFO info{sizeof info};
    GetGUIThreadInfo(GetWindowThreadProcessId(dialog, nullptr), &info);
    return info.hwndFocus;
}

TEST_F(ItemDialogsTest, EnterDoesWhatTheDefaultButtonSaysAndEscapeCancels) {
    constexpr int kCheckButton = 1010, kStartCleanup = 1111;
    struct Case {
        const char* what;
        std::function<int()> show;
        const wchar_t* title;
        int focused;   // the control that has the focus on opening
        UINT key;
        int result;
    };
    // The cleanup walks this fixture's own file system; the temporary folder
    // only has to exist.
    const std::filesystem::path temp = std::filesystem::current_path() / "dialogs-cleanup-temp";
    std::filesystem::create_directories(temp);
    SetEnvironmentVariableW(L"TMP", temp.wstring().c_str());
    SetEnvironmentVariableW(L"TEMP", temp.wstring().c_str());
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
    SetEnvironmentVariableW(L"TMP", nullptr);
    SetEnvironmentVariableW(L"TEMP", nullptr);
}

// Every text of every dialog, in English, is a text of the English file:
// none is left in the built-in Italian. The controls listed as data show the
// item's own values.
TEST_F(ItemDialogsTest, EveryDialogShowsOnlyTextsOfTheEnglishFile) {
    LoadEnglish();
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
        TestDriver::SaveWindowScreenshot(open.Dialog(), L"dialog-english-" + shown.title + L"-" + Dpi());
    }
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
        std::vector<std::wstring> boxes;
        for (int i = 0; i < 5; ++i) boxes.push_back(open.ItemText(IDC_HIGHLIGHT_CHECK_FIRST + i));
        EXPECT_EQ(boxes, (std::vector<std::wstring>{L"Oggetto &frammentato", L"Oggetto &non frammentato",
                                                    L"Oggetto &deframmentato", L"Oggetto con &errori",
                                                    L"Oggetto &scartato"}));
        EXPECT_EQ(open.ItemText(IDC_HIGHLIGHT_FULL_ROW), L"Attiva e&videnziazione riga intera");
        for (int i = 0; i < 5; ++i) {
            HWND button = open.Item(IDC_HIGHLIGHT_COLOUR_FIRST + i);
            EXPECT_EQ(TestDriver::WindowClass(button), L"myTheme_ColoredButton358");
            EXPECT_EQ(static_cast<COLORREF>(SendMessageW(button, kColourGet, 0, 0)), gSettings.itemTextColour[i]);
            // A colour is chosen only for a category that is on.
            EXPECT_EQ(IsWindowEnabled(button) != FALSE, i != 3) << i;
        }
        TestDriver::SaveWindowScreenshot(open.Dialog(), L"dialog-highlight-" + Dpi());

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

TEST_F(HighlightDialogTest, EnglishTexts) {
    LoadEnglish();
    OpenDialog open([] { ShowHighlightDialog(nullptr); }, L"Item highlighting");
    ASSERT_NE(open.Dialog(), nullptr);
    std::vector<std::wstring> texts;
    for (int i = 0; i < 5; ++i) texts.push_back(open.ItemText(IDC_HIGHLIGHT_CHECK_FIRST + i));
    texts.push_back(open.ItemText(IDC_HIGHLIGHT_FULL_ROW));
    texts.push_back(open.ItemText(IDC_HIGHLIGHT_COLOUR_FIRST));
    EXPECT_EQ(texts, (std::vector<std::wstring>{L"&Fragmented items", L"Items &not fragmented",
                                               L"&Defragmented items", L"Items with &errors", L"&Skipped items",
                                               L"Highlight the &whole row", L"Color..."}));
    TestDriver::SaveWindowScreenshot(open.Dialog(), L"dialog-highlight-english-" + Dpi());
}

// ---- The "?" menu's dialogs ----

class InfoDialogsTest : public ::testing::Test {
protected:
    void TearDown() override { ResetTexts(); }
};

TEST_F(InfoDialogsTest, EachIsTitledLikeItsMenuCommand) {
    struct Case {
        std::function<void()> show;
        std::wstring title;
        std::wstring picture;
    };
    const Case cases[] = {
        {[] { ShowWarrantyDialog(nullptr); }, L"Esclusione di garanzie", L"dialog-warranty-"},
        {[] { ShowCommandLineDialog(nullptr); }, L"Parametri della riga di comando", L"dialog-command-line-"},
        {[] { ShowAboutDialog(nullptr); }, L"Informazioni su Ordalis", L"dialog-about-"},
    };
    for (const Case& shown : cases) {
        OpenDialog open(shown.show, shown.title);
        ASSERT_NE(open.Dialog(), nullptr);
        TestDriver::SaveWindowScreenshot(open.Dialog(), shown.picture + Dpi());
        open.Press(IDOK);
        EXPECT_TRUE(open.Closed());
    }
    {
        OpenDialog open([] { ShowAboutDialog(nullptr); }, L"Informazioni su Ordalis");
        EXPECT_EQ(open.ItemText(IDC_INFO_HEADING), L"Ordalis 1.00");
        EXPECT_EQ(open.ItemText(IDC_INFO_TEXT),
                  L"Ordalis deframmenta singoli file e cartelle: sposta ogni file frammentato, intero, in "
                  L"un'unica area libera del volume, senza riorganizzare il resto del disco.\r\n\r\n"
                  L"Copyright (c) 2026 The Ordalis developers");
    }
    LoadEnglish();
    for (auto [show, title] : std::vector<std::pair<std::function<void()>, std::wstring>>{
             {[] { ShowWarrantyDialog(nullptr); }, L"Warranty disclaimer"},
             {[] { ShowCommandLineDialog(nullptr); }, L"Command-line options"},
             {[] { ShowAboutDialog(nullptr); }, L"About Ordalis"}}) {
        OpenDialog open(show, title);
        EXPECT_NE(open.Dialog(), nullptr) << "no dialog titled " << std::string(title.begin(), title.end());
    }
    EXPECT_EQ(TitleFromMenuText(L"Salva && &chiudi\tCTRL+S"), L"Salva & chiudi");
}

}  // namespace
