#pragma once
// The system's own English texts for error numbers and its mapping of native
// statuses to error numbers, for the volumes that answer in the system's
// place (the simulated volume and NTFS images from Linux).
#include <cstdint>
#include <string>

#include "engine/VolumeAccess.h"

std::wstring BuiltInSystemText(uint32_t code);
uint32_t BuiltInStatusToError(NtStatus status);
