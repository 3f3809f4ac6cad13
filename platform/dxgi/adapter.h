// Adapters and the monitors that hang on them.

#pragma once

#include <dxgi1_2.h>

namespace dxgi {

// The place of an adapter in the list of its factory.
UINT indexOf(IDXGIAdapter* adapter);

}  // namespace dxgi
