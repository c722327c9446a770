#include "engine/SolidState.h"

#include <cctype>
#include <cstring>
#include <vector>

#include "engine/SolidStateRecords.h"

DriveIdentity gDriveIdentity;

namespace {

struct SolidStateState {
  DeviceRequests* requests = nullptr;
};
SolidStateState gSolidState;

// Where in the model a listed name must stand.
enum class Rule : int { Anywhere = -1, AtStart = 0, AtEnd = 1 };

struct ModelEntry {
  const char* name;
  Rule rule;
};

// Ended by the empty entry; at most kMaxModelEntries are examined.
constexpr ModelEntry kSolidStateModels[] = {
    {"SSD", Rule::Anywhere},      {"Vertex", Rule::Anywhere},   {"VTX3-", Rule::Anywhere},
    {"Octane", Rule::Anywhere},   {"OCT1-", Rule::Anywhere},    {"RevoDrive", Rule::Anywhere},
    {"Agility", Rule::Anywhere},  {"AGT3-", Rule::Anywhere},    {"Colossus", Rule::Anywhere},
    {"Onyx", Rule::Anywhere},     {"HyperX", Rule::Anywhere},   {"SH100S3B", Rule::Anywhere},
    {"KM31", Rule::Anywhere},     {"KM21", Rule::Anywhere},     {"M3S", Rule::AtEnd},
    {"M2S", Rule::AtEnd},         {" S100-", Rule::Anywhere},   {" E200-", Rule::Anywhere},
    {"", Rule::Anywhere},
};
constexpr int kMaxModelEntries = 100;

constexpr int kRotationWord = 217;
constexpr int kDataSetManagementWord = 169;
constexpr int kMajorVersionWord = 80;

// First position of `name` in `text`, ignoring case; npos when absent.
size_t FindNoCase(std::string_view text, std::string_view name) {
  if (name.size() > text.size()) return std::string_view::npos;
  for (size_t at = 0; at + name.size() <= text.size(); ++at) {
    size_t i = 0;
    while (i < name.size() && std::toupper(static_cast<unsigned char>(text[at + i])) ==
                                  std::toupper(static_cast<unsigned char>(name[i]))) {
      ++i;
    }
    if (i == name.size()) return at;
  }
  return std::string_view::npos;
}

bool SerialCharacterPlausible(char c) {
  const unsigned char u = static_cast<unsigned char>(c);
  return std::isupper(u) || std::isdigit(u) || std::isspace(u);
}

// Keeps the model and serial of identification data, unless a serial is
// already stored or the serial's first and twentieth characters both look
// like no serial at all.
void StoreIdentity(const uint8_t* data) {
  if (!gDriveIdentity.serial.empty()) return;
  const IdentifyWords words = IdentifyWordsFrom(data);
  std::string rawSerial;
  for (int w = 10; w <= 19; ++w) {
    rawSerial += static_cast<char>(words.word[w] >> 8);
    rawSerial += static_cast<char>(words.word[w] & 0xFF);
  }
  if (!SerialCharacterPlausible(rawSerial[0]) && !SerialCharacterPlausible(rawSerial[19])) return;
  gDriveIdentity.serial = IdentifyText(words, 10, 19);
  gDriveIdentity.model = IdentifyText(words, 27, 46);
}

// The drive's own identification through the ATA pass-through: solid-state
// when it reports no rotation or TRIM support (from ATA version 7 on).
bool AtaSaysSolidState(wchar_t letter) {
  std::unique_ptr<DeviceHandle> device = gSolidState.requests->OpenVolume(letter);
  if (!device) return false;
  AtaIdentifyRecord record{};
  record.header.length = sizeof(AtaPassThroughHeader);
  record.header.ataFlags = kAtaFlagsDataIn;
  record.header.dataTransferLength = kIdentifyBytes;
  record.header.timeOutSeconds = 5;
  record.header.dataBufferOffset = offsetof(AtaIdentifyRecord, data);
  record.header.currentTaskFile[6] = kAtaIdentifyDevice;
  if (!device->Control(kIoctlAtaPassThrough, &record, sizeof record, &record, sizeof record)) return false;
  const IdentifyWords words = IdentifyWordsFrom(record.data);
  if (AtaMajorVersion(words.word[kMajorVersionWord]) < 7) return false;
  return words.word[kRotationWord] == 1 || (words.word[kDataSetManagementWord] & 1) != 0;
}

bool SmartVersion(DeviceHandle& device, SmartVersionRecord& version) {
  version = {};
  return device.Control(kIoctlSmartGetVersion, nullptr, 0, &version, sizeof version);
}

bool SmartIdentifyFirstForm(wchar_t letter) {
  std::unique_ptr<DeviceHandle> device = gSolidState.requests->OpenVolume(letter);
  if (!device) return false;
  SmartVersionRecord version;
  if (!SmartVersion(*device, version) || version.ideDeviceMap == 0) return false;
  const uint32_t code = static_cast<uint32_t>(letter);
  SmartCommandBlock in{};
  in.bufferSize = kIdentifyBytes;
  in.registers.sectorCount = 1;
  in.registers.sectorNumber = 1;
  in.registers.driveHead = static_cast<uint8_t>(0xA0 | ((code & 1) << 4));
  // The map is shifted by the letter's code as the processor shifts a 32-bit
  // word: by the code's low five bits.
  const bool packetDevice = ((uint32_t{version.ideDeviceMap} >> (code & 31)) & 0x10) != 0;
  in.registers.command = packetDevice ? kAtaIdentifyPacketDevice : kAtaIdentifyDevice;
  in.driveNumber = static_cast<uint8_t>(code);
  std::vector<uint8_t> out(kSmartFirstFormOutLength);
  if (!device->Control(kIoctlSmartReceiveDriveData, &in, kSmartFirstFormInLength, out.data(),
                       kSmartFirstFormOutLength)) {
    return false;
  }
  StoreIdentity(out.data() + kSmartDataOffset);
  return true;
}

bool ScsiMiniportIdentify(wchar_t letter) {
  std::unique_ptr<DeviceHandle> device = gSolidState.requests->OpenVolume(letter);
  if (!device) return false;
  ScsiMiniportIdentifyIn in{};
  in.header.headerLength = sizeof(ScsiControlHeader);
  std::memcpy(in.header.signature, "SCSIDISK", 8);
  in.header.timeOut = 10000;
  in.header.controlCode = kScsiMiniportIdentify;
  in.header.length = kScsiIdentifyPayloadLength;
  in.block.registers.command = kAtaIdentifyDevice;
  in.block.driveNumber = static_cast<uint8_t>(letter);
  std::vector<uint8_t> out(kScsiIdentifyOutLength);
  if (!device->Control(kIoctlScsiMiniport, &in, sizeof in, out.data(), kScsiIdentifyOutLength)) return false;
  const uint8_t* data = out.data() + kScsiIdentifyDataOffset;
  bool answered = false;
  for (size_t i = 0; i < kIdentifyBytes && !answered; ++i) answered = data[i] != 0;
  if (!answered) return false;
  StoreIdentity(data);
  return true;
}

// An 8-bit string of the descriptor at `offset`, bounded by the buffer.
std::string DescriptorString(const std::vector<uint8_t>& buffer, uint32_t offset) {
  std::string text;
  if (offset == 0 || offset >= buffer.size()) return text;
  for (size_t i = offset; i < buffer.size() && buffer[i] != 0; ++i) text += static_cast<char>(buffer[i]);
  return text;
}

bool StoragePropertyIdentify(wchar_t letter) {
  std::unique_ptr<DeviceHandle> device = gSolidState.requests->OpenVolume(letter);
  if (!device) return false;
  StoragePropertyQuery query{};  // the device property, standard query
  std::vector<uint8_t> out(kStorageDescriptorLength);
  if (!device->Control(kIoctlStorageQueryProperty, &query, sizeof query, out.data(), kStorageDescriptorLength)) {
    return false;
  }
  StorageDeviceDescriptor descriptor;
  std::memcpy(&descriptor, out.data(), sizeof descriptor);
  gDriveIdentity.model = DescriptorString(out, descriptor.productIdOffset);
  gDriveIdentity.serial = DescriptorSerial(DescriptorString(out, descriptor.serialNumberOffset));
  // Asked after the descriptor as the drive has always been asked; the
  // geometry itself is not needed.
  std::vector<uint8_t> geometry(256);
  device->Control(kIoctlDiskGetDriveGeometryEx, nullptr, 0, geometry.data(), static_cast<uint32_t>(geometry.size()));
  return true;
}

bool SmartIdentifySecondForm(wchar_t letter) {
  std::unique_ptr<DeviceHandle> device = gSolidState.requests->OpenVolume(letter);
  if (!device) return false;
  SmartVersionRecord version;
  if (!SmartVersion(*device, version)) return false;
  SmartCommandIn in{};
  in.block.registers.command = kAtaIdentifyDevice;
  std::vector<uint8_t> out(kSmartSecondFormOutLength);
  if (!device->Control(kIoctlSmartReceiveDriveData, &in, kSmartSecondFormInLength, out.data(),
                       kSmartSecondFormOutLength)) {
    return false;
  }
  StoreIdentity(out.data() + kSmartDataOffset);
  return true;
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::string Trimmed(const std::string& text) {
  const size_t first = text.find_first_not_of(' ');
  if (first == std::string::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

}  // namespace

DeviceRequests* CurrentDeviceRequests() { return gSolidState.requests; }
void SetDeviceRequests(DeviceRequests* requests) { gSolidState.requests = requests; }

IdentifyWords IdentifyWordsFrom(const uint8_t* bytes) {
  IdentifyWords words;
  for (int i = 0; i < 256; ++i) words.word[i] = static_cast<uint16_t>(bytes[2 * i] | (bytes[2 * i + 1] << 8));
  return words;
}

std::string IdentifyText(const IdentifyWords& words, int first, int last) {
  std::string text;
  for (int w = first; w <= last; ++w) {
    text += static_cast<char>(words.word[w] >> 8);
    text += static_cast<char>(words.word[w] & 0xFF);
  }
  const size_t end = text.find_last_not_of(' ');
  text.resize(end == std::string::npos ? 0 : end + 1);
  return text;
}

int AtaMajorVersion(uint16_t word80) {
  if (word80 == 0 || word80 == 0xFFFF) return 0;
  for (int bit = 14; bit >= 1; --bit) {
    if (word80 & (1u << bit)) return bit;
  }
  return 0;
}

bool IsSolidStateModel(std::string_view model) {
  for (int i = 0; i < kMaxModelEntries && kSolidStateModels[i].name[0] != 0; ++i) {
    const ModelEntry& entry = kSolidStateModels[i];
    const std::string_view name = entry.name;
    const size_t at = FindNoCase(model, name);
    if (at == std::string_view::npos) continue;
    if (entry.rule == Rule::Anywhere) return true;
    if (entry.rule == Rule::AtStart && at == 0) return true;
    if (entry.rule == Rule::AtEnd && at + name.size() == model.size()) return true;
  }
  return false;
}

std::string DescriptorSerial(std::string_view raw) {
  std::string decoded;
  bool hex = !raw.empty() && raw.size() % 2 == 0;
  for (size_t i = 0; hex && i < raw.size(); i += 2) {
    const int high = HexDigit(raw[i]);
    const int low = HexDigit(raw[i + 1]);
    const int value = high * 16 + low;
    hex = high >= 0 && low >= 0 && value >= 0x20 && value < 0x7F;
    if (hex) decoded += static_cast<char>(value);
  }
  if (!hex) return Trimmed(std::string(raw));
  for (size_t i = 0; i + 1 < decoded.size(); i += 2) std::swap(decoded[i], decoded[i + 1]);
  return Trimmed(decoded);
}

int IsSolidStateVolume(wchar_t letter) {
  if (gSolidState.requests == nullptr) return 0;
  const SystemVersion version = gSolidState.requests->Version();
  if (version.major >= 6 && version.minor != 0 && AtaSaysSolidState(letter)) return 1;
  gDriveIdentity = {};
  if (!version.ntFamily) return 0;
  if (!SmartIdentifyFirstForm(letter) && !ScsiMiniportIdentify(letter) && !StoragePropertyIdentify(letter) &&
      !SmartIdentifySecondForm(letter)) {
    return 0;
  }
  return IsSolidStateModel(gDriveIdentity.model) ? 1 : 0;
}
