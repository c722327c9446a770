#pragma once
#include <string>

// The name of the mutex that marks a running instance on this desktop.
std::wstring InstanceMutexName();

// Creates the instance mutex (kept for the life of the process). When another
// instance runs on this desktop and its main window is found, hands it the
// path arguments of this start, brings that window forward and returns true:
// this instance must end with code 0.
bool AnotherInstanceTookOver();
