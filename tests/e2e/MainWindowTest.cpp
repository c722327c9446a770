// The main window as the user sees it: the ten columns of the item list and
// their order, the bottom panel and the status texts, the cells of files,
// folders and a drive root, sorting on a header click both ways with folders
// first, equal keys in path order and the selection kept, the column
// commands, and a message of the program in its own box.

#include "ProgramCase.h"

#include <commctrl.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace {

using namespace e2e;

using TestDriver::RunningProgram;

constexpr int kNameColumn = 0;
constexpr int kSizeColumn = 2;
constexpr int kTypeColumn = 6;

std::wstring WorkFolder(const std::wstring& caseName) {
    return TestDriver::HostPathToWindows(ORDALIS_E2E_WORK_DIR) + L"\\window-" + caseName;
}

std::wstring PrepareProgram(const std::wstring& caseName) {
    TestDriver::ProgramUnderTest program(WorkFolder(caseName) + L"\\program",
                                         TestDriver::HostPathToWindows(ORDALIS_PROGRAM),
                                         TestDriver::HostPathToWindows(ORDALIS_FMIFS_DLL));
    EXPECT_TRUE(program.Ready()) << std::filesystem::path(program.Error()).string();
    return program.ExePath();
}


// A folder with four files (two of the same size) and two sub-folders.
struct SampleItems {
    std::filesystem::path root;
    std::wstring Path(const wchar_t* name) const { return (root / name).wstring(); }
    std::wstring Arguments() const {
        std::wstring arguments;
        for (const wchar_t* name : {L"b.dat", L"zeta", L"a.dat", L"d.txt", L"alfa", L"c.dat"}) {
            arguments += L"\"" + Path(name) + L"\" ";
        }
        return arguments;
    }
};

SampleItems MakeSampleItems(const std::wstring& caseName) {
    SampleItems items{std::filesystem::path(WorkFolder(caseName)) / L"items"};
    std::filesystem::create_directories(items.root / L"zeta");
    std::filesystem::create_directories(items.root / L"alfa");
    auto write = [&](const wchar_t* name, size_t size) {
        std::ofstream(items.root / name, std::ios::binary) << std::string(size, 'x');
    };
    write(L"b.dat", 30000);
    write(L"a.dat", 10000);
    write(L"c.dat", 10000);
    write(L"d.txt", 20000);
    return items;
}

class MainWindowTest : public ::testing::Test {
protected:
    void Start(const std::wstring& caseName, const std::wstring& arguments) {
        // The texts checked here are the built-in ones.
        program_ = TestDriver::StartProgram(PrepareProgram(caseName), arguments + L" /LANG:IT");
        ASSERT_NE(program_, nullptr);
        window_ = TestDriver::WaitForWindow(L"#32770", L"Ordalis", program_->ProcessId(), kWaitMs);
        ASSERT_NE(window_, nullptr) << "no main window";
        list_ = TestDriver::FindListViewByHeader(window_, L"Nome");
        ASSERT_NE(list_, nullptr);
    }
    void TearDown() override {
        if (program_ && window_) {
            TestDriver::SendCommand(window_, kCmdExit);
            EXPECT_TRUE(program_->WaitForExit(kWaitMs));
        }
    }
    std::vector<std::wstring> Names() const { return TestDriver::ListViewColumnTexts(list_, kNameColumn); }
    std::vector<std::wstring> SelectedNames() const {
        std::vector<std::wstring> names;
        for (int row : TestDriver::ListViewSelectedRows(list_)) {
            names.push_back(TestDriver::ListViewCellText(list_, row, kNameColumn));
        }
        return names;
    }
    int RowOf(const std::wstring& name) const {
        std::vector<std::wstring> names = Names();
        auto found = std::find(names.begin(), names.end(), name);
        return found == names.end() ? -1 : static_cast<int>(found - names.begin());
    }

    std::unique_ptr<RunningProgram> program_;
    HWND window_ = nullptr;
    HWND list_ = nullptr;
};

