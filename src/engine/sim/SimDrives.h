#pragma once
// What the simulated drives answer when the solid-state detection asks them.
// A description names, per drive letter, which probe answers and with what:
//
//   C:rotation           the ATA identification reports no rotation
//   D:trim               the ATA identification reports TRIM support
//   E:disk               the ATA identification reports a rotating disk
//   F:smart=MODEL        only the SMART identify answers, with this model
//   G:miniport=MODEL     only the SCSI miniport identify answers
//   H:property=MODEL     only the storage property query answers
//
// Entries are separated by ";". A drive without an entry refuses every
// request. Every opening of a volume device is counted.
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "engine/SolidState.h"

class SimDriveRequests : public DeviceRequests {
 public:
  enum class Answer { None, Rotation, Trim, Disk, Smart, Miniport, Property };
  struct Drive {
    Answer answer = Answer::None;
    std::string model;
  };
  Drive drives[26];
  // How many volume devices were opened, per letter.
  uint64_t opened[26] = {};
  // Called on every opening (the simulating program logs them).
  void (*onOpen)(wchar_t letter) = nullptr;

  SystemVersion Version() override;
  std::unique_ptr<DeviceHandle> OpenVolume(wchar_t letter) override;
};

// Identification data as a drive returns it: the ATA versions word (80), the
// data-set-management (169) and rotation (217) words, the serial and the model.
std::vector<uint8_t> SimIdentifyData(uint16_t versions, uint16_t dataSetManagement, uint16_t rotation,
                                     const std::string& serial, const std::string& model);

// Null with `error` set when the description cannot be read.
std::unique_ptr<SimDriveRequests> ParseSimDrives(const std::string& description, std::string& error);

// Reads ORDALIS_SIM_DRIVES and installs its drives as the device requests;
// openings are appended to the file ORDALIS_SIM_DRIVES_LOG names. Without
// the variable no drive answers. False (with a line on stderr) when it
// cannot be read.
bool InstallSimDrivesFromEnvironment();
