#include "engine/sim/SimVolume.h"

#include "EngineTestSupport.h"

namespace {

using SimVolumeTest = SimTest;

// The answers every volume gives are held to their rules beside the NTFS
// volume's; what only the simulated volume does is its switch that writes a
// failure into the status block too.
TEST_F(SimVolumeTest, ItsSwitchWritesFailuresIntoTheBlock) {
  Volume(
      "volume letter=Z clusters=100000 blockOnFailure=on\n"
      "file \"Z:\\f\" size=4096 runs=10:4,20:4\n");
  FsHandle v = Va().OpenVolume("\\\\.\\Z:");
  FsHandle f = Va().OpenFileForMoving(L"Z:\\f");
  IoStatusBlock block{};
  MoveFileRecord record{uint64_t(f), 0, 21, 4, 0};  // onto its own second run
  EXPECT_EQ(Va().MoveClusters(v, block, &record, sizeof record), kStatusAlreadyCommitted);
  EXPECT_EQ(block.status, kStatusAlreadyCommitted);
}

TEST_F(SimVolumeTest, BadDescriptionsSayWhereAndWhy) {
  const std::pair<std::string, const char*> kBad[] = {
      {"reserve 0 1\n", "line 1: the volume statement must come first"},
      {"volume letter=Z clusters=10\nfile \"Z:\\a\" size=4096 runs=8:4\n", "line 2:"},
      {"volume letter=Z clusters=10\nfile \"Z:\\a\" size=4096 runs=1:1\nfile \"Z:\\b\" size=1 runs=1:1\n",
       "line 3:"},
      {"volume letter=Z clusters=10 colour=blue\n", "unknown volume setting colour"},
      {"volume letter=Z clusters=10\nfile \"Z:\\a size=1\n", "unterminated"},
      {"volume letter=Z clusters=10\nfault \"Z:\\a\" control=move\n", "line 2:"},
      {"volume letter=Z clusters=10\nfile \"Z:\\a\" size=99999 runs=1:1\n", "larger than"},
      {"", "no volume statement"},
      // Found by fuzzing: numbers past 64 bits, volumes too large to hold,
      // and runs whose end wraps past the largest number.
      {"volume letter=Z clusters=18446744073709551616\n", "bad value for clusters"},
      {"volume letter=Z clusters=18446744073709551615\n", "at most 4294967296 clusters"},
      {"volume letter=Z clusters=100\nfile \"Z:\\a\" size=1 runs=5:18446744073709551612\n", "outside the volume"},
      {"volume letter=Z clusters=100\nreserve 5 18446744073709551612\n", "outside the volume"},
      // A NUL inside a number, and a hexadecimal prefix with no digits.
      {std::string("volume letter=Z clusters=100\nfile \"Z:\\a\" size=1 runs=\0\0:1\n", 58), "bad value in runs"},
      {"volume letter=Z clusters=0x\n", "bad value for clusters"},
  };
  for (const auto& [text, expected] : kBad) {
    SimVolume volume;
    std::string error;
    EXPECT_FALSE(ParseSimDescription(text, volume, error)) << text;
    EXPECT_NE(error.find(expected), std::string::npos) << error;
  }
}

}  // namespace
