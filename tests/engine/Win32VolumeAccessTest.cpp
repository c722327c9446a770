// The production volume access against the real system (under Wine in the
// test runs, where the three controls answer with their stubs).
#include "engine/win32/Win32VolumeAccess.h"
#include "util/PathText.h"

#include <gtest/gtest.h>
#include <windows.h>

#include "engine/Analysis.h"
#include "engine/FreeSpace.h"

namespace {

class Win32VolumeAccessTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(ResolveNtFsControlFile());
    SetVolumeAccess(&Win32Volumes());
  }
  void TearDown() override {
    CloseCachedVolume();
    SetVolumeAccess(nullptr);
  }
  static std::wstring ProgramPath() {
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return path;
  }
};

TEST_F(Win32VolumeAccessTest, OpensFilesFoldersAndVolumes) {
  const std::wstring program = ProgramPath();
  FsHandle file = Va().OpenFileForMoving(program);
  ASSERT_NE(file, kInvalidHandle);
  EXPECT_TRUE(Va().Close(file));
  EXPECT_FALSE(Va().Close(file));  // the second close of a handle fails, harmlessly
  FsHandle longForm = Va().OpenFileForMoving(LongPathOf(program));
  EXPECT_NE(longForm, kInvalidHandle);
  Va().Close(longForm);
  const std::wstring folder = program.substr(0, program.rfind(L'\\'));
  FsHandle directory = Va().OpenFileBackupSemantics(folder);
  EXPECT_NE(directory, kInvalidHandle);
  Va().Close(directory);
  EXPECT_EQ(Va().OpenFileForMoving(folder + L"\\no such file"), kInvalidHandle);
  EXPECT_EQ(Va().LastError(), kErrorFileNotFound);
  FileAnalysis result;
  EXPECT_EQ(AnalyseFile(folder + L"\\no such file", result), 0);
  EXPECT_FALSE(result.outcome.empty());
}

TEST_F(Win32VolumeAccessTest, FailureTextsComeFromTheSystemAndAreNeverEmpty) {
  const std::wstring denied = Va().SystemText(ERROR_ACCESS_DENIED);
  EXPECT_FALSE(denied.empty());
  EXPECT_EQ(Va().StatusToError(kStatusAlreadyCommitted), uint32_t(ERROR_ACCESS_DENIED));
  EXPECT_EQ(FailureText(uint32_t(kStatusAlreadyCommitted)), denied);
  EXPECT_FALSE(FailureText(0xC0001234).empty());
}

TEST_F(Win32VolumeAccessTest, ControlsWithoutSupportFailWithAText) {
  // The system drive: a volume that opens (elevated, or under Wine, whose
  // controls answer with stubs or "not supported").
  wchar_t windows[MAX_PATH];
  GetWindowsDirectoryW(windows, MAX_PATH);
  std::wstring message;
  const FsHandle volume = VolumeForPath(windows, message);
  if (volume == kInvalidHandle) {
    EXPECT_FALSE(message.empty());
    GTEST_SKIP() << "the system volume cannot be opened without elevation";
  }
  int64_t lcn = 0;
  NoWindowPump pump;
  const int searched = FindFreeRun(pump, volume, 16, false, lcn, message);
  if (searched == 0) {
    EXPECT_FALSE(message.empty());
  } else {
    EXPECT_TRUE(message.empty());
  }
  // A move of nothing into nowhere is refused, with a status.
  FsHandle file = Va().OpenFileForMoving(ProgramPath());
  MoveFileRecord record{uint64_t(file), 0, -5, 1, 0};
  IoStatusBlock block{};
  const NtStatus status = Va().MoveClusters(volume, block, &record, sizeof record);
  EXPECT_LT(status, 0);
  Va().Close(file);
}

}  // namespace
