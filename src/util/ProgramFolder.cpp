#include "util/ProgramFolder.h"

std::wstring gProgramFolder;
