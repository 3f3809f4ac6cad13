// The layer's face: what the Windows header of this name offers, as far as the program uses it.
//
// Numbers, sizes and offsets are the published ones for 64-bit Windows. Characters of 16 bits are
// char16_t, which is what sets this build apart from one for Windows, where they are wchar_t.

#pragma once

#if !defined(UNICODE) || !defined(_UNICODE)
#error "Only the wide-character operations exist here: define UNICODE and _UNICODE."
#endif

#include "layer/types.h"

#include "layer/errors.h"
#include "layer/kernel.h"
#include "layer/registry.h"
#include "layer/gdi.h"
#include "layer/user.h"
#include "objbase.h"
