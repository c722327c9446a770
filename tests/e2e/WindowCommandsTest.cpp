// The window used as a person uses it, on the simulating program: items come
// from the real file and folder dialogs and from a drop, go with the Delete
// key, and the runs are started and stopped from the menu. While a run or an
// import goes on, nothing that changes the list can be reached, and closing
// the window stops the run before anything more is moved.
#include "ProgramCase.h"

#include <gtest/gtest.h>

#include <commctrl.h>

#include <algorithm>
#include <set>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

using namespace e2e;

class WindowCommandsTest : public ProgramCase {
protected:
    void TearDown() override {
        if (program_ && program_->Running()) program_->Kill();
        ProgramCase::TearDown();
    }

    void Prepare(const std::string& caseName) { ProgramCase::Prepare("commands-" + caseName, ORDALIS_SIM_PROGRAM); }

    // These runs are about the window's commands: no disk check and no
    // cleanup come before a defragmentation.
    void Start(const std::wstring& arguments) {
        program_ = TestDriver::StartProgram(exe_, L"/LANG:IT /CHKDSK:0 /CLEAN:0 " + arguments);
        ASSERT_TRUE(program_);
        main_ = TestDriver::WaitForWindow(kDialogClass, kMainTitle, program_->ProcessId(), kWaitMs);
        ASSERT_NE(main_, nullptr);
        items_ = TestDriver::FindListViewByHeader(main_, L"Nome");
        fragmented_ = TestDriver::FindListViewByHeader(main_, L"      Nome");
        ASSERT_NE(items_, nullptr);
        ASSERT_NE(fragmented_, nullptr);
    }

    void Picture(const std::wstring& name) {
        TestDriver::PumpMessages(400);
        TestDriver::SaveWindowScreenshot(main_, L"commands-" + name + L"-" + std::to_wstring(ScreenDpi()));
    }

    // The line of one file in the volume's description or end state.
    static std::string FileLine(const std::string& state, const std::wstring& path) {
        const std::string key = "file \"" + Narrow(path) + "\"";
        const size_t at = state.find(key);
        if (at == std::string::npos) return "<no " + key + ">";
        return state.substr(at, state.find('\n', at) - at);
    }

    std::wstring WaitForState(int row, const std::wstring& wanted, DWORD timeoutMs = kWaitMs) {
        std::wstring state;
        for (DWORD waited = 0; waited < timeoutMs; waited += 20) {
            state = TestDriver::ListViewCellText(items_, row, kStateColumn);
            if (state == wanted) break;
            TestDriver::PumpMessages(20);
        }
        return state;
    }

    // The row of the list whose first column reads `path`, or -1.
    static int RowOf(HWND list, const std::wstring& path) {
        std::vector<std::wstring> names = TestDriver::ListViewColumnTexts(list, 0);
        auto found = std::find(names.begin(), names.end(), path);
        return found == names.end() ? -1 : static_cast<int>(found - names.begin());
    }

    // The text box of a file or folder dialog where a path can be typed.
    static HWND PathBox(HWND dialog) {
        for (int id : {1148, 1152}) {
            HWND control = GetDlgItem(dialog, id);
            if (!control) continue;
            if (TestDriver::WindowClass(control) == L"Edit") return control;
            std::vector<HWND> edits = TestDriver::ChildWindows(control, L"Edit");
            if (!edits.empty()) return edits.front();
        }
        std::vector<HWND> edits = TestDriver::ChildWindows(dialog, L"Edit");
        return edits.empty() ? nullptr : edits.front();
    }

    HWND WaitForDialog() { return TestDriver::WaitForDialogOf(program_->ProcessId(), main_, kWaitMs); }

    // Gives a list the keyboard focus as a click below its rows does, then
    // selects the rows wanted.
    static void FocusRows(HWND list, const std::vector<int>& rows) {
        RECT client{};
        GetClientRect(list, &client);
        TestDriver::ClickAt(list, POINT{client.right / 2, client.bottom - 4});
        TestDriver::PumpMessages(200);
        TestDriver::SelectListViewRows(list, rows);
    }

