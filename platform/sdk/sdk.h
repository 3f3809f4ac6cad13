// The headers of the Windows SDK, as mingw-w64 publishes them, for the compilers of this system.
//
// Every source of the native build starts with this one. It reads the standard headers that the SDK
// needs, maps what differs between the two systems, reads the SDK, and takes the mapping back. A
// later #include of one of these names, or of a header of another library, is then not affected.

#pragma once

#if !defined(UNICODE) || !defined(_UNICODE)
#error "Only the wide-character operations exist here: define UNICODE and _UNICODE."
#endif

#include <ctype.h>
#include <limits.h>
#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <wchar.h>
#include <x86intrin.h>

#define _WIN32
#define _WIN64
#define WIN32_LEAN_AND_MEAN
#define NOMINMAX

// There is one calling convention, and nothing to import.
#define __cdecl
#define __declspec(attribute)

// Characters of 16 bits. LONG is 32 bits wide wherever __LP64__ is defined.
#define wchar_t char16_t
#define PROP_CONTRACT_DELEGATE u"ContractDelegate"

// Types that the standard headers have defined, and a header that needs more of Microsoft's.
#define _SIZE_T_DEFINED
#define _SSIZE_T_DEFINED
#define _INTPTR_T_DEFINED
#define _UINTPTR_T_DEFINED
#define _PTRDIFF_T_DEFINED
#define _TIME_T_DEFINED
#define __STRALIGN_H_

#include <windows.h>
#include <windowsx.h>

#include <objbase.h>

// Some identifiers are defined wherever they are declared. Here com/com.cpp defines all of them.
#undef EXTERN_GUID
#define EXTERN_GUID DEFINE_GUID

#include <d3d11.h>
#include <dwmapi.h>
#include <dxgi1_2.h>
#include <knownfolders.h>
#include <mfapi.h>
#include <mferror.h>
#include <mfidl.h>
#include <mfreadwrite.h>
#include <shellapi.h>
#include <shlobj.h>

#undef _WIN32
#undef _WIN64
#undef __declspec
#undef wchar_t

#undef __TEXT
#define __TEXT(literal) u##literal
