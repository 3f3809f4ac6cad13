// The types that everything else is declared with.

#pragma once

#include <cstdint>

#define WINAPI
#define CALLBACK
#define STDMETHODCALLTYPE

using BYTE = unsigned char;
using WORD = std::uint16_t;
using SHORT = std::int16_t;
using INT = std::int32_t;
using UINT = std::uint32_t;
using LONG = std::int32_t;  // not long, which has 64 bits here
using ULONG = std::uint32_t;
using DWORD = std::uint32_t;
using BOOL = std::int32_t;
using UINT32 = std::uint32_t;
using UINT64 = unsigned long long;
using LONGLONG = long long;
using ULONGLONG = unsigned long long;
using INT_PTR = long long;
using UINT_PTR = unsigned long long;
using LONG_PTR = long long;
using ULONG_PTR = unsigned long long;
using DWORD_PTR = unsigned long long;
using SIZE_T = unsigned long long;
using WPARAM = UINT_PTR;
using LPARAM = LONG_PTR;
using LRESULT = LONG_PTR;
using HRESULT = std::int32_t;
using LSTATUS = LONG;
using ATOM = WORD;
using COLORREF = DWORD;
using WCHAR = char16_t;

using LPBYTE = BYTE*;
using LPDWORD = DWORD*;
using PDWORD_PTR = DWORD_PTR*;
using LPVOID = void*;
using PWSTR = WCHAR*;
using LPWSTR = WCHAR*;
using LPCWSTR = const WCHAR*;

#define FALSE 0
#define TRUE 1
#define TEXT(literal) u##literal

#define LOWORD(value) ((WORD)((DWORD_PTR)(value)&0xFFFF))
#define HIWORD(value) ((WORD)(((DWORD_PTR)(value) >> 16) & 0xFFFF))
#define MAKELONG(low, high) ((LONG)((WORD)(low) | ((DWORD)(WORD)(high) << 16)))
#define MAKEWPARAM(low, high) ((WPARAM)(DWORD)MAKELONG(low, high))
#define MAKELPARAM(low, high) ((LPARAM)(DWORD)MAKELONG(low, high))

// Handles are addresses of incomplete records, so that one kind does not pass for another.
#define DECLARE_HANDLE(name)                                                                       \
    struct name##__;                                                                               \
    using name = name##__*

using HANDLE = void*;
using HGLOBAL = HANDLE;
using HGDIOBJ = void*;
DECLARE_HANDLE(HWND);
DECLARE_HANDLE(HINSTANCE);
DECLARE_HANDLE(HHOOK);
DECLARE_HANDLE(HMENU);
DECLARE_HANDLE(HBRUSH);
DECLARE_HANDLE(HRGN);
DECLARE_HANDLE(HICON);
DECLARE_HANDLE(HDC);
DECLARE_HANDLE(HKEY);
DECLARE_HANDLE(HMONITOR);
DECLARE_HANDLE(DPI_AWARENESS_CONTEXT);
using HMODULE = HINSTANCE;
using HCURSOR = HICON;
using PHKEY = HKEY*;

#define INVALID_HANDLE_VALUE ((HANDLE)(LONG_PTR)-1)

union LARGE_INTEGER {
    LONGLONG QuadPart;
};

struct POINT {
    LONG x, y;
};

struct RECT {
    LONG left, top, right, bottom;
};
using LPRECT = RECT*;
using LPPOINT = POINT*;

struct SIZE {
    LONG cx, cy;
};

struct FILETIME {
    DWORD dwLowDateTime, dwHighDateTime;
};

struct SECURITY_ATTRIBUTES;
using LPSECURITY_ATTRIBUTES = SECURITY_ATTRIBUTES*;
