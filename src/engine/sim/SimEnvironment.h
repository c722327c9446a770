#pragma once
// The simulating variant of the program: the volume comes from the
// description named by ORDALIS_SIMVOLUME, and at exit its end state, with the
// checker's verdict, goes to the file named by ORDALIS_SIMVOLUME_OUT.

// Reads and installs the described volume in place of the native controls.
// System texts keep coming from whatever was installed before; files on disk
// that the description does not name are looked up through the file queries,
// which must be installed first. False (with a line on stderr) when the
// variable is missing or the description cannot be read.
bool InstallSimVolumeFromEnvironment();

// Writes the end state, then "check ok" or one "check FAILED ..." line per
// violation. Does nothing when no simulated volume is installed or the
// variable is not set.
void WriteSimVolumeEndStateFromEnvironment();

class SimVolume;
SimVolume* InstalledSimVolume();
