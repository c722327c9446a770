// The solid-state probes against recorded driver answers: which answers make
// a drive solid-state, the order in which failing probes hand over, and which
// device and command the first SMART form asks for.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "engine/SolidState.h"
#include "engine/SolidStateRecords.h"
#include "engine/sim/SimDrives.h"

namespace {

constexpr uint32_t kAta = kIoctlAtaPassThrough;
constexpr uint32_t kVersion = kIoctlSmartGetVersion;
constexpr uint32_t kSmart = kIoctlSmartReceiveDriveData;
constexpr uint32_t kMiniport = kIoctlScsiMiniport;
constexpr uint32_t kProperty = kIoctlStorageQueryProperty;
constexpr uint32_t kGeometry = kIoctlDiskGetDriveGeometryEx;
constexpr uint16_t kAta8 = 0x01F0;  // versions 4 to 8
// The device map's place in the SMART version answer.
constexpr uint32_t kMapOffset = offsetof(SmartVersionRecord, ideDeviceMap);

using Bytes = std::vector<uint8_t>;
// Identification data as a drive returns it: versions, words 169 and 217,
// serial and model.
constexpr auto Identify = &SimIdentifyData;

Bytes Descriptor(const std::string& product, const std::string& serial) {
  StorageDeviceDescriptor descriptor{};
  descriptor.productIdOffset = 100;
  descriptor.serialNumberOffset = 200;
  Bytes bytes(300);
  std::memcpy(bytes.data(), &descriptor, sizeof descriptor);
  std::memcpy(bytes.data() + 100, product.c_str(), product.size() + 1);
  std::memcpy(bytes.data() + 200, serial.c_str(), serial.size() + 1);
  return bytes;
}

// Bytes placed at an offset of the answer.
struct Answer {
  uint32_t offset;
  Bytes bytes;
};

struct Request {
  uint32_t code;
  Bytes in;
};

// Answers per control code; a code without an answer is refused.
class RecordedDrive : public DeviceRequests {
 public:
  SystemVersion version;
  bool openable = true;
  std::map<uint32_t, Answer> answers;
  std::vector<Request> requests;

  SystemVersion Version() override { return version; }
  std::unique_ptr<DeviceHandle> OpenVolume(wchar_t) override {
    return openable ? std::make_unique<Handle>(*this) : nullptr;
  }

 private:
  class Handle : public DeviceHandle {
   public:
    explicit Handle(RecordedDrive& drive) : drive_(drive) {}
    bool Control(uint32_t code, const void* in, uint32_t inLength, void* out, uint32_t outLength) override {
      const uint8_t* bytes = static_cast<const uint8_t*>(in);
      drive_.requests.push_back({code, Bytes(bytes, bytes + (in ? inLength : 0))});
      auto answer = drive_.answers.find(code);
      if (answer == drive_.answers.end() || answer->second.offset + answer->second.bytes.size() > outLength) {
        return false;
      }
      std::memcpy(static_cast<uint8_t*>(out) + answer->second.offset, answer->second.bytes.data(),
                  answer->second.bytes.size());
      return true;
    }

