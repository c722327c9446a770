// The window used as a person uses it: its columns, panels and status texts,
// sorting by a header click, items from the real file and folder dialogs and
// from a drop, Delete and Space on the focused list, the menus and the keys,
// and the runs started and stopped from the menu. While a run goes on,
// nothing that changes the list can be reached, and closing the window stops
// the run before anything more is moved.
#include "ProgramCase.h"
#include "ui/controls/Controls.h"

namespace {

using namespace e2e;

constexpr int kSizeColumn = 2;
const char* kVolume = "volume letter=Z clusters=4000 clusterSize=4096";

class WindowTest : public ProgramCase {
protected:
    // The simulating program; these runs are about the window's commands: no
    // disk check and no cleanup come before a defragmentation.
    void PrepareSim(const std::string& caseName) { Prepare("window-" + caseName, ORDALIS_SIM_PROGRAM); }
    void StartSim(const std::wstring& arguments) {
        Start(L"/LANG:IT /CHKDSK:0 /CLEAN:0 " + arguments);
        fragmented_ = GetDlgItem(GetDlgItem(main_, IDC_TAB_BODY), IDC_RESULT_LIST);
        ASSERT_NE(fragmented_, nullptr);
    }

    // The file or folder dialog that `command` opens, and its text box where
    // a path can be typed (the only box whose text can be edited).
    std::pair<HWND, HWND> OpenPathDialog(int command) {
        TestDriver::SendCommand(main_, command);
        HWND dialog = WaitForDialog();
        const std::vector<HWND> edits = dialog ? TestDriver::ChildWindows(dialog, L"Edit") : std::vector<HWND>{};
        return {dialog, edits.empty() ? nullptr : edits.front()};
    }
    void ConfirmPathDialog(HWND dialog) {
        TestDriver::PressButton(dialog, IDOK);
        WaitGone(dialog);
        TestDriver::PumpMessages(300);
    }

    // Gives a list the keyboard focus as a click below its rows does, then
    // selects the rows wanted.
    static void FocusRows(HWND list, const std::vector<int>& rows) {
        RECT client{};
        GetClientRect(list, &client);
        TestDriver::ClickAt(list, POINT{client.right / 2, client.bottom - 4});
        TestDriver::PumpMessages(200);
        TestDriver::SelectListViewRows(list, rows);
    }

