// A second start of the program with a path, while the first one runs: the
// first takes the path into its list when it is idle, and says why it does
// not while a run goes on; the second start ends with 0 either way.
#include "ProgramCase.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace {

using TestDriver::RunningProgram;

using namespace e2e;

class HandOverTest : public ProgramCase {
protected:
    void SetUp() override {
        Prepare("handover-" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()),
                ORDALIS_PROGRAM);
    }

    std::wstring MakeDataFile(const std::string& name) {
        std::ofstream(host_ / "data" / name) << "contenuto";
        return TestDriver::HostPathToWindows((host_ / "data" / name).string());
    }

    // The first instance with its window up and its item list found.
    void StartFirst(const std::wstring& arguments) {
        first_ = TestDriver::StartProgram(exe_, L"/LANG:IT " + arguments);
        ASSERT_NE(first_, nullptr);
        main_ = TestDriver::WaitForWindow(kDialogClass, kMainTitle, first_->ProcessId(), kWaitMs);
        ASSERT_NE(main_, nullptr);
        list_ = TestDriver::FindListViewByHeader(main_, L"Nome");
        ASSERT_NE(list_, nullptr);
    }

    std::vector<std::wstring> Names() { return TestDriver::ListViewColumnTexts(list_, 0); }

    void CloseFirst() {
        TestDriver::SendCommand(main_, kCmdExit);
        EXPECT_TRUE(first_->WaitForExit(kWaitMs));
    }

    std::unique_ptr<RunningProgram> first_;
    HWND main_ = nullptr;
    HWND list_ = nullptr;
};

TEST_F(HandOverTest, AnIdleFirstInstanceAddsThePathsAndTheSecondEndsWithZero) {
    std::wstring before = MakeDataFile("prima.txt");
    StartFirst(L"\"" + before + L"\"");
    ASSERT_EQ(Names(), std::vector<std::wstring>{before});

    // The second start runs in another current folder and names a path
    // relative to it: the first instance, whose folder differs, must receive
    // it whole.
    fs::create_directories(host_ / "second");
    std::ofstream(host_ / "second" / "consegnato.txt") << "contenuto";
    std::wstring handed = TestDriver::HostPathToWindows((host_ / "second").string()) + L"\\consegnato.txt";
    TestDriver::RunResult second = TestDriver::RunProgram(
        exe_, L"consegnato.txt /ANALYZE", kWaitMs, TestDriver::HostPathToWindows((host_ / "second").string()));
    ASSERT_TRUE(second.started);
    ASSERT_TRUE(second.finished) << "the second start did not end";
    EXPECT_EQ(second.exitCode, 0u);

    std::vector<std::wstring> names;
    for (int i = 0; i < 100 && names.size() < 2; ++i) {
        TestDriver::PumpMessages(50);
        names = Names();
    }
    std::sort(names.begin(), names.end());
    std::vector<std::wstring> expected{before, handed};
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(names, expected);
    // Only the path was handed over: the option started no run, and both
    // items are still as they were added.
    EXPECT_EQ(TestDriver::ListViewCellText(list_, 0, kStateColumn),
              TestDriver::ListViewCellText(list_, 1, kStateColumn));
    HWND message = TestDriver::FindTopWindow({kDialogClass, nullptr, first_->ProcessId(), main_});
    EXPECT_EQ(message, nullptr) << "unexpected message: " << fs::path(TestDriver::MessageBoxMessage(message)).string();
    TestDriver::SaveWindowScreenshot(main_, L"e2e_handover_idle");
    CloseFirst();
}

TEST_F(HandOverTest, DuringARunNothingIsAddedAndTheFirstSaysWhy) {
    std::wstring handed = MakeDataFile("durante.txt");
    std::wstring many = TestDriver::HostPathToWindows(ORDALIS_E2E_MANY_FILES);
    StartFirst(L"\"" + many + L"\"");
    TestDriver::SendCommand(main_, kCmdAnalyzeAll);
    std::wstring state;
    for (int i = 0; i < 200 && state != L"In elaborazione..."; ++i) {
        TestDriver::PumpMessages(20);
        state = TestDriver::ListViewCellText(list_, 0, kStateColumn);
    }
    ASSERT_EQ(state, L"In elaborazione...");

    TestDriver::RunResult second = TestDriver::RunProgram(exe_, L"\"" + handed + L"\"", kWaitMs);
    ASSERT_TRUE(second.started);
    ASSERT_TRUE(second.finished) << "the second start waited for the first one's message";
    EXPECT_EQ(second.exitCode, 0u);

    HWND box = TestDriver::WaitForDialogOf(first_->ProcessId(), main_, kWaitMs);
    ASSERT_NE(box, nullptr) << "the first instance did not say why";
    std::wstring message = TestDriver::MessageBoxMessage(box);
    EXPECT_NE(message.find(L"È in corso un'analisi o una deframmentazione"), std::wstring::npos) << message;
    EXPECT_NE(message.find(handed), std::wstring::npos) << message;
    TestDriver::SaveWindowScreenshot(box, L"e2e_handover_during_run");
    TestDriver::PressButton(box, IDOK);
    TestDriver::PumpMessages(300);
    EXPECT_EQ(Names(), std::vector<std::wstring>{many});

    TestDriver::SendCommand(main_, kCmdStop);
    for (int i = 0; i < 500 && state == L"In elaborazione..."; ++i) {
        TestDriver::PumpMessages(20);
        state = TestDriver::ListViewCellText(list_, 0, kStateColumn);
    }
    EXPECT_EQ(Names(), std::vector<std::wstring>{many});
    CloseFirst();
}

}  // namespace
