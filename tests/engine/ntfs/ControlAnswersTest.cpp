// The three controls' answers, held to the same rules on the simulated volume
// and on the NTFS volume over an image: the engine reads and moves through
// either, and each holds the same kinds of file under the same names.
#include "NtfsTestSupport.h"

namespace {

// Runs with a hole between them, a compressed file whose hole ends on its
// unit, the record table whose first clusters never move, a file in pieces,
// one kept inside its record, an empty one and a folder; the first clusters
// in use, and a last cluster inside a byte of the bitmap.
constexpr char kSimulated[] =
    "volume letter=N clusters=1003\n"
    "reserve 0 16\n"
    "file \"N:\\$MFT\" size=65536 runs=16:16 unmovable=16\n"
    "file \"N:\\data\\sparse.img\" size=61440 runs=40:3,50:5,*:4,60:2,70:1\n"
    "file \"N:\\packed\\notes.txt\" size=131072 compressed runs=100:9,*:7,120:16\n"
    "file \"N:\\Users\\ann\\b.log\" size=32768 runs=200:2,204:2,208:2,212:2\n"
    "file \"N:\\many\" size=100 resident directory\n"
    "file \"N:\\tiny\" size=100 resident\n"
    "file \"N:\\empty\" size=0\n";

// The parameter: the NTFS volume, else the simulated one.
class ControlAnswersTest : public NtfsVolumeTest, public ::testing::WithParamInterface<bool> {
 protected:
  void SetUp() override {
    NtfsVolumeTest::SetUp();
    if (GetParam()) {
      Make(8, 1, (64ull << 20) + 3 * 4096);
      {
        NtfsImageWriter writer(image_);
        ASSERT_TRUE(writer.Create("/", "tiny", false) && writer.Write("/tiny", 0, std::vector<uint8_t>(100, 1)));
      }
      OpenVolume(true);
      empty_ = EnginePath(filled_.files[0]);  // emptied by the filling
    } else {
      sim_ = std::make_unique<SimVolume>();
      std::string error;
      ASSERT_TRUE(ParseSimDescription(kSimulated, *sim_, error)) << error;
      SetVolumeAccess(sim_.get());
      empty_ = L"N:\\empty";
    }
    volume_handle_ = Va().OpenVolume("\\\\.\\N:");
    ASSERT_NE(volume_handle_, kInvalidHandle);
    // The whole bitmap, before anything reads into the shared buffer.
    IoStatusBlock block{};
    int64_t lcn = 0;
    ASSERT_EQ(Va().GetVolumeBitmap(volume_handle_, block, &lcn, 8, gSharedBuffer.bytes, kSharedBufferLength),
              kStatusSuccess);
    clusters_ = GetParam() ? int64_t(volume_->ClusterCount()) : 1003;
    for (int64_t c = 0; c < clusters_; ++c) used_.push_back((gSharedBuffer.bytes[16 + c / 8] >> (c % 8) & 1) != 0);
  }
  void TearDown() override {
    if (CurrentVolumeAccess() != nullptr) {
      for (FsHandle handle : opened_) Va().Close(handle);
      Va().Close(volume_handle_);
    }
    NtfsVolumeTest::TearDown();
  }
  FsHandle Open(const std::wstring& path) {
    const FsHandle handle = Va().OpenFileForMoving(path);
    EXPECT_NE(handle, kInvalidHandle) << WideToUtf8(path);
    opened_.push_back(handle);
    return handle;
  }
  // The first cluster of the last free run of `count` clusters.
  int64_t FreeRun(int64_t count) const {
    int64_t free = 0;
    for (int64_t c = clusters_ - 1; c >= 0; --c) {
      free = used_[size_t(c)] ? 0 : free + 1;
      if (free == count) return c;
    }
    return -1;
  }