    // Delete on the focused list, answered with OK once it asked; the
    // question's text.
    std::wstring DeleteAndConfirm() {
        TestDriver::PressKey(main_, VK_DELETE);
        HWND question = WaitForDialog();
        if (!question) return L"<no question>";
        const std::wstring text = TestDriver::MessageBoxMessage(question);
        TestDriver::PumpMessages(300);
        TestDriver::SaveWindowScreenshot(question, L"commands-delete-question-" + std::to_wstring(ScreenDpi()));
        TestDriver::PressButton(question, IDOK);
        WaitGone(question);
        TestDriver::PumpMessages(300);
        return text;
    }

    void WaitGone(HWND dialog) {
        for (DWORD waited = 0; IsWindow(dialog) && waited < kWaitMs; waited += 50) TestDriver::PumpMessages(50);
    }

    // Every command that changes the list, the filters, the language or the
    // settings is greyed and refused, drops are refused; Stop is enabled.
    void ExpectLocked(const std::string& during, bool importing = false) {
        SCOPED_TRACE(during);
        for (int command : {kCmdAddFiles, kCmdAddFolder, kCmdRemove, kCmdImportProfile, kCmdSaveProfile, kCmdAnalyzeAll, kCmdDefragAll, kCmdExcludeSelected,
                            kCmdFilterDialog, kCmdAnalyzeSelected, kCmdDefragSelected, kCmdQuickStrategy, kCmdDiskCheckAuto, kCmdCleanupAuto,
                            kCmdNoSolidStateDetection, kCmdFirstLanguage, kCmdRecentProfilesDialog, kCmdSaveReport}) {
            EXPECT_EQ(TestDriver::MenuItemEnabled(main_, command), 0) << "menu command " << command;
        }
        for (int button : {kCmdAddFiles, kCmdRemove, kCmdAnalyzeAll, kCmdDefragAll}) {
            EXPECT_FALSE(IsWindowEnabled(GetDlgItem(main_, button))) << "toolbar button " << button;
        }
        EXPECT_EQ(TestDriver::MenuItemEnabled(main_, kCmdStop), 1);
        EXPECT_TRUE(IsWindowEnabled(GetDlgItem(main_, kCmdStop)));
        // The keys and a drop change nothing either. An import adds its own
        // items meanwhile: there only the drop is looked at, once it stopped.
        MakeFile("data/late.bin", 4096);
        const int rows = TestDriver::ListViewRowCount(items_);
        if (!importing) {
            TestDriver::SelectListViewRows(items_, {0});
            TestDriver::PressKey(items_, VK_DELETE);
            TestDriver::SendCommand(main_, kCmdRemove);
        }
        TestDriver::DropFiles(main_, {Win("data/late.bin")});
        TestDriver::PumpMessages(300);
        if (!importing) EXPECT_EQ(TestDriver::ListViewRowCount(items_), rows);
    }

    std::unique_ptr<TestDriver::RunningProgram> program_;
    HWND main_ = nullptr;
    HWND items_ = nullptr;
    HWND fragmented_ = nullptr;
};

const char* kVolume = "volume letter=Z clusters=4000 clusterSize=4096";

