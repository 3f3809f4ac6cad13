// The registry: what advapi32 offers.

#pragma once

#include "layer/types.h"

#define HKEY_CURRENT_USER ((HKEY)(ULONG_PTR)((LONG)0x80000001))
#define KEY_QUERY_VALUE 0x0001
#define KEY_SET_VALUE 0x0002
#define REG_CREATED_NEW_KEY 1
#define REG_OPENED_EXISTING_KEY 2
#define REG_SZ 1
#define REG_BINARY 3

using REGSAM = DWORD;

// All give an error code; the last error is not touched.
LSTATUS RegOpenKeyExW(HKEY parent, LPCWSTR path, DWORD options, REGSAM rights, PHKEY key);
LSTATUS RegCreateKeyExW(HKEY parent, LPCWSTR path, DWORD reserved, LPWSTR keyClass, DWORD options,
                        REGSAM rights, const LPSECURITY_ATTRIBUTES security, PHKEY key,
                        LPDWORD disposition);
LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                         LPDWORD size);
LSTATUS RegSetValueExW(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data,
                       DWORD size);
LSTATUS RegDeleteValueW(HKEY key, LPCWSTR name);
LSTATUS RegCloseKey(HKEY key);