TEST_F(MainWindowTest, EmptyWindowShowsItsColumnsPanelsAndStatusTexts) {
    Start(L"empty", L"");
    const std::vector<std::wstring> headers = {L"Nome", L"Stato", L"Dimensione", L"Dimensione su disco",
                                               L"Frammenti", L"Cluster", L"Tipo", L"% su disco",
                                               L"Data ultima modifica", L"Attributi"};
    const std::vector<int> widths = {400, 118, 120, 120, 100, 100, 300, 100, 140, 80};
    // The first start shows every column: where the screen is too narrow for
    // the designed widths, the name and the type columns give way.
    int total = 0;
    for (int column = 0; column < 10; ++column) {
        const int width = TestDriver::ListViewColumnWidth(list_, column);
        total += width;
        EXPECT_EQ(TestDriver::ListViewColumnHeader(list_, column), headers[column]);
        if (column == 0 || column == 6) {
            EXPECT_LE(width, Scaled(widths[column])) << headers[column];
            EXPECT_GE(width, Scaled(widths[column]) / 2) << headers[column];
        } else {
            EXPECT_EQ(width, Scaled(widths[column])) << headers[column];
        }
        EXPECT_EQ(TestDriver::ListViewSortArrow(list_, column), 0);
    }
    RECT inside{};
    GetClientRect(list_, &inside);
    EXPECT_LE(total, inside.right) << "a column is out of sight";
    EXPECT_EQ(TestDriver::ListViewColumnOrder(list_), (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
    EXPECT_EQ(TestDriver::ListViewRowCount(list_), 0);

    HWND fragmented = TestDriver::FindListViewByHeader(window_, L"      Nome");
    ASSERT_NE(fragmented, nullptr) << "the fragmented-file list of the bottom panel";
    std::vector<std::wstring> fragmentedHeaders;
    for (int column = 0; column < 8; ++column) {
        fragmentedHeaders.push_back(TestDriver::ListViewColumnHeader(fragmented, column));
    }
    EXPECT_EQ(fragmentedHeaders, (std::vector<std::wstring>{L"      Nome", L"Frammenti", L"Cluster", L"Dimensione",
                                                             L"Dimensione su disco", L"% su disco",
                                                             L"Data ultima modifica", L"Attributi"}));

    std::vector<HWND> bars = TestDriver::ChildWindows(window_, STATUSCLASSNAMEW);
    ASSERT_EQ(bars.size(), 2u);
    EXPECT_EQ(TestDriver::StatusBarTexts(bars[0]),
              (std::vector<std::wstring>{L"Oggetti totali in elenco: 0", L""}));
    EXPECT_EQ(TestDriver::StatusBarTexts(bars[1]), (std::vector<std::wstring>{L"In attesa"}));

    // Maximised, restored, narrowed and widened again, the lower bar still
    // says the program waits, and is drawn whole: no edge is left where the
    // bar ended before it grew.
    PostMessageW(window_, WM_SYSCOMMAND, SC_MAXIMIZE, 0);
    TestDriver::PumpMessages(500);
    EXPECT_TRUE(IsZoomed(window_));
    PostMessageW(window_, WM_SYSCOMMAND, SC_RESTORE, 0);
    TestDriver::PumpMessages(500);
    SetWindowPos(window_, nullptr, 50, 50, Scaled(640), Scaled(420), SWP_NOZORDER);
    TestDriver::PumpMessages(500);
    RECT narrow{};
    GetClientRect(bars[1], &narrow);
    SetWindowPos(window_, nullptr, 50, 50, Scaled(1000), Scaled(560), SWP_NOZORDER);
    TestDriver::PumpMessages(500);
    EXPECT_EQ(TestDriver::StatusBarTexts(bars[1]), (std::vector<std::wstring>{L"In attesa"}));
    POINT middle{narrow.right + Scaled(40), narrow.bottom / 2};
    ClientToScreen(bars[1], &middle);
    const COLORREF face = TestDriver::ScreenPixel(middle);
    for (int x = -4; x <= 4; ++x) {
        EXPECT_EQ(TestDriver::ScreenPixel({middle.x - Scaled(40) + x, middle.y}), face) << "at the old edge " << x;
    }

    // The error tab: its list hidden behind the notice of an empty item
    // list, and the four counters of the last run beside the tabs.
    TestDriver::SendCommand(window_, 5002);
    TestDriver::PumpMessages(300);
    std::vector<std::wstring> texts = TestDriver::ChildTexts(window_);
    for (const wchar_t* expected : {L"Frammentati:", L"Non frammentati:", L"Deframmentati:", L"Errori:",
                                    L"Aggiungere in elenco i file da deframmentare."}) {
        EXPECT_NE(std::find(texts.begin(), texts.end(), expected), texts.end()) << std::wstring(expected).size();
    }
    EXPECT_FALSE(IsWindowVisible(fragmented));
    TestDriver::SaveWindowScreenshot(window_, L"main_empty");
}

TEST_F(MainWindowTest, CellsOfFilesFoldersAndDriveRoot) {
    SampleItems items = MakeSampleItems(L"cells");
    Start(L"cells", items.Arguments() + L"\"Z:\\\"");
    ASSERT_EQ(TestDriver::ListViewRowCount(list_), 7);
    // Newest first: the last argument is the first row.
    EXPECT_EQ(TestDriver::ListViewCellText(list_, 0, kNameColumn), L"Z:\\");
    EXPECT_EQ(TestDriver::ListViewCellText(list_, 0, kTypeColumn), L"Cartella principale");
    int folder = RowOf(items.Path(L"alfa"));
    int file = RowOf(items.Path(L"b.dat"));
    ASSERT_GE(folder, 0);
    ASSERT_GE(file, 0);
    EXPECT_EQ(TestDriver::ListViewCellText(list_, folder, kSizeColumn), L"") << "folders show no size";
    EXPECT_EQ(TestDriver::ListViewCellText(list_, folder, 3), L"");
    EXPECT_EQ(TestDriver::ListViewCellText(list_, folder, 7), L"") << "nor a per cent on disk";
    EXPECT_EQ(TestDriver::ListViewCellText(list_, file, kSizeColumn), L"30 KB");
    EXPECT_EQ(TestDriver::ListViewCellText(list_, file, kStateColumn), L"") << "no state before a run";
    std::vector<HWND> bars = TestDriver::ChildWindows(window_, STATUSCLASSNAMEW);
    ASSERT_EQ(bars.size(), 2u);
    EXPECT_EQ(TestDriver::StatusBarTexts(bars[0])[0], L"Oggetti totali in elenco: 7");
}

TEST_F(MainWindowTest, HeaderClicksSortBothWaysFoldersFirstAndKeepTheSelection) {
    SampleItems items = MakeSampleItems(L"sort");
    Start(L"sort", items.Arguments());
    ASSERT_EQ(TestDriver::ListViewRowCount(list_), 6);
    ASSERT_TRUE(TestDriver::SelectListViewRows(list_, {RowOf(items.Path(L"c.dat")), RowOf(items.Path(L"zeta"))}));

    // Size ascending: folders (no size) first in path order, then files by
    // size, the two files of equal size in path order.
    ASSERT_TRUE(TestDriver::ClickListViewHeader(list_, kSizeColumn));
    const std::vector<std::wstring> ascending = {items.Path(L"alfa"), items.Path(L"zeta"), items.Path(L"a.dat"),
                                                 items.Path(L"c.dat"), items.Path(L"d.txt"), items.Path(L"b.dat")};
    EXPECT_EQ(Names(), ascending);
    EXPECT_EQ(TestDriver::ListViewSortArrow(list_, kSizeColumn), 1);
    EXPECT_EQ(SelectedNames(), (std::vector<std::wstring>{items.Path(L"zeta"), items.Path(L"c.dat")}));

    // The same header again: the exact reverse, folders last.
    ASSERT_TRUE(TestDriver::ClickListViewHeader(list_, kSizeColumn));
    EXPECT_EQ(Names(), std::vector<std::wstring>(ascending.rbegin(), ascending.rend()));
    EXPECT_EQ(TestDriver::ListViewSortArrow(list_, kSizeColumn), -1);
    EXPECT_EQ(SelectedNames(), (std::vector<std::wstring>{items.Path(L"c.dat"), items.Path(L"zeta")}));

    // Another column sorts ascending again; equal states fall back to the path.
    ASSERT_TRUE(TestDriver::ClickListViewHeader(list_, kStateColumn));
    EXPECT_EQ(Names(), (std::vector<std::wstring>{items.Path(L"alfa"), items.Path(L"zeta"), items.Path(L"a.dat"),
                                                  items.Path(L"b.dat"), items.Path(L"c.dat"), items.Path(L"d.txt")}));
    EXPECT_EQ(TestDriver::ListViewSortArrow(list_, kStateColumn), 1);
    EXPECT_EQ(TestDriver::ListViewSortArrow(list_, kSizeColumn), 0) << "one arrow at a time";
}

TEST_F(MainWindowTest, ColumnCommandsHideShowAndRestoreColumns) {
    Start(L"columns", L"");
    TestDriver::SendCommand(window_, 9035);  // "Stato"
    TestDriver::SendCommand(window_, 9040);  // "Dimensione su disco"
    TestDriver::PumpMessages(300);
    EXPECT_EQ(TestDriver::ListViewColumnWidth(list_, kStateColumn), 0);
    EXPECT_EQ(TestDriver::ListViewColumnWidth(list_, 3), 0);
    TestDriver::SendCommand(window_, 9035);
    TestDriver::PumpMessages(300);
    EXPECT_EQ(TestDriver::ListViewColumnWidth(list_, kStateColumn), Scaled(118)) << "shown again";
    EXPECT_EQ(TestDriver::ListViewColumnWidth(list_, 3), 0);
    TestDriver::SendCommand(window_, 9044);  // "Predefinito"
    TestDriver::PumpMessages(300);
    EXPECT_EQ(TestDriver::ListViewColumnWidth(list_, 3), Scaled(120));
}

TEST(MainWindowMessages, AMissingPathIsReportedInTheProgramsOwnBox) {
    std::wstring exe = PrepareProgram(L"missing");
    std::wstring missing = WorkFolder(L"missing") + L"\\nothing-here.txt";
    std::unique_ptr<RunningProgram> program = TestDriver::StartProgram(exe, L"\"" + missing + L"\" /LANG:IT");
    ASSERT_NE(program, nullptr);
    HWND box = TestDriver::WaitForDialogOf(program->ProcessId(), nullptr, kWaitMs);
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(TestDriver::WindowText(box), L"Ordalis");
    std::vector<TestDriver::DialogButton> buttons = TestDriver::DialogButtons(box);
    ASSERT_EQ(buttons.size(), 1u);
    EXPECT_EQ(buttons[0].text, L"OK");
    EXPECT_NE(TestDriver::MessageBoxMessage(box).find(L"nothing-here.txt"), std::wstring::npos);
    TestDriver::SaveWindowScreenshot(box, L"message_box");
    TestDriver::PressKey(box, VK_ESCAPE);
    ASSERT_TRUE(program->WaitForExit(kWaitMs)) << "the box did not close on Escape";
    EXPECT_EQ(program->ExitCode(), 5u) << "nothing was added";
}

}  // namespace
