#pragma once
// The program's version as the console banner and the version resource show it.
#define ORDALIS_VERSION_TEXT L"1.00"
#define ORDALIS_NOTICE_TEXT L"Copyright (c) 2026 The Ordalis developers"
