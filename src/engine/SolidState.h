#pragma once
// Solid-state drive detection: the drive behind a volume is asked for its
// own identification (rotation rate, TRIM support) and, failing that, for its
// model name, which is compared with a list of solid-state models. The
// requests go through a seam, so that the same probes run against the
// system's drivers, the simulated drives and recorded answers in tests.
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

// One open volume device ("\\.\X:", read and write, shared for both).
class DeviceHandle {
 public:
  virtual ~DeviceHandle() = default;
  // Sends one control request; `out` receives up to outLength bytes. False
  // when the driver refused it.
  virtual bool Control(uint32_t code, const void* in, uint32_t inLength, void* out, uint32_t outLength) = 0;
};

struct SystemVersion {
  uint32_t major = 0;
  uint32_t minor = 0;
  bool ntFamily = true;
};

class DeviceRequests {
 public:
  virtual ~DeviceRequests() = default;
  virtual SystemVersion Version() = 0;
  // Null when the volume device cannot be opened.
  virtual std::unique_ptr<DeviceHandle> OpenVolume(wchar_t letter) = 0;
};

// The process-wide implementation; without one no drive is solid-state.
DeviceRequests* CurrentDeviceRequests();
void SetDeviceRequests(DeviceRequests* requests);

// What the last probe by model learned of the drive (8-bit texts).
struct DriveIdentity {
  std::string model;
  std::string serial;
};
extern DriveIdentity gDriveIdentity;

// Identification words as the drive returns them (256 words, little-endian).
struct IdentifyWords {
  uint16_t word[256] = {};
};
IdentifyWords IdentifyWordsFrom(const uint8_t* bytes);
// A text field of the identification: two characters per word, high byte
// first, trailing blanks removed.
std::string IdentifyText(const IdentifyWords& words, int first, int last);
// The ATA major version of word 80: its highest set bit among 14..1, or 0.
int AtaMajorVersion(uint16_t word80);

// Whether a model name is on the list of solid-state models.
bool IsSolidStateModel(std::string_view model);

// The serial number of a storage device descriptor, as stored: hexadecimal
// pairs decoded (and swapped in pairs) when they all decode to printable
// characters, otherwise the text itself; blanks trimmed at both ends.
std::string DescriptorSerial(std::string_view raw);

// 1 when the volume of this drive letter ("A".."Z") lies on a solid-state
// drive, else 0. Every probe opens and closes its own handle.
int IsSolidStateVolume(wchar_t letter);
