// Numbers of the crash report's dialog and its controls.
#pragma once

#define IDD_CRASH_REPORT 70
#define IDC_CRASH_HEADING 7001
#define IDC_CRASH_TEXT 7002
#define IDC_CRASH_LINK 7003
#define IDC_CRASH_DETAILS_LABEL 7004
#define IDC_CRASH_DETAILS 7005
#define IDC_CRASH_CLOSE 7006
