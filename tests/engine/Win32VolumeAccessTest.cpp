// The production volume access against the real system: how files, folders
// and volumes are opened, and the system's texts for failures.
#include "engine/win32/Win32VolumeAccess.h"
#include "util/PathText.h"

#include <gtest/gtest.h>
#include <windows.h>

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
};

TEST_F(Win32VolumeAccessTest, OpensFilesInBothFormsAndFoldersWithBackupSemantics) {
  wchar_t path[MAX_PATH];
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  const std::wstring program = path;
  FsHandle file = Va().OpenFileForMoving(program);
  ASSERT_NE(file, kInvalidHandle);
  EXPECT_TRUE(Va().Close(file));
  FsHandle longForm = Va().OpenFileForMoving(LongPathOf(program));
  EXPECT_NE(longForm, kInvalidHandle);
  Va().Close(longForm);
  const std::wstring folder = program.substr(0, program.rfind(L'\\'));
  FsHandle directory = Va().OpenFileBackupSemantics(folder);
  EXPECT_NE(directory, kInvalidHandle);
  Va().Close(directory);
  EXPECT_EQ(Va().OpenFileForMoving(folder + L"\\no such file"), kInvalidHandle);
  EXPECT_EQ(Va().LastError(), kErrorFileNotFound);
}

TEST_F(Win32VolumeAccessTest, FailureTextsComeFromTheSystemAndAreNeverEmpty) {
  const std::wstring denied = Va().SystemText(ERROR_ACCESS_DENIED);
  EXPECT_FALSE(denied.empty());
  EXPECT_EQ(Va().StatusToError(kStatusAlreadyCommitted), uint32_t(ERROR_ACCESS_DENIED));
  EXPECT_EQ(FailureText(uint32_t(kStatusAlreadyCommitted)), denied);
  EXPECT_FALSE(FailureText(0xC0001234).empty());
}

}  // namespace
