#include "engine/sim/SimVolume.h"

#include <cstring>

#include "EngineTestSupport.h"

namespace {

class SimVolumeTest : public SimTest {
 protected:
  struct Read {
    NtStatus status;
    IoStatusBlock block;
    RetrievalPointersHeader header;
    std::vector<RetrievalExtent> extents;
  };

  Read Pointers(FsHandle file, int64_t vcn, uint32_t outputLength = kSharedBufferLength,
                uint32_t inputLength = 8) {
    Read r{};
    std::vector<uint8_t> out(std::max<uint32_t>(outputLength, 16), 0xEE);
    r.status = Va().GetRetrievalPointers(file, r.block, &vcn, inputLength, out.data(), outputLength);
    if (r.status == kStatusPending) {
      Va().Wait(file);
      r.status = r.block.status;
    }
    std::memcpy(&r.header, out.data(), sizeof r.header);
    if (r.status >= 0) {
      for (uint32_t i = 0; i < r.header.extentCount; ++i) {
        RetrievalExtent e;
        std::memcpy(&e, out.data() + 16 + 16 * i, 16);
        r.extents.push_back(e);
      }
    }
    return r;
  }

  NtStatus Move(FsHandle volume, FsHandle file, int64_t vcn, int64_t lcn, uint32_t count) {
    MoveFileRecord record{uint64_t(file), vcn, lcn, count, 0};
    IoStatusBlock block{};
    const NtStatus status = Va().MoveClusters(volume, block, &record, sizeof record);
    if (status != kStatusPending) return status;
    Va().Wait(file);
    return block.status;
  }
};

TEST_F(SimVolumeTest, RetrievalPointersAnswerAsTheFileSystemDoes) {
  Volume(
      "volume letter=Z clusters=1000\n"
      "file \"Z:\\f\" size=40960 runs=10:3,20:5,*:4,40:2,50:1\n"
      "file \"Z:\\r\" size=100 resident\n"
      "file \"Z:\\e\" size=0\n");
  FsHandle f = Va().OpenFileForMoving(L"Z:\\f");
  Read all = Pointers(f, 0);
  EXPECT_EQ(all.status, kStatusSuccess);
  EXPECT_EQ(all.block.information, 16u + 5 * 16);
  ASSERT_EQ(all.extents.size(), 5u);
  EXPECT_EQ(all.extents[2].lcn, -1);  // the hole
  EXPECT_EQ(all.extents[2].nextVcn, 12);
  // Asked from inside the second run: whole extents from that run's start.
  Read inside = Pointers(f, 5);
  EXPECT_EQ(inside.header.startingVcn, 3);
  EXPECT_EQ(inside.extents.size(), 4u);
  // A buffer with room for two: two whole extents and an overflow.
  Read two = Pointers(f, 0, 16 + 2 * 16 + 8);
  EXPECT_EQ(two.status, kStatusBufferOverflow);
  EXPECT_EQ(two.header.extentCount, 2u);
  EXPECT_EQ(two.block.information, 48u);
  // The smallest buffer still holds one extent; smaller is refused.
  EXPECT_EQ(Pointers(f, 0, 32).header.extentCount, 1u);
  EXPECT_EQ(Pointers(f, 0, 31).status, kStatusBufferTooSmall);
  EXPECT_EQ(Pointers(f, -1).status, kStatusInvalidParameter);
  EXPECT_EQ(Pointers(f, 0, kSharedBufferLength, 7).status, kStatusInvalidParameter);
  EXPECT_EQ(Pointers(f, 15).status, kStatusEndOfFile);  // past the allocation
  for (const wchar_t* path : {L"Z:\\r", L"Z:\\e"}) {
    FsHandle h = Va().OpenFileForMoving(path);
    EXPECT_EQ(Pointers(h, 0).status, kStatusEndOfFile);
    Va().Close(h);
  }
  Va().Close(f);
}

TEST_F(SimVolumeTest, TheBitmapIsRoundedDownAndSizedToTheEnd) {
  Volume("volume letter=Z clusters=70003 bitmapAlign=64\nreserve 60 10\n");
  FsHandle v = Va().OpenVolume("\\\\.\\z:");
  ASSERT_NE(v, kInvalidHandle);
  std::vector<uint8_t> out(kSharedBufferLength);
  VolumeBitmapHeader header;
  IoStatusBlock block{};
  int64_t lcn = 100;
  EXPECT_EQ(Va().GetVolumeBitmap(v, block, &lcn, 8, out.data(), kSharedBufferLength), kStatusBufferOverflow);
  std::memcpy(&header, out.data(), 16);
  EXPECT_EQ(header.startingLcn, 64);
  EXPECT_EQ(header.bitmapSize, 70003 - 64);  // the whole rest, not only what fit
  EXPECT_EQ(block.information, kSharedBufferLength);
  EXPECT_EQ(out[16], 0x3F);  // clusters 64..69 reserved
  lcn = 69999;
  EXPECT_EQ(Va().GetVolumeBitmap(v, block, &lcn, 8, out.data(), kSharedBufferLength), kStatusSuccess);
  std::memcpy(&header, out.data(), 16);
  EXPECT_EQ(header.startingLcn, 69952);
  EXPECT_EQ(header.bitmapSize, 51);
  EXPECT_EQ(block.information, 16u + 7);
  EXPECT_EQ(out[16 + 6], 0xF8);  // 3 free clusters, then bits past the end read as used
  lcn = 70003;
  EXPECT_EQ(Va().GetVolumeBitmap(v, block, &lcn, 8, out.data(), kSharedBufferLength), kStatusInvalidParameter);
  lcn = 0;
  EXPECT_EQ(Va().GetVolumeBitmap(v, block, &lcn, 8, out.data(), 23), kStatusBufferTooSmall);
  FsHandle notVolume = Va().OpenFileForMoving(L"Z:\\none");
  EXPECT_EQ(notVolume, kInvalidHandle);
  EXPECT_EQ(Va().OpenVolume("\\\\.\\Y:"), kInvalidHandle);
}

TEST_F(SimVolumeTest, MovesCheckTheirRangeAndTarget) {
  Volume(
      "volume letter=Z clusters=1000 inUseStatus=0xC000000D\n"
      "file \"Z:\\f\" size=32768 runs=10:4,20:4\n"
      "file \"Z:\\g\" size=4096 runs=100:2\n"
      "file \"Z:\\mft\" size=4096 runs=200:8,300:8 unmovable=4\n");
  FsHandle v = Va().OpenVolume("\\\\.\\Z:");
  FsHandle f = Va().OpenFileForMoving(L"Z:\\f");
  FsHandle m = Va().OpenFileForMoving(L"Z:\\mft");
  EXPECT_EQ(Move(v, f, 0, 99, 4), kStatusInvalidParameter);   // the chosen in-use status
  EXPECT_EQ(Move(v, f, 6, 500, 4), kStatusInvalidParameter);  // past the file's allocation
  EXPECT_EQ(Move(v, f, 0, 998, 4), kStatusInvalidParameter);  // past the volume's end
  EXPECT_EQ(Move(v, f, 0, 500, 0), kStatusInvalidParameter);
  EXPECT_EQ(Move(f, f, 0, 500, 4), kStatusInvalidParameter);  // a file is no volume
  EXPECT_EQ(Move(v, m, 0, 500, 8), kStatusAccessDenied);
  EXPECT_EQ(Move(v, m, 8, 500, 8), kStatusSuccess);
  EXPECT_EQ(Move(v, f, 2, 14, 4), kStatusSuccess);  // VCNs 2..5 across both runs
  EXPECT_EQ(volume().FindFile(L"Z:\\f")->runs, (std::vector<SimRun>{{10, 2}, {14, 4}, {22, 2}}));
  EXPECT_TRUE(Clean());
}

// A synchronous file object: an error answered at once leaves the caller's
// block as it was; success, warnings and completions after pending write it.
TEST_F(SimVolumeTest, TheStatusBlockIsWrittenOnlyWhereTheSystemWritesIt) {
  for (const char* setting : {"", " blockOnFailure=on"}) {
    SCOPED_TRACE(setting);
    const bool written = *setting != 0;
    Volume(std::string("volume letter=Z clusters=100000") + setting + "\n"
           "file \"Z:\\f\" size=4096 runs=10:4,20:4\n"
           "fault \"Z:\\f\" control=move call=2 pending status=0xC0000022\n");
    FsHandle v = Va().OpenVolume("\\\\.\\Z:");
    FsHandle f = Va().OpenFileForMoving(L"Z:\\f");
    std::vector<uint8_t> out(kSharedBufferLength);
    IoStatusBlock block{};
    auto marked = [&] {
      block.status = 77;
      block.information = 99;
      return &block;
    };
    int64_t lcn = 0;
    EXPECT_EQ(Va().GetVolumeBitmap(v, *marked(), &lcn, 8, out.data(), 23), kStatusBufferTooSmall);
    EXPECT_EQ(block.status, written ? kStatusBufferTooSmall : 77);
    EXPECT_EQ(Va().GetVolumeBitmap(f, *marked(), &lcn, 8, out.data(), kSharedBufferLength),
              kStatusInvalidParameter);
    EXPECT_EQ(block.status, written ? kStatusInvalidParameter : 77);
    EXPECT_EQ(Va().GetVolumeBitmap(v, *marked(), &lcn, 8, out.data(), kSharedBufferLength),
              kStatusBufferOverflow);
    EXPECT_EQ(block.status, kStatusBufferOverflow);  // a warning: data came back
    EXPECT_EQ(block.information, kSharedBufferLength);
    lcn = 50;
    EXPECT_EQ(Va().GetRetrievalPointers(f, *marked(), &lcn, 8, out.data(), kSharedBufferLength),
              kStatusEndOfFile);
    EXPECT_EQ(block.status, written ? kStatusEndOfFile : 77);
    MoveFileRecord record{uint64_t(f), 0, 21, 4, 0};  // onto its own second run
    EXPECT_EQ(Va().MoveClusters(v, *marked(), &record, sizeof record), kStatusAlreadyCommitted);
    EXPECT_EQ(block.status, written ? kStatusAlreadyCommitted : 77);
    // The fault's call: pending, and its failure lands in the block on the wait.
    record.startingLcn = 500;
    EXPECT_EQ(Va().MoveClusters(v, *marked(), &record, sizeof record), kStatusPending);
    EXPECT_EQ(block.status, 77);
    Va().Wait(f);
    EXPECT_EQ(block.status, kStatusAccessDenied);
    record.fileHandle = 12345;
    EXPECT_EQ(Va().MoveClusters(v, *marked(), &record, sizeof record), kStatusInvalidHandle);
    EXPECT_EQ(block.status, written ? kStatusInvalidHandle : 77);
  }
}

TEST_F(SimVolumeTest, TheCheckerNoticesLostAndStrayData) {
  Volume("volume letter=Z clusters=100\nfile \"Z:\\f\" size=4096 runs=10:4\nreserve 50 2\n");
  EXPECT_TRUE(Clean());
  volume().OverwriteBit(60, true);
  EXPECT_FALSE(Clean());
  volume().OverwriteBit(60, false);
  volume().OverwriteBit(51, false);
  EXPECT_FALSE(Clean());
  volume().OverwriteBit(51, true);
  volume().OverwriteTag(12, 1, 3);  // VCN 2's cluster holds VCN 3's data
  EXPECT_FALSE(Clean());
  volume().OverwriteTag(12, 1, 2);
  EXPECT_TRUE(Clean());
  volume().OverwriteTag(70, 1, 0);  // a copy nobody claims
  EXPECT_FALSE(Clean());
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

TEST_F(SimVolumeTest, FilesOnDiskButNotDescribedGetTheLowestFreeRun) {
  Volume("volume letter=Z clusters=100\nreserve 0 3\nreserve 5 2\n");
  volume().diskLookup = [](const std::wstring& path, uint64_t& size, bool& isDirectory) {
    isDirectory = path == L"Z:\\folder";
    size = path == L"Z:\\tiny" ? 700 : 9000;
    return path != L"Z:\\absent";
  };
  FileAnalysis r;
  EXPECT_EQ(AnalyseFile(L"Z:\\big", r), 1);
  EXPECT_EQ(r.clusters, 3u);
  EXPECT_EQ(volume().FindFile(L"Z:\\big")->runs, (std::vector<SimRun>{{7, 3}}));
  EXPECT_EQ(AnalyseFile(L"Z:\\tiny", r), 1);
  EXPECT_TRUE(volume().FindFile(L"Z:\\tiny")->resident);
  EXPECT_EQ(AnalyseFile(L"Z:\\folder", r), 1);
  EXPECT_EQ(AnalyseFile(L"Z:\\absent", r), 0);
  EXPECT_EQ(AnalyseFile(L"C:\\elsewhere", r), 0);
  EXPECT_TRUE(Clean());
}

}  // namespace
