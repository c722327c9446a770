#pragma once
// Worker threads of the engine: started with the default stack size and never
// joined. A worker's last act is to set its done flag; the thread that
// started it learns of the end only through that flag.
using ThreadEntry = void (*)(void* argument);

// False when the thread could not be started.
bool StartDetachedThread(ThreadEntry entry, void* argument);
