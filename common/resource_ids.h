// Resource identifiers, for the sources and the resource compiler.

#pragma once

#define IDD_SETTINGS 101
#define IDI_PROGRAM 102

#define IDC_SHORTCUT 1001
#define IDC_STARTUP 1002
#define IDC_STARTUP_HINT 1003
