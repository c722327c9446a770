#pragma once
// Powering the machine off.
#include <cstdint>

// Enables the shutdown privilege and powers the machine off. Returns 1 when
// the process token cannot be opened, 2 when the privilege could not be
// enabled, 0 after the power-off was requested.
uint32_t ShutdownMachine();

// What powering off finally calls. Tests replace it, so that nothing is ever
// powered off by a test; so does the simulating variant (app/win32/sim).
// The shipped program never replaces it: nothing outside the process can
// turn its power-off into anything else.
using PowerOffCall = bool (*)(unsigned flags, unsigned long reason);
void SetPowerOffCall(PowerOffCall call);
