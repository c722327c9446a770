#include "engine/sim/SimDrives.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "engine/SolidStateRecords.h"

std::vector<uint8_t> SimIdentifyData(uint16_t versions, uint16_t dataSetManagement, uint16_t rotation,
                                     const std::string& serial, const std::string& model) {
  std::vector<uint8_t> data(kIdentifyBytes);
  auto setWord = [&](int word, uint16_t value) {
    data[2 * word] = static_cast<uint8_t>(value & 0xFF);
    data[2 * word + 1] = static_cast<uint8_t>(value >> 8);
  };
  auto setText = [&](int first, int last, const std::string& text) {
    for (int w = first; w <= last; ++w) {
      const size_t i = 2 * static_cast<size_t>(w - first);
      const char high = i < text.size() ? text[i] : ' ';
      const char low = i + 1 < text.size() ? text[i + 1] : ' ';
      setWord(w, static_cast<uint16_t>((static_cast<uint8_t>(high) << 8) | static_cast<uint8_t>(low)));
    }
  };
  setWord(80, versions);
  setWord(169, dataSetManagement);
  setWord(217, rotation);
  setText(10, 19, serial);
  setText(27, 46, model);
  return data;
}

namespace {

// A simulated drive's identification data: ATA version 8, the given rotation
// and data-set-management words, the simulator's serial and the model.
std::vector<uint8_t> IdentifyData(uint16_t rotation, uint16_t dataSetManagement, const std::string& model) {
  return SimIdentifyData(0x01F0, dataSetManagement, rotation, "SIM0000000000000001", model);
}

class SimDeviceHandle final : public DeviceHandle {
 public:
  explicit SimDeviceHandle(const SimDriveRequests::Drive& drive) : drive_(drive) {}

  bool Control(uint32_t code, const void*, uint32_t, void* out, uint32_t outLength) override {
    using Answer = SimDriveRequests::Answer;
    uint8_t* bytes = static_cast<uint8_t*>(out);
    switch (drive_.answer) {
      case Answer::Rotation:
      case Answer::Trim:
      case Answer::Disk: {
        if (code != kIoctlAtaPassThrough || outLength < kAtaIdentifyLength) return false;
        const uint16_t rotation = drive_.answer == Answer::Rotation ? 1 : 7200;
        const uint16_t trim = drive_.answer == Answer::Trim ? 1 : 0;
        const std::vector<uint8_t> data = IdentifyData(rotation, trim, drive_.model);
        std::memcpy(bytes + sizeof(AtaPassThroughHeader), data.data(), data.size());
        return true;
      }
      case Answer::Smart:
        if (code == kIoctlSmartGetVersion && outLength >= sizeof(SmartVersionRecord)) {
          SmartVersionRecord version{};
          version.version = 1;
          version.ideDeviceMap = 1;
          std::memcpy(bytes, &version, sizeof version);
          return true;
        }
        if (code == kIoctlSmartReceiveDriveData && outLength >= kSmartFirstFormOutLength) {
          const std::vector<uint8_t> data = IdentifyData(7200, 0, drive_.model);
          std::memcpy(bytes + kSmartDataOffset, data.data(), data.size());
          return true;
        }
        return false;
      case Answer::Miniport:
        if (code != kIoctlScsiMiniport || outLength < kScsiIdentifyOutLength) return false;
        {
          const std::vector<uint8_t> data = IdentifyData(7200, 0, drive_.model);
          std::memcpy(bytes + kScsiIdentifyDataOffset, data.data(), data.size());
        }
        return true;
      case Answer::Property:
        if (code == kIoctlDiskGetDriveGeometryEx) return true;
        if (code != kIoctlStorageQueryProperty || outLength < 64 + drive_.model.size()) return false;
        {
          StorageDeviceDescriptor descriptor{};
          descriptor.size = sizeof descriptor;
          descriptor.productIdOffset = 48;
          std::memcpy(bytes, &descriptor, sizeof descriptor);
          std::memcpy(bytes + 48, drive_.model.c_str(), drive_.model.size() + 1);
        }
        return true;
      case Answer::None:
        return false;
    }
    return false;
  }