    HWND fragmented_ = nullptr;
};

// The first start shows every column at its designed width, where the
// screen allows. Header clicks sort both ways with one arrow and the
// selection kept (the order itself is the item list's). The lower status bar
// is drawn whole after the window grew; the column commands hide, show and
// restore columns.
TEST_F(WindowTest, ColumnsHeaderClicksAndStatusBarsFollowTheWindow) {
    Prepare("window-columns", ORDALIS_PROGRAM);
    fs::create_directories(host_ / "data" / "zeta");
    fs::create_directories(host_ / "data" / "alfa");
    MakeFile("data/b.dat", 30000);
    MakeFile("data/a.dat", 10000);
    auto path = [this](const char* name) { return Win(std::string("data/") + name); };
    std::wstring arguments = L"/LANG:IT";
    for (const char* name : {"b.dat", "zeta", "a.dat", "alfa"}) arguments += L" \"" + path(name) + L"\"";
    Start(arguments);
    ASSERT_EQ(TestDriver::ListViewRowCount(items_), 4);
    // Every column shows, in sight: where the screen is too narrow for the
    // designed widths, the name column gives way, down to half its width.
    // The widths at the screen's scale are checked with the column commands.
    int total = 0;
    for (int column = 0; column < 10; ++column) {
        EXPECT_GT(TestDriver::ListViewColumnWidth(items_, column), 0) << column;
        total += TestDriver::ListViewColumnWidth(items_, column);
    }
    EXPECT_GE(TestDriver::ListViewColumnWidth(items_, 0), Scaled(400) / 2);
    RECT inside{};
    GetClientRect(items_, &inside);
    EXPECT_LE(total, inside.right) << "a column is out of sight";
    EXPECT_EQ(StatusTexts(main_), (std::vector<std::wstring>{L"Oggetti totali in elenco: 4", L"In attesa"}));

    auto selected = [this] {
        std::vector<std::wstring> names;
        for (int row = 0; row < TestDriver::ListViewRowCount(items_); ++row) {
            if (TestDriver::ListViewRowState(items_, row, LVIS_SELECTED) > 0) {
                names.push_back(TestDriver::ListViewCellText(items_, row, 0));
            }
        }
        return names;
    };
    // Rows whose places all change with each sort: a selection kept by row
    // number shows.
    ASSERT_TRUE(
        TestDriver::SelectListViewRows(items_, {RowOf(items_, path("a.dat")), RowOf(items_, path("b.dat"))}));
    ASSERT_TRUE(TestDriver::ClickListViewHeader(items_, kSizeColumn));
    const std::vector<std::wstring> ascending = {path("alfa"), path("zeta"), path("a.dat"), path("b.dat")};
    EXPECT_EQ(TestDriver::ListViewColumnTexts(items_, 0), ascending);
    EXPECT_EQ(TestDriver::ListViewSortArrow(items_, kSizeColumn), 1);
    EXPECT_EQ(selected(), (std::vector<std::wstring>{path("a.dat"), path("b.dat")}));
    ASSERT_TRUE(TestDriver::ClickListViewHeader(items_, kSizeColumn));
    EXPECT_EQ(TestDriver::ListViewColumnTexts(items_, 0), std::vector<std::wstring>(ascending.rbegin(), ascending.rend()));
    EXPECT_EQ(TestDriver::ListViewSortArrow(items_, kSizeColumn), -1);
    EXPECT_EQ(selected(), (std::vector<std::wstring>{path("b.dat"), path("a.dat")}));
    ASSERT_TRUE(TestDriver::ClickListViewHeader(items_, kStateColumn));
    EXPECT_EQ(TestDriver::ListViewSortArrow(items_, kStateColumn), 1);
    EXPECT_EQ(TestDriver::ListViewSortArrow(items_, kSizeColumn), 0) << "one arrow at a time";

    // Narrowed and widened again, the lower bar still says the program
    // waits, and is drawn whole: no edge is left where the bar ended before
    // it grew.
    const HWND lowerBar = GetDlgItem(main_, IDC_STATUS_LOWER);
    SetWindowPos(main_, nullptr, 50, 50, Scaled(640), Scaled(420), SWP_NOZORDER);
    TestDriver::PumpMessages(500);
    RECT narrow{};
    GetClientRect(lowerBar, &narrow);
    SetWindowPos(main_, nullptr, 50, 50, Scaled(1000), Scaled(560), SWP_NOZORDER);
    TestDriver::PumpMessages(500);
    EXPECT_EQ(TestDriver::WindowText(lowerBar), L"In attesa");
    POINT middle{narrow.right + Scaled(40), narrow.bottom / 2};
    ClientToScreen(lowerBar, &middle);
    HDC screen = GetDC(nullptr);
    const COLORREF face = GetPixel(screen, middle.x, middle.y);
    for (int x = -4; x <= 4; ++x) {
        EXPECT_EQ(GetPixel(screen, middle.x - Scaled(40) + x, middle.y), face) << "at the old edge " << x;
    }
    ReleaseDC(nullptr, screen);
    Picture(L"main_columns");

    TestDriver::SendCommand(main_, kCmdColumnState);
    TestDriver::SendCommand(main_, kCmdColumnSizeOnDisk);
    TestDriver::PumpMessages(300);
    EXPECT_EQ(TestDriver::ListViewColumnWidth(items_, kStateColumn), 0);
    EXPECT_EQ(TestDriver::ListViewColumnWidth(items_, 3), 0);
    TestDriver::SendCommand(main_, kCmdColumnState);
    TestDriver::PumpMessages(300);
    EXPECT_EQ(TestDriver::ListViewColumnWidth(items_, kStateColumn), Scaled(118)) << "shown again";
    EXPECT_EQ(TestDriver::ListViewColumnWidth(items_, 3), 0);
    TestDriver::SendCommand(main_, kCmdDefaultColumns);
    TestDriver::PumpMessages(300);
    EXPECT_EQ(TestDriver::ListViewColumnWidth(items_, 3), Scaled(120));
    EXPECT_EQ(Close(), 0u);
}

// Keys typed as a person types them: through the system's input, so that
// Shift and Ctrl are down while Tab is.
void Type(std::initializer_list<WORD> held, WORD key) {
    std::vector<INPUT> inputs;
    auto add = [&inputs](WORD code, bool up) {
        INPUT input{};
        input.type = INPUT_KEYBOARD;
        input.ki.wVk = code;
        input.ki.dwFlags = up ? KEYEVENTF_KEYUP : 0;
        inputs.push_back(input);
    };
    for (WORD code : held) add(code, false);
    add(key, false);
    add(key, true);
    for (WORD code : held) add(code, true);
    SendInput(static_cast<UINT>(inputs.size()), inputs.data(), sizeof(INPUT));
    TestDriver::PumpMessages(250);
}

// From an empty window: two files through the file dialog, a folder through
// the folder dialog, a dropped file, one removed with Delete; an analysis;
// the window walked by its keys and its menus opened; two fragmented files
// marked with Space and defragmented alone, one of them
// refused by the volume: the summary, the error tab and the counters (which
// files moved is the run's own, checked without the window).
TEST_F(WindowTest, APersonFillsTheListWalksTheWindowByKeysAndDefragmentsTheMarkedFiles) {
    PrepareSim("person");
    Describe(kVolume, {{"data/one.bin", 16384, "100:2,110:2"},
                       {"data/gone.bin", 16384, "200:2,210:2"},
                       {"data/tree/a.bin", 16384, "300:2,310:2"},
                       {"data/tree/b.bin", 16384, "400:1,410:1,420:2"},
                       {"data/drop.bin", 16384, "500:2,510:2"}},
             "fault \"" + Narrow(Win("data/tree/b.bin")) + "\" control=move call=1 status=0xC0000022\n");
    StartSim(L"");
    if (HasFatalFailure()) return;
    EXPECT_EQ(TestDriver::ListViewRowCount(items_), 0);

    // Two files at once from the file dialog: the folder first, then both names.
    const auto [open, box] = OpenPathDialog(kCmdAddFiles);
    ASSERT_NE(box, nullptr) << "no file dialog with a box for a path";
    TestDriver::SetControlText(box, Win("data"));
    TestDriver::PressButton(open, IDOK);
    TestDriver::PumpMessages(500);
    TestDriver::SetControlText(box, L"\"one.bin\" \"gone.bin\"");
    Picture(L"commands-2-file-dialog", open);
    ConfirmPathDialog(open);
    EXPECT_EQ(TestDriver::ListViewRowCount(items_), 2);

    const auto [browse, folderBox] = OpenPathDialog(kCmdAddFolder);
    ASSERT_NE(folderBox, nullptr) << "no folder dialog with a box for a path";
    TestDriver::SetControlText(folderBox, Win("data/tree"));
    Picture(L"commands-3-folder-dialog", browse);
    ConfirmPathDialog(browse);
    EXPECT_EQ(TestDriver::ListViewRowCount(items_), 3);

    ASSERT_TRUE(TestDriver::DropFiles(main_, {Win("data/drop.bin")}));
    TestDriver::PumpMessages(500);
    EXPECT_EQ(TestDriver::ListViewRowCount(items_), 4);
    Picture(L"commands-4-filled");

    const int gone = RowOf(items_, Win("data/gone.bin"));
    ASSERT_GE(gone, 0);
    FocusRows(items_, {gone});
    TestDriver::PressKey(main_, VK_DELETE);
    HWND question = WaitForDialog();
    ASSERT_NE(question, nullptr) << "Delete asked nothing";
    EXPECT_NE(TestDriver::MessageBoxMessage(question).find(L"(1)"), std::wstring::npos);
    Picture(L"commands-delete-question", question);
    TestDriver::PressButton(question, IDOK);
    WaitGone(question);
    TestDriver::PumpMessages(300);
    EXPECT_EQ(TestDriver::ListViewRowCount(items_), 3);
    EXPECT_EQ(RowOf(items_, Win("data/gone.bin")), -1);

    TestDriver::SendCommand(main_, kCmdAnalyzeAll);
    for (int i = 0; i < 500 && TestDriver::ListViewRowCount(fragmented_) < 4; ++i) TestDriver::PumpMessages(20);
    TestDriver::PumpMessages(500);
    ASSERT_EQ(TestDriver::ListViewRowCount(fragmented_), 4) << "the analysis is the run's own";

    // Tab and Shift+Tab walk every group of controls: the toolbar's buttons,
    // the item list, the bottom tabs and the list under them; Ctrl+Tab
    // switches the bottom tab from anywhere. A double click on a fragmented
    // file's row shows its fragments. The lists' context menus open by a
    // right click and by the menu key, the profiles button's by a click on
    // its arrow (what they hold is the menus' own, shown in-process).
    SetForegroundWindow(main_);
    FocusRows(items_, {0});
    ASSERT_EQ(FocusOf(main_), items_);

    std::wstring reached;  // the classes of the controls reached
    bool fragmentedReached = false;
    HWND before = nullptr;
    for (int i = 0; i < 16; ++i) {
        before = FocusOf(main_);
        Type({}, VK_TAB);
        HWND focus = FocusOf(main_);
        reached += TestDriver::WindowClass(focus) + L" ";
        fragmentedReached = fragmentedReached || focus == fragmented_;
        if (TestDriver::WindowClass(focus).find(L"ToolbarButton") != std::wstring::npos) Picture(L"commands-tab-toolbar");
    }
    for (const wchar_t* part : {L"ToolbarButton", L"BottomTabs", L"SysListView32"}) {
        EXPECT_NE(reached.find(part), std::wstring::npos) << Narrow(part);
    }
    EXPECT_TRUE(fragmentedReached);
    HWND last = FocusOf(main_);
    Type({VK_SHIFT}, VK_TAB);
    EXPECT_EQ(FocusOf(main_), before) << "Shift+Tab goes back one step";
    Type({}, VK_TAB);
    EXPECT_EQ(FocusOf(main_), last);

    const HWND tabs = GetDlgItem(main_, IDC_BOTTOM_TABS);
    ASSERT_NE(tabs, nullptr);
    const LRESULT selected = SendMessageW(tabs, kTabsGetSelected, 0, 0);
    FocusRows(items_, {0});
    Type({VK_CONTROL}, VK_TAB);
    EXPECT_NE(SendMessageW(tabs, kTabsGetSelected, 0, 0), selected);
    Type({VK_CONTROL}, VK_TAB);
    EXPECT_EQ(SendMessageW(tabs, kTabsGetSelected, 0, 0), selected);
    EXPECT_EQ(FocusOf(main_), items_) << "switching tabs leaves the focus where it was";

    RECT header{};
    GetWindowRect(reinterpret_cast<HWND>(SendMessageW(fragmented_, LVM_GETHEADER, 0, 0)), &header);
    const LPARAM row = MAKELPARAM(30, header.bottom - header.top + 6);
    for (UINT message : {WM_LBUTTONDOWN, WM_LBUTTONUP, WM_LBUTTONDBLCLK, WM_LBUTTONUP}) {
        PostMessageW(fragmented_, message, message == WM_LBUTTONUP ? 0 : MK_LBUTTON, row);
    }
    HWND details = WaitForDialog();
    ASSERT_NE(details, nullptr) << "no fragment details after a double click";
    EXPECT_EQ(TestDriver::ListViewRowCount(GetDlgItem(details, IDC_FRAG_TABLE)), 2);
    Picture(L"commands-double-click-details", details);
    PostMessageW(details, WM_COMMAND, IDCANCEL, 0);
    WaitGone(details);

    // Waits for the menu the action brought up, pictures it and closes it.
    auto expectMenu = [this](const std::wstring& picture) {
        HWND menu = nullptr;
        for (int i = 0; i < 100 && !menu; ++i) {
            TestDriver::PumpMessages(20);
            menu = TestDriver::FindTopWindow({L"#32768", nullptr, program_->ProcessId()});
        }
        ASSERT_NE(menu, nullptr) << Narrow(picture);
        Picture(picture, menu);
        TestDriver::PressKey(menu, VK_ESCAPE);
        for (int i = 0; i < 100 && IsWindowVisible(menu); ++i) TestDriver::PumpMessages(20);
    };
    RECT list{};
    GetWindowRect(items_, &list);
    PostMessageW(items_, WM_CONTEXTMENU, reinterpret_cast<WPARAM>(items_),
                 MAKELPARAM(list.left + 60, list.top + Scaled(30)));
    expectMenu(L"commands-menu-items");
    FocusRows(fragmented_, {0});
    TestDriver::PressKey(fragmented_, VK_APPS);
    expectMenu(L"commands-menu-fragmented");
    HWND profiles = GetDlgItem(main_, kCmdImportProfile);
    ASSERT_NE(profiles, nullptr);
    RECT button{};
    GetClientRect(profiles, &button);
    TestDriver::ClickAt(profiles, POINT{button.right - Scaled(6), button.bottom / 2});
    expectMenu(L"commands-menu-recent");

    // Space acts on the list that has the focus: in the item list it flips
    // the focused item's own box (twice here, back to ticked) and leaves the
    // fragmented files' marks alone; had it marked rows 0 and 2 of the
    // fragmented files as well, four files would be defragmented below.
    TestDriver::SelectListViewRows(fragmented_, {0, 2});
    FocusRows(items_, {0});
    auto ticked = [this] { return TestDriver::ListViewRowState(items_, 0, LVIS_STATEIMAGEMASK) == INDEXTOSTATEIMAGEMASK(2); };
    ASSERT_TRUE(ticked());
    for (bool expected : {false, true}) {
        TestDriver::PressKey(items_, VK_SPACE);
        TestDriver::PumpMessages(300);
        EXPECT_EQ(ticked(), expected);
    }
    FocusRows(fragmented_, {1, 3});
    TestDriver::PressKey(fragmented_, VK_SPACE);
    TestDriver::SendCommand(main_, kCmdDefragSelectedFiles);
    HWND summary = WaitForDialog();
    ASSERT_NE(summary, nullptr) << "no summary after the defragmentation";
    // The two marked files: one moved, one whose move the volume refused.
    EXPECT_EQ(TestDriver::ChildTexts(summary),
              (std::vector<std::wstring>{L"File elaborati:", L"2", L"File frammentati:", L"0", L"File non frammentati:",
                                         L"0", L"File deframmentati:", L"1", L"Errori:", L"1", L"OK"}));
    TestDriver::PressButton(summary, IDOK);
    WaitGone(summary);
    TestDriver::PumpMessages(300);
    // The refused file is on the error tab, shown after the run (its reason
    // is the run's own); the counters beside the tabs are the summary's.
    const HWND errors = GetDlgItem(GetDlgItem(main_, IDC_TAB_BODY), IDC_ERROR_LIST);
    ASSERT_NE(errors, nullptr);
    EXPECT_TRUE(IsWindowVisible(errors));
    EXPECT_EQ(TestDriver::ListViewColumnTexts(errors, 0), std::vector<std::wstring>{Win("data/tree/b.bin")});
    const HWND counters = GetDlgItem(main_, IDC_COUNTERS_PANEL);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(TestDriver::WindowText(GetDlgItem(counters, IDC_SUMMARY_VALUE_FIRST + i)), i < 2 ? L"0" : L"1") << i;
    }
    Picture(L"commands-7-errors");
    EXPECT_EQ(Close(), 0u);
}