  std::unique_ptr<SimVolume> sim_;
  std::wstring empty_;
  FsHandle volume_handle_ = kInvalidHandle;
  int64_t clusters_ = 0;
  std::vector<bool> used_;
  std::vector<FsHandle> opened_;
};

// Holes are extents without clusters, and a compressed file's holes end on
// a unit of sixteen clusters; a file kept inside its record and an empty
// file have no extents. However much room each answer has, the runs read
// the same (ControlRuns holds every answer to the rules). On the NTFS volume
// every file and folder reads as The Sleuth Kit, which shares no code with
// it, reads the image, and the analysis counts those runs.
TEST_P(ControlAnswersTest, RetrievalPointersHoldWholeExtentsFromTheOneAskedInto) {
  const struct {
    const wchar_t* path;
    int64_t unit;
  } cases[] = {{L"N:\\data\\sparse.img", 1}, {L"N:\\packed\\notes.txt", 16}};
  for (const auto& c : cases) {
    SCOPED_TRACE(WideToUtf8(c.path));
    const FsHandle file = Open(c.path);
    std::vector<RetrievalExtent> extents;
    const std::vector<PhysicalRun> runs = ControlRuns(file, kSharedBufferLength, &extents);
    EXPECT_GE(extents.size(), 3u);
    for (const RetrievalExtent& e : extents) {
      if (e.lcn == -1) {
        EXPECT_EQ(e.nextVcn % c.unit, 0);
      }
    }
    for (uint32_t room : {32u, 16u + 2 * 16 + 8}) EXPECT_EQ(ControlRuns(file, room), runs) << room;
  }
  for (const std::wstring& path : {std::wstring(L"N:\\tiny"), empty_}) {
    EXPECT_TRUE(ControlRuns(Open(path)).empty()) << WideToUtf8(path);
  }
  if (!GetParam()) return;
  TskView view(image_);
  std::vector<std::string> paths = filled_.folders;
  paths.insert(paths.end(), filled_.files.begin(), filled_.files.end());
  uint64_t fragmented = 0;
  for (const std::string& path : paths) {
    SCOPED_TRACE(path);
    std::vector<PhysicalRun> expected;
    ASSERT_TRUE(view.Runs(path, expected));
    const FsHandle handle = Va().OpenFileBackupSemantics(EnginePath(path));
    ASSERT_NE(handle, kInvalidHandle);
    opened_.push_back(handle);
    EXPECT_EQ(ControlRuns(handle), expected);
    EXPECT_EQ(ControlRuns(handle, 32), expected);  // one extent a call
    FileAnalysis analysis;
    ASSERT_EQ(AnalyseFile(EnginePath(path), analysis), 1);
    EXPECT_EQ(analysis.fragments, expected.size());
    fragmented += expected.size() > 1;
  }
  EXPECT_GE(fragmented, 5u);
}

TEST_P(ControlAnswersTest, TheBitmapIsRoundedDownAndSizedToTheEnd) {
  ASSERT_NE(clusters_ % 8, 0);
  alignas(8) uint8_t out[kSharedBufferLength];
  IoStatusBlock block{};
  int64_t lcn = 13;
  ASSERT_EQ(Va().GetVolumeBitmap(volume_handle_, block, &lcn, 8, out, 40), kStatusBufferOverflow);
  VolumeBitmapHeader header;
  std::memcpy(&header, out, sizeof header);
  EXPECT_EQ(header.startingLcn, 8);
  EXPECT_EQ(header.bitmapSize, clusters_ - 8);  // to the end even on overflow
  EXPECT_EQ(block.status, kStatusBufferOverflow);  // a warning: data came back
  EXPECT_EQ(block.information, 40u);
  EXPECT_EQ(out[16] & 1, int(used_[8]));
  lcn = clusters_ - 3;
  ASSERT_EQ(Va().GetVolumeBitmap(volume_handle_, block, &lcn, 8, out, sizeof out), kStatusSuccess);
  std::memcpy(&header, out, sizeof header);
  EXPECT_EQ(header.startingLcn, lcn / 8 * 8);
  EXPECT_EQ(header.bitmapSize, clusters_ - header.startingLcn);
  EXPECT_EQ(block.information, 16u + (header.bitmapSize + 7) / 8);
  // Bits past the end of the volume read as in use.
  const int64_t valid = header.bitmapSize;
  EXPECT_EQ(out[16 + (valid - 1) / 8] | uint8_t((1u << (valid % 8)) - 1), 0xFF);
}

// What the volume cannot do is refused with the status a caller tells
// apart, the status block left as the caller set it.
TEST_P(ControlAnswersTest, CallsTheVolumeCannotAnswerAreRefused) {
  const FsHandle pieces = Open(L"N:\\Users\\ann\\b.log");
  const FsHandle table = Open(L"N:\\$MFT");
  std::vector<RetrievalExtent> extents;
  ControlRuns(pieces, kSharedBufferLength, &extents);
  ASSERT_FALSE(extents.empty());
  const int64_t vcns = extents.back().nextVcn;
  const int64_t free = FreeRun(4);
  // A free cluster just before one in use.
  int64_t edge = 1;
  while (used_[size_t(edge)] || !used_[size_t(edge + 1)]) ++edge;
  alignas(8) uint8_t out[64];
  const FsHandle volume = volume_handle_;
  auto move = [&](FsHandle file, int64_t vcn, int64_t target, uint32_t count) {
    return [=](IoStatusBlock& block) {
      MoveFileRecord record{uint64_t(file), vcn, target, count, 0};
      return Va().MoveClusters(volume, block, &record, sizeof record);
    };
  };
  auto pointers = [&](int64_t vcn, uint32_t inputLength, uint32_t room) {
    return [=, &out](IoStatusBlock& block) mutable {
      return Va().GetRetrievalPointers(pieces, block, &vcn, inputLength, out, room);
    };
  };
  auto bitmap = [&](int64_t lcn, uint32_t room) {
    return [=, &out](IoStatusBlock& block) mutable { return Va().GetVolumeBitmap(volume, block, &lcn, 8, out, room); };
  };
  const struct {
    const char* what;
    std::function<NtStatus(IoStatusBlock&)> call;
    NtStatus status;
  } cases[] = {
      {"a move of the record table", move(table, 0, free, 1), kStatusAccessDenied},
      {"a move onto a cluster in use", move(pieces, 0, 0, 1), kStatusAlreadyCommitted},
      {"a move whose last cluster is in use", move(pieces, 0, edge, 2), kStatusAlreadyCommitted},
      {"a move past the end of the volume", move(pieces, 0, clusters_ - 1, 2), kStatusInvalidParameter},
      {"a move past the end of the file", move(pieces, vcns - 1, free, 2), kStatusInvalidParameter},
      {"a move of no clusters", move(pieces, 0, free, 0), kStatusInvalidParameter},
      {"a move of a file not open", move(FsHandle(12345), 0, free, 1), kStatusInvalidHandle},
      {"pointers from before the file", pointers(-1, 8, 64), kStatusInvalidParameter},
      {"pointers asked with a short input", pointers(0, 7, 64), kStatusInvalidParameter},
      {"pointers with no room for an extent", pointers(0, 8, 31), kStatusBufferTooSmall},
      {"pointers past the allocation", pointers(vcns, 8, 64), kStatusEndOfFile},
      {"the bitmap past the volume", bitmap(clusters_, 64), kStatusInvalidParameter},
      {"the bitmap with no room for a byte", bitmap(0, 23), kStatusBufferTooSmall},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    IoStatusBlock untouched{};
    untouched.status = 77;
    untouched.information = 77;
    EXPECT_EQ(c.call(untouched), c.status);
    EXPECT_EQ(untouched.status, 77);
    EXPECT_EQ(untouched.information, 77u);
  }
  // A folder opens only with backup semantics; another volume not at all.
  EXPECT_EQ(Va().OpenFileForMoving(L"N:\\many"), kInvalidHandle);
  EXPECT_EQ(Va().LastError(), kErrorAccessDenied);
  opened_.push_back(Va().OpenFileBackupSemantics(L"N:\\many"));
  EXPECT_NE(opened_.back(), kInvalidHandle);
  EXPECT_EQ(Va().OpenVolume("\\\\.\\C:"), kInvalidHandle);
}

INSTANTIATE_TEST_SUITE_P(Volumes, ControlAnswersTest, ::testing::Bool(),
                         [](const ::testing::TestParamInfo<bool>& info) { return info.param ? "Ntfs" : "Simulated"; });

}  // namespace
