// The layer's constants, sizes, offsets and identifiers as bytes in an object file.
//
// Both compilers translate this, the one against the layer's headers and the other against its own;
// the two pieces of data must be the same. Nothing of it is ever run.

// Identifiers come with their values, not as references to a library.
#define INITGUID

#include <windows.h>
#include <windowsx.h>

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

#include <cstddef>

#include "tests/parity/row.h"

#define CONSTANT(name) {#name, (unsigned long long)(name), 0},
#define TYPE(name) {"sizeof " #name, sizeof(name), 0},
#define MEMBER(type, name)                                                                         \
    {"offset of " #type "::" #name, offsetof(type, name), 0},                                      \
        {"sizeof " #type "::" #name, sizeof(type::name), 0},
#define BYTE_AT(id, at) static_cast<unsigned long long>(id.Data4[at]) << (8 * at)
#define IDENTIFIER(name)                                                                           \
    {#name,                                                                                        \
     name.Data1 | static_cast<unsigned long long>(name.Data2) << 32 |                              \
         static_cast<unsigned long long>(name.Data3) << 48,                                        \
     BYTE_AT(name, 0) | BYTE_AT(name, 1) | BYTE_AT(name, 2) | BYTE_AT(name, 3) |                   \
         BYTE_AT(name, 4) | BYTE_AT(name, 5) | BYTE_AT(name, 6) | BYTE_AT(name, 7)},

extern const Row parityTable[];

__attribute__((section("parity"), used)) const Row parityTable[] = {
#include "rows.inc"
};
