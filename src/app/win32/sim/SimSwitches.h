#pragma once
// What the environment may change in the simulating variant, and only there:
// the shipped program is built without these sources, so nothing that can set
// the environment of the elevated program can redirect what it does.

// With ORDALIS_POWEROFF_LOG naming a file, powering off appends a line to
// that file instead ("power off <flags> <reason>").
void InstallSimPowerOffLog();