// From an empty window: two files through the file dialog, a folder through
// the folder dialog, a dropped file, one removed with Delete; an analysis;
// two fragmented files marked with Space and defragmented alone.
TEST_F(WindowCommandsTest, APersonFillsTheListAnalysesAndDefragmentsTheMarkedFiles) {
    Prepare("person");
    MakeFile("data/one.bin", 16384);
    MakeFile("data/gone.bin", 8192);
    MakeFile("data/tree/a.bin", 16384);
    MakeFile("data/tree/b.bin", 12288);
    MakeFile("data/drop.bin", 16384);
    Describe(kVolume, {{"data/one.bin", "size=16384 runs=100:2,110:2"},
                       {"data/gone.bin", "size=8192 runs=200:1,210:1"},
                       {"data/tree/a.bin", "size=16384 runs=300:2,310:2"},
                       {"data/tree/b.bin", "size=12288 runs=400:1,410:1,420:1"},
                       {"data/drop.bin", "size=16384 runs=500:2,510:2"}});
    Start(L"");
    if (HasFatalFailure()) return;
    EXPECT_EQ(TestDriver::ListViewRowCount(items_), 0);
    Picture(L"1-empty");

    // Two files at once from the file dialog: the folder first, then both names.
    TestDriver::SendCommand(main_, kCmdAddFiles);
    HWND open = WaitForDialog();
    ASSERT_NE(open, nullptr) << "no file dialog";
    HWND box = PathBox(open);
    ASSERT_NE(box, nullptr);
    TestDriver::SetControlText(box, Win("data"));
    TestDriver::PressButton(open, IDOK);
    TestDriver::PumpMessages(500);
    TestDriver::SetControlText(box, L"\"one.bin\" \"gone.bin\"");
    TestDriver::PumpMessages(200);
    TestDriver::SaveScreenshot(L"commands-2-file-dialog-" + std::to_wstring(ScreenDpi()));
    TestDriver::PressButton(open, IDOK);
    WaitGone(open);
    TestDriver::PumpMessages(300);
    EXPECT_EQ(TestDriver::ListViewRowCount(items_), 2);

    TestDriver::SendCommand(main_, kCmdAddFolder);
    HWND browse = WaitForDialog();
    ASSERT_NE(browse, nullptr) << "no folder dialog";
    HWND folderBox = PathBox(browse);
    ASSERT_NE(folderBox, nullptr) << "the folder dialog has no box for a path";
    TestDriver::SetControlText(folderBox, Win("data/tree"));
    TestDriver::PumpMessages(200);
    TestDriver::SaveScreenshot(L"commands-3-folder-dialog-" + std::to_wstring(ScreenDpi()));
    TestDriver::PressButton(browse, IDOK);
    WaitGone(browse);
    TestDriver::PumpMessages(300);
    EXPECT_EQ(TestDriver::ListViewRowCount(items_), 3);

    ASSERT_TRUE(TestDriver::DropFiles(main_, {Win("data/drop.bin")}));
    TestDriver::PumpMessages(500);
    EXPECT_EQ(TestDriver::ListViewRowCount(items_), 4);
    Picture(L"4-filled");

    const int gone = RowOf(items_, Win("data/gone.bin"));
    ASSERT_GE(gone, 0);
    FocusRows(items_, {gone});
    EXPECT_NE(DeleteAndConfirm().find(L"(1)"), std::wstring::npos);
    std::vector<std::wstring> names = TestDriver::ListViewColumnTexts(items_, 0);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::wstring>{Win("data/drop.bin"), Win("data/one.bin"), Win("data/tree")}));

    TestDriver::SendCommand(main_, kCmdAnalyzeAll);
    for (int i = 0; i < 500 && TestDriver::ListViewRowCount(fragmented_) < 4; ++i) TestDriver::PumpMessages(20);
    TestDriver::PumpMessages(500);
    EXPECT_EQ(TestDriver::ListViewColumnTexts(fragmented_, 0),
              (std::vector<std::wstring>{Win("data/drop.bin"), Win("data/one.bin"), Win("data/tree/a.bin"),
                                         Win("data/tree/b.bin")}));
    Picture(L"5-analysed");

    // Space acts on the list that has the focus: in the item list it flips
    // the focused item's own box (twice here, back to ticked) and leaves the
    // fragmented files' marks alone; had it marked rows 0 and 2 of the
    // fragmented files as well, four files would be defragmented below.
    TestDriver::SelectListViewRows(fragmented_, {0, 2});
    FocusRows(items_, {0});
    ASSERT_EQ(TestDriver::ListViewCheckState(items_, 0), 1);
    TestDriver::PressKey(items_, VK_SPACE);
    TestDriver::PumpMessages(300);
    EXPECT_EQ(TestDriver::ListViewCheckState(items_, 0), 0);
    TestDriver::PressKey(items_, VK_SPACE);
    TestDriver::PumpMessages(300);
    EXPECT_EQ(TestDriver::ListViewCheckState(items_, 0), 1);
    FocusRows(fragmented_, {1, 3});
    TestDriver::PressKey(fragmented_, VK_SPACE);
    TestDriver::PumpMessages(300);
    Picture(L"6-marked");
    TestDriver::SendCommand(main_, kCmdDefragSelectedFiles);
    HWND summary = WaitForDialog();
    ASSERT_NE(summary, nullptr) << "no summary after the defragmentation";
    TestDriver::SaveScreenshot(L"commands-7-summary-" + std::to_wstring(ScreenDpi()));
    std::vector<std::wstring> texts = TestDriver::ChildTexts(summary);
    ASSERT_GE(texts.size(), 10u);
    // Processed, fragmented, not fragmented, defragmented, errors.
    EXPECT_EQ((std::vector<std::wstring>{texts[1], texts[7], texts[9]}),
              (std::vector<std::wstring>{L"2", L"2", L"0"}));
    TestDriver::PressButton(summary, IDOK);
    WaitGone(summary);
    // The moved file's item shows the counts of the move's own analysis.
    const int one = RowOf(items_, Win("data/one.bin"));
    ASSERT_GE(one, 0);
    EXPECT_EQ(TestDriver::ListViewCellText(items_, one, kStateColumn), L"Deframmentato");
    EXPECT_EQ(TestDriver::ListViewCellText(items_, one, 4), L"1");
    EXPECT_EQ(TestDriver::ListViewCellText(items_, one, 5), L"4");
    Picture(L"8-defragmented");

    // Analysed again, two files are still fragmented. Delete in their list
    // removes its own selected row and leaves the items; removing a folder
    // takes its files out of that list.
    TestDriver::SendCommand(main_, kCmdAnalyzeAll);
    for (int i = 0; i < 500 && TestDriver::ListViewRowCount(fragmented_) < 2; ++i) TestDriver::PumpMessages(20);
    TestDriver::PumpMessages(500);
    ASSERT_EQ(TestDriver::ListViewColumnTexts(fragmented_, 0),
              (std::vector<std::wstring>{Win("data/drop.bin"), Win("data/tree/a.bin")}));
    FocusRows(fragmented_, {0});
    DeleteAndConfirm();
    EXPECT_EQ(TestDriver::ListViewColumnTexts(fragmented_, 0), (std::vector<std::wstring>{Win("data/tree/a.bin")}));
    EXPECT_EQ(TestDriver::ListViewRowCount(items_), 3);
    FocusRows(items_, {RowOf(items_, Win("data/tree"))});
    DeleteAndConfirm();
    EXPECT_EQ(TestDriver::ListViewRowCount(items_), 2);
    EXPECT_EQ(TestDriver::ListViewRowCount(fragmented_), 0);
    Picture(L"9-removed");

    TestDriver::SendCommand(main_, kCmdExit);
    ASSERT_TRUE(program_->WaitForExit(kWaitMs));
    const std::string end = EndState();
    EXPECT_EQ(end.substr(end.size() - 9), "check ok\n");
    for (const char* untouched : {"data/drop.bin", "data/tree/a.bin", "data/gone.bin"}) {
        EXPECT_EQ(FileLine(end, Win(untouched)), FileLine(description_, Win(untouched))) << untouched;
    }
    for (const char* moved : {"data/one.bin", "data/tree/b.bin"}) {
        const std::string line = FileLine(end, Win(moved));
        EXPECT_NE(line, FileLine(description_, Win(moved))) << moved;
        EXPECT_EQ(std::count(line.begin(), line.end(), ':'), 2) << "one run: " << line;
    }
}

