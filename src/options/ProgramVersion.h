#pragma once
// The program's version as the console banner and the version resource show
// it. The number itself is set once, in the top CMakeLists.txt.
#include "OrdalisVersion.h"

#define ORDALIS_VERSION_TEXT L"" ORDALIS_VERSION_STRING
#define ORDALIS_NOTICE_TEXT L"Copyright (c) 2026 The Ordalis developers"
