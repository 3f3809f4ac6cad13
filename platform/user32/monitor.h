// Monitors and scale.

#pragma once

#include <windows.h>

#include "platform/hosts/host.h"

namespace user32 {

int scaled(int length, UINT dpi);  // from 96 dots an inch, rounded
host::Monitor primaryMonitor();
host::Monitor nearestMonitor(POINT at);

}  // namespace user32
