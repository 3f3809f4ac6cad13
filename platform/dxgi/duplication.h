// The duplication of an output: the desktop's pictures, one frame at a time.

#pragma once

#include <dxgi1_2.h>

#include "platform/hosts/host.h"

namespace dxgi {

// E_ACCESSDENIED while the desktop is locked, E_INVALIDARG if the output is being duplicated
// already.
HRESULT openDuplication(const host::Monitor& monitor, IDXGIOutputDuplication** duplication);

}  // namespace dxgi