// A folder of many files on the simulated volume, analysed for long enough
// to look at the window meanwhile.
class LongRunTest : public WindowCommandsTest {
protected:
    // A file of 300 one-cluster extents on a volume whose moves take 30 ms
    // each: its move lasts about nine seconds. A second fragmented file comes
    // after it.
    void DescribeSlowMove() {
        constexpr int kExtents = 300;
        MakeFile("data/big.bin", kExtents * 4096);
        MakeFile("data/later.bin", 16384);
        std::string runs, gaps;
        for (int i = 0; i < kExtents; ++i) {
            runs += (i ? "," : "") + std::to_string(1000 + 2 * i) + ":1";
            gaps += "reserve " + std::to_string(1001 + 2 * i) + " 1\n";
        }
        Describe("volume letter=Z clusters=4000 clusterSize=4096 moveDelay=30",
                 {{"data/big.bin", "size=" + std::to_string(kExtents * 4096) + " runs=" + runs},
                  {"data/later.bin", "size=16384 runs=100:2,110:2"}},
                 gaps);
    }
};

TEST_F(LongRunTest, StopFromTheMenuEndsALongAnalysisAndALongDefragmentation) {
    Prepare("stop");
    DescribeSlowMove();
    Start(TestDriver::HostPathToWindows(ORDALIS_E2E_MANY_FILES) + L" " + Win("data/big.bin"));
    if (HasFatalFailure()) return;
    const int folder = RowOf(items_, TestDriver::HostPathToWindows(ORDALIS_E2E_MANY_FILES));
    const int big = RowOf(items_, Win("data/big.bin"));
    ASSERT_GE(folder, 0);
    ASSERT_GE(big, 0);

    TestDriver::SendCommand(main_, kCmdAnalyzeAll);
    ASSERT_EQ(WaitForState(folder, L"In elaborazione..."), L"In elaborazione...");
    ExpectLocked("analysis");
    Picture(L"analysis-running");
    TestDriver::SendCommand(main_, kCmdStop);
    EXPECT_EQ(WaitForState(folder, L"Interrotto"), L"Interrotto");
    TestDriver::PumpMessages(300);
    EXPECT_EQ(TestDriver::MenuItemEnabled(main_, kCmdStop), 0) << "no run to stop";
    EXPECT_EQ(TestDriver::MenuItemEnabled(main_, kCmdAddFiles), 1);

    // Only the big file: the folder leaves the list, with the Delete key.
    FocusRows(items_, {folder});
    DeleteAndConfirm();
    ASSERT_EQ(TestDriver::ListViewRowCount(items_), 1);
    TestDriver::SendCommand(main_, kCmdDefragAll);
    ASSERT_EQ(WaitForState(0, L"In elaborazione..."), L"In elaborazione...");
    ExpectLocked("defragmentation");
    Picture(L"defragmentation-running");
    TestDriver::SendCommand(main_, kCmdStop);
    EXPECT_EQ(WaitForState(0, L"Interrotto", 5000), L"Interrotto");
    // A stopped defragmentation is summed up as a finished one is.
    HWND summary = TestDriver::WaitForDialogOf(program_->ProcessId(), main_, kWaitMs);
    ASSERT_NE(summary, nullptr) << "no summary after the stop";
    TestDriver::PressButton(summary, IDOK);

    TestDriver::SendCommand(main_, kCmdExit);
    ASSERT_TRUE(program_->WaitForExit(kWaitMs));
    EXPECT_EQ(EndState().substr(EndState().size() - 9), "check ok\n");
}

