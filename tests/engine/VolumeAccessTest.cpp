#include "engine/VolumeAccess.h"

#include "EngineTestSupport.h"

namespace {

TEST(VolumePaths, FolderEndsAndDeviceNames) {
  EXPECT_EQ(WithTrailingBackslash(L"C:\\a"), L"C:\\a\\");
  EXPECT_EQ(WithTrailingBackslash(L"C:\\"), L"C:\\");
  EXPECT_EQ(VolumeDeviceName(L'D'), "\\\\.\\D:");
}

class FailureTextTest : public SimTest {};

// Statuses and errors with a text are read through the analysis and the
// relocation; one with none is its number, never an empty text.
TEST_F(FailureTextTest, AFailureWithoutATextIsItsNumber) {
  Volume("volume letter=Z clusters=10\n");
  EXPECT_EQ(Narrow(FailureText(0xC0001234)), "Error 0xC0001234");
  EXPECT_EQ(Narrow(FailureText(9999)), "Error 0x0000270F");
}

}  // namespace
