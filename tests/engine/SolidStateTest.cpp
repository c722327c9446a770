// The solid-state probes against recorded driver answers: what each request
// carries, which answer makes a drive solid-state, and how a failing probe
// hands over to the next.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "engine/SolidState.h"
#include "engine/SolidStateRecords.h"

namespace {

// Identification data as a drive returns it.
std::vector<uint8_t> Identify(uint16_t word80, uint16_t word169, uint16_t word217, const std::string& serial,
                              const std::string& model) {
  std::vector<uint8_t> data(kIdentifyBytes);
  auto word = [&](int w, uint16_t value) {
    data[2 * w] = uint8_t(value);
    data[2 * w + 1] = uint8_t(value >> 8);
  };
  auto text = [&](int first, int last, const std::string& t) {
    for (int w = first; w <= last; ++w) {
      size_t i = 2 * size_t(w - first);
      word(w, uint16_t((uint8_t(i < t.size() ? t[i] : ' ') << 8) | uint8_t(i + 1 < t.size() ? t[i + 1] : ' ')));
    }
  };
  word(80, word80);
  word(169, word169);
  word(217, word217);
  text(10, 19, serial);
  text(27, 46, model);
  return data;
}

struct Request {
  uint32_t code;
  std::vector<uint8_t> in;
};

// Answers per control code; a code without an answer is refused.
class RecordedDrive : public DeviceRequests {
 public:
  SystemVersion version{6, 1, true};
  bool openable = true;
  int opened = 0;
  std::vector<Request> requests;
  std::map<uint32_t, std::function<bool(uint8_t* out, uint32_t length)>> answers;

  SystemVersion Version() override { return version; }
  std::unique_ptr<DeviceHandle> OpenVolume(wchar_t letter) override {
    ++opened;
    lastLetter = letter;
    if (!openable) return nullptr;
    return std::make_unique<Handle>(*this);
  }
  wchar_t lastLetter = 0;

  // Places identification data at `offset` of the answer of `code`.
  void AnswerIdentify(uint32_t code, uint32_t offset, std::vector<uint8_t> data) {
    answers[code] = [offset, data](uint8_t* out, uint32_t length) {
      if (offset + data.size() > length) return false;
      std::memcpy(out + offset, data.data(), data.size());
      return true;
    };
  }
  void AnswerSmartVersion(uint8_t map) {
    answers[kIoctlSmartGetVersion] = [map](uint8_t* out, uint32_t length) {
      if (length < sizeof(SmartVersionRecord)) return false;
      SmartVersionRecord version{};
      version.ideDeviceMap = map;
      std::memcpy(out, &version, sizeof version);
      return true;
    };
  }
  void AnswerDescriptor(const std::string& product, const std::string& serial) {
    answers[kIoctlStorageQueryProperty] = [product, serial](uint8_t* out, uint32_t length) {
      StorageDeviceDescriptor descriptor{};
      descriptor.productIdOffset = 100;
      descriptor.serialNumberOffset = 200;
      if (length < 300) return false;
      std::memcpy(out, &descriptor, sizeof descriptor);
      std::memcpy(out + 100, product.c_str(), product.size() + 1);
      std::memcpy(out + 200, serial.c_str(), serial.size() + 1);
      return true;
    };
  }
  std::vector<uint32_t> Codes() const {
    std::vector<uint32_t> codes;
    for (const Request& request : requests) codes.push_back(request.code);
    return codes;
  }

 private:
  class Handle : public DeviceHandle {
   public:
    explicit Handle(RecordedDrive& drive) : drive_(drive) {}
    bool Control(uint32_t code, const void* in, uint32_t inLength, void* out, uint32_t outLength) override {
      const uint8_t* bytes = static_cast<const uint8_t*>(in);
      drive_.requests.push_back({code, std::vector<uint8_t>(bytes, bytes + (in ? inLength : 0))});
      auto answer = drive_.answers.find(code);
      if (answer == drive_.answers.end()) return false;
      return answer->second(static_cast<uint8_t*>(out), outLength);
    }

