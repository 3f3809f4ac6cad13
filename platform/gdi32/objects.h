// Brushes, regions and paint contexts, by their handles.

#pragma once

#include <windows.h>

#include <optional>
#include <vector>

#include "platform/gdi32/canvas.h"

namespace gdi {

HDC openContext(const Canvas& canvas);
void closeContext(HDC context);

// The system's from now on: the handle is dead. Nothing if it is no region.
std::optional<std::vector<RECT>> takeRegion(HRGN region);

}  // namespace gdi
