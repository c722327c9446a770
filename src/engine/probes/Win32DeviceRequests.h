#pragma once
// The device requests of the solid-state detection on the system's drivers.
#include "engine/SolidState.h"

DeviceRequests& Win32DeviceRequests();