// A long import: the profile lists every file of the big folder.
TEST_F(LongRunTest, DuringAnImportTheListCannotBeChangedAndStopEndsIt) {
    Prepare("import");
    Describe(kVolume, {});
    std::wstring profile = L"KV70RX\r\n";
    for (const fs::directory_entry& entry : fs::directory_iterator(ORDALIS_E2E_MANY_FILES)) {
        profile += TestDriver::HostPathToWindows(entry.path().string()) + L"\r\n";
    }
    std::ofstream(host_ / "many.olp", std::ios::binary) << Utf16FileBytes(profile);

    Start(L"/PROF:" + Win("many.olp"));
    if (HasFatalFailure()) return;
    for (int i = 0; i < 500 && TestDriver::ListViewRowCount(items_) < 100; ++i) TestDriver::PumpMessages(20);
    ASSERT_GE(TestDriver::ListViewRowCount(items_), 100) << "the import did not start";
    ExpectLocked("import", true);
    TestDriver::SendCommand(main_, kCmdStop);
    Picture(L"import-running");
    TestDriver::PumpMessages(1000);
    const int rows = TestDriver::ListViewRowCount(items_);
    EXPECT_LT(rows, 20001) << "the import went on to its end";
    EXPECT_EQ(RowOf(items_, Win("data/late.bin")), -1) << "a drop was taken during the import";
    EXPECT_EQ(TestDriver::MenuItemEnabled(main_, kCmdAddFiles), 1);
    TestDriver::PumpMessages(500);
    EXPECT_EQ(TestDriver::ListViewRowCount(items_), rows);
    TestDriver::SendCommand(main_, kCmdExit);
    ASSERT_TRUE(program_->WaitForExit(kWaitMs));
}

