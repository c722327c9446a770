// The simulating variant of the program: it takes its volume from the
// described file, writes it back at exit with the checker's verdict,
// and refuses to start without a description rather than falling back to the
// real controls.

#include "ProgramCase.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

using namespace e2e;

std::wstring CaseFolder(const std::wstring& caseName) {
    return TestDriver::HostPathToWindows(ORDALIS_E2E_WORK_DIR) + L"\\sim-" + caseName;
}

std::string HostCaseFolder(const std::string& caseName) {
    return std::string(ORDALIS_E2E_WORK_DIR) + "/sim-" + caseName;
}

class SimProgramTest : public ::testing::Test {
protected:
    void TearDown() override {
        SetEnvironmentVariableW(L"ORDALIS_SIMVOLUME", nullptr);
        SetEnvironmentVariableW(L"ORDALIS_SIMVOLUME_OUT", nullptr);
    }

    std::wstring Prepare(const std::string& caseName) {
        TestDriver::ProgramUnderTest program(
            CaseFolder(std::wstring(caseName.begin(), caseName.end())) + L"\\program",
            TestDriver::HostPathToWindows(ORDALIS_SIM_PROGRAM),
            TestDriver::HostPathToWindows(ORDALIS_FMIFS_DLL));
        EXPECT_TRUE(program.Ready()) << std::filesystem::path(program.Error()).string();
        return program.ExePath();
    }
};

TEST_F(SimProgramTest, AnUnattendedStartThatEndsEarlyLeavesTheVolumeAsDescribed) {
    const std::wstring exe = Prepare("untouched");
    const std::string folder = HostCaseFolder("untouched");
    const std::string description =
        "volume letter=Z clusters=1000 clusterSize=4096 bitmapAlign=8 inUseStatus=0xC0000021 "
        "checkpoint=off partialMoves=off pending=off moveChunk=16\n"
        "file \"Z:\\\\f\" size=40960 runs=10:3,20:5,40:2\n";
    std::ofstream(folder + "/volume.txt", std::ios::binary) << description;
    std::filesystem::remove(folder + "/end.txt");
    SetEnvironmentVariableW(L"ORDALIS_SIMVOLUME",
                            TestDriver::HostPathToWindows(folder + "/volume.txt").c_str());
    SetEnvironmentVariableW(L"ORDALIS_SIMVOLUME_OUT",
                            TestDriver::HostPathToWindows(folder + "/end.txt").c_str());

    // A missing item ends the unattended start before any run.
    TestDriver::RunResult run = TestDriver::RunProgram(exe, L"/NOGUI Z:\\no\\such", kWaitMs);

    ASSERT_TRUE(run.finished);
    EXPECT_EQ(run.exitCode, 5u);
    EXPECT_EQ(ReadWhole(folder + "/end.txt"), description + "check ok\n");
}

TEST_F(SimProgramTest, WithoutADescriptionItRefusesToStart) {
    const std::wstring exe = Prepare("missing");
    SetEnvironmentVariableW(L"ORDALIS_SIMVOLUME",
                            TestDriver::HostPathToWindows(HostCaseFolder("missing") + "/none.txt").c_str());

    TestDriver::RunResult run = TestDriver::RunProgram(exe, L"/NOGUI", kWaitMs);

    ASSERT_TRUE(run.finished);
    EXPECT_EQ(run.exitCode, 70u);
    EXPECT_NE(run.output.find("cannot read the volume description"), std::string::npos) << run.output;
}

// A window that cannot make its panels says so and ends with code 6, and
// the settings file it never read properly stays as it was.
TEST_F(SimProgramTest, WithoutItsPanelsTheWindowSaysSoAndEndsWithSix) {
    const std::wstring exe = Prepare("no-panels");
    const std::string folder = HostCaseFolder("no-panels");
    std::ofstream(folder + "/volume.txt", std::ios::binary) << "volume letter=Z clusters=100\n";
    SetEnvironmentVariableW(L"ORDALIS_SIMVOLUME", TestDriver::HostPathToWindows(folder + "/volume.txt").c_str());
    SetEnvironmentVariableW(L"ORDALIS_SIM_REFUSE_PANELS", L"1");
    const std::string settings = folder + "/program/ordalis.ini";
    const std::string written = std::string("\xFF\xFE", 2) + std::string("R\0X\0001\0.\0000\0000\0\r\0\n\0", 16) +
                                std::string("O\0N\0T\0O\0P\0=\0001\0\r\0\n\0", 18);
    std::ofstream(settings, std::ios::binary) << written;

    std::unique_ptr<TestDriver::RunningProgram> program = TestDriver::StartProgram(exe, L"/LANG:IT");
    SetEnvironmentVariableW(L"ORDALIS_SIM_REFUSE_PANELS", nullptr);
    ASSERT_NE(program, nullptr);
    HWND box = TestDriver::WaitForDialogOf(program->ProcessId(), nullptr, kWaitMs);
    ASSERT_NE(box, nullptr) << "no message";
    TestDriver::PumpMessages(800);
    TestDriver::SaveScreenshot(L"e2e_no_panels");
    EXPECT_EQ(TestDriver::MessageBoxMessage(box),
              L"Ordalis could not be started because there is not enough physical memory or system resources "
              L"available.");
    TestDriver::PressButton(box, IDOK);
    ASSERT_TRUE(program->WaitForExit(kWaitMs)) << "still running after the message";
    EXPECT_EQ(program->ExitCode(), 6u);
    EXPECT_EQ(ReadWhole(settings), written);
}

}  // namespace