// A long defragmentation: the window keeps answering and locks what changes
// the list. The close box asks first, and "No" keeps the run going; Stop from
// the menu ends the run at once, the file being moved between two extents,
// and the summary follows. Closed with "Yes" during the next run, the
// process ends at once and the next file is never touched.
TEST_F(WindowTest, StopAndCloseEndALongRunAtOnce) {
    PrepareSim("stop");
    // A file of 300 one-cluster extents on a volume whose moves take 30 ms
    // each: its move lasts about nine seconds. A second fragmented file comes
    // after it.
    constexpr int kExtents = 300;
    std::string runs, gaps;
    for (int i = 0; i < kExtents; ++i) {
        runs += (i ? "," : "") + std::to_string(1000 + 2 * i) + ":1";
        gaps += "reserve " + std::to_string(1001 + 2 * i) + " 1\n";
    }
    Describe("volume letter=Z clusters=4000 clusterSize=4096 moveDelay=30",
             {{"data/big.bin", kExtents * 4096, runs}, {"data/later.bin", 16384, "100:2,110:2"}}, gaps);
    StartSim(Win("data"));
    if (HasFatalFailure()) return;

    TestDriver::SendCommand(main_, kCmdDefragAll);
    ASSERT_EQ(WaitForCell(items_, 0, kStateColumn, kWorking), kWorking);
    // The window applies the busy rules of its commands (the rules are the
    // command table's own): what changes the list is greyed on the menu and
    // the toolbar, and the keys and drops change nothing; Stop is enabled.
    // Each menu query is a message the window thread must answer at once
    // while it waits for the worker.
    DWORD slowest = 0;
    for (int command : {kCmdAddFiles, kCmdRemove, kCmdAnalyzeAll, kCmdDefragAll}) {
        const DWORD before = GetTickCount();
        EXPECT_EQ(TestDriver::MenuItemEnabled(main_, command), 0) << "menu command " << command;
        slowest = std::max(slowest, GetTickCount() - before);
        EXPECT_FALSE(IsWindowEnabled(GetDlgItem(main_, command))) << "toolbar button " << command;
        TestDriver::PumpMessages(100);
    }
    EXPECT_LT(slowest, 1000u) << "the window does not answer while the worker runs";
    EXPECT_EQ(TestDriver::MenuItemEnabled(main_, kCmdStop), 1);
    EXPECT_TRUE(IsWindowEnabled(GetDlgItem(main_, kCmdStop)));
    MakeFile("late.bin", 4096);
    TestDriver::SelectListViewRows(items_, {0});
    TestDriver::PressKey(items_, VK_DELETE);
    TestDriver::SendCommand(main_, kCmdRemove);
    TestDriver::DropFiles(main_, {Win("late.bin")});
    TestDriver::PumpMessages(300);
    EXPECT_EQ(TestDriver::ListViewRowCount(items_), 1);
    Picture(L"commands-defragmentation-running");
    PostMessageW(main_, WM_CLOSE, 0, 0);
    HWND question = WaitForDialog();
    ASSERT_NE(question, nullptr) << "closing during a run asks nothing";
    EXPECT_NE(TestDriver::MessageBoxMessage(question).find(L"Arrestarla e chiudere Ordalis?"), std::wstring::npos);
    TestDriver::PressButton(question, IDNO);
    WaitGone(question);
    TestDriver::PumpMessages(500);
    EXPECT_EQ(TestDriver::ListViewCellText(items_, 0, kStateColumn), kWorking);
    const DWORD stopped = GetTickCount();
    TestDriver::SendCommand(main_, kCmdStop);
    EXPECT_EQ(WaitForCell(items_, 0, kStateColumn, L"Interrotto", 5000), L"Interrotto");
    EXPECT_LT(GetTickCount() - stopped, 3000u);
    HWND summary = WaitForTitle(L"Riepilogo");
    ASSERT_NE(summary, nullptr) << "no summary after the stop";
    TestDriver::PressButton(summary, IDOK);
    WaitGone(summary);
    TestDriver::PumpMessages(300);
    EXPECT_EQ(TestDriver::MenuItemEnabled(main_, kCmdStop), 0) << "no run to stop";
    EXPECT_EQ(TestDriver::MenuItemEnabled(main_, kCmdAddFiles), 1);

    TestDriver::SendCommand(main_, kCmdDefragAll);
    ASSERT_EQ(WaitForCell(items_, 0, kStateColumn, kWorking), kWorking);
    TestDriver::PumpMessages(500);
    PostMessageW(main_, WM_CLOSE, 0, 0);
    question = WaitForDialog();
    ASSERT_NE(question, nullptr);
    TestDriver::PressButton(question, IDYES);
    WaitGone(question);
    // From the box's end on: under Wine without a window manager, ending any
    // dialog takes about two seconds inside the system's own call (in a Wine
    // desktop window the box is gone and the program ended within 0.2 s of
    // the click).
    const DWORD closed = GetTickCount();
    ASSERT_TRUE(program_->WaitForExit(10000)) << "still running after the close";
    EXPECT_LT(GetTickCount() - closed, 3000u);
    EXPECT_TRUE(EndState().ends_with("check ok\n")) << EndState();
    EXPECT_EQ(FileLine(EndState(), Win("data/later.bin")), FileLine(description_, Win("data/later.bin")));
    // Stopped part way: the first extent has left its place, the last has not.
    const std::string big = FileLine(EndState(), Win("data/big.bin"));
    EXPECT_EQ(big.find("runs=1000:1,"), std::string::npos) << big;
    EXPECT_NE(big.find(",1598:1"), std::string::npos) << big;
}


}  // namespace