   private:
    RecordedDrive& drive_;
  };
};

TEST(SolidStateTest, DrivesAreJudgedByTheirAnswersAndFailingProbesHandOverInOrder) {
  const Bytes ssd = Identify(kAta8, 0, 1, "S1", "Rotating Brand X");
  const Bytes model = Identify(0, 0, 0, "WX123", "Fast Drive M3S   ");
  const std::vector<uint32_t> everyProbe = {kAta, kVersion, kMiniport, kProperty, kVersion};
  const struct {
    const char* what;
    SystemVersion version = {6, 1, true};
    wchar_t letter = L'C';
    std::map<uint32_t, Answer> answers = {};
    int solid = 0;
    std::vector<uint32_t> asked = {};
    std::string model = {};
    std::string serial = {};
    uint8_t head = 0;  // the first SMART form's drive and command bytes, when asked
    uint8_t command = 0;
    bool openable = true;
  } kDrives[] = {
      {.what = "no rotation", .answers = {{kAta, {44, ssd}}}, .solid = 1, .asked = {kAta}},
      {.what = "TRIM", .answers = {{kAta, {44, Identify(kAta8, 1, 7200, "S1", "Plain disk")}}}, .solid = 1,
       .asked = {kAta}},
      {.what = "a rotating disk", .answers = {{kAta, {44, Identify(kAta8, 0, 7200, "S1", "Plain")}}}, .solid = 0,
       .asked = everyProbe},
      // Before ATA version 7 neither word counts: the model decides.
      {.what = "version 6", .answers = {{kAta, {44, Identify(0x0070, 1, 1, "S1", "Plain")}}}, .solid = 0,
       .asked = everyProbe},
      {.what = "bit 15 is no version", .answers = {{kAta, {44, Identify(0x8040, 1, 1, "S1", "Plain")}}},
       .solid = 0, .asked = everyProbe},
      {.what = "all ones is no version", .answers = {{kAta, {44, Identify(0xFFFF, 1, 1, "S1", "Plain")}}},
       .solid = 0, .asked = everyProbe},
      // Version 6.0 and 10.0 systems skip the pass-through altogether.
      {.what = "system 10.0", .version = {10, 0, true}, .answers = {{kAta, {44, ssd}}}, .solid = 0,
       .asked = {kVersion, kMiniport, kProperty, kVersion}},
      {.what = "not of the NT family", .version = {4, 10, false}, .answers = {{kProperty, {0, Descriptor("SSD", "")}}},
       .solid = 0, .asked = {}},
      {.what = "first SMART form, 'C' odd: the second device",
       .answers = {{kVersion, {kMapOffset, {0x01}}}, {kSmart, {16, model}}}, .solid = 1,
       .asked = {kAta, kVersion, kSmart}, .model = "Fast Drive M3S", .serial = "WX123", .head = 0xB0,
       .command = 0xEC},
      // The map shifted by the letter's code as a 32-bit shift (by its low
      // five bits: 'C' = 67 by 3); bit 4 of the result asks for the packet
      // identification.
      {.what = "first SMART form, a packet device",
       .answers = {{kVersion, {kMapOffset, {0x80}}}, {kSmart, {16, model}}}, .solid = 1,
       .asked = {kAta, kVersion, kSmart}, .model = "Fast Drive M3S", .serial = "WX123", .head = 0xB0,
       .command = 0xA1},
      {.what = "first SMART form, 'D' even: the first device", .letter = L'D',
       .answers = {{kVersion, {kMapOffset, {0x80}}}, {kSmart, {16, model}}}, .solid = 1,
       .asked = {kAta, kVersion, kSmart}, .model = "Fast Drive M3S", .serial = "WX123", .head = 0xA0,
       .command = 0xEC},
      // Neither the first nor the twentieth serial character is a letter,
      // digit or blank: no identity, so no model to match.
      {.what = "an implausible serial",
       .answers = {{kVersion, {kMapOffset, {0x01}}}, {kSmart, {16, Identify(0, 0, 0, "#234567890123456789#", "SSD")}}},
       .solid = 0, .asked = {kAta, kVersion, kSmart}},
      {.what = "one plausible end of the serial",
       .answers = {{kVersion, {kMapOffset, {0x01}}}, {kSmart, {16, Identify(0, 0, 0, "A234567890123456789#", "SSD")}}},
       .solid = 1, .asked = {kAta, kVersion, kSmart}, .model = "SSD", .serial = "A234567890123456789#"},
      {.what = "an empty device map: the miniport",
       .answers = {{kVersion, {kMapOffset, {0}}}, {kMiniport, {44, Identify(0, 0, 0, "MP1", "Corsair Force SSD")}}},
       .solid = 1, .asked = {kAta, kVersion, kMiniport}, .model = "Corsair Force SSD", .serial = "MP1"},
      // A miniport answer of zeros is no answer; the geometry is asked after
      // the descriptor.
      {.what = "the descriptor",
       .answers = {{kMiniport, {44, Bytes(512)}}, {kProperty, {0, Descriptor("OCZ-AGILITY3", "3153324e2020")}}},
       .solid = 1, .asked = {kAta, kVersion, kMiniport, kProperty, kGeometry}, .model = "OCZ-AGILITY3",
       .serial = "S1N2"},
      {.what = "only the second SMART form",
       .answers = {{kVersion, {kMapOffset, {0}}}, {kSmart, {16, Identify(0, 0, 0, "Z9", "HyperX 3K")}}}, .solid = 1,
       .asked = {kAta, kVersion, kMiniport, kProperty, kVersion, kSmart}, .model = "HyperX 3K", .serial = "Z9"},
      {.what = "nothing answers", .solid = 0, .asked = everyProbe},
      {.what = "a volume that does not open", .solid = 0, .asked = {}, .openable = false},
  };
  for (const auto& d : kDrives) {
    SCOPED_TRACE(d.what);
    RecordedDrive drive;
    drive.version = d.version;
    drive.answers = d.answers;
    drive.openable = d.openable;
    SetDeviceRequests(&drive);
    gDriveIdentity = {};
    EXPECT_EQ(IsSolidStateVolume(d.letter), d.solid);
    SetDeviceRequests(nullptr);
    std::vector<uint32_t> asked;
    for (const Request& request : drive.requests) {
      asked.push_back(request.code);
      if (request.code == kSmart && request.in.size() == kSmartFirstFormInLength && d.head != 0) {
        EXPECT_EQ(request.in[9], d.head);
        EXPECT_EQ(request.in[10], d.command);
      }
    }
    EXPECT_EQ(asked, d.asked);
    EXPECT_EQ(gDriveIdentity.model, d.model);
    EXPECT_EQ(gDriveIdentity.serial, d.serial);
  }
}

TEST(SolidStateTest, ModelsAreMatchedByTheListsRules) {
  EXPECT_TRUE(IsSolidStateModel("Samsung ssd 850 EVO"));
  EXPECT_TRUE(IsSolidStateModel("SomeBrand XM3S"));
  EXPECT_FALSE(IsSolidStateModel("M3S-Brand drive"));
  // The first occurrence decides: one elsewhere hides one at the end.
  EXPECT_FALSE(IsSolidStateModel("ABM3SX M3S"));
  EXPECT_TRUE(IsSolidStateModel("Intel S100-Series"));
  EXPECT_FALSE(IsSolidStateModel("IntelS100-Series"));  // the blank belongs to the name
  EXPECT_FALSE(IsSolidStateModel("WDC WD10EZEX-08WN4A0"));
}

TEST(SolidStateTest, DescriptorSerialsDecodeHexPairsOnlyWhenAllArePrintable) {
  EXPECT_EQ(DescriptorSerial("  WD-WCC4N1234567 "), "WD-WCC4N1234567");
  EXPECT_EQ(DescriptorSerial("0102"), "0102");  // pairs that decode to control characters
  EXPECT_EQ(DescriptorSerial("ABC"), "ABC");    // odd length
}

}  // namespace