   private:
    RecordedDrive& drive_;
  };
};

class SolidStateTest : public ::testing::Test {
 protected:
  void SetUp() override {
    SetDeviceRequests(&drive);
    gDriveIdentity = {};
  }
  void TearDown() override { SetDeviceRequests(nullptr); }
  RecordedDrive drive;
};

constexpr uint16_t kAta8 = 0x01F0;  // versions 4 to 8

TEST_F(SolidStateTest, AtaIdentificationDecidesByRotationOrTrim) {
  drive.AnswerIdentify(kIoctlAtaPassThrough, 44, Identify(kAta8, 0, 1, "S1", "Rotating Brand X"));
  EXPECT_EQ(IsSolidStateVolume(L'C'), 1);
  ASSERT_EQ(drive.requests.size(), 1u);
  EXPECT_EQ(drive.lastLetter, L'C');
  // The packed header as the driver reads it.
  const std::vector<uint8_t>& in = drive.requests[0].in;
  ASSERT_EQ(in.size(), 556u);
  EXPECT_EQ(in[0], 44);
  EXPECT_EQ(in[2], 2);
  EXPECT_EQ(in[8] | in[9] << 8, 512);
  EXPECT_EQ(in[12], 5);
  EXPECT_EQ(in[20], 44);
  EXPECT_EQ(in[42], 0xEC);

  drive.requests.clear();
  drive.AnswerIdentify(kIoctlAtaPassThrough, 44, Identify(kAta8, 1, 7200, "S1", "Plain disk"));
  EXPECT_EQ(IsSolidStateVolume(L'C'), 1);  // TRIM

  // Before ATA version 7 neither word counts, and the model then decides.
  drive.AnswerIdentify(kIoctlAtaPassThrough, 44, Identify(0x0070, 1, 1, "S1", "Plain disk"));
  EXPECT_EQ(IsSolidStateVolume(L'C'), 0);
  drive.AnswerIdentify(kIoctlAtaPassThrough, 44, Identify(0xFFFF, 1, 1, "S1", "Plain disk"));
  EXPECT_EQ(IsSolidStateVolume(L'C'), 0);

  // Version 6.0 and 10.0 systems skip the pass-through altogether.
  drive.AnswerIdentify(kIoctlAtaPassThrough, 44, Identify(kAta8, 0, 1, "S1", "Plain disk"));
  drive.requests.clear();
  drive.version = {6, 0, true};
  EXPECT_EQ(IsSolidStateVolume(L'C'), 0);
  drive.version = {10, 0, true};
  EXPECT_EQ(IsSolidStateVolume(L'C'), 0);
  for (uint32_t code : drive.Codes()) EXPECT_NE(code, kIoctlAtaPassThrough);
}

TEST_F(SolidStateTest, AtaMajorVersionIsTheHighestBitBelowFifteen) {
  EXPECT_EQ(AtaMajorVersion(0), 0);
  EXPECT_EQ(AtaMajorVersion(0xFFFF), 0);
  EXPECT_EQ(AtaMajorVersion(0x0001), 0);
  EXPECT_EQ(AtaMajorVersion(0x00F0), 7);
  EXPECT_EQ(AtaMajorVersion(0x8000 | 0x0080), 7);  // bit 15 is not a version
  EXPECT_EQ(AtaMajorVersion(0x4000), 14);
}

TEST_F(SolidStateTest, ModelListRules) {
  EXPECT_TRUE(IsSolidStateModel("Samsung ssd 850 EVO"));
  EXPECT_TRUE(IsSolidStateModel("OCZ-VERTEX4"));
  EXPECT_TRUE(IsSolidStateModel("KINGSTON SH100S3B120G"));
  EXPECT_TRUE(IsSolidStateModel("SomeBrand XM3S"));
  EXPECT_TRUE(IsSolidStateModel("Other m2s"));
  EXPECT_FALSE(IsSolidStateModel("M3S-Brand drive"));
  // The first occurrence decides: one elsewhere hides one at the end.
  EXPECT_FALSE(IsSolidStateModel("ABM3SX M3S"));
  EXPECT_TRUE(IsSolidStateModel("Intel S100-Series"));
  EXPECT_FALSE(IsSolidStateModel("IntelS100-Series"));  // the blank belongs to the name
  EXPECT_FALSE(IsSolidStateModel("WDC WD10EZEX-08WN4A0"));
  EXPECT_FALSE(IsSolidStateModel(""));
}

TEST_F(SolidStateTest, SmartIdentifyCarriesTheDriveAndReadsTheModel) {
  drive.AnswerSmartVersion(0x01);
  drive.AnswerIdentify(kIoctlSmartReceiveDriveData, 16, Identify(0, 0, 0, "WX123", "Fast Drive M3S   "));
  EXPECT_EQ(IsSolidStateVolume(L'C'), 1);
  EXPECT_EQ(gDriveIdentity.model, "Fast Drive M3S");
  EXPECT_EQ(gDriveIdentity.serial, "WX123");
  // A pass-through refused, then the version query and the first form.
  ASSERT_EQ(drive.Codes(), (std::vector<uint32_t>{kIoctlAtaPassThrough, kIoctlSmartGetVersion,
                                                  kIoctlSmartReceiveDriveData}));
  const std::vector<uint8_t>& in = drive.requests[2].in;
  ASSERT_EQ(in.size(), 32u);
  EXPECT_EQ(in[0] | in[1] << 8, 512);
  EXPECT_EQ(in[5], 1);     // sector count
  EXPECT_EQ(in[6], 1);     // sector number
  EXPECT_EQ(in[9], 0xB0);  // 'C' is odd: the second device
  EXPECT_EQ(in[10], 0xEC);
  EXPECT_EQ(in[12], 'C');

  // The device map is shifted by the letter's code (as a 32-bit shift, by
  // its low five bits: 'C' = 67 shifts by 3); bit 4 of the result asks for
  // the packet identification. 'D' is even: the first device.
  drive.AnswerSmartVersion(0x80);
  drive.requests.clear();
  IsSolidStateVolume(L'C');
  ASSERT_GE(drive.requests.size(), 3u);
  EXPECT_EQ(drive.requests[2].in[10], 0xA1);
  drive.requests.clear();
  IsSolidStateVolume(L'D');
  ASSERT_GE(drive.requests.size(), 3u);
  EXPECT_EQ(drive.requests[2].in[9], 0xA0);
  EXPECT_EQ(drive.requests[2].in[10], 0xEC);
}

TEST_F(SolidStateTest, FailingProbesFallThroughInOrder) {
  // Nothing answers: every probe is tried, each with its own handle.
  EXPECT_EQ(IsSolidStateVolume(L'E'), 0);
  EXPECT_EQ(drive.Codes(), (std::vector<uint32_t>{kIoctlAtaPassThrough, kIoctlSmartGetVersion,
                                                  kIoctlScsiMiniport, kIoctlStorageQueryProperty,
                                                  kIoctlSmartGetVersion}));
  EXPECT_EQ(drive.opened, 5);

  // The version query answers with an empty device map: the first form is
  // skipped, the miniport answers.
  drive.requests.clear();
  drive.AnswerSmartVersion(0);
  drive.AnswerIdentify(kIoctlScsiMiniport, 44, Identify(0, 0, 0, "MP1", "Corsair Force SSD"));
  EXPECT_EQ(IsSolidStateVolume(L'E'), 1);
  EXPECT_EQ(drive.Codes(), (std::vector<uint32_t>{kIoctlAtaPassThrough, kIoctlSmartGetVersion, kIoctlScsiMiniport}));
  const std::vector<uint8_t>& in = drive.requests[2].in;
  ASSERT_EQ(in.size(), 60u);
  EXPECT_EQ(in[0], 28);
  EXPECT_EQ(std::string(in.begin() + 4, in.begin() + 12), "SCSIDISK");
  EXPECT_EQ(in[12] | in[13] << 8, 10000);
  EXPECT_EQ(in[16] | in[17] << 8 | in[18] << 16, 0x1B0501);
  EXPECT_EQ(in[24] | in[25] << 8, 529);
  EXPECT_EQ(in[28 + 10], 0xEC);
  EXPECT_EQ(in[28 + 12], 'E');

  // A miniport answer of zeros is no answer: the descriptor is asked, then
  // the geometry on the same handle.
  drive.requests.clear();
  drive.opened = 0;
  drive.AnswerIdentify(kIoctlScsiMiniport, 44, std::vector<uint8_t>(512));
  drive.AnswerDescriptor("OCZ-AGILITY3", "");
  EXPECT_EQ(IsSolidStateVolume(L'E'), 1);
  EXPECT_EQ(drive.Codes(), (std::vector<uint32_t>{kIoctlAtaPassThrough, kIoctlSmartGetVersion, kIoctlScsiMiniport,
                                                  kIoctlStorageQueryProperty, kIoctlDiskGetDriveGeometryEx}));
  EXPECT_EQ(drive.opened, 4);
  EXPECT_EQ(drive.requests[3].in.size(), 12u);
  EXPECT_EQ(gDriveIdentity.model, "OCZ-AGILITY3");

  // Only the second SMART form answers: all zero but its command.
  drive.requests.clear();
  drive.answers.erase(kIoctlScsiMiniport);
  drive.answers.erase(kIoctlStorageQueryProperty);
  drive.AnswerSmartVersion(0);
  drive.AnswerIdentify(kIoctlSmartReceiveDriveData, 16, Identify(0, 0, 0, "Z9", "HyperX 3K"));
  gDriveIdentity = {};
  EXPECT_EQ(IsSolidStateVolume(L'E'), 1);
  const std::vector<uint8_t>& second = drive.requests.back().in;
  ASSERT_EQ(second.size(), 33u);
  for (size_t i = 0; i < second.size(); ++i) EXPECT_EQ(second[i], i == 10 ? 0xEC : 0) << i;

  // A volume that cannot be opened fails every probe quietly.
  drive.openable = false;
  EXPECT_EQ(IsSolidStateVolume(L'E'), 0);
}

TEST_F(SolidStateTest, IdentityIsKeptOnlyFromAPlausibleSerial) {
  drive.AnswerSmartVersion(0x01);
  // Neither the first nor the twentieth serial character is a letter, digit
  // or blank: no identity, so no model to match.
  drive.AnswerIdentify(kIoctlSmartReceiveDriveData, 16,
                       Identify(0, 0, 0, std::string("#234567890123456789#"), "Fast SSD"));
  EXPECT_EQ(IsSolidStateVolume(L'C'), 0);
  EXPECT_EQ(gDriveIdentity.model, "");
  // One plausible end is enough.
  drive.AnswerIdentify(kIoctlSmartReceiveDriveData, 16,
                       Identify(0, 0, 0, std::string("A234567890123456789#"), "Fast SSD"));
  EXPECT_EQ(IsSolidStateVolume(L'C'), 1);
}

TEST_F(SolidStateTest, DescriptorSerialDecodesHexPairs) {
  // "2020" decodes to two blanks; pairs swapped, blanks trimmed.
  EXPECT_EQ(DescriptorSerial("3153324e2020"), "S1N2");
  EXPECT_EQ(DescriptorSerial("  WD-WCC4N1234567 "), "WD-WCC4N1234567");
  EXPECT_EQ(DescriptorSerial("0102"), "0102");  // pairs that decode to control characters
  EXPECT_EQ(DescriptorSerial("ABC"), "ABC");    // odd length
  EXPECT_EQ(DescriptorSerial(""), "");

  drive.AnswerDescriptor("Generic Disk", "3153324e2020");
  EXPECT_EQ(IsSolidStateVolume(L'F'), 0);
  EXPECT_EQ(gDriveIdentity.serial, "S1N2");
}

TEST_F(SolidStateTest, NonNtSystemsStopAfterThePassThrough) {
  drive.version = {4, 10, false};
  drive.AnswerDescriptor("Samsung SSD", "");
  EXPECT_EQ(IsSolidStateVolume(L'C'), 0);
  EXPECT_TRUE(drive.requests.empty());
}

}  // namespace