// The close box in the middle of a long move asks first: "No" keeps the run
// going; "Yes" stops the file being moved between two extents, the next file
// is never touched and the process ends at once.
TEST_F(LongRunTest, ClosingDuringALongDefragmentationStopsBeforeTheNextFile) {
    Prepare("close");
    DescribeSlowMove();
    Start(Win("data"));
    if (HasFatalFailure()) return;
    TestDriver::SendCommand(main_, kCmdDefragAll);
    ASSERT_EQ(WaitForState(0, L"In elaborazione..."), L"In elaborazione...");
    TestDriver::PumpMessages(500);
    constexpr int kYes = 6, kNo = 7;
    TestDriver::RequestClose(main_);
    HWND question = WaitForDialog();
    ASSERT_NE(question, nullptr) << "closing during a run asks nothing";
    EXPECT_NE(TestDriver::MessageBoxMessage(question).find(L"Arrestarla e chiudere Ordalis?"), std::wstring::npos);
    TestDriver::PressButton(question, kNo);
    WaitGone(question);
    TestDriver::PumpMessages(500);
    EXPECT_TRUE(program_->Running());
    EXPECT_EQ(TestDriver::ListViewCellText(items_, 0, kStateColumn), L"In elaborazione...");

    TestDriver::RequestClose(main_);
    question = WaitForDialog();
    ASSERT_NE(question, nullptr);
    TestDriver::PressButton(question, kYes);
    WaitGone(question);
    // From the box's end on: under Wine without a window manager, ending any
    // dialog takes about two seconds inside the system's own call (in a Wine
    // desktop window the box is gone and the program ended within 0.2 s of
    // the click).
    const DWORD closed = GetTickCount();
    ASSERT_TRUE(program_->WaitForExit(10000)) << "still running after the close";
    EXPECT_LT(GetTickCount() - closed, 3000u);
    const std::string end = EndState();
    EXPECT_EQ(end.substr(end.size() - 9), "check ok\n");
    EXPECT_EQ(FileLine(end, Win("data/later.bin")), FileLine(description_, Win("data/later.bin")));
    // Stopped part way: the first extent has left its place, the last has not.
    const std::string big = FileLine(end, Win("data/big.bin"));
    EXPECT_EQ(big.find("runs=1000:1,"), std::string::npos) << big;
    EXPECT_NE(big.find(",1598:1"), std::string::npos) << big;
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

HWND FocusOf(HWND window) {
    GUITHREADINFO info{sizeof info};
    GetGUIThreadInfo(GetWindowThreadProcessId(window, nullptr), &info);
    return info.hwndFocus;
}

// Tab and Shift+Tab walk every group of controls: the toolbar's buttons,
// the item list, the bottom tabs and the list under them; Ctrl+Tab switches
// the bottom tab from anywhere. A double click on a fragmented file's row
// shows its fragments.
TEST_F(WindowCommandsTest, TabReachesEveryGroupAndCtrlTabSwitchesTabs) {
    Prepare("keys");
    MakeFile("data/one.bin", 16384);
    Describe(kVolume, {{"data/one.bin", "size=16384 runs=100:2,110:2"}});
    Start(Win("data/one.bin"));
    if (HasFatalFailure()) return;
    SetForegroundWindow(main_);
    // An empty result list gives way to its notice: analysed first, the
    // fragmented file's list is there to be reached.
    TestDriver::SendCommand(main_, kCmdAnalyzeAll);
    for (int i = 0; i < 500 && TestDriver::ListViewRowCount(fragmented_) < 1; ++i) TestDriver::PumpMessages(20);
    TestDriver::PumpMessages(300);
    FocusRows(items_, {0});
    ASSERT_EQ(FocusOf(main_), items_);

    std::set<std::wstring> reached;
    bool fragmentedReached = false;
    HWND before = nullptr;
    for (int i = 0; i < 16; ++i) {
        before = FocusOf(main_);
        Type({}, VK_TAB);
        HWND focus = FocusOf(main_);
        reached.insert(TestDriver::WindowClass(focus));
        fragmentedReached = fragmentedReached || focus == fragmented_;
        if (TestDriver::WindowClass(focus).find(L"ToolbarButton") != std::wstring::npos) Picture(L"tab-toolbar");
    }
    auto has = [&reached](const wchar_t* part) {
        return std::any_of(reached.begin(), reached.end(),
                           [part](const std::wstring& name) { return name.find(part) != std::wstring::npos; });
    };
    EXPECT_TRUE(has(L"ToolbarButton"));
    EXPECT_TRUE(has(L"BottomTabs"));
    EXPECT_TRUE(has(L"SysListView32"));
    EXPECT_TRUE(fragmentedReached);
    HWND last = FocusOf(main_);
    Type({VK_SHIFT}, VK_TAB);
    EXPECT_EQ(FocusOf(main_), before) << "Shift+Tab goes back one step";
    Type({}, VK_TAB);
    EXPECT_EQ(FocusOf(main_), last);

    HWND tabs = nullptr;
    for (HWND child : TestDriver::ChildWindows(main_)) {
        if (TestDriver::WindowClass(child).find(L"BottomTabs") != std::wstring::npos) tabs = child;
    }
    ASSERT_NE(tabs, nullptr);
    constexpr UINT kTabsGetSelected = WM_APP + 13;
    const LRESULT selected = SendMessageW(tabs, kTabsGetSelected, 0, 0);
    FocusRows(items_, {0});
    Type({VK_CONTROL}, VK_TAB);
    EXPECT_NE(SendMessageW(tabs, kTabsGetSelected, 0, 0), selected);
    Type({VK_CONTROL}, VK_TAB);
    EXPECT_EQ(SendMessageW(tabs, kTabsGetSelected, 0, 0), selected);
    EXPECT_EQ(FocusOf(main_), items_) << "switching tabs leaves the focus where it was";

    // A double click on a fragmented file's row shows its fragments.
    RECT header{};
    GetWindowRect(reinterpret_cast<HWND>(SendMessageW(fragmented_, LVM_GETHEADER, 0, 0)), &header);
    const LPARAM row = MAKELPARAM(30, header.bottom - header.top + 6);
    for (UINT message : {WM_LBUTTONDOWN, WM_LBUTTONUP, WM_LBUTTONDBLCLK, WM_LBUTTONUP}) {
        PostMessageW(fragmented_, message, message == WM_LBUTTONUP ? 0 : MK_LBUTTON, row);
    }
    HWND details = WaitForDialog();
    ASSERT_NE(details, nullptr) << "no fragment details after a double click";
    TestDriver::PumpMessages(600);
    EXPECT_NE(TestDriver::WindowText(details).find(L"Frammenti"), std::wstring::npos)
        << Narrow(TestDriver::WindowText(details));
    TestDriver::SaveWindowScreenshot(details, L"commands-double-click-details-" + std::to_wstring(ScreenDpi()));
    PostMessageW(details, WM_COMMAND, IDCANCEL, 0);
    WaitGone(details);

    TestDriver::SendCommand(main_, kCmdExit);
    ASSERT_TRUE(program_->WaitForExit(kWaitMs));
}

// The context menus of the two lists, by a right click and by the menu key,
// greyed by the same rules as the menu bar.
TEST_F(WindowCommandsTest, TheListsContextMenusOpenByMouseAndKey) {
    Prepare("menus");
    MakeFile("data/tree/a.bin", 16384);
    MakeFile("data/tree/b.bin", 8192);
    Describe(kVolume, {{"data/tree/a.bin", "size=16384 runs=300:2,310:2"}, {"data/tree/b.bin", "size=8192 runs=400:2"}});
    Start(Win("data/tree"));
    if (HasFatalFailure()) return;
    SetWindowPos(main_, nullptr, 0, 0, MulDiv(760, ScreenDpi(), 96), MulDiv(520, ScreenDpi(), 96),
                 SWP_NOZORDER | SWP_NOACTIVATE);
    TestDriver::SendCommand(main_, kCmdAnalyzeAll);
    for (int i = 0; i < 500 && TestDriver::ListViewRowCount(fragmented_) < 1; ++i) TestDriver::PumpMessages(20);
    ASSERT_EQ(TestDriver::ListViewRowCount(fragmented_), 1);
    TestDriver::PumpMessages(500);

    auto openMenu = [this]() -> HWND {
        for (int i = 0; i < 100; ++i) {
            TestDriver::PumpMessages(20);
            HWND menu = TestDriver::FindTopWindow({L"#32768", nullptr, program_->ProcessId()});
            if (menu) return menu;
        }
        return nullptr;
    };
    auto closeMenu = [this](HWND menu) {
        TestDriver::PressKey(menu, VK_ESCAPE);
        for (int i = 0; i < 100 && IsWindowVisible(menu); ++i) TestDriver::PumpMessages(20);
    };
    const std::wstring dpi = std::to_wstring(ScreenDpi());

    TestDriver::SelectListViewRows(items_, {0});
    RECT row{};
    GetWindowRect(items_, &row);
    const LPARAM at = MAKELPARAM(row.left + 60, row.top + MulDiv(30, ScreenDpi(), 96));
    PostMessageW(items_, WM_CONTEXTMENU, reinterpret_cast<WPARAM>(items_), at);
    HWND menu = openMenu();
    ASSERT_NE(menu, nullptr) << "no menu for the item list";
    TestDriver::PumpMessages(300);
    TestDriver::SaveScreenshot(L"commands-menu-items-" + dpi);
    closeMenu(menu);

    TestDriver::ClickAt(fragmented_, POINT{MulDiv(80, ScreenDpi(), 96), MulDiv(28, ScreenDpi(), 96)});
    TestDriver::PumpMessages(300);
    TestDriver::PressKey(fragmented_, VK_APPS);
    menu = openMenu();
    ASSERT_NE(menu, nullptr) << "no menu for the fragmented files from the menu key";
    TestDriver::PumpMessages(300);
    TestDriver::SaveScreenshot(L"commands-menu-fragmented-" + dpi);
    closeMenu(menu);

    // The fragment details of the selected fragmented file: as many rows as
    // the file has fragments on the volume.
    TestDriver::SendCommand(main_, kCmdFragmentDetails);
    HWND details = TestDriver::WaitForWindow(L"#32770", L"Frammenti", program_->ProcessId(), kWaitMs);
    ASSERT_NE(details, nullptr) << "no fragment details";
    TestDriver::PumpMessages(300);
    EXPECT_EQ(TestDriver::ListViewRowCount(GetDlgItem(details, IDC_FRAG_TABLE)), 2);
    TestDriver::SaveScreenshot(L"commands-fragments-" + dpi);
    PostMessageW(details, WM_COMMAND, IDCANCEL, 0);
    for (int i = 0; i < 100 && IsWindow(details); ++i) TestDriver::PumpMessages(20);
    EXPECT_FALSE(IsWindow(details));

    // The profiles button's arrow: the recent profiles, none yet.
    HWND profiles = GetDlgItem(main_, kCmdImportProfile);
    ASSERT_NE(profiles, nullptr);
    RECT button{};
    GetClientRect(profiles, &button);
    TestDriver::ClickAt(profiles, POINT{button.right - MulDiv(6, ScreenDpi(), 96), button.bottom / 2});
    menu = openMenu();
    ASSERT_NE(menu, nullptr) << "no drop-down of recent profiles";
    TestDriver::PumpMessages(300);
    TestDriver::SaveScreenshot(L"commands-menu-recent-" + dpi);
    closeMenu(menu);

    TestDriver::SendCommand(main_, kCmdExit);
    ASSERT_TRUE(program_->WaitForExit(kWaitMs));
}

}  // namespace
