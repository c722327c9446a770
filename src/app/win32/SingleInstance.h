#pragma once
#include <string>

// The name of the mutex that marks a running instance on this desktop.
std::wstring InstanceMutexName();

// Creates the instance mutex (kept for the life of the process). When another
// instance runs on this desktop and its shown main window belongs to this
// same program running with this start's integrity, hands it the path
// arguments of this start, brings that window forward (a minimised one is
// flashed until the user does) and returns true: this instance must end with
// code 0. An unattended start ("/NOGUI") never hands over.
bool AnotherInstanceTookOver();
