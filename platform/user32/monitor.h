// Monitors and scale.

#pragma once

#include <windows.h>

#include "platform/hosts/host.h"

namespace user32 {

int scaled(int length, UINT dpi);  // from 96 dots an inch, rounded
host::Monitor primaryMonitor();
host::Monitor nearestMonitor(POINT at);

// Stops the process if it asks for positions before it has said that it knows of scales: Windows
// would convert them, which is not done here.
void expectDpiAwareness(const char* operation);
void forgetDpiAwareness();

}  // namespace user32
