#pragma once
// The one lock shared by the window thread and the workers: it guards the
// staging lists, the counters that workers write and the stop request.
#include <mutex>

void CreateSharedLock();
void DeleteSharedLock();
std::mutex& SharedLock();