 private:
  SimDriveRequests::Drive drive_;
};

struct SimDrivesState {
  std::unique_ptr<SimDriveRequests> requests;
  std::string logPath;
};
SimDrivesState gSimDrives;

void LogOpening(wchar_t letter) {
  if (gSimDrives.logPath.empty()) return;
  if (FILE* log = std::fopen(gSimDrives.logPath.c_str(), "ab")) {
    std::fprintf(log, "open %c:\n", static_cast<char>(letter));
    std::fclose(log);
  }
}

}  // namespace

SystemVersion SimDriveRequests::Version() {
  // A system that asks the ATA identification first.
  return SystemVersion{6, 1, true};
}

std::unique_ptr<DeviceHandle> SimDriveRequests::OpenVolume(wchar_t letter) {
  if (letter < L'A' || letter > L'Z') return nullptr;
  ++opened[letter - L'A'];
  if (onOpen) onOpen(letter);
  const Drive& drive = drives[letter - L'A'];
  if (drive.answer == Answer::None) return nullptr;
  return std::make_unique<SimDeviceHandle>(drive);
}

std::unique_ptr<SimDriveRequests> ParseSimDrives(const std::string& description, std::string& error) {
  auto requests = std::make_unique<SimDriveRequests>();
  size_t start = 0;
  while (start <= description.size()) {
    size_t end = description.find(';', start);
    if (end == std::string::npos) end = description.size();
    std::string entry = description.substr(start, end - start);
    start = end + 1;
    while (!entry.empty() && (entry.front() == ' ' || entry.front() == '\n' || entry.front() == '\r')) {
      entry.erase(0, 1);
    }
    if (entry.empty()) continue;
    const char letter = static_cast<char>(entry[0] & ~0x20);
    if (entry.size() < 3 || letter < 'A' || letter > 'Z' || entry[1] != ':') {
      error = "drive entry '" + entry + "' does not begin with a letter and a colon";
      return nullptr;
    }
    const std::string what = entry.substr(2);
    const size_t equals = what.find('=');
    const std::string kind = what.substr(0, equals);
    SimDriveRequests::Drive& drive = requests->drives[letter - 'A'];
    drive.model = equals == std::string::npos ? std::string() : what.substr(equals + 1);
    using Answer = SimDriveRequests::Answer;
    if (kind == "rotation") {
      drive.answer = Answer::Rotation;
    } else if (kind == "trim") {
      drive.answer = Answer::Trim;
    } else if (kind == "disk") {
      drive.answer = Answer::Disk;
    } else if (kind == "smart" && equals != std::string::npos) {
      drive.answer = Answer::Smart;
    } else if (kind == "miniport" && equals != std::string::npos) {
      drive.answer = Answer::Miniport;
    } else if (kind == "property" && equals != std::string::npos) {
      drive.answer = Answer::Property;
    } else {
      error = "drive entry '" + entry + "' names no known answer";
      return nullptr;
    }
    if (end == description.size()) break;
  }
  return requests;
}

bool InstallSimDrivesFromEnvironment() {
  // Without a description no simulated drive answers: the host's drives
  // are never asked.
  const char* found = std::getenv("ORDALIS_SIM_DRIVES");
  const char* description = found ? found : "";
  std::string error;
  std::unique_ptr<SimDriveRequests> requests = ParseSimDrives(description, error);
  if (!requests) {
    std::fprintf(stderr, "ORDALIS_SIM_DRIVES: %s\n", error.c_str());
    return false;
  }
  const char* log = std::getenv("ORDALIS_SIM_DRIVES_LOG");
  gSimDrives.logPath = log ? log : "";
  requests->onOpen = LogOpening;
  gSimDrives.requests = std::move(requests);
  SetDeviceRequests(gSimDrives.requests.get());
  return true;
}
